package tests;

import android.media.tv.tuner.frontend.DtmbFrontendSettings;
import android.media.tv.tuner.frontend.FrontendSettings;
import android.media.tv.tuner.frontend.FrontendStatus;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFilter;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFrontend;
import desk.Device;
import desk.DeviceModel;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.atomic.AtomicInteger;

/**
 * The device model of the stress: answers that follow from the handle or the arguments, so that the middleware's
 * side can tell what every result must be, and a watch over the calls that each object gets.
 */
public final class StressModel implements DeviceModel {
    private static final StressModel INSTANCE = new StressModel();

    /** The calls that run, of each open object. */
    private final Map<Object, AtomicInteger> mOpen = new ConcurrentHashMap<>();
    private volatile String mFault = "";
    private final FrontendStatus mStatus = new FrontendStatus();
    private final FrontendSettings mSettings = new DtmbFrontendSettings(9000, 0, 0, 0, 0, 0, 6);

    private StressModel() {}

    public static void install() {
        Device.model = INSTANCE;
    }

    /** What was wrong, or empty. Every object must be closed. */
    public static String fault() {
        final int left = INSTANCE.mOpen.size();
        return INSTANCE.mFault.isEmpty() && left != 0 ? left + " objects are not closed" : INSTANCE.mFault;
    }

    @Override
    public Object call(Object self, String method, Object... args) {
        return switch (method) {
            case "<init>", "setNativeHandle", "onSetNativeHandle" -> null;
            case "onOpenFilter" -> (Integer) args[0] == 9 ? 3 : open(self);
            case "onOpenFrontend" -> open(self);
            case "getSnr" -> 77;
            case "getCodeRates" -> new int[] {1, 2, 3};
            default -> {
                final boolean isFilter = self instanceof ZytTvInnerFilter;
                yield isFilter || self instanceof ZytTvInnerFrontend ? watched(self, isFilter, method, args) : null;
            }
        };
    }

    private int open(Object self) {
        mOpen.put(self, new AtomicInteger());
        return 0;
    }

    /** Calls of one object: none before its open, none after its close; of a filter, and to close, one at a time. */
    private Object watched(Object self, boolean isFilter, String method, Object[] args) {
        final boolean closes = method.startsWith("onClose");
        final AtomicInteger calls = closes ? mOpen.remove(self) : mOpen.get(self);
        if (calls == null) {
            mFault = method + " of an object that is not open";
            return 0;
        }
        if (calls.incrementAndGet() > 1 && (isFilter || closes)) {
            mFault = method + " while another call runs";
        }
        try {
            return answer(isFilter ? ((ZytTvInnerFilter) self).nativeHandle() : 0, method, args);
        } finally {
            calls.decrementAndGet();
        }
    }

    private Object answer(int handle, String method, Object[] args) {
        return switch (method) {
            case "onStart" -> handle & 0xff;
            case "onStop" -> 0x100 + (handle & 0xff);
            case "onFlush" -> 0x200 + (handle & 0xff);
            case "onSetSectionConfig" -> 0x300 + (handle & 0xff);
            case "onRead" -> 1 + (handle & 0xff);
            case "onTune" -> ((FrontendSettings) args[0]).frequency();
            case "onScan" -> ((FrontendSettings) args[0]).frequency() + (Integer) args[1];
            case "onGetFrontendStatus" -> mStatus;
            case "onGetFrontendSetting" -> mSettings;
            case "onSetVoltage" -> (Integer) args[0] + 1;
            case "onSendDiseqcMessage" -> ((byte[]) args[0]).length;
            default -> 0;
        };
    }
}
