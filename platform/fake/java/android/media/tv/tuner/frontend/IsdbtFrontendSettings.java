package android.media.tv.tuner.frontend;

public class IsdbtFrontendSettings extends FrontendSettings {
    private IsdbtFrontendSettings(int frequency, int modulation, int bandwidth, int mode,
            int codeRate, int guardInterval, int serviceAreaId) {
        super(9, "frequency, modulation, bandwidth, mode, codeRate, guardInterval, serviceAreaId",
                frequency, modulation, bandwidth, mode, codeRate, guardInterval, serviceAreaId);
    }

    public int getBandwidth() {
        return read("getBandwidth");
    }
}
