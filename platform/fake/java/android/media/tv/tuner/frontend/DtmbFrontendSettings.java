package android.media.tv.tuner.frontend;

import fake.Device;

public class DtmbFrontendSettings extends FrontendSettings {
    private final int mModulation;
    private final int mCodeRate;
    private final int mTransmissionMode;
    private final int mGuardInterval;
    private final int mTimeInterleaveMode;
    private final int mBandwidth;

    public DtmbFrontendSettings(
            int frequency, int modulation, int codeRate, int transmissionMode, int
            guardInterval, int timeInterleaveMode, int bandwidth) {
        super(10, frequency);
        mModulation = modulation;
        mCodeRate = codeRate;
        mTransmissionMode = transmissionMode;
        mGuardInterval = guardInterval;
        mTimeInterleaveMode = timeInterleaveMode;
        mBandwidth = bandwidth;
        Device.call(this, "<init>", frequency, modulation, codeRate, transmissionMode,
                guardInterval, timeInterleaveMode, bandwidth);
    }

    public int getBandwidth() {
        return Device.getter(this, "getBandwidth", mBandwidth);
    }

    @Override
    public String toString() {
        return "DtmbFrontendSettings(frequency=" + frequency()
                + ", modulation=" + mModulation
                + ", codeRate=" + mCodeRate
                + ", transmissionMode=" + mTransmissionMode
                + ", guardInterval=" + mGuardInterval
                + ", timeInterleaveMode=" + mTimeInterleaveMode
                + ", bandwidth=" + mBandwidth
                + ")";
    }
}
