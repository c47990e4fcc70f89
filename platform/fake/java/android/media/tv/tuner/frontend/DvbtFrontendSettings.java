package android.media.tv.tuner.frontend;

public class DvbtFrontendSettings extends FrontendSettings {
    private DvbtFrontendSettings(int frequency, int transmissionMode, int bandwidth,
            int constellation, int hierarchy, int hpCodeRate, int lpCodeRate, int guardInterval,
            boolean isHighPriority, int standard, boolean isMiso, int plpMode, int plpId,
            int plpGroupId) {
        super(6,
                "frequency, transmissionMode, bandwidth, constellation, hierarchy, hpCodeRate, "
                        + "lpCodeRate, guardInterval, isHighPriority, standard, isMiso, plpMode, "
                        + "plpId, plpGroupId",
                frequency, transmissionMode, bandwidth, constellation, hierarchy, hpCodeRate,
                lpCodeRate, guardInterval, isHighPriority, standard, isMiso, plpMode, plpId,
                plpGroupId);
    }

    public int getStandard() {
        return read("getStandard");
    }

    public int getBandwidth() {
        return read("getBandwidth");
    }
}
