package android.media.tv.tuner.frontend;

import fake.Device;

public class DvbtFrontendSettings extends FrontendSettings {
    private final int mTransmissionMode;
    private final int mBandwidth;
    private final int mConstellation;
    private final int mHierarchy;
    private final int mHpCodeRate;
    private final int mLpCodeRate;
    private final int mGuardInterval;
    private final boolean mIsHighPriority;
    private final int mStandard;
    private final boolean mIsMiso;
    private final int mPlpMode;
    private final int mPlpId;
    private final int mPlpGroupId;

    public DvbtFrontendSettings(
            int frequency, int transmissionMode, int bandwidth, int constellation, int
            hierarchy, int hpCodeRate, int lpCodeRate, int guardInterval, boolean
            isHighPriority, int standard, boolean isMiso, int plpMode, int plpId, int
            plpGroupId) {
        super(6, frequency);
        mTransmissionMode = transmissionMode;
        mBandwidth = bandwidth;
        mConstellation = constellation;
        mHierarchy = hierarchy;
        mHpCodeRate = hpCodeRate;
        mLpCodeRate = lpCodeRate;
        mGuardInterval = guardInterval;
        mIsHighPriority = isHighPriority;
        mStandard = standard;
        mIsMiso = isMiso;
        mPlpMode = plpMode;
        mPlpId = plpId;
        mPlpGroupId = plpGroupId;
        Device.call(this, "<init>", frequency, transmissionMode, bandwidth, constellation,
                hierarchy, hpCodeRate, lpCodeRate, guardInterval, isHighPriority, standard,
                isMiso, plpMode, plpId, plpGroupId);
    }

    public int getStandard() {
        return Device.getter(this, "getStandard", mStandard);
    }

    public int getBandwidth() {
        return Device.getter(this, "getBandwidth", mBandwidth);
    }

    @Override
    public String toString() {
        return "DvbtFrontendSettings(frequency=" + frequency()
                + ", transmissionMode=" + mTransmissionMode
                + ", bandwidth=" + mBandwidth
                + ", constellation=" + mConstellation
                + ", hierarchy=" + mHierarchy
                + ", hpCodeRate=" + mHpCodeRate
                + ", lpCodeRate=" + mLpCodeRate
                + ", guardInterval=" + mGuardInterval
                + ", isHighPriority=" + mIsHighPriority
                + ", standard=" + mStandard
                + ", isMiso=" + mIsMiso
                + ", plpMode=" + mPlpMode
                + ", plpId=" + mPlpId
                + ", plpGroupId=" + mPlpGroupId
                + ")";
    }
}
