package com.halvorin.tv.velmora.services.selector.connectmanager;

import com.halvorin.tv.velmora.services.pipeline.PipelineHandler;
import desk.Device;

public class ZytTvInnerFilter {
    private final PipelineHandler mPipeline;
    private volatile int mNativeHandle;

    public ZytTvInnerFilter(PipelineHandler pipeline) {
        mPipeline = pipeline;
        Device.call(this, "<init>", pipeline);
    }

    /** For the desk: the pipeline that the object was made for. */
    public PipelineHandler pipeline() {
        return mPipeline;
    }

    /** For the desk: the middleware's handle. */
    public int nativeHandle() {
        return mNativeHandle;
    }

    public void setNativeHandle(int handle) {
        mNativeHandle = handle;
        Device.call(this, "setNativeHandle", handle);
    }

    public int onOpenFilter(int mainType, int subType, long bufferSize, ZytTvInnerFilterCallbackThread thread) {
        return Device.callInt(this, "onOpenFilter", mainType, subType, bufferSize, thread);
    }

    public int onCloseFilter() {
        return Device.callInt(this, "onCloseFilter");
    }

    public int onSetSectionConfig(int value, boolean flag1, boolean flag2, boolean flag3, byte[] pattern1, byte[] pattern2, byte[] pattern3) {
        return Device.callInt(this, "onSetSectionConfig", value, flag1, flag2, flag3, pattern1, pattern2, pattern3);
    }

    public int onStart() {
        return Device.callInt(this, "onStart");
    }

    public int onRead(byte[] buffer, long position, long size) {
        return Device.callInt(this, "onRead", buffer, position, size);
    }

    public int onFlush() {
        return Device.callInt(this, "onFlush");
    }

    public int onStop() {
        return Device.callInt(this, "onStop");
    }
}
