package com.halvorin.tv.velmora.services.selector.connectmanager;

import android.media.tv.tuner.frontend.FrontendSettings;
import android.media.tv.tuner.frontend.FrontendStatus;
import com.halvorin.tv.velmora.services.pipeline.PipelineHandler;
import fake.Device;

/**
 * A tuner with its LNB. Every method runs on the middleware's thread that called the C function
 * named with it; a thread that Java did not know is attached for that one call. The first three
 * come one after the other, and onCloseFrontend comes last; all others may run at the same time, so
 * that what they share needs a lock.
 *
 * <p>No lock of the library is held meanwhile. Every method may report events, which then run the
 * middleware's function on this thread before they return, and may call C. Every method may throw:
 * the exception is printed and cleared, and C gets -1 where nothing else is said. What does not
 * throw hands its result to C.
 */
public class ZytTvInnerFrontend {
    private final PipelineHandler mPipeline;
    private volatile int mNativeHandle;

    /**
     * Runs in x_native_frontend_require_tuner. When it throws, the pipeline has no frontend: its
     * calls fail until it is closed.
     */
    public ZytTvInnerFrontend(PipelineHandler pipeline) {
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
     * Runs in x_native_frontend_require_tuner. Events name the frontend by this handle. What it
     * throws changes nothing else.
     */
    public void onSetNativeHandle(int handle) {
        mNativeHandle = handle;
        Device.call(this, "onSetNativeHandle", handle);
    }

    /**
     * Runs in x_native_frontend_require_tuner. Neither the result nor an exception changes
     * anything: the frontend stays.
     */
    public int onOpenFrontend() {
        return Device.callInt(this, "onOpenFrontend");
    }

    /**
     * Runs in x_native_frontend_close_tuner, or the last call that was in progress at that time, or
     * the end of the process. Neither the result nor an exception changes anything. onLnbClose need
     * not have been called before.
     */
    public int onCloseFrontend() {
        return Device.callInt(this, "onCloseFrontend");
    }

    /** Runs in x_native_frontend_tune. */
    public int onTune(FrontendSettings settings) {
        return Device.callInt(this, "onTune", settings);
    }

    /** Runs in x_native_frontend_cancel_tuning. */
    public int onCancelTuning() {
        return Device.callInt(this, "onCancelTuning");
    }

    /** Runs in x_native_frontend_scan. */
    public int onScan(FrontendSettings settings, int scanType) {
        return Device.callInt(this, "onScan", settings, scanType);
    }

    /** Runs in x_native_frontend_cancel_scanning. */
    public int onCancelScanning() {
        return Device.callInt(this, "onCancelScanning");
    }

    /**
     * Runs in x_native_frontend_tune and _scan for ISDB-T, before onTune or onScan. A negative code
     * or an exception ends the call.
     */
    public int onGetServiceAreaCode() {
        return Device.callInt(this, "onGetServiceAreaCode");
    }

    /** Runs in x_native_frontend_set_lna_enabled. */
    public int onSetLnaEnabled(boolean enable) {
        return Device.callInt(this, "onSetLnaEnabled", enable);
    }

    /**
     * Runs in x_native_frontend_get_frontend_status, which then reads the kinds from the result; -1
     * in C for null.
     */
    public FrontendStatus onGetFrontendStatus(int[] types) {
        return (FrontendStatus) Device.call(this, "onGetFrontendStatus", types);
    }

    /**
     * Runs in x_native_frontend_get_frontend_setting, which then reads from the result; -1 in C for
     * null.
     */
    public FrontendSettings onGetFrontendSetting() {
        return (FrontendSettings) Device.call(this, "onGetFrontendSetting");
    }

    /** Runs in x_native_frontend_require_lnb. */
    public int onOpenLnb() {
        return Device.callInt(this, "onOpenLnb");
    }

    /** Runs in x_native_frontend_lnb_set_voltage. */
    public int onSetVoltage(int voltage) {
        return Device.callInt(this, "onSetVoltage", voltage);
    }

    /** Runs in x_native_frontend_lnb_set_tone. */
    public int onSetTone(int tone) {
        return Device.callInt(this, "onSetTone", tone);
    }

    /** Runs in x_native_frontend_lnb_set_SatellitePosition. */
    public int onSetSatellitePosition(int position) {
        return Device.callInt(this, "onSetSatellitePosition", position);
    }

    /** Runs in x_native_frontend_lnb_get_voltage; 0 in C for an exception. */
    public int onGetVoltage() {
        return Device.callInt(this, "onGetVoltage");
    }

    /** Runs in x_native_frontend_lnb_get_tone; 0 in C for an exception. */
    public int onGetTone() {
        return Device.callInt(this, "onGetTone");
    }

    /** Runs in x_native_frontend_lnb_get_SatellitePosition; 0 in C for an exception. */
    public int onGetSatellitePosition() {
        return Device.callInt(this, "onGetSatellitePosition");
    }

    /** Runs in x_native_frontend_lnb_send_diseqcmessage. */
    public int onSendDiseqcMessage(byte[] message) {
        return Device.callInt(this, "onSendDiseqcMessage", message);
    }

    /** Runs in x_native_frontend_lnb_close, which gives 0 also for an exception. */
    public void onLnbClose() {
        Device.call(this, "onLnbClose");
    }
}
