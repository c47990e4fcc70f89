package tests;

import android.media.tv.tuner.frontend.DtmbFrontendSettings;
import android.media.tv.tuner.frontend.FrontendStatus;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFilter;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFrontend;
import fake.Device;
import fake.Maker;
import java.util.Arrays;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.atomic.AtomicInteger;

/**
 * The device model of the stress test. Its answers show which object gave them, so the
 * middleware's side knows what every result must be. It also checks the calls that each object
 * receives.
 */
public final class StressModel {
    /** The type of the filters whose open fails. */
    private static final int REFUSED_TYPE = 9;

    /** For each open object, the number of calls that are running. */
    private static final Map<Object, AtomicInteger> OPEN = new ConcurrentHashMap<>();

    public static void install() {
        Device.model = StressModel::call;
    }

    public static void checkAllClosed() {
        check(OPEN.isEmpty(), "objects are not closed");
    }

    private static void check(boolean holds, String what) {
        if (!holds) {
            System.err.println("stress: " + what);
            Runtime.getRuntime().halt(1);
        }
    }

    private static Object call(Object self, String method, Object... args) {
        return switch (method) {
            case "<init>", "setNativeHandle", "onSetNativeHandle" -> null;
            case "onOpenFilter", "onOpenFrontend" ->
                Arrays.asList(args).contains(REFUSED_TYPE)
                        ? 3 : OPEN.put(self, new AtomicInteger());
            default -> self instanceof FrontendStatus ? new int[] {1, 2, 3} // a list, 0 or false
                    : self instanceof ZytTvInnerFilter filter
                    ? checked(self, filter.nativeHandle(), true, method, args)
                    : self instanceof ZytTvInnerFrontend tuner
                    ? checked(self, tuner.nativeHandle(), false, method, args)
                    : null;
        };
    }

    /**
     * An object gets no call before its open or after its close. A filter's calls, and a close,
     * never overlap others.
     */
    private static Object checked(Object self, int handle, boolean isFilter, String method,
            Object[] args) {
        final boolean closes = method.startsWith("onClose");
        final AtomicInteger calls = closes ? OPEN.remove(self) : OPEN.get(self);
        check(calls != null, method + " of an object that is not open");
        check(calls.incrementAndGet() == 1 || !(isFilter || closes),
                method + " while another call runs");
        final Object answer = answer(handle % 8, method, args);
        calls.decrementAndGet();
        return answer;
    }

    /**
     * The lowest bits of a number show the end of the handle, the others the method and the
     * arguments.
     */
    private static Object answer(int end, String method, Object[] args) {
        return switch (method) {
            case "onGetFrontendStatus" -> Maker.make(FrontendStatus.class);
            case "onGetFrontendSetting" ->
                    Maker.make(DtmbFrontendSettings.class, 9000, 0, 0, 0, 0, 0, 6);
            case "onRead" -> 1 + end;
            // Becomes an argument of the tune or scan that follows.
            case "onGetServiceAreaCode" -> 0;
            default -> 8 + 8 * ((method + Arrays.deepToString(args)).hashCode() & 0xfffff) + end;
        };
    }
}
