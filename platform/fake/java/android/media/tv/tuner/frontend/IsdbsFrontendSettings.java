package android.media.tv.tuner.frontend;

public class IsdbsFrontendSettings extends FrontendSettings {
    private IsdbsFrontendSettings(int frequency, int streamId, int streamIdType, int modulation,
            int codeRate, int symbolRate, int rolloff) {
        super(7, "frequency, streamId, streamIdType, modulation, codeRate, symbolRate, rolloff",
                frequency, streamId, streamIdType, modulation, codeRate, symbolRate, rolloff);
    }
}
