package com.halvorin.tv.velmora.services.selector.connectmanager;

public class ZytTvInnerFilterCallback {
    public native void nativeFilterSectionEvent(int handle, int arg0, int arg1, int arg2, int arg3);

    public native void nativeFilterRestartEvent(int handle, int arg);

    public native void nativeFilterStatusChanged(int handle, int status);
}
