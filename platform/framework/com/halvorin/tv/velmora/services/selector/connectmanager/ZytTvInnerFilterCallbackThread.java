package com.halvorin.tv.velmora.services.selector.connectmanager;

import fake.Device;

/**
 * The thread on which the events of some filters are reported. Each method runs on the middleware's
 * thread that called the C function named in its comment. The library holds no lock then, so the
 * method may report events and call C. An exception is printed and cleared.
 */
public class ZytTvInnerFilterCallbackThread {
    /** Runs in x_velmora_filter_create_callback_thread, which returns -1 if this throws. */
    public ZytTvInnerFilterCallbackThread() {
        Device.call(this, "<init>");
    }

    /** Runs in x_velmora_filter_delete_callback_thread, which returns 0 even if this throws. */
    public void release() {
        Device.call(this, "release");
    }
}
