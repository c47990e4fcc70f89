package com.halvorin.tv.velmora.services.selector.connectmanager;

/**
 * The events of all scans. Any Java thread may report them, even from inside a method of a
 * frontend. Each method returns when the middleware's function has returned, which may call C
 * again. The result is 0 when the event reached the middleware, else -1. notifyScanOnSignalType
 * reaches nobody, and always returns 0.
 */
public class ZytTvInnerScanCallback {
    public native int notifyScanOnLocked(int pipeline);

    public native int notifyScanOnScanStopped(int pipeline);

    public native int notifyScanOnProgress(int pipeline, int percent);

    public native int notifyScanOnFrequenciesReport(int pipeline, int[] frequencies, int length);

    public native int notifyScanOnSymbolRates(int pipeline, int[] rates, int length);

    public native int notifyScanOnPlpIds(int pipeline, int[] ids, int length);

    public native int notifyScanOnGroupIds(int pipeline, int[] ids, int length);

    public native int notifyScanOnInputStreamIds(int pipeline, int[] ids, int length);

    public native int notifyScanOnDvbsStandard(int pipeline, int standard);

    public native int notifyScanOnDvbtStandard(int pipeline, int standard);

    public native int notifyScanOnHierarchy(int pipeline, int hierarchy);

    public native int notifyScanOnSignalType(int pipeline, int signalType);
}
