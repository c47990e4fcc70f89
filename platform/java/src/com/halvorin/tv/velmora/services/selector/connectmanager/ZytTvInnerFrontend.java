package com.halvorin.tv.velmora.services.selector.connectmanager;

import android.media.tv.tuner.frontend.FrontendSettings;
import android.media.tv.tuner.frontend.FrontendStatus;
import com.halvorin.tv.velmora.services.pipeline.PipelineHandler;
import desk.Device;

public class ZytTvInnerFrontend {
    private final PipelineHandler mPipeline;
    private volatile int mNativeHandle;

    public ZytTvInnerFrontend(PipelineHandler pipeline) {
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

    public void onSetNativeHandle(int handle) {
        mNativeHandle = handle;
        Device.call(this, "onSetNativeHandle", handle);
    }

    public int onOpenFrontend() {
        return Device.callInt(this, "onOpenFrontend");
    }

    public int onCloseFrontend() {
        return Device.callInt(this, "onCloseFrontend");
    }

    public int onTune(FrontendSettings settings) {
        return Device.callInt(this, "onTune", settings);
    }

    public int onCancelTuning() {
        return Device.callInt(this, "onCancelTuning");
    }

    public int onScan(FrontendSettings settings, int scanType) {
        return Device.callInt(this, "onScan", settings, scanType);
    }

    public int onCancelScanning() {
        return Device.callInt(this, "onCancelScanning");
    }

    public int onGetServiceAreaCode() {
        return Device.callInt(this, "onGetServiceAreaCode");
    }

    public int onSetLnaEnabled(boolean enable) {
        return Device.callInt(this, "onSetLnaEnabled", enable);
    }

    public FrontendStatus onGetFrontendStatus(int[] types) {
        return (FrontendStatus) Device.call(this, "onGetFrontendStatus", types);
    }

    public FrontendSettings onGetFrontendSetting() {
        return (FrontendSettings) Device.call(this, "onGetFrontendSetting");
    }

    public int onOpenLnb() {
        return Device.callInt(this, "onOpenLnb");
    }

    public int onSetVoltage(int voltage) {
        return Device.callInt(this, "onSetVoltage", voltage);
    }

    public int onSetTone(int tone) {
        return Device.callInt(this, "onSetTone", tone);
    }

    public int onSetSatellitePosition(int position) {
        return Device.callInt(this, "onSetSatellitePosition", position);
    }

    public int onGetVoltage() {
        return Device.callInt(this, "onGetVoltage");
    }

    public int onGetTone() {
        return Device.callInt(this, "onGetTone");
    }

    public int onGetSatellitePosition() {
        return Device.callInt(this, "onGetSatellitePosition");
    }

    public int onSendDiseqcMessage(byte[] message) {
        return Device.callInt(this, "onSendDiseqcMessage", message);
    }

    public void onLnbClose() {
        Device.call(this, "onLnbClose");
    }
}
