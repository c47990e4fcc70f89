package com.halvorin.tv.velmora.services.selector.connectmanager;

import com.halvorin.tv.velmora.services.pipeline.PipelineHandler;
import fake.Device;

/**
 * A section filter. Each method runs on the middleware's thread that called the C function named in
 * its comment. A thread that Java did not know is attached for that one call. No two methods of one
 * filter run at the same time.
 *
 * <p>The library keeps the filter locked while a method runs. So these rules apply to every method,
 * and to every thread that it waits for: report no event of any filter; call no C function of a
 * filter except x_velmora_filter_open; take no lock that anyone holds while reporting an event or
 * calling C. Otherwise the threads can wait forever, and every other filter with them.
 *
 * <p>A method must not throw, because the library does not check for exceptions. If the thread was
 * attached for the call, the exception ends the process; on any other thread, the next call to Java
 * goes wrong. Only the constructor may throw.
 */
public class ZytTvInnerFilter {
    private final PipelineHandler mPipeline;
    private volatile int mNativeHandle;

    /**
     * Runs in x_velmora_filter_open, by the rules above. If it throws, the open returns -1 in C.
     */
    public ZytTvInnerFilter(PipelineHandler pipeline) {
        mPipeline = pipeline;
        Device.call(this, "<init>", pipeline);
    }

    /** For the fakes: the pipeline that the object was made for. */
    public PipelineHandler pipeline() {
        return mPipeline;
    }

    /** For the fakes: the middleware's handle. */
    public int nativeHandle() {
        return mNativeHandle;
    }

    /**
     * Runs in x_velmora_filter_open, after the constructor, by the rules above. Events name the
     * filter by this handle.
     */
    public void setNativeHandle(int handle) {
        mNativeHandle = handle;
        Device.call(this, "setNativeHandle", handle);
    }

    /**
     * Runs in x_velmora_filter_open, at its end, by the rules above.
     *
     * @param thread the callback thread; null for none
     * @return 0; with any other value the filter is dropped without onCloseFilter
     */
    public int onOpenFilter(int mainType, int subType, long bufferSize,
            ZytTvInnerFilterCallbackThread thread) {
        return Device.callInt(this, "onOpenFilter", mainType, subType, bufferSize, thread);
    }

    /**
     * Runs in x_velmora_filter_close, by the rules above. It is the last method that is called. The
     * result is not used.
     */
    public int onCloseFilter() {
        return Device.callInt(this, "onCloseFilter");
    }

    /**
     * Runs in x_velmora_filter_setSectionConfig, by the rules above. Each pattern has 16 bytes. C
     * gets the result.
     */
    public int onSetSectionConfig(int value, boolean flag1, boolean flag2, boolean flag3,
            byte[] pattern1, byte[] pattern2, byte[] pattern3) {
        return Device.callInt(this, "onSetSectionConfig", value, flag1, flag2, flag3, pattern1,
                pattern2, pattern3);
    }

    /**
     * Runs in x_velmora_filter_start, by the rules above: deliver sections on another thread. C
     * gets the result.
     */
    public int onStart() {
        return Device.callInt(this, "onStart");
    }

    /**
     * Runs in x_velmora_filter_read, by the rules above.
     *
     * @param buffer the filter's only array, of 4096 bytes; the next read uses it again
     * @param position comes from the middleware; the library does not interpret it
     * @param size at most 4096
     * @return the number of bytes put at the beginning of the buffer, 1 to size; C gets -1 for any
     *     other value
     */
    public int onRead(byte[] buffer, long position, long size) {
        return Device.callInt(this, "onRead", buffer, position, size);
    }

    /** Runs in x_velmora_filter_flush, by the rules above. C gets the result. */
    public int onFlush() {
        return Device.callInt(this, "onFlush");
    }

    /**
     * Runs in x_velmora_filter_stop, by the rules above: do not wait for a thread that reports
     * events. C gets the result.
     */
    public int onStop() {
        return Device.callInt(this, "onStop");
    }
}
