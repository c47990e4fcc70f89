package sim;

import android.media.tv.tuner.frontend.DvbsFrontendSettings;
import android.media.tv.tuner.frontend.FrontendSettings;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFrontend;
import desk.DeviceModel;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;

/** Tuners that lock on every frequency of their band. */
final class SimulatedTuner implements DeviceModel {
    private static final int OK = 0;
    private static final int REFUSED = 1;
    private static final int AREA_CODE = 42;

    /** What was asked last, by native handle. */
    private final Map<Integer, String> mReceived = new ConcurrentHashMap<>();

    String received(int pipeline) {
        return mReceived.getOrDefault(pipeline, "");
    }

    @Override
    public Object call(Object self, String method, Object... args) {
        return switch (method) {
            case "onTune" -> tune((ZytTvInnerFrontend) self, (FrontendSettings) args[0]);
            case "onGetServiceAreaCode" -> AREA_CODE;
            default -> null;
        };
    }

    private int tune(ZytTvInnerFrontend frontend, FrontendSettings settings) {
        mReceived.put(frontend.nativeHandle(), settings.toString());
        final int mhz = settings.frequency() / 1_000_000;
        final boolean inBand = settings instanceof DvbsFrontendSettings
                ? mhz >= 950 && mhz <= 2150
                : mhz >= 42 && mhz <= 1002;
        return inBand ? OK : REFUSED;
    }
}
