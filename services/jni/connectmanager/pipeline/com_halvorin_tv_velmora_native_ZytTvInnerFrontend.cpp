// The tuner frontend bridge: the registry of frontends, the functions that the middleware calls,
// and the registration of what the Java side calls and is called by.

#include <jni.h>
#include <utils/RefBase.h>

#include <map>
#include <mutex>
#include <utility>

#include "log/halvorin_log.h"
#include "mw/frontend.h"
#include "services/jni/connectmanager/pipeline/frontend/JNativeInnerFrontend.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_events.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_java.h"
#include "services/jni/connectmanager/pipeline/onload_pipeline.h"

#define LOG_TAG "ZYT_MW"

using android::JNativeInnerFrontend;
using FrontendMap = std::map<unsigned int, android::sp<JNativeInnerFrontend>>;

FrontendFields gFields;

namespace {

// Guards the map, and only the map: never held while a peer's operation or destructor runs, which
// call Java, and Java may call back. Neither is ever destroyed: other threads may still be calling
// when the process ends.
std::mutex& gFrontendMutex = *new std::mutex();
FrontendMap& gFrontendMap = *new FrontendMap();

// At the end of the process the peers go that are registered then.
struct ReleaseFrontendsAtExit {
    ~ReleaseFrontendsAtExit() {
        FrontendMap peers;
        {
            const std::lock_guard<std::mutex> lock(gFrontendMutex);
            peers.swap(gFrontendMap);
        }
    }
} gReleaseFrontendsAtExit;

// The pipeline's peer, held for the caller; null when the pipeline is not registered.
android::sp<JNativeInnerFrontend> findPeer(unsigned int h_pipeline) {
    const std::lock_guard<std::mutex> lock(gFrontendMutex);
    const auto entry = gFrontendMap.find(h_pipeline);
    return entry != gFrontendMap.end() ? entry->second : android::sp<JNativeInnerFrontend>();
}

// Runs operation(peer) on the pipeline's peer and returns its result, or notRegistered.
template <typename Operation>
int forward(unsigned int h_pipeline, int notRegistered, const Operation& operation) {
    const android::sp<JNativeInnerFrontend> peer = findPeer(h_pipeline);
    return peer.get() != nullptr ? operation(*peer.get()) : notRegistered;
}

// As above, for the functions that return -1 and report a non-zero result, which failure shows.
template <typename Operation>
int forward(unsigned int h_pipeline, const char* failure, const Operation& operation) {
    return forward(h_pipeline, -1, [&](JNativeInnerFrontend& peer) {
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
    return forward(h_pipeline, -1, [&](JNativeInnerFrontend& peer) {
        const int result = (peer.*set)(value);
        if (result != 0) {
            LOG_ERROR(failure, result, value);
        }
        return result;
    });
}

// An LNB getter; its line shows the value and is an error line whatever the value.
int getLnb(unsigned int h_pipeline, int (JNativeInnerFrontend::*get)(), const char* line) {
    return forward(h_pipeline, 0, [&](JNativeInnerFrontend& peer) {
        const int value = (peer.*get)();
        LOG_ERROR(line, value);
        return value;
    });
}

int testRegistered(unsigned int h_pipeline) {
    return forward(h_pipeline, -1, [](JNativeInnerFrontend&) { return 0; });
}

}  // namespace

extern "C" {

PIPELINE_EXPORT int x_native_frontend_require_tuner(unsigned int h_pipeline) {
    LOG_DEBUG("require_tuner:%x\n", h_pipeline);
    // Declared before the lock: a peer that is not registered dies after it.
    const android::sp<JNativeInnerFrontend> peer(new JNativeInnerFrontend(h_pipeline));
    const std::lock_guard<std::mutex> lock(gFrontendMutex);
    gFrontendMap.try_emplace(h_pipeline, peer);
    return 0;
}

PIPELINE_EXPORT int x_native_frontend_close_tuner(unsigned int h_pipeline) {
    LOG_DEBUG("close_tuner:%x\n", h_pipeline);
    android::sp<JNativeInnerFrontend> peer;
    {
        const std::lock_guard<std::mutex> lock(gFrontendMutex);
        const auto entry = gFrontendMap.find(h_pipeline);
        if (entry != gFrontendMap.end()) {
            peer = entry->second;
            gFrontendMap.erase(entry);
        }
    }
    return 0;
}

PIPELINE_EXPORT int x_native_frontend_tune(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings) {
    return forward(h_pipeline, "x_native_frontend_tune, native tune fail: %d.",
                   [=](JNativeInnerFrontend& peer) { return peer.tune(pt_fesettings); });
}

PIPELINE_EXPORT int x_native_frontend_cancel_tuning(unsigned int h_pipeline) {
    return forward(h_pipeline, "x_native_frontend_cancel_tuning, native cancel tuning fail: %d.",
                   [](JNativeInnerFrontend& peer) { return peer.cancelTuning(); });
}

PIPELINE_EXPORT int x_native_frontend_scan(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings,
                                           int scan_type) {
    return forward(h_pipeline, "x_native_frontend_scan, native scan fail: %d.",
                   [=](JNativeInnerFrontend& peer) { return peer.scan(pt_fesettings, scan_type); });
}

PIPELINE_EXPORT int x_native_frontend_cancel_scanning(unsigned int h_pipeline) {
    return forward(h_pipeline,
                   "x_native_frontend_cancel_scanning, native cancel scanning fail: %d.",
                   [](JNativeInnerFrontend& peer) { return peer.cancelScanning(); });
}

PIPELINE_EXPORT int x_native_frontend_set_lna_enabled(unsigned int h_pipeline, int32_t enable) {
    return forward(h_pipeline, "x_native_frontend_set_lna_enabled, fail: %d.",
                   [=](JNativeInnerFrontend& peer) { return peer.setLnaEnabled(enable != 0); });
}

PIPELINE_EXPORT int x_native_frontend_get_frontend_info(unsigned int h_pipeline,
                                                        FE_INFO_T* pt_info) {
    return forward(h_pipeline, -1,
                   [=](JNativeInnerFrontend& peer) { return peer.getFrontendInfo(pt_info); });
}

PIPELINE_EXPORT int x_native_frontend_get_frontend_status(unsigned int h_pipeline,
                                                          FE_STATUS_TYPE_E* pi4_type,
                                                          unsigned char ui1_len,
                                                          FE_STATUS_T* pt_festatus) {
    return forward(h_pipeline, "x_native_frontend_get_frontend_status, fail: %d.",
                   [=](JNativeInnerFrontend& peer) {
                       return peer.getFrontendStatus(pi4_type, ui1_len, pt_festatus);
                   });
}

PIPELINE_EXPORT int x_native_frontend_get_frontend_setting(unsigned int h_pipeline,
                                                           MW_FESETTING_T* pt_fesettings) {
    return forward(
        h_pipeline, "x_native_frontend_get_frontend_setting, fail: %d.",
        [=](JNativeInnerFrontend& peer) { return peer.getFrontendSetting(pt_fesettings); });
}

PIPELINE_EXPORT int x_native_frontend_set_ontune_listener(unsigned int h_pipeline) {
    return testRegistered(h_pipeline);
}

PIPELINE_EXPORT int x_native_frontend_clear_ontune_listener(unsigned int h_pipeline) {
    return testRegistered(h_pipeline);
}

PIPELINE_EXPORT void x_native_frontend_register_scan_callback(FE_SCAN_CB_T* pt_scan_cb) {
    LOG_INFO("x_native_frontend_register_scan_callback");
    static constexpr FE_SCAN_CB_T kNone = {};
    setScanCallbacks(pt_scan_cb != nullptr ? *pt_scan_cb : kNone);
}

PIPELINE_EXPORT int x_native_frontend_register_lnb_callback(unsigned int h_pipeline,
                                                            fe_lnb_nfy_fct pf_nfy) {
    return forward(h_pipeline, -1, [=](JNativeInnerFrontend&) {
        LOG_INFO("x_native_frontend_register_lnb_callback, callback: %p",
                 reinterpret_cast<void*>(pf_nfy));
        setLnbCallback(pf_nfy);
        return 0;
    });
}

PIPELINE_EXPORT int x_native_frontend_register_lnb_DiseqcMessage_callback(
    unsigned int h_pipeline, fe_lnb_diseqc_nfy_fct pf_nfy) {
    return forward(h_pipeline, -1, [=](JNativeInnerFrontend&) {
        LOG_INFO("x_native_frontend_register_lnb_DiseqcMessage_callback, callback: %p",
                 reinterpret_cast<void*>(pf_nfy));
        setDiseqcCallback(pf_nfy);
        return 0;
    });
}

PIPELINE_EXPORT int x_native_frontend_require_lnb(unsigned int h_pipeline) {
    return forward(h_pipeline, "x_native_frontend_require_lnb, ret fail: %d.",
                   [](JNativeInnerFrontend& peer) { return peer.requiredLnb(); });
}

PIPELINE_EXPORT int x_native_frontend_lnb_set_voltage(unsigned int h_pipeline, int voltage) {
    return setLnb(h_pipeline, &JNativeInnerFrontend::lnbSetVoltage, voltage,
                  "x_native_frontend_lnb_set_voltage, set voltage fail: %d, voltage:%d.");
}

PIPELINE_EXPORT int x_native_frontend_lnb_set_tone(unsigned int h_pipeline, int tone) {
    return setLnb(h_pipeline, &JNativeInnerFrontend::lnbSetTone, tone,
                  "x_native_frontend_lnb_set_tone, set tone fail: %d, tone:%d.");
}

PIPELINE_EXPORT int x_native_frontend_lnb_set_SatellitePosition(unsigned int h_pipeline,
                                                                int position) {
    return setLnb(h_pipeline, &JNativeInnerFrontend::lnbSetSatellitePosition, position,
                  "x_native_frontend_lnb_set_SatellitePosition, set SatellitePosition fail: %d, "
                  "position:%d.");
}

PIPELINE_EXPORT int x_native_frontend_lnb_get_voltage(unsigned int h_pipeline) {
    return getLnb(h_pipeline, &JNativeInnerFrontend::lnbGetVoltage,
                  "x_native_frontend_lnb_get_voltage, get voltage, voltage:%d.");
}

PIPELINE_EXPORT int x_native_frontend_lnb_get_tone(unsigned int h_pipeline) {
    return getLnb(h_pipeline, &JNativeInnerFrontend::lnbGetTone,
                  "x_native_frontend_lnb_get_tone, get tone, tone:%d.");
}

PIPELINE_EXPORT int x_native_frontend_lnb_get_SatellitePosition(unsigned int h_pipeline) {
    return getLnb(h_pipeline, &JNativeInnerFrontend::lnbGetSatellitePosition,
                  "x_native_frontend_lnb_get_SatellitePosition, get SatellitePosition, "
                  "position:%d.");
}

PIPELINE_EXPORT int x_native_frontend_lnb_send_diseqcmessage(unsigned int h_pipeline,
                                                             unsigned char* message, int length) {
    return forward(h_pipeline, -1, [=](JNativeInnerFrontend& peer) {
        return peer.lnbSendDiseqcMessage(message, length);
    });
}

PIPELINE_EXPORT int x_native_frontend_lnb_close(unsigned int h_pipeline) {
    return forward(h_pipeline, -1, [](JNativeInnerFrontend& peer) {
        peer.lnbClose();
        return 0;
    });
}

}  // extern "C"

#define ROW(member, name, signature) JAVA_METHOD_ROW(gFields, member, name, signature)

static constexpr android::JavaMethodRow kFrontendMethods[] = {
    ROW(frontendConstructorID, "<init>",
        "(Lcom/halvorin/tv/velmora/services/pipeline/PipelineHandler;)V"),
    ROW(onTuneId, "onTune", "(Landroid/media/tv/tuner/frontend/FrontendSettings;)I"),
    ROW(onCancelTuningId, "onCancelTuning", "()I"),
    ROW(onSetNativeHandleId, "onSetNativeHandle", "(I)V"),
    ROW(onOpenFrontendId, "onOpenFrontend", "()I"),
    ROW(onCloseFrontendId, "onCloseFrontend", "()I"),
    ROW(onScanId, "onScan", "(Landroid/media/tv/tuner/frontend/FrontendSettings;I)I"),
    ROW(onCancelScanningId, "onCancelScanning", "()I"),
    ROW(onGetServiceAreaCodeId, "onGetServiceAreaCode", "()I"),
    ROW(onSetLnaEnabledId, "onSetLnaEnabled", "(Z)I"),
    ROW(onGetFrontendStatusId, "onGetFrontendStatus",
        "([I)Landroid/media/tv/tuner/frontend/FrontendStatus;"),
    ROW(onGetFrontendSettingId, "onGetFrontendSetting",
        "()Landroid/media/tv/tuner/frontend/FrontendSettings;"),
    ROW(onOpenLnbId, "onOpenLnb", "()I"),
    ROW(onLnbSetVoltageID, "onSetVoltage", "(I)I"),
    ROW(onLnbSetToneID, "onSetTone", "(I)I"),
    ROW(onLnbSetSatellitePositionID, "onSetSatellitePosition", "(I)I"),
    ROW(onLnbGetVoltageID, "onGetVoltage", "()I"),
    ROW(onLnbGetToneID, "onGetTone", "()I"),
    ROW(onLnbGetSatellitePositionID, "onGetSatellitePosition", "()I"),
    ROW(onLnbSendDiseqcMessageID, "onSendDiseqcMessage", "([B)I"),
    ROW(onLnbCloseID, "onLnbClose", "()V"),
};

#undef ROW

int register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFrontend(JNIEnv* env) {
    if (registerFrontendEventNatives(env) != 0) {
        return 0;
    }
    android::bindJavaClass(
        env, "com/halvorin/tv/velmora/services/selector/connectmanager/ZytTvInnerFrontend",
        &gFields.frontendClazz, kFrontendMethods, kFrontendSite, __LINE__);
    bindFrontendSettingsClasses(env);
    bindFrontendStatusClass(env);
    return 1;
}
