#include <atomic>
#include <cstring>
#include <iterator>
#include <mutex>

#include "services/jni/connectmanager/pipeline/core/java_method.h"
#include "services/jni/connectmanager/pipeline/frontend/array_elements.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_events.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"

namespace {

// The callbacks of one registration, and their tag.
struct ScanCallback {
    void* pv_tag;
    fe_scan_nfy_fct pf_locked_nfy;
    fe_scan_nfy_fct pf_stopped_nfy;
    fe_scan_value_nfy_fct pf_progress_nfy;
    fe_scan_list_nfy_fct pf_freq_report_nfy;
    fe_scan_list_nfy_fct pf_symbol_rate_nfy;
    fe_scan_list_nfy_fct pf_plp_id_nfy;
    fe_scan_list_nfy_fct pf_group_id_nfy;
    fe_scan_list_nfy_fct pf_stream_id_nfy;
    fe_scan_value_nfy_fct pf_dvbs_standard_nfy;
    fe_scan_value_nfy_fct pf_dvbt_standard_nfy;
    fe_scan_value_nfy_fct pf_hierarchy_nfy;
};
static_assert(sizeof(ScanCallback) == 12 * sizeof(void*), "compared as bytes, so nothing between");

// A registration is never changed and never freed, because an event may be using it at any time. One
// that is equal to an earlier one takes that one's place again, so that memory grows only with each
// different one.
struct ScanRegistration {
    ScanCallback callbacks;
    const ScanRegistration* older;
};
constexpr ScanRegistration kNothingRegistered = {};

// What is registered. An event reads this one word, once, and so takes its callback and its tag from
// the same registration: otherwise the middleware could be given the tag of another one, and would
// take it for an object of its own.
std::atomic<const ScanCallback*> gScanCallback{&kNothingRegistered.callbacks};

// Held by a registration, never by an event, while it looks through all registrations there were. Like
// every mutex of the library it is never destroyed: other threads may still be calling when the
// process ends.
std::mutex& gScanRegistrationMutex = *new std::mutex();
const ScanRegistration* gScanRegistrations = &kNothingRegistered;

// The three kinds of scan event. function is the native's name, with which every line begins; slot is
// the event's callback. The texts are formats: reported for the first line, missing when no callback
// is registered.

jint scanEvent(const char* function, fe_scan_nfy_fct ScanCallback::*slot, const char* missing,
               jint pipeline) {
    LOG_INFO("%s, pipeline: 0x%x", function, pipeline);
    const ScanCallback& registered = *gScanCallback;
    const auto callback = registered.*slot;
    if (callback == nullptr) {
        LOG_ERROR(missing, function);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", function, reinterpret_cast<void*>(callback),
             pipeline);
    callback(static_cast<unsigned int>(pipeline), registered.pv_tag);
    return 0;
}

jint scanValueEvent(const char* function, fe_scan_value_nfy_fct ScanCallback::*slot,
                    const char* reported, const char* missing, jint pipeline, jint value) {
    LOG_INFO(reported, function, pipeline, value);
    const ScanCallback& registered = *gScanCallback;
    const auto callback = registered.*slot;
    if (callback == nullptr) {
        LOG_ERROR(missing, function);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", function, reinterpret_cast<void*>(callback),
             pipeline);
    callback(static_cast<unsigned int>(pipeline), value, registered.pv_tag);
    return 0;
}

// noArray is for a list that cannot be used, delivered for the line before the callback. Some formats
// end before the last values that they are given: reported gets the length, delivered gets the first
// element and the array's real length. A list without an element is refused before, so there is a
// first one.
jint scanListEvent(const char* function, fe_scan_list_nfy_fct ScanCallback::*slot,
                   const char* reported, const char* missing, const char* noArray,
                   const char* delivered, JNIEnv* env, jint pipeline, jintArray values,
                   jint length) {
    LOG_INFO(reported, function, pipeline, length);
    const ScanCallback& registered = *gScanCallback;
    const auto callback = registered.*slot;
    if (callback == nullptr) {
        LOG_ERROR(missing, function);
        return -1;
    }
    if (values == nullptr || length <= 0) {
        LOG_ERROR(noArray, function);
        return -1;
    }
    const ArrayElements<jintArray, jint> elements(env, values, length);
    if (elements.get() == nullptr) {
        LOG_ERROR(noArray, function);
        return -1;
    }
    LOG_INFO(delivered, function, reinterpret_cast<void*>(callback), pipeline, elements.get()[0],
             elements.realLength());
    callback(static_cast<unsigned int>(pipeline), elements.get(), elements.count(),
             registered.pv_tag);
    return 0;
}

// The natives. They run on the Java thread that calls them.

jint com_halvorin_tv_velmora_scan_callback_locked(JNIEnv*, jobject, jint pipeline) {
    return scanEvent(__func__, &ScanCallback::pf_locked_nfy,
                     "%s, scan callback locked notify is null.", pipeline);
}

jint com_halvorin_tv_velmora_scan_callback_stopped(JNIEnv*, jobject, jint pipeline) {
    return scanEvent(__func__, &ScanCallback::pf_stopped_nfy,
                     "%s, scan callback stopped notify is null.", pipeline);
}

jint com_halvorin_tv_velmora_scan_callback_on_progress(JNIEnv*, jobject, jint pipeline,
                                                       jint percent) {
    return scanValueEvent(__func__, &ScanCallback::pf_progress_nfy,
                          "%s, pipeline: 0x%x, percent: %d",
                          "%s, scan callback progress notify is null.", pipeline, percent);
}

jint com_halvorin_tv_velmora_scan_callback_on_freq_reported(JNIEnv* env, jobject, jint pipeline,
                                                            jintArray values, jint length) {
    return scanListEvent(
        __func__, &ScanCallback::pf_freq_report_nfy, "%s, pipeline: 0x%x, len = %d",
        "%s, scan callback freq reported notify is null.", "%s, freq Array is null.",
        "%s, callback: %p, handle: 0x%x, freq = %d, length:%d.", env, pipeline, values, length);
}

jint com_halvorin_tv_velmora_scan_callback_symbol_rates(JNIEnv* env, jobject, jint pipeline,
                                                        jintArray values, jint length) {
    return scanListEvent(__func__, &ScanCallback::pf_symbol_rate_nfy,
                         "%s, pipeline: 0x%x, len = %d",
                         "%s, scan callback symbol rate notify is null.", "%s, rate Array is null.",
                         "%s, callback: %p, handle: 0x%x, symbol_rate = %d, length:%d.", env,
                         pipeline, values, length);
}

jint com_halvorin_tv_velmora_scan_callback_plpids(JNIEnv* env, jobject, jint pipeline,
                                                  jintArray values, jint length) {
    return scanListEvent(__func__, &ScanCallback::pf_plp_id_nfy, "%s, pipeline: 0x%x",
                         "%s, scan callback plp id notify is null.", "%s, plpid Array is null.",
                         "%s, callback: %p, handle: 0x%x", env, pipeline, values, length);
}

jint com_halvorin_tv_velmora_scan_callback_groupids(JNIEnv* env, jobject, jint pipeline,
                                                    jintArray values, jint length) {
    return scanListEvent(__func__, &ScanCallback::pf_group_id_nfy, "%s, pipeline: 0x%x",
                         "%s, scan callback group id notify is null.", "%s, groupid Array is null.",
                         "%s, callback: %p, handle: 0x%x", env, pipeline, values, length);
}

jint com_halvorin_tv_velmora_scan_callback_input_stream_id(JNIEnv* env, jobject, jint pipeline,
                                                           jintArray values, jint length) {
    return scanListEvent(__func__, &ScanCallback::pf_stream_id_nfy, "%s, pipeline: 0x%x",
                         "%s, scan callback stream id notify is null.",
                         "%s, streamid Array is null.", "%s, callback: %p, handle: 0x%x", env,
                         pipeline, values, length);
}

jint com_halvorin_tv_velmora_scan_callback_dvbs_standard(JNIEnv*, jobject, jint pipeline,
                                                         jint standard) {
    return scanValueEvent(__func__, &ScanCallback::pf_dvbs_standard_nfy,
                          "%s, pipeline: 0x%x, standard: %d", "%s, scan dvbs standard is null.",
                          pipeline, standard);
}

jint com_halvorin_tv_velmora_scan_callback_dvbt_standard(JNIEnv*, jobject, jint pipeline,
                                                         jint standard) {
    return scanValueEvent(__func__, &ScanCallback::pf_dvbt_standard_nfy,
                          "%s, pipeline: 0x%x, standard: %d", "%s, scan dvbt standard is null.",
                          pipeline, standard);
}

jint com_halvorin_tv_velmora_scan_callback_hierarchy(JNIEnv*, jobject, jint pipeline,
                                                     jint hierarchy) {
    return scanValueEvent(__func__, &ScanCallback::pf_hierarchy_nfy,
                          "%s, pipeline: 0x%x, hierarchy: %d", "%s, scan hierarchy is null.",
                          pipeline, hierarchy);
}

// The middleware has no callback for it.
jint com_halvorin_tv_velmora_scan_callback_signal_type(JNIEnv*, jobject, jint pipeline,
                                                       jint signalType) {
    LOG_INFO("%s, pipeline: 0x%x, signal_type: %d", __func__, pipeline, signalType);
    return 0;
}

const JNINativeMethod kScanNatives[] = {
    NATIVE_METHOD("notifyScanOnLocked", "(I)I", com_halvorin_tv_velmora_scan_callback_locked),
    NATIVE_METHOD("notifyScanOnScanStopped", "(I)I", com_halvorin_tv_velmora_scan_callback_stopped),
    NATIVE_METHOD("notifyScanOnProgress", "(II)I",
                  com_halvorin_tv_velmora_scan_callback_on_progress),
    NATIVE_METHOD("notifyScanOnFrequenciesReport", "(I[II)I",
                  com_halvorin_tv_velmora_scan_callback_on_freq_reported),
    NATIVE_METHOD("notifyScanOnSymbolRates", "(I[II)I",
                  com_halvorin_tv_velmora_scan_callback_symbol_rates),
    NATIVE_METHOD("notifyScanOnPlpIds", "(I[II)I", com_halvorin_tv_velmora_scan_callback_plpids),
    NATIVE_METHOD("notifyScanOnGroupIds", "(I[II)I",
                  com_halvorin_tv_velmora_scan_callback_groupids),
    NATIVE_METHOD("notifyScanOnInputStreamIds", "(I[II)I",
                  com_halvorin_tv_velmora_scan_callback_input_stream_id),
    NATIVE_METHOD("notifyScanOnDvbsStandard", "(II)I",
                  com_halvorin_tv_velmora_scan_callback_dvbs_standard),
    NATIVE_METHOD("notifyScanOnDvbtStandard", "(II)I",
                  com_halvorin_tv_velmora_scan_callback_dvbt_standard),
    NATIVE_METHOD("notifyScanOnHierarchy", "(II)I",
                  com_halvorin_tv_velmora_scan_callback_hierarchy),
    NATIVE_METHOD("notifyScanOnSignalType", "(II)I",
                  com_halvorin_tv_velmora_scan_callback_signal_type),
};

}  // namespace

