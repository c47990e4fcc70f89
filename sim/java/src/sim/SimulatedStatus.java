package sim;

import android.media.tv.tuner.frontend.FrontendSettings;
import android.media.tv.tuner.frontend.FrontendStatus;

/** A signal that is as good as its frequency is low. */
final class SimulatedStatus extends FrontendStatus {
    private final FrontendSettings mSettings;
    private final int mVoltage;

    SimulatedStatus(FrontendSettings settings, int voltage) {
        mSettings = settings;
        mVoltage = voltage;
    }

    Object value(String getter) {
        final int mhz = mSettings.frequency() / 1_000_000;
        return switch (getter) {
            case "isDemodLocked", "isRfLocked", "isLnaOn" -> true;
            case "isEwbs" -> false;
            case "getSnr", "getMer" -> 30_000 - 4 * mhz;
            case "getSignalQuality" -> 100 - mhz / 100;
            case "getSignalStrength" -> -30_000 - 10 * mhz;
            case "getSymbolRate" -> 27_500_000;
            case "getInnerFec" -> 1L << 33 | mhz;
            case "getLnbVoltage" -> mVoltage;
            case "getAgc" -> mhz % 256;
            case "getFreqOffset" -> -mhz;
            case "getExtendedModulations" -> new int[] {2, 4};
            case "getCodeRates" -> new int[] {1, 2, 3};
            case "getSystemId" -> mSettings.type();
            default -> 0;
        };
    }
}
