package android.media.tv.tuner.frontend;

public class DtmbFrontendSettings extends FrontendSettings {
    private DtmbFrontendSettings(int frequency, int modulation, int codeRate, int transmissionMode,
            int guardInterval, int timeInterleaveMode, int bandwidth) {
        super(10,
                "frequency, modulation, codeRate, transmissionMode, guardInterval, "
                        + "timeInterleaveMode, bandwidth",
                frequency, modulation, codeRate, transmissionMode, guardInterval,
                timeInterleaveMode, bandwidth);
    }

    public int getBandwidth() {
        return read("getBandwidth");
    }
}