int registerScanNatives(JNIEnv* env) {
    return registerNativeMethods(
        env, "com/halvorin/tv/velmora/services/selector/connectmanager/ZytTvInnerScanCallback",
        kScanNatives, std::size(kScanNatives));
}

void setScanCallbacks(const FE_SCAN_CB_T& from) {
    const ScanCallback callbacks = {
        from.pv_tag,
        from.pf_locked_nfy,
        from.pf_stopped_nfy,
        from.pf_progress_nfy,
        from.pf_freq_report_nfy,
        from.pf_symbol_rate_nfy,
        from.pf_plp_id_nfy,
        from.pf_group_id_nfy,
        from.pf_stream_id_nfy,
        from.pf_dvbs_standard_nfy,
        from.pf_dvbt_standard_nfy,
        from.pf_hierarchy_nfy,
    };
    {
        const std::lock_guard<std::mutex> lock(gScanRegistrationMutex);
        const ScanRegistration* known = gScanRegistrations;
        while (known != nullptr && memcmp(&known->callbacks, &callbacks, sizeof(callbacks)) != 0) {
            known = known->older;
        }
        if (known == nullptr) {
            known = gScanRegistrations = new ScanRegistration{callbacks, gScanRegistrations};
        }
        gScanCallback = &known->callbacks;
    }
    LOG_INFO("[locked][ds]: %p", reinterpret_cast<void*>(callbacks.pf_locked_nfy));
    LOG_INFO("[stopped][ds]: %p", reinterpret_cast<void*>(callbacks.pf_stopped_nfy));
    LOG_INFO("[progress][ds]: %p", reinterpret_cast<void*>(callbacks.pf_progress_nfy));
}
