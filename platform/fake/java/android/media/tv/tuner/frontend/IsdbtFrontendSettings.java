package android.media.tv.tuner.frontend;

import fake.Device;

public class IsdbtFrontendSettings extends FrontendSettings {
    private final int mModulation;
    private final int mBandwidth;
    private final int mMode;
    private final int mCodeRate;
    private final int mGuardInterval;
    private final int mServiceAreaId;

    public IsdbtFrontendSettings(
            int frequency, int modulation, int bandwidth, int mode, int codeRate, int
            guardInterval, int serviceAreaId) {
        super(9, frequency);
        mModulation = modulation;
        mBandwidth = bandwidth;
        mMode = mode;
        mCodeRate = codeRate;
        mGuardInterval = guardInterval;
        mServiceAreaId = serviceAreaId;
        Device.call(this, "<init>", frequency, modulation, bandwidth, mode, codeRate,
                guardInterval, serviceAreaId);
    }

    public int getBandwidth() {
        return Device.getter(this, "getBandwidth", mBandwidth);
    }

    @Override
    public String toString() {
        return "IsdbtFrontendSettings(frequency=" + frequency()
                + ", modulation=" + mModulation
                + ", bandwidth=" + mBandwidth
                + ", mode=" + mMode
                + ", codeRate=" + mCodeRate
                + ", guardInterval=" + mGuardInterval
                + ", serviceAreaId=" + mServiceAreaId
                + ")";
    }
}
