package com.halvorin.tv.velmora.services.selector.connectmanager;

import com.halvorin.tv.velmora.services.pipeline.PipelineHandler;
import fake.Device;

/**
 * A section filter. Every method runs on the middleware's thread that called the C function named
 * with it; a thread that Java did not know is attached for that one call. No two methods of one
 * filter run at the same time.
 *
 * <p>The library keeps the filter locked meanwhile. So the rules of every method are, also for
 * another thread that it waits for: it reports no event of any filter; it calls no C function of a
 * filter but x_velmora_filter_open; it takes no lock that anybody holds while reporting an event or
 * calling C. Otherwise both threads wait for ever, and soon every filter with them.
 *
 * <p>A method does not throw, because the library does not look: on a thread that was attached for
 * the call the exception ends the process, on another the next call of Java goes wrong. Only the
 * constructor may.
 */
public class ZytTvInnerFilter {
    private final PipelineHandler mPipeline;
    private volatile int mNativeHandle;

    /**
     * Runs in x_velmora_filter_open, by the rules above. When it throws, the open gives -1 in C.
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
     * @param thread null for none
     * @return 0; anything else refuses, and the filter is dropped without onCloseFilter
     */
    public int onOpenFilter(int mainType, int subType, long bufferSize, ZytTvInnerFilterCallbackThread thread) {
        return Device.callInt(this, "onOpenFilter", mainType, subType, bufferSize, thread);
    }

    /**
     * Runs in x_velmora_filter_close, as the last method, by the rules above. The result is not
     * used.
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
     * Runs in x_velmora_filter_start, by the rules above: whatever delivers sections runs on a
     * thread of its own. C gets the result.
     */
    public int onStart() {
        return Device.callInt(this, "onStart");
    }

    /**
     * Runs in x_velmora_filter_read, by the rules above.
     *
     * @param buffer the filter's one array, of 4096 bytes, which the next read uses again
     * @param position the middleware's, unread
     * @param size at most 4096
     * @return bytes put at the beginning of the buffer, 1 to size; anything else is -1 in C
     */
    public int onRead(byte[] buffer, long position, long size) {
        return Device.callInt(this, "onRead", buffer, position, size);
    }

    /** Runs in x_velmora_filter_flush, by the rules above. C gets the result. */
    public int onFlush() {
        return Device.callInt(this, "onFlush");
    }

    /**
     * Runs in x_velmora_filter_stop, by the rules above: it does not wait for a thread that reports
     * events. C gets the result.
     */
    public int onStop() {
        return Device.callInt(this, "onStop");
    }
}
