package android.media.tv.tuner.frontend;

import fake.Device;

public class AtscFrontendSettings extends FrontendSettings {
    private final int mModulation;

    public AtscFrontendSettings(int frequency, int modulation) {
        super(2, frequency);
        mModulation = modulation;
        Device.call(this, "<init>", frequency, modulation);
    }

    @Override
    public String toString() {
        return "AtscFrontendSettings(frequency=" + frequency()
                + ", modulation=" + mModulation
                + ")";
    }
}
