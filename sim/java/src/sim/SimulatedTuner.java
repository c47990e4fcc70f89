package sim;

import android.media.tv.tuner.frontend.DvbcFrontendSettings;
import android.media.tv.tuner.frontend.DvbsFrontendSettings;
import android.media.tv.tuner.frontend.DvbtFrontendSettings;
import android.media.tv.tuner.frontend.FrontendSettings;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFrontend;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerLnbCallback;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerScanCallback;
import desk.DeviceModel;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;

/** Tuners that lock on every frequency of their band, each with an LNB behind a DiSEqC switch. */
final class SimulatedTuner implements DeviceModel {
    private static final int OK = 0;
    private static final int REFUSED = 1;
    private static final int AREA_CODE = 42;
    private static final byte DISEQC_OK = (byte) 0xe4;

    private static final class State {
        volatile FrontendSettings settings;
        volatile int voltage;
        volatile int tone;
        volatile int position;
    }

    /** By native handle. */
    private final Map<Integer, State> mStates = new ConcurrentHashMap<>();

    String received(int pipeline) {
        final FrontendSettings settings = state(pipeline).settings;
        return settings != null ? settings.toString() : "";
    }

    private State state(int pipeline) {
        return mStates.computeIfAbsent(pipeline, key -> new State());
    }

    @Override
    public Object call(Object self, String method, Object... args) {
        if (self instanceof SimulatedStatus status) {
            return status.value(method);
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
                return state.settings != null ? new SimulatedStatus(state.settings, state.voltage) : null;
            case "onGetFrontendSetting":
                return state.settings;
            case "onSetVoltage":
                state.voltage = (Integer) args[0];
                return OK;
            case "onSetTone":
                state.tone = (Integer) args[0];
                return OK;
            case "onSetSatellitePosition":
                state.position = (Integer) args[0];
                return OK;
            case "onGetVoltage":
                return state.voltage;
            case "onGetTone":
                return state.tone;
            case "onGetSatellitePosition":
                return state.position;
            case "onSendDiseqcMessage":
                final byte[] message = ((byte[]) args[0]).clone();
                new Thread(() -> answer(frontend.nativeHandle(), message), "switch").start();
                return OK;
            default:
                return null;
        }
    }

    private static boolean inBand(FrontendSettings settings) {
        final int mhz = settings.frequency() / 1_000_000;
        return settings instanceof DvbsFrontendSettings
                ? mhz >= 950 && mhz <= 2150
                : mhz >= 42 && mhz <= 1002;
    }

    /** The switch acknowledges, and repeats the data byte that it was sent. */
    private static void answer(int pipeline, byte[] message) {
        final byte[] reply = {DISEQC_OK, message[message.length - 1]};
        new ZytTvInnerLnbCallback().onDiseqcMessage(pipeline, reply, reply.length);
    }

    private static void scan(int pipeline, FrontendSettings band) {
        final ZytTvInnerScanCallback scan = new ZytTvInnerScanCallback();
        for (int percent = 0; percent <= 100; percent += 5) {
            scan.notifyScanOnProgress(pipeline, percent);
            if (percent == 50) {
                final int[] found = {band.frequency()};
                scan.notifyScanOnLocked(pipeline);
                scan.notifyScanOnFrequenciesReport(pipeline, found, found.length);
                if (band instanceof DvbsFrontendSettings || band instanceof DvbcFrontendSettings) {
                    final int[] rates = {(int) SimulatedStatus.setting(band, "symbolRate")};
                    scan.notifyScanOnSymbolRates(pipeline, rates, rates.length);
                }
                if (band instanceof DvbsFrontendSettings) {
                    final int[] streams = {(int) SimulatedStatus.setting(band, "inputStreamId")};
                    scan.notifyScanOnInputStreamIds(pipeline, streams, streams.length);
                    scan.notifyScanOnDvbsStandard(pipeline, (int) SimulatedStatus.setting(band, "standard"));
                } else if (band instanceof DvbtFrontendSettings) {
                    final int[] plps = {(int) SimulatedStatus.setting(band, "plpId")};
                    final int[] groups = {(int) SimulatedStatus.setting(band, "plpGroupId")};
                    scan.notifyScanOnPlpIds(pipeline, plps, plps.length);
                    scan.notifyScanOnGroupIds(pipeline, groups, groups.length);
                    scan.notifyScanOnDvbtStandard(pipeline, (int) SimulatedStatus.setting(band, "standard"));
                    scan.notifyScanOnHierarchy(pipeline, (int) SimulatedStatus.setting(band, "hierarchy"));
                }
                scan.notifyScanOnSignalType(pipeline, 1);
            }
        }
        scan.notifyScanOnScanStopped(pipeline);
    }
}
