package sim;

import android.media.tv.tuner.frontend.DvbsCodeRate;
import android.media.tv.tuner.frontend.DvbsFrontendSettings;
import android.media.tv.tuner.frontend.DvbtFrontendSettings;
import android.media.tv.tuner.frontend.FrontendSettings;
import android.media.tv.tuner.frontend.FrontendStatus;
import android.media.tv.tuner.frontend.IsdbtFrontendSettings;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFrontend;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerLnbCallback;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerScanCallback;
import fake.DeviceModel;
import fake.Maker;
import java.util.Collections;
import java.util.Map;
import java.util.WeakHashMap;
import java.util.concurrent.ConcurrentHashMap;
import java.util.function.Consumer;
import java.util.function.Function;

/** Tuners that lock on every frequency of their band, each with an LNB behind a DiSEqC switch. */
final class SimulatedTuner implements DeviceModel {
    private static final int OK = 0, REFUSED = 1;

    private static final class State {
        volatile FrontendSettings settings;
        /** Voltage, tone and position, by the ends of their methods' names. */
        final Map<String, Integer> lnb = new ConcurrentHashMap<>();
    }

    /** By native handle. */
    private final Map<Integer, State> mStates = new ConcurrentHashMap<>();
    /** For each status object in use, what its getters return. */
    private final Map<Object, Function<String, Object>> mStatuses =
            Collections.synchronizedMap(new WeakHashMap<>());

    String received(int pipeline) {
        final FrontendSettings settings = state(pipeline).settings;
        return settings != null ? settings.toString() : "";
    }

    private State state(int pipeline) {
        return mStates.computeIfAbsent(pipeline, key -> new State());
    }

    @Override
    public Object call(Object self, String method, Object... args) {
        if (self instanceof FrontendStatus) {
            return mStatuses.get(self).apply(method);
        }
        if (!(self instanceof ZytTvInnerFrontend frontend)) {
            return null;
        }
        final State state = state(frontend.nativeHandle());
        switch (method) {
            case "onTune":
                state.settings = (FrontendSettings) args[0];
                final int mhz = state.settings.getFrequency() / 1_000_000;
                final boolean dvbs = state.settings instanceof DvbsFrontendSettings;
                return mhz >= (dvbs ? 950 : 42) && mhz <= (dvbs ? 2150 : 1002) ? OK : REFUSED;
            case "onScan":
                final FrontendSettings band = (FrontendSettings) args[0];
                new Thread(() -> scan(frontend.nativeHandle(), band), "scan").start();
                return OK;
            case "onGetServiceAreaCode":
                return 42;
            case "onGetFrontendStatus":
                final FrontendSettings tuned = state.settings;
                if (tuned == null) {
                    return null;
                }
                final int voltage = state.lnb.getOrDefault("Voltage", 0);
                final FrontendStatus status = Maker.make(FrontendStatus.class);
                mStatuses.put(status, getter -> reported(getter, tuned, voltage));
                return status;
            case "onGetFrontendSetting":
                return state.settings;
            case "onSetVoltage", "onSetTone", "onSetSatellitePosition":
                state.lnb.put(method.substring("onSet".length()), (Integer) args[0]);
                return OK;
            case "onGetVoltage", "onGetTone", "onGetSatellitePosition":
                return state.lnb.get(method.substring("onGet".length()));
            case "onSendDiseqcMessage":
                final byte[] message = ((byte[]) args[0]).clone();
                new Thread(() -> answer(frontend.nativeHandle(), message), "switch").start();
                return OK;
            default:
                return null;
        }
    }

    /** The requested signal, better at a lower frequency; null if the kind is not reported. */
    private static Object reported(String getter, FrontendSettings settings, int voltage) {
        final int mhz = settings.getFrequency() / 1_000_000;
        final boolean dvbt = settings instanceof DvbtFrontendSettings;
        return switch (getter) {
            case "isDemodLocked", "isRfLocked" -> true;
            case "getSnr", "getMer" -> 30_000 - 4 * mhz;
            case "getSignalQuality" -> 100 - mhz / 100;
            case "getSignalStrength" -> -30_000 - 10 * mhz;
            case "getAgc" -> mhz % 256;
            case "getModulation" -> settings.value(dvbt ? "constellation" : "modulation");
            case "getSymbolRate" -> settings.value("symbolRate");
            case "getInnerFec" ->
                settings.value("codeRate") instanceof DvbsCodeRate rate
                        ? rate.value("innerFec") : settings.value("fec");
            case "getLnbVoltage" -> settings instanceof DvbsFrontendSettings ? voltage : null;
            case "getExtendedModulations" ->
                settings instanceof IsdbtFrontendSettings
                        ? new int[] {(Integer) settings.value("modulation")} : null;
            default -> null;
        };
    }

    /** The switch answers with e4 and the last byte. An empty message does not reach it. */
    private static void answer(int pipeline, byte[] message) {
        if (message.length > 0) {
            final byte[] reply = {(byte) 0xe4, message[message.length - 1]};
            new ZytTvInnerLnbCallback().onDiseqcMessage(pipeline, reply, reply.length);
        }
    }

    /** Reports a value of the settings by its name, if their system has it. */
    private static void report(FrontendSettings settings, String name, Consumer<int[]> notify) {
        if (settings.value(name) instanceof Integer value) {
            notify.accept(new int[] {value});
        }
    }

    private static void scan(int pipeline, FrontendSettings band) {
        final ZytTvInnerScanCallback scan = new ZytTvInnerScanCallback();
        for (int percent = 0; percent <= 100; percent += 5) {
            scan.notifyScanOnProgress(pipeline, percent);
            if (percent == 50) {
                scan.notifyScanOnLocked(pipeline);
                report(band, "frequency", v -> scan.notifyScanOnFrequenciesReport(pipeline, v, 1));
                report(band, "symbolRate", v -> scan.notifyScanOnSymbolRates(pipeline, v, 1));
                report(band, "inputStreamId", v -> scan.notifyScanOnInputStreamIds(pipeline, v, 1));
                report(band, "plpId", v -> scan.notifyScanOnPlpIds(pipeline, v, 1));
                report(band, "plpGroupId", v -> scan.notifyScanOnGroupIds(pipeline, v, 1));
                if (band instanceof DvbsFrontendSettings) {
                    report(band, "standard", v -> scan.notifyScanOnDvbsStandard(pipeline, v[0]));
                } else {
                    report(band, "standard", v -> scan.notifyScanOnDvbtStandard(pipeline, v[0]));
                }
                report(band, "hierarchy", v -> scan.notifyScanOnHierarchy(pipeline, v[0]));
                scan.notifyScanOnSignalType(pipeline, 1);
            }
        }
        scan.notifyScanOnScanStopped(pipeline);
    }
}
