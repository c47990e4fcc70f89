package com.halvorin.tv.velmora.services.selector.connectmanager;

import desk.Device;

public class ZytTvInnerFilterCallbackThread {
    public ZytTvInnerFilterCallbackThread() {
        Device.call(this, "<init>");
    }

    public void release() {
        Device.call(this, "release");
    }
}
