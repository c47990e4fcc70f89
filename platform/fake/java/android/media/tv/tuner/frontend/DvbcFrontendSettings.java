package android.media.tv.tuner.frontend;

import fake.Device;

public class DvbcFrontendSettings extends FrontendSettings {
    private final int mModulation;
    private final long mFec;
    private final int mSymbolRate;
    private final int mOuterFec;
    private final int mAnnex;
    private final int mSpectralInversion;
    private final int mInterleaveMode;
    private final int mBandwidth;

    public DvbcFrontendSettings(
            int frequency, int modulation, long fec, int symbolRate, int outerFec, int
            annex, int spectralInversion, int interleaveMode, int bandwidth) {
        super(4, frequency);
        mModulation = modulation;
        mFec = fec;
        mSymbolRate = symbolRate;
        mOuterFec = outerFec;
        mAnnex = annex;
        mSpectralInversion = spectralInversion;
        mInterleaveMode = interleaveMode;
        mBandwidth = bandwidth;
        Device.call(this, "<init>", frequency, modulation, fec, symbolRate, outerFec, annex,
                spectralInversion, interleaveMode, bandwidth);
    }

    public int getBandwidth() {
        return Device.getter(this, "getBandwidth", mBandwidth);
    }

    @Override
    public String toString() {
        return "DvbcFrontendSettings(frequency=" + frequency()
                + ", modulation=" + mModulation
                + ", fec=" + mFec
                + ", symbolRate=" + mSymbolRate
                + ", outerFec=" + mOuterFec
                + ", annex=" + mAnnex
                + ", spectralInversion=" + mSpectralInversion
                + ", interleaveMode=" + mInterleaveMode
                + ", bandwidth=" + mBandwidth
                + ")";
    }
}
