package android.media.tv.tuner.frontend;

import fake.Device;

/**
 * Every value comes from the device model; null means that the frontend did not report it. If a
 * getter throws, C gets 0, and a list stays as it was.
 */
public class FrontendStatus {
    private FrontendStatus() {}

    private Object reported(String getter) {
        final Object value = Device.call(this, getter);
        if (value == null) { // The platform's text; only isRfLocked keeps its whole name.
            throw new IllegalStateException(
                    getter.replaceFirst("^(get|is(?!Rf))", "") + " status is empty");
        }
        return value;
    }

    private int number(String getter) {
        return reported(getter) instanceof Number number ? number.intValue() : 0;
    }

    private boolean flag(String getter) {
        return reported(getter) == Boolean.TRUE;
    }

    public boolean isDemodLocked() {
        return flag("isDemodLocked");
    }

    public int getSnr() {
        return number("getSnr");
    }

    public int getBer() {
        return number("getBer");
    }

    public int getPer() {
        return number("getPer");
    }

    public int getPerBer() {
        return number("getPerBer");
    }

    public int getSignalQuality() {
        return number("getSignalQuality");
    }

    public int getSignalStrength() {
        return number("getSignalStrength");
    }

    public int getSymbolRate() {
        return number("getSymbolRate");
    }

    public long getInnerFec() {
        return reported("getInnerFec") instanceof Number number ? number.longValue() : 0;
    }

    public int getModulation() {
        return number("getModulation");
    }

    public int[] getExtendedModulations() {
        return (int[]) reported("getExtendedModulations");
    }

    public int getSpectralInversion() {
        return number("getSpectralInversion");
    }

    public int getLnbVoltage() {
        return number("getLnbVoltage");
    }

    public int getPlpId() {
        return number("getPlpId");
    }

    public boolean isEwbs() {
        return flag("isEwbs");
    }

    public int getAgc() {
        return number("getAgc");
    }

    public boolean isLnaOn() {
        return flag("isLnaOn");
    }

    public int getMer() {
        return number("getMer");
    }

    public int getFreqOffset() {
        return number("getFreqOffset");
    }

    public int getHierarchy() {
        return number("getHierarchy");
    }

    public boolean isRfLocked() {
        return flag("isRfLocked");
    }

    public int getBandwidth() {
        return number("getBandwidth");
    }

    public int getSystemId() {
        return number("getSystemId");
    }

    public int getRollOff() {
        return number("getRollOff");
    }

    public int[] getCodeRates() {
        return (int[]) reported("getCodeRates");
    }
}
