package sim;

import android.media.tv.tuner.frontend.DvbsFrontendSettings;
import android.media.tv.tuner.frontend.FrontendSettings;
import android.media.tv.tuner.frontend.FrontendStatus;
import android.media.tv.tuner.frontend.IsdbtFrontendSettings;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** A signal that is as good as its frequency is low, and otherwise as it was asked for. */
final class SimulatedStatus extends FrontendStatus {
    private final FrontendSettings mSettings;
    private final int mVoltage;

    SimulatedStatus(FrontendSettings settings, int voltage) {
        mSettings = settings;
        mVoltage = voltage;
    }

    /** A number of the settings, which say them in their text only; 0 when they have none of this name. */
    static long setting(FrontendSettings settings, String name) {
        final Matcher value = Pattern.compile("\\b" + name + "=(-?\\d+)").matcher(settings.toString());
        return value.find() ? Long.parseLong(value.group(1)) : 0;
    }

    Object value(String getter) {
        final int mhz = mSettings.frequency() / 1_000_000;
        return switch (getter) {
            case "isDemodLocked", "isRfLocked", "isLnaOn" -> true;
            case "getSnr", "getMer" -> 30_000 - 4 * mhz;
            case "getSignalQuality" -> 100 - mhz / 100;
            case "getSignalStrength" -> -30_000 - 10 * mhz;
            case "getAgc" -> mhz % 256;
            case "getFreqOffset" -> -mhz;
            case "getSymbolRate" -> setting(mSettings, "symbolRate");
            case "getInnerFec" -> setting(mSettings, "innerFec") | setting(mSettings, "fec");
            case "getModulation" -> setting(mSettings, "modulation") | setting(mSettings, "constellation");
            case "getSpectralInversion" -> setting(mSettings, "spectralInversion");
            case "getRollOff" -> setting(mSettings, "rolloff");
            case "getBandwidth" -> setting(mSettings, "bandwidth");
            case "getHierarchy" -> setting(mSettings, "hierarchy");
            case "getPlpId" -> setting(mSettings, "plpId");
            case "getLnbVoltage" -> mSettings instanceof DvbsFrontendSettings ? mVoltage : 0;
            case "getExtendedModulations" -> layers("modulation");
            case "getCodeRates" -> layers("codeRate");
            default -> 0;
        };
    }

    /** What only ISDB-T has, which has layers. */
    private int[] layers(String name) {
        return mSettings instanceof IsdbtFrontendSettings
                ? new int[] {(int) setting(mSettings, name)} : new int[0];
    }
}
