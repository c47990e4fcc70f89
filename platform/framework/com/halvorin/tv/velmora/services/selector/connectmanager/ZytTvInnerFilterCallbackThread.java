package com.halvorin.tv.velmora.services.selector.connectmanager;

import fake.Device;

/**
 * The thread on which the events of some filters are reported. Both methods run on the middleware's
 * thread that called the C function named with them, without a lock of the library: they may report
 * events and call C. What they throw is printed and cleared.
 */
public class ZytTvInnerFilterCallbackThread {
    /** Runs in x_velmora_filter_create_callback_thread, which gives -1 when this throws. */
    public ZytTvInnerFilterCallbackThread() {
        Device.call(this, "<init>");
    }

    /** Runs in x_velmora_filter_delete_callback_thread, which gives 0 also when this throws. */
    public void release() {
        Device.call(this, "release");
    }
}
