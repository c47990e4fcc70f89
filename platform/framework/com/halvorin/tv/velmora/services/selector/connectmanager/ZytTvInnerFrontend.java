package com.halvorin.tv.velmora.services.selector.connectmanager;

import android.media.tv.tuner.frontend.FrontendSettings;
import android.media.tv.tuner.frontend.FrontendStatus;
import com.halvorin.tv.velmora.services.pipeline.PipelineHandler;
import fake.Device;

/**
 * A tuner with its LNB. Each method runs on the middleware's thread that called the C function
 * named in its comment. A thread that Java did not know is attached for that one call. The
 * constructor, onSetNativeHandle and onOpenFrontend come first, one after the other, and
 * onCloseFrontend comes last. All other methods may run at the same time, so the data that they
 * share needs a lock.
 *
 * <p>The library holds no lock while a method runs. So a method may call C, and it may report
 * events, which run the middleware's callback on this thread before they return. A method may
 * throw: the exception is printed and cleared, and C gets -1 unless the comment says otherwise.
 * Otherwise C gets the result.
 */
public class ZytTvInnerFrontend {
    private final PipelineHandler mPipeline;
    private volatile int mNativeHandle;

    /**
     * Runs in x_native_frontend_require_tuner. If it throws, the pipeline has no frontend, and its
     * calls fail until the tuner is closed and required again.
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
     * Runs in x_native_frontend_require_tuner. Events name the frontend by this handle. An
     * exception has no further effect.
     */
    public void onSetNativeHandle(int handle) {
        mNativeHandle = handle;
        Device.call(this, "onSetNativeHandle", handle);
    }

    /**
     * Runs in x_native_frontend_require_tuner. The frontend stays, whatever the result is and even
     * if this throws.
     */
    public int onOpenFrontend() {
        return Device.callInt(this, "onOpenFrontend");
    }

    /**
     * Runs in x_native_frontend_close_tuner; if other calls are in progress then, in the one that
     * ends last; or at the end of the process. The result is not used, and an exception has no
     * further effect. onLnbClose need not have been called before.
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
     * Runs in x_native_frontend_tune and _scan for ISDB-T, before onTune or onScan. With a negative
     * code or an exception the call fails.
     */
    public int onGetServiceAreaCode() {
        return Device.callInt(this, "onGetServiceAreaCode");
    }

    /** Runs in x_native_frontend_set_lna_enabled. */
    public int onSetLnaEnabled(boolean enable) {
        return Device.callInt(this, "onSetLnaEnabled", enable);
    }

    /**
     * Runs in x_native_frontend_get_frontend_status, which then reads the kinds from the result. C
     * gets -1 for null.
     */
    public FrontendStatus onGetFrontendStatus(int[] types) {
        return (FrontendStatus) Device.call(this, "onGetFrontendStatus", types);
    }

    /**
     * Runs in x_native_frontend_get_frontend_setting, which then reads from the result. C gets -1
     * for null.
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

    /** Runs in x_native_frontend_lnb_get_voltage. C gets 0 if this throws. */
    public int onGetVoltage() {
        return Device.callInt(this, "onGetVoltage");
    }

    /** Runs in x_native_frontend_lnb_get_tone. C gets 0 if this throws. */
    public int onGetTone() {
        return Device.callInt(this, "onGetTone");
    }

    /** Runs in x_native_frontend_lnb_get_SatellitePosition. C gets 0 if this throws. */
    public int onGetSatellitePosition() {
        return Device.callInt(this, "onGetSatellitePosition");
    }

    /** Runs in x_native_frontend_lnb_send_diseqcmessage. */
    public int onSendDiseqcMessage(byte[] message) {
        return Device.callInt(this, "onSendDiseqcMessage", message);
    }

    /** Runs in x_native_frontend_lnb_close, which returns 0 even if this throws. */
    public void onLnbClose() {
        Device.call(this, "onLnbClose");
    }
}
