package android.media.tv.tuner.frontend;

import fake.Device;

/**
 * Every value is the device model's. One whose getter throws is 0 in C, and a list is left as it
 * was.
 */
public class FrontendStatus {
    public boolean isDemodLocked() {
        return Device.callBoolean(this, "isDemodLocked");
    }

    public int getSnr() {
        return Device.callInt(this, "getSnr");
    }

    public int getBer() {
        return Device.callInt(this, "getBer");
    }

    public int getPer() {
        return Device.callInt(this, "getPer");
    }

    public int getPerBer() {
        return Device.callInt(this, "getPerBer");
    }

    public int getSignalQuality() {
        return Device.callInt(this, "getSignalQuality");
    }

    public int getSignalStrength() {
        return Device.callInt(this, "getSignalStrength");
    }

    public int getSymbolRate() {
        return Device.callInt(this, "getSymbolRate");
    }

    public long getInnerFec() {
        return Device.callLong(this, "getInnerFec");
    }

    public int getModulation() {
        return Device.callInt(this, "getModulation");
    }

    public int[] getExtendedModulations() {
        return (int[]) Device.call(this, "getExtendedModulations");
    }

    public int getSpectralInversion() {
        return Device.callInt(this, "getSpectralInversion");
    }

    public int getLnbVoltage() {
        return Device.callInt(this, "getLnbVoltage");
    }

    public int getPlpId() {
        return Device.callInt(this, "getPlpId");
    }

    public boolean isEwbs() {
        return Device.callBoolean(this, "isEwbs");
    }

    public int getAgc() {
        return Device.callInt(this, "getAgc");
    }

    public boolean isLnaOn() {
        return Device.callBoolean(this, "isLnaOn");
    }

    public int getMer() {
        return Device.callInt(this, "getMer");
    }

    public int getFreqOffset() {
        return Device.callInt(this, "getFreqOffset");
    }

    public int getHierarchy() {
        return Device.callInt(this, "getHierarchy");
    }

    public boolean isRfLocked() {
        return Device.callBoolean(this, "isRfLocked");
    }

    public int getBandwidth() {
        return Device.callInt(this, "getBandwidth");
    }

    public int getSystemId() {
        return Device.callInt(this, "getSystemId");
    }

    public int getRollOff() {
        return Device.callInt(this, "getRollOff");
    }

    public int[] getCodeRates() {
        return (int[]) Device.call(this, "getCodeRates");
    }
}
