// The tuner frontend and LNB functions that the middleware calls, and the registration of what the
// frontend side's Java classes call and are called by.

#include <jni.h>
#include <utils/RefBase.h>

#include "mw/frontend.h"
#include "services/jni/connectmanager/pipeline/frontend/JNativeInnerFrontend.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_events.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_java.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_registry.h"
#include "services/jni/connectmanager/pipeline/onload_pipeline.h"

using android::JNativeInnerFrontend;

namespace {

// Runs operation(peer) on the pipeline's peer and returns its result, or notRegistered.
template <typename Operation>
int withPeer(unsigned int h_pipeline, int notRegistered, const Operation& operation) {
    const android::sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    return peer.get() != nullptr ? operation(*peer.get()) : notRegistered;
}

// As withPeer, for the functions that return -1 without a peer and report a non-zero result. failure
// is the line that shows it.
template <typename Operation>
int forward(unsigned int h_pipeline, const char* failure, const Operation& operation) {
    return withPeer(h_pipeline, -1, [&](JNativeInnerFrontend& peer) {
        const int result = operation(peer);
        if (result != 0) {
            LOG_ERROR(failure, result);
        }
        return result;
    });
}

// An LNB setter; failure shows the result and the value.
int setLnb(unsigned int h_pipeline, int (JNativeInnerFrontend::*set)(int), int value,
           const char* failure) {
    return withPeer(h_pipeline, -1, [&](JNativeInnerFrontend& peer) {
        const int result = (peer.*set)(value);
        if (result != 0) {
            LOG_ERROR(failure, result, value);
        }
        return result;
    });
}

// An LNB getter; its line shows the value.
int getLnb(unsigned int h_pipeline, int (JNativeInnerFrontend::*get)(), const char* line) {
    return withPeer(h_pipeline, 0, [&](JNativeInnerFrontend& peer) {
        const int value = (peer.*get)();
        LOG_ERROR(line, value);  // Fixed from outside: an error line, whatever the value
        return value;
    });
}

int testRegistered(unsigned int h_pipeline) {
    return withPeer(h_pipeline, -1, [](JNativeInnerFrontend&) { return 0; });
}

}  // namespace

