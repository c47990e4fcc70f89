package tests;

import android.media.tv.tuner.frontend.FrontendSettings;

/** Settings of a delivery system that the library makes no object for. */
public final class OtherFrontendSettings extends FrontendSettings {
    public OtherFrontendSettings(int type, int frequency) {
        super(type, frequency);
    }
}
