package android.media.tv.tuner.frontend;

import fake.Device;

public class DvbsFrontendSettings extends FrontendSettings {
    private final int mModulation;
    private final DvbsCodeRate mCodeRate;
    private final int mSymbolRate;
    private final int mRolloff;
    private final int mPilot;
    private final int mInputStreamId;
    private final int mStandard;
    private final int mVcmMode;
    private final int mScanType;
    private final boolean mIsDiseqcRxMessage;

    public DvbsFrontendSettings(
            int frequency, int modulation, DvbsCodeRate codeRate, int symbolRate, int
            rolloff, int pilot, int inputStreamId, int standard, int vcmMode, int scanType,
            boolean isDiseqcRxMessage) {
        super(5, frequency);
        mModulation = modulation;
        mCodeRate = codeRate;
        mSymbolRate = symbolRate;
        mRolloff = rolloff;
        mPilot = pilot;
        mInputStreamId = inputStreamId;
        mStandard = standard;
        mVcmMode = vcmMode;
        mScanType = scanType;
        mIsDiseqcRxMessage = isDiseqcRxMessage;
        Device.call(this, "<init>", frequency, modulation, codeRate, symbolRate, rolloff,
                pilot, inputStreamId, standard, vcmMode, scanType, isDiseqcRxMessage);
    }

    @Override
    public String toString() {
        return "DvbsFrontendSettings(frequency=" + frequency()
                + ", modulation=" + mModulation
                + ", codeRate=" + mCodeRate
                + ", symbolRate=" + mSymbolRate
                + ", rolloff=" + mRolloff
                + ", pilot=" + mPilot
                + ", inputStreamId=" + mInputStreamId
                + ", standard=" + mStandard
                + ", vcmMode=" + mVcmMode
                + ", scanType=" + mScanType
                + ", isDiseqcRxMessage=" + mIsDiseqcRxMessage
                + endFrequencyText()
                + ")";
    }
}
