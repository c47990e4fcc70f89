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
import java.util.concurrent.atomic.AtomicLong;

/**
 * The device model of the stress: answers that follow from the arguments, so that the middleware's side can tell
 * what every result must be, and a watch over the calls that each object gets.
 */
public final class StressModel implements DeviceModel {
    private static final StressModel INSTANCE = new StressModel();

    private final Map<Object, AtomicInteger> mOpen = new ConcurrentHashMap<>();
    private final AtomicLong mOpened = new AtomicLong();
    private final AtomicLong mClosed = new AtomicLong();
    private volatile String mFault = "";
    private final FrontendStatus mStatus = new FrontendStatus();
    private final FrontendSettings mSettings = new DtmbFrontendSettings(9000, 0, 0, 0, 0, 0, 6);

    private StressModel() {}

    public static void install() {
        Device.model = INSTANCE;
    }

    /** What was wrong, or empty. Every object must be closed. */
    public static String fault() {
        final long left = INSTANCE.mOpened.get() - INSTANCE.mClosed.get();
        return INSTANCE.mFault.isEmpty() && left != 0 ? left + " objects are not closed" : INSTANCE.mFault;
    }

    @Override
    public Object call(Object self, String method, Object... args) {
        if (self instanceof ZytTvInnerFilter filter) {
            return switch (method) {
                case "<init>", "setNativeHandle" -> null;
                case "onOpenFilter" -> open(self, (Integer) args[0] == 9 ? 3 : 0);
                default -> watched(self, method, 1, method.equals("onCloseFilter"),
                        () -> answer(filter.nativeHandle(), method, args));
            };
        }
        if (self instanceof ZytTvInnerFrontend) {
            return switch (method) {
                case "<init>", "onSetNativeHandle" -> null;
                case "onOpenFrontend" -> open(self, 0);
                default -> watched(self, method, Integer.MAX_VALUE, method.equals("onCloseFrontend"),
                        () -> answer(method, args));
            };
        }
        return switch (method) {
            case "isDemodLocked" -> true;
            case "getSnr" -> 77;
            case "getCodeRates" -> new int[] {1, 2, 3};
            default -> null;
        };
    }

    private Object open(Object self, int result) {
        if (result == 0) {
            mOpen.put(self, new AtomicInteger());
            mOpened.incrementAndGet();
        }
        return result;
    }

    /** Calls of one object: none before its open, none after its close, at most so many at once. */
    private Object watched(Object self, String method, int most, boolean closes, java.util.function.Supplier<Object> answer) {
        final AtomicInteger calls = closes ? mOpen.remove(self) : mOpen.get(self);
        if (calls == null) {
            mFault = method + " of an object that is not open";
            return 0;
        }
        final int now = calls.incrementAndGet();
        if (now > most || (closes && now > 1)) {
            mFault = method + " while another call runs";
        }
        try {
            return answer.get();
        } finally {
            calls.decrementAndGet();
            if (closes) {
                mClosed.incrementAndGet();
            }
        }
    }

    private static Object answer(int handle, String method, Object[] args) {
        return switch (method) {
            case "onStart" -> handle & 0xff;
            case "onStop" -> 0x100 + (handle & 0xff);
            case "onFlush" -> 0x200 + (handle & 0xff);
            case "onSetSectionConfig" -> (Integer) args[0] ^ ((byte[]) args[4])[15];
            case "onRead" -> {
                final byte[] buffer = (byte[]) args[0];
                final int length = (int) ((Long) args[1] % 4200) - 50;
                for (int i = 0; i < Math.min(length, buffer.length); ++i) {
                    buffer[i] = (byte) (handle + i);
                }
                yield length;
            }
            default -> 0;
        };
    }

    private Object answer(String method, Object[] args) {
        return switch (method) {
            case "onTune" -> tuned((FrontendSettings) args[0]);
            case "onScan" -> tuned((FrontendSettings) args[0]) + (Integer) args[1];
            case "onGetFrontendStatus" -> ((int[]) args[0])[0] == 33 ? null : mStatus;
            case "onGetFrontendSetting" -> mSettings;
            case "onSetVoltage", "onSetTone", "onSetSatellitePosition" -> (Integer) args[0] + 1;
            case "onGetVoltage", "onGetTone", "onGetSatellitePosition" -> 13;
            case "onSendDiseqcMessage" -> ((byte[]) args[0]).length;
            default -> 0;
        };
    }

    private static int tuned(FrontendSettings settings) {
        if (settings.frequency() == 666) {
            throw new IllegalStateException("no signal");
        }
        return settings.frequency() & 0x3f;
    }
}
