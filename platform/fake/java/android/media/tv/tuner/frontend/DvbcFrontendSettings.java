package android.media.tv.tuner.frontend;

public class DvbcFrontendSettings extends FrontendSettings {
    private DvbcFrontendSettings(int frequency, int modulation, long fec, int symbolRate,
            int outerFec, int annex, int spectralInversion, int interleaveMode, int bandwidth) {
        super(4,
                "frequency, modulation, fec, symbolRate, outerFec, annex, spectralInversion, "
                        + "interleaveMode, bandwidth",
                frequency, modulation, fec, symbolRate, outerFec, annex, spectralInversion,
                interleaveMode, bandwidth);
    }

    public int getBandwidth() {
        return read("getBandwidth");
    }
}
