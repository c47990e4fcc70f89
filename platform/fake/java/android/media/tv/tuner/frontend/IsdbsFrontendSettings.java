package android.media.tv.tuner.frontend;

import fake.Device;

public class IsdbsFrontendSettings extends FrontendSettings {
    private final int mStreamId;
    private final int mStreamIdType;
    private final int mModulation;
    private final int mCodeRate;
    private final int mSymbolRate;
    private final int mRolloff;

    public IsdbsFrontendSettings(
            int frequency, int streamId, int streamIdType, int modulation, int codeRate, int
            symbolRate, int rolloff) {
        super(7, frequency);
        mStreamId = streamId;
        mStreamIdType = streamIdType;
        mModulation = modulation;
        mCodeRate = codeRate;
        mSymbolRate = symbolRate;
        mRolloff = rolloff;
        Device.call(this, "<init>", frequency, streamId, streamIdType, modulation, codeRate,
                symbolRate, rolloff);
    }

    @Override
    public String toString() {
        return "IsdbsFrontendSettings(frequency=" + frequency()
                + ", streamId=" + mStreamId
                + ", streamIdType=" + mStreamIdType
                + ", modulation=" + mModulation
                + ", codeRate=" + mCodeRate
                + ", symbolRate=" + mSymbolRate
                + ", rolloff=" + mRolloff
                + ")";
    }
}
