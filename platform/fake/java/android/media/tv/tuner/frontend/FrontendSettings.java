package android.media.tv.tuner.frontend;

import fake.Device;

/**
 * The platform's, as are the other classes of this package. The library makes and reads them on the
 * thread of the middleware's call, without a lock of its own; what a constructor or a getter throws
 * is printed and cleared, and C gets -1.
 */
public class FrontendSettings {
    private final int mType;
    private final int mFrequency;
    private int mEndFrequency;

    protected FrontendSettings(int type, int frequency) {
        mType = type;
        mFrequency = frequency;
    }

    public int getType() {
        return Device.getter(this, "getType", mType);
    }

    public int getFrequency() {
        return Device.getter(this, "getFrequency", mFrequency);
    }

    public void setEndFrequency(int endFrequency) {
        Device.call(this, "setEndFrequency", endFrequency);
        mEndFrequency = endFrequency;
    }

    /** For the fakes: the type, without asking the device model. */
    public final int type() {
        return mType;
    }

    /** For the fakes: the frequency, without asking the device model. */
    public final int frequency() {
        return mFrequency;
    }

    protected final String endFrequencyText() {
        return ", endFrequency=" + mEndFrequency;
    }

    @Override
    public String toString() {
        return "FrontendSettings(type=" + mType + ", frequency=" + mFrequency + ")";
    }
}
