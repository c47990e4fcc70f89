package android.media.tv.tuner.frontend;

import fake.Device;
import fake.Values;

/**
 * A fake of the platform's class, as are the other classes of this package. The library makes and
 * reads the objects on the thread of the middleware's call, and holds no lock then. If a
 * constructor or a getter throws, the exception is printed and cleared, and C gets -1. If
 * setEndFrequency throws, the object is used without an end frequency, and nothing is printed.
 */
public abstract class FrontendSettings extends Values {
    private final int mType;

    FrontendSettings(int type, String names, Object... values) {
        super(names, values);
        mType = type;
    }

    public int getType() {
        return Device.call(this, "getType") instanceof Number type ? type.intValue() : mType;
    }

    public int getFrequency() {
        return read("getFrequency");
    }

    public void setEndFrequency(int endFrequency) {
        if (endFrequency < 1) {
            throw new IllegalArgumentException("endFrequency must be greater than 0");
        }
        Device.call(this, "setEndFrequency", endFrequency);
        add("endFrequency", endFrequency);
    }
}
