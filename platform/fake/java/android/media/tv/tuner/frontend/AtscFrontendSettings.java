package android.media.tv.tuner.frontend;

public class AtscFrontendSettings extends FrontendSettings {
    private AtscFrontendSettings(int frequency, int modulation) {
        super(2, "frequency, modulation", frequency, modulation);
    }
}
