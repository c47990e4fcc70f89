package sim;

import android.media.tv.tuner.frontend.DvbcFrontendSettings;
import android.media.tv.tuner.frontend.DvbsFrontendSettings;
import android.media.tv.tuner.frontend.DvbtFrontendSettings;
import android.media.tv.tuner.frontend.FrontendSettings;
import android.media.tv.tuner.frontend.FrontendStatus;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFrontend;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerLnbCallback;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerScanCallback;
import fake.DeviceModel;
import fake.Maker;
import java.util.Collections;
import java.util.Map;
import java.util.WeakHashMap;
import java.util.concurrent.ConcurrentHashMap;

/** Tuners that lock on every frequency of their band, each with an LNB behind a DiSEqC switch. */
final class SimulatedTuner implements DeviceModel {
    private static final int OK = 0;
    private static final int REFUSED = 1;
    private static final int AREA_CODE = 42;
    private static final byte DISEQC_OK = (byte) 0xe4;

    private static final class State {
        volatile FrontendSettings settings;
        /** Voltage, tone and position, by the names that their methods end with. */
        final Map<String, Integer> lnb = new ConcurrentHashMap<>();
    }

    /** By native handle. */
    private final Map<Integer, State> mStates = new ConcurrentHashMap<>();
    /** What stands behind the status objects that are in use. */
    private final Map<Object, SimulatedStatus> mStatuses = Collections.synchronizedMap(new WeakHashMap<>());

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
            return mStatuses.get(self).value(method);
        }
        if (!(self instanceof ZytTvInnerFrontend frontend)) {
            return null;
        }
        final State state = state(frontend.nativeHandle());
        switch (method) {
            case "onTune":
                state.settings = (FrontendSettings) args[0];
                return inBand(state.settings) ? OK : REFUSED;
            case "onScan":
                final FrontendSettings band = (FrontendSettings) args[0];
                new Thread(() -> scan(frontend.nativeHandle(), band), "scan").start();
                return OK;
            case "onGetServiceAreaCode":
                return AREA_CODE;
            case "onGetFrontendStatus":
                if (state.settings == null) {
                    return null;
                }
                final FrontendStatus status = Maker.make(FrontendStatus.class);
                mStatuses.put(status, new SimulatedStatus(state.settings, state.lnb.getOrDefault("Voltage", 0)));
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

    private static boolean inBand(FrontendSettings settings) {
        final int mhz = settings.getFrequency() / 1_000_000;
        return settings instanceof DvbsFrontendSettings
                ? mhz >= 950 && mhz <= 2150
                : mhz >= 42 && mhz <= 1002;
    }

    /** The switch acknowledges, and repeats the last byte that it was sent. An empty message reaches none. */
    private static void answer(int pipeline, byte[] message) {
        if (message.length > 0) {
            final byte[] reply = {DISEQC_OK, message[message.length - 1]};
            new ZytTvInnerLnbCallback().onDiseqcMessage(pipeline, reply, reply.length);
        }
    }

    private static int[] list(FrontendSettings settings, String name) {
        return new int[] {(Integer) settings.value(name)};
    }

    private static void scan(int pipeline, FrontendSettings band) {
        final ZytTvInnerScanCallback scan = new ZytTvInnerScanCallback();
        for (int percent = 0; percent <= 100; percent += 5) {
            scan.notifyScanOnProgress(pipeline, percent);
            if (percent == 50) {
                scan.notifyScanOnLocked(pipeline);
                scan.notifyScanOnFrequenciesReport(pipeline, new int[] {band.getFrequency()}, 1);
                if (band instanceof DvbsFrontendSettings || band instanceof DvbcFrontendSettings) {
                    scan.notifyScanOnSymbolRates(pipeline, list(band, "symbolRate"), 1);
                }
                if (band instanceof DvbsFrontendSettings) {
                    scan.notifyScanOnInputStreamIds(pipeline, list(band, "inputStreamId"), 1);
                    scan.notifyScanOnDvbsStandard(pipeline, list(band, "standard")[0]);
                } else if (band instanceof DvbtFrontendSettings) {
                    scan.notifyScanOnPlpIds(pipeline, list(band, "plpId"), 1);
                    scan.notifyScanOnGroupIds(pipeline, list(band, "plpGroupId"), 1);
                    scan.notifyScanOnDvbtStandard(pipeline, list(band, "standard")[0]);
                    scan.notifyScanOnHierarchy(pipeline, list(band, "hierarchy")[0]);
                }
                scan.notifyScanOnSignalType(pipeline, 1);
            }
        }
        scan.notifyScanOnScanStopped(pipeline);
    }
}
