package sim;

import android.media.tv.tuner.frontend.DvbsCodeRate;
import android.media.tv.tuner.frontend.DvbsFrontendSettings;
import android.media.tv.tuner.frontend.DvbtFrontendSettings;
import android.media.tv.tuner.frontend.FrontendSettings;
import android.media.tv.tuner.frontend.IsdbtFrontendSettings;

/** A signal that is as good as its frequency is low, and otherwise as it was asked for. */
final class SimulatedStatus {
    private final FrontendSettings mSettings;
    private final int mVoltage;

    SimulatedStatus(FrontendSettings settings, int voltage) {
        mSettings = settings;
        mVoltage = voltage;
    }

    /** What a getter of FrontendStatus returns; null for a kind that is not reported. */
    Object value(String getter) {
        final int mhz = mSettings.getFrequency() / 1_000_000;
        return switch (getter) {
            case "isDemodLocked", "isRfLocked" -> true;
            case "getSnr", "getMer" -> 30_000 - 4 * mhz;
            case "getSignalQuality" -> 100 - mhz / 100;
            case "getSignalStrength" -> -30_000 - 10 * mhz;
            case "getAgc" -> mhz % 256;
            case "getModulation" ->
                mSettings.value(mSettings instanceof DvbtFrontendSettings ? "constellation" : "modulation");
            case "getSymbolRate" -> mSettings.value("symbolRate");
            case "getInnerFec" ->
                mSettings.value("codeRate") instanceof DvbsCodeRate rate ? rate.value("innerFec") : mSettings.value("fec");
            case "getLnbVoltage" -> mSettings instanceof DvbsFrontendSettings ? mVoltage : null;
            case "getExtendedModulations" ->
                mSettings instanceof IsdbtFrontendSettings ? new int[] {(Integer) mSettings.value("modulation")} : null;
            default -> null;
        };
    }
}
