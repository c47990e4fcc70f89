package com.halvorin.tv.velmora.services.selector.connectmanager;

/**
 * The events of all filters. Any Java thread may report them, but not from inside a method of a
 * filter. The rules of {@link ZytTvInnerFilter} say which locks the reporting thread must not hold.
 * Each method returns when the middleware's function has returned, which may call C again. An event
 * of a closed or unknown filter is dropped.
 */
public class ZytTvInnerFilterCallback {
    public native void nativeFilterSectionEvent(int handle, int arg0, int arg1, int arg2, int arg3);

    public native void nativeFilterRestartEvent(int handle, int arg);

    public native void nativeFilterStatusChanged(int handle, int status);
}
