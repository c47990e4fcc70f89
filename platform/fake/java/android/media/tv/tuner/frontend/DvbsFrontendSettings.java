package android.media.tv.tuner.frontend;

public class DvbsFrontendSettings extends FrontendSettings {
    private DvbsFrontendSettings(int frequency, int modulation, DvbsCodeRate codeRate,
            int symbolRate, int rolloff, int pilot, int inputStreamId, int standard, int vcmMode,
            int scanType, boolean isDiseqcRxMessage) {
        super(5,
                "frequency, modulation, codeRate, symbolRate, rolloff, pilot, inputStreamId, "
                        + "standard, vcmMode, scanType, isDiseqcRxMessage",
                frequency, modulation, codeRate, symbolRate, rolloff, pilot, inputStreamId,
                standard, vcmMode, scanType, isDiseqcRxMessage);
    }
}