// What the middleware calls is visible outside the library; everything else is hidden.
#pragma GCC visibility push(default)
extern "C" {

int x_native_frontend_require_tuner(unsigned int h_pipeline) {
    LOG_DEBUG("require_tuner:%x\n", h_pipeline);
    // Fixed from outside: the object is made before the registry is asked, so a pipeline that is
    // registered already sees a second one opened and closed.
    registerFrontend(h_pipeline,
                     android::sp<JNativeInnerFrontend>(new JNativeInnerFrontend(h_pipeline)));
    return 0;
}

int x_native_frontend_close_tuner(unsigned int h_pipeline) {
    LOG_DEBUG("close_tuner:%x\n", h_pipeline);
    closeFrontend(h_pipeline);
    return 0;
}

int x_native_frontend_tune(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings) {
    return forward(h_pipeline, "x_native_frontend_tune, native tune fail: %d.",
                   [=](JNativeInnerFrontend& peer) { return peer.tune(pt_fesettings); });
}

int x_native_frontend_cancel_tuning(unsigned int h_pipeline) {
    return forward(h_pipeline, "x_native_frontend_cancel_tuning, native cancel tuning fail: %d.",
                   [](JNativeInnerFrontend& peer) { return peer.cancelTuning(); });
}

int x_native_frontend_scan(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings, int scan_type) {
    return forward(h_pipeline, "x_native_frontend_scan, native scan fail: %d.",
                   [=](JNativeInnerFrontend& peer) { return peer.scan(pt_fesettings, scan_type); });
}

int x_native_frontend_cancel_scanning(unsigned int h_pipeline) {
    return forward(h_pipeline,
                   "x_native_frontend_cancel_scanning, native cancel scanning fail: %d.",
                   [](JNativeInnerFrontend& peer) { return peer.cancelScanning(); });
}

int x_native_frontend_set_lna_enabled(unsigned int h_pipeline, int32_t enable) {
    return forward(h_pipeline, "x_native_frontend_set_lna_enabled, fail: %d.",
                   [=](JNativeInnerFrontend& peer) { return peer.setLnaEnabled(enable != 0); });
}

int x_native_frontend_get_frontend_info(unsigned int h_pipeline, FE_INFO_T* pt_info) {
    return withPeer(h_pipeline, -1,
                    [=](JNativeInnerFrontend& peer) { return peer.getFrontendInfo(pt_info); });
}

int x_native_frontend_get_frontend_status(unsigned int h_pipeline, FE_STATUS_TYPE_E* pi4_type,
                                          unsigned char ui1_len, FE_STATUS_T* pt_festatus) {
    return forward(h_pipeline, "x_native_frontend_get_frontend_status, fail: %d.",
                   [=](JNativeInnerFrontend& peer) {
                       return peer.getFrontendStatus(pi4_type, ui1_len, pt_festatus);
                   });
}

int x_native_frontend_get_frontend_setting(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings) {
    return forward(
        h_pipeline, "x_native_frontend_get_frontend_setting, fail: %d.",
        [=](JNativeInnerFrontend& peer) { return peer.getFrontendSetting(pt_fesettings); });
}

int x_native_frontend_set_ontune_listener(unsigned int h_pipeline) {
    return testRegistered(h_pipeline);
}

int x_native_frontend_clear_ontune_listener(unsigned int h_pipeline) {
    return testRegistered(h_pipeline);
}

void x_native_frontend_register_scan_callback(FE_SCAN_CB_T* pt_scan_cb) {
    LOG_INFO("x_native_frontend_register_scan_callback");
    static constexpr FE_SCAN_CB_T kNone = {};
    setScanCallbacks(pt_scan_cb != nullptr ? *pt_scan_cb : kNone);
}

int x_native_frontend_register_lnb_callback(unsigned int h_pipeline, fe_lnb_nfy_fct pf_nfy) {
    return withPeer(h_pipeline, -1, [=](JNativeInnerFrontend&) {
        LOG_INFO("x_native_frontend_register_lnb_callback, callback: %p",
                 reinterpret_cast<void*>(pf_nfy));
        setLnbCallback(pf_nfy);
        return 0;
    });
}

int x_native_frontend_register_lnb_DiseqcMessage_callback(unsigned int h_pipeline,
                                                          fe_lnb_diseqc_nfy_fct pf_nfy) {
    return withPeer(h_pipeline, -1, [=](JNativeInnerFrontend&) {
        LOG_INFO("x_native_frontend_register_lnb_DiseqcMessage_callback, callback: %p",
                 reinterpret_cast<void*>(pf_nfy));
        setDiseqcCallback(pf_nfy);
        return 0;
    });
}

int x_native_frontend_require_lnb(unsigned int h_pipeline) {
    return forward(h_pipeline, "x_native_frontend_require_lnb, ret fail: %d.",
                   [](JNativeInnerFrontend& peer) { return peer.requiredLnb(); });
}

int x_native_frontend_lnb_set_voltage(unsigned int h_pipeline, int voltage) {
    return setLnb(h_pipeline, &JNativeInnerFrontend::lnbSetVoltage, voltage,
                  "x_native_frontend_lnb_set_voltage, set voltage fail: %d, voltage:%d.");
}

int x_native_frontend_lnb_set_tone(unsigned int h_pipeline, int tone) {
    return setLnb(h_pipeline, &JNativeInnerFrontend::lnbSetTone, tone,
                  "x_native_frontend_lnb_set_tone, set tone fail: %d, tone:%d.");
}

int x_native_frontend_lnb_set_SatellitePosition(unsigned int h_pipeline, int position) {
    return setLnb(h_pipeline, &JNativeInnerFrontend::lnbSetSatellitePosition, position,
                  "x_native_frontend_lnb_set_SatellitePosition, set SatellitePosition fail: %d, "
                  "position:%d.");
}

int x_native_frontend_lnb_get_voltage(unsigned int h_pipeline) {
    return getLnb(h_pipeline, &JNativeInnerFrontend::lnbGetVoltage,
                  "x_native_frontend_lnb_get_voltage, get voltage, voltage:%d.");
}

int x_native_frontend_lnb_get_tone(unsigned int h_pipeline) {
    return getLnb(h_pipeline, &JNativeInnerFrontend::lnbGetTone,
                  "x_native_frontend_lnb_get_tone, get tone, tone:%d.");
}

int x_native_frontend_lnb_get_SatellitePosition(unsigned int h_pipeline) {
    return getLnb(h_pipeline, &JNativeInnerFrontend::lnbGetSatellitePosition,
                  "x_native_frontend_lnb_get_SatellitePosition, get SatellitePosition, "
                  "position:%d.");
}

int x_native_frontend_lnb_send_diseqcmessage(unsigned int h_pipeline, unsigned char* message,
                                             int length) {
    return withPeer(h_pipeline, -1, [=](JNativeInnerFrontend& peer) {
        return peer.lnbSendDiseqcMessage(message, length);
    });
}

int x_native_frontend_lnb_close(unsigned int h_pipeline) {
    return withPeer(h_pipeline, -1, [](JNativeInnerFrontend& peer) {
        peer.lnbClose();
        return 0;
    });
}

}  // extern "C"
#pragma GCC visibility pop

int register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFrontend(JNIEnv* env) {
    if (registerScanNatives(env) != 0) {
        LOG_ERROR("Failed to register resource scan callback native methods");
        return 0;
    }
    if (registerLnbNatives(env) != 0) {
        LOG_ERROR("Failed to register lnb callback native methods");
        return 0;
    }
    bindFrontendClasses(env);
    return 1;
}
