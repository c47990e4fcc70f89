package desk;

import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFilterCallback;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerLnbCallback;
import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerScanCallback;

/** Reports events to the library as the framework does, on the calling thread. */
public final class Events {
    private Events() {}

    /** event: the scan events in the order of their natives, from 0. */
    public static int scan(int event, int pipeline, int value) {
        final ZytTvInnerScanCallback scan = new ZytTvInnerScanCallback();
        return switch (event) {
            case 0 -> scan.notifyScanOnLocked(pipeline);
            case 1 -> scan.notifyScanOnScanStopped(pipeline);
            case 2 -> scan.notifyScanOnProgress(pipeline, value);
            case 8 -> scan.notifyScanOnDvbsStandard(pipeline, value);
            case 9 -> scan.notifyScanOnDvbtStandard(pipeline, value);
            case 10 -> scan.notifyScanOnHierarchy(pipeline, value);
            case 11 -> scan.notifyScanOnSignalType(pipeline, value);
            default -> throw new IllegalArgumentException("event " + event);
        };
    }

    public static int scanList(int event, int pipeline, int[] values, int length) {
        final ZytTvInnerScanCallback scan = new ZytTvInnerScanCallback();
        return switch (event) {
            case 3 -> scan.notifyScanOnFrequenciesReport(pipeline, values, length);
            case 4 -> scan.notifyScanOnSymbolRates(pipeline, values, length);
            case 5 -> scan.notifyScanOnPlpIds(pipeline, values, length);
            case 6 -> scan.notifyScanOnGroupIds(pipeline, values, length);
            case 7 -> scan.notifyScanOnInputStreamIds(pipeline, values, length);
            default -> throw new IllegalArgumentException("event " + event);
        };
    }

    public static int lnb(int pipeline, int type) {
        return new ZytTvInnerLnbCallback().notifyLnbEvent(pipeline, type);
    }

    public static int diseqc(int pipeline, byte[] message, int length) {
        return new ZytTvInnerLnbCallback().onDiseqcMessage(pipeline, message, length);
    }

    public static void section(int handle, int a, int b, int c, int d) {
        new ZytTvInnerFilterCallback().nativeFilterSectionEvent(handle, a, b, c, d);
    }

    public static void restart(int handle, int value) {
        new ZytTvInnerFilterCallback().nativeFilterRestartEvent(handle, value);
    }

    public static void status(int handle, int value) {
        new ZytTvInnerFilterCallback().nativeFilterStatusChanged(handle, value);
    }
}
