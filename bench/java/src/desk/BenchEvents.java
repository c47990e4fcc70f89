package desk;

import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFilterCallback;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerLnbCallback;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerScanCallback;

/** Java that reports events: through the library's natives, or through the same ones of the floor. */
public final class BenchEvents {
    private static final ZytTvInnerScanCallback SCAN = new ZytTvInnerScanCallback();
    private static final ZytTvInnerLnbCallback LNB = new ZytTvInnerLnbCallback();
    private static final ZytTvInnerFilterCallback FILTER = new ZytTvInnerFilterCallback();
    private static final FloorScan FLOOR_SCAN = new FloorScan();
    private static final FloorLnb FLOOR_LNB = new FloorLnb();
    private static final FloorFilter FLOOR_FILTER = new FloorFilter();

    private BenchEvents() {}

    static final class FloorScan extends ZytTvInnerScanCallback {
        @Override
        public native int notifyScanOnLocked(int pipeline);

        @Override
        public native int notifyScanOnScanStopped(int pipeline);

        @Override
        public native int notifyScanOnProgress(int pipeline, int percent);

        @Override
        public native int notifyScanOnFrequenciesReport(int pipeline, int[] frequencies, int length);

        @Override
        public native int notifyScanOnSymbolRates(int pipeline, int[] rates, int length);

        @Override
        public native int notifyScanOnPlpIds(int pipeline, int[] ids, int length);

        @Override
        public native int notifyScanOnGroupIds(int pipeline, int[] ids, int length);

        @Override
        public native int notifyScanOnInputStreamIds(int pipeline, int[] ids, int length);

        @Override
        public native int notifyScanOnDvbsStandard(int pipeline, int standard);

        @Override
        public native int notifyScanOnDvbtStandard(int pipeline, int standard);

        @Override
        public native int notifyScanOnHierarchy(int pipeline, int hierarchy);

        @Override
        public native int notifyScanOnSignalType(int pipeline, int signalType);
    }

    static final class FloorLnb extends ZytTvInnerLnbCallback {
        @Override
        public native int notifyLnbEvent(int pipeline, int type);

        @Override
        public native int onDiseqcMessage(int pipeline, byte[] message, int length);
    }

    static final class FloorFilter extends ZytTvInnerFilterCallback {
        @Override
        public native void nativeFilterSectionEvent(int handle, int arg0, int arg1, int arg2, int arg3);

        @Override
        public native void nativeFilterRestartEvent(int handle, int arg);

        @Override
        public native void nativeFilterStatusChanged(int handle, int status);
    }

    /** Calls the library's load entry, or the floor's, as System.load does: from a class of this loader. */
    public static native int load(boolean floor);

    /** Reports an event count times, with lists of length elements; the handle is a filter's or any pipeline's. */
    public static int report(boolean floor, int event, int handle, int length, int count) {
        ZytTvInnerScanCallback scan = floor ? FLOOR_SCAN : SCAN;
        ZytTvInnerLnbCallback lnb = floor ? FLOOR_LNB : LNB;
        ZytTvInnerFilterCallback filter = floor ? FLOOR_FILTER : FILTER;
        int[] values = new int[length];
        byte[] message = new byte[length];
        int result = 0;
        for (int i = 0; i < count; ++i) {
            switch (event) {
                case 0 -> result |= scan.notifyScanOnLocked(handle);
                case 1 -> result |= scan.notifyScanOnScanStopped(handle);
                case 2 -> result |= scan.notifyScanOnProgress(handle, i);
                case 3 -> result |= scan.notifyScanOnFrequenciesReport(handle, values, length);
                case 4 -> result |= scan.notifyScanOnSymbolRates(handle, values, length);
                case 5 -> result |= scan.notifyScanOnPlpIds(handle, values, length);
                case 6 -> result |= scan.notifyScanOnGroupIds(handle, values, length);
                case 7 -> result |= scan.notifyScanOnInputStreamIds(handle, values, length);
                case 8 -> result |= scan.notifyScanOnDvbsStandard(handle, i);
                case 9 -> result |= scan.notifyScanOnDvbtStandard(handle, i);
                case 10 -> result |= scan.notifyScanOnHierarchy(handle, i);
                case 11 -> result |= scan.notifyScanOnSignalType(handle, i);
                case 12 -> result |= lnb.notifyLnbEvent(handle, i);
                case 13 -> result |= lnb.onDiseqcMessage(handle, message, length);
                case 14 -> filter.nativeFilterSectionEvent(handle, 1, 2, 3, i);
                case 15 -> filter.nativeFilterRestartEvent(handle, i);
                case 16 -> filter.nativeFilterStatusChanged(handle, i);
                default -> throw new IllegalArgumentException("event " + event);
            }
        }
        return result;
    }
}
