#include "services/jni/connectmanager/pipeline/frontend_events.h"

#include <algorithm>
#include <atomic>
#include <iterator>

#include "log/halvorin_log.h"
#include "services/jni/connectmanager/pipeline/java_method.h"
#include "services/jni/connectmanager/pipeline/onload_pipeline.h"

#define LOG_TAG "ZYT_MW"

namespace {

// The registered callbacks; all null until registered.
struct ScanCallback {
    std::atomic<void*> pv_tag;
    std::atomic<fe_scan_nfy_fct> pf_locked_nfy;
    std::atomic<fe_scan_nfy_fct> pf_stopped_nfy;
    std::atomic<fe_scan_value_nfy_fct> pf_progress_nfy;
    std::atomic<fe_scan_list_nfy_fct> pf_freq_report_nfy;
    std::atomic<fe_scan_list_nfy_fct> pf_symbol_rate_nfy;
    std::atomic<fe_scan_list_nfy_fct> pf_plp_id_nfy;
    std::atomic<fe_scan_list_nfy_fct> pf_group_id_nfy;
    std::atomic<fe_scan_list_nfy_fct> pf_stream_id_nfy;
    std::atomic<fe_scan_value_nfy_fct> pf_dvbs_standard_nfy;
    std::atomic<fe_scan_value_nfy_fct> pf_dvbt_standard_nfy;
    std::atomic<fe_scan_value_nfy_fct> pf_hierarchy_nfy;
};
ScanCallback gScanCallback;
std::atomic<fe_lnb_nfy_fct> gLnbNotifyFct;
std::atomic<fe_lnb_diseqc_nfy_fct> gLnbOnDiseqcMessageFct;

template <typename Function>
void* address(Function* function) {
    return reinterpret_cast<void*>(function);
}

// The elements of a Java array, for the length of one callback. Nothing is written back.
template <typename Array>
struct Elements;

template <>
struct Elements<jintArray> {
    using Type = jint;
    static jint* get(JNIEnv* env, jintArray array) {
        return env->GetIntArrayElements(array, nullptr);
    }
    static void release(JNIEnv* env, jintArray array, jint* elements) {
        env->ReleaseIntArrayElements(array, elements, JNI_ABORT);
    }
};

template <>
struct Elements<jbyteArray> {
    using Type = jbyte;
    static jbyte* get(JNIEnv* env, jbyteArray array) {
        return env->GetByteArrayElements(array, nullptr);
    }
    static void release(JNIEnv* env, jbyteArray array, jbyte* elements) {
        env->ReleaseByteArrayElements(array, elements, JNI_ABORT);
    }
};

// Calls deliver(elements, count, real length), with a count that never exceeds the elements.
// Returns 0; -1, nothing delivered and nothing pending, for a null array, a negative length, an
// empty array with a positive length, and elements that cannot be had.
template <typename Array, typename Deliver>
jint withElements(JNIEnv* env, Array array, jint length, const Deliver& deliver) {
    if (array == nullptr || length < 0) {
        return -1;
    }
    const jint real = env->GetArrayLength(array);
    if (real == 0 && length > 0) {
        return -1;
    }
    typename Elements<Array>::Type* elements = Elements<Array>::get(env, array);
    if (elements == nullptr) {
        android::clearException(env);
        return -1;
    }
    deliver(elements, std::min(length, real), real);
    Elements<Array>::release(env, array, elements);
    return 0;
}

// The three kinds of scan event. function is the native's name, with which every line begins.

jint scanEvent(const char* function, const std::atomic<fe_scan_nfy_fct>& slot, const char* what,
               jint pipeline) {
    LOG_INFO("%s, pipeline: 0x%x", function, pipeline);
    const fe_scan_nfy_fct callback = slot;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan callback %s notify is null.", function, what);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", function, address(callback), pipeline);
    callback(static_cast<unsigned int>(pipeline), gScanCallback.pv_tag);
    return 0;
}

struct ScanValueEvent {
    const std::atomic<fe_scan_value_nfy_fct>& slot;
    const char* valueName;
    const char* nullText;
};

jint scanEvent(const char* function, const ScanValueEvent& event, jint pipeline, jint value) {
    LOG_INFO("%s, pipeline: 0x%x, %s: %d", function, pipeline, event.valueName, value);
    const fe_scan_value_nfy_fct callback = event.slot;
    if (callback == nullptr) {
        LOG_ERROR("%s, %s is null.", function, event.nullText);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", function, address(callback), pipeline);
    callback(static_cast<unsigned int>(pipeline), value, gScanCallback.pv_tag);
    return 0;
}

struct ScanListEvent {
    const std::atomic<fe_scan_list_nfy_fct>& slot;
    const char* nullName;  // of the callback
    const char* arrayName;
    const char* elementName;  // of element 0 in the line before the callback; null: not logged, nor
                              // the length
};

jint scanEvent(const char* function, const ScanListEvent& event, JNIEnv* env, jint pipeline,
               jintArray values, jint length) {
    if (event.elementName != nullptr) {
        LOG_INFO("%s, pipeline: 0x%x, len = %d", function, pipeline, length);
    } else {
        LOG_INFO("%s, pipeline: 0x%x", function, pipeline);
    }
    const fe_scan_list_nfy_fct callback = event.slot;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan callback %s notify is null.", function, event.nullName);
        return -1;
    }
    // A list without a value is none.
    const jint result = withElements(
        env, length == 0 ? nullptr : values, length,
        [&](const jint* elements, jint count, jint real) {
            if (event.elementName != nullptr) {
                LOG_INFO("%s, callback: %p, handle: 0x%x, %s = %d, length:%d.", function,
                         address(callback), pipeline, event.elementName, elements[0], real);
            } else {
                LOG_INFO("%s, callback: %p, handle: 0x%x", function, address(callback), pipeline);
            }
            callback(static_cast<unsigned int>(pipeline), elements, count, gScanCallback.pv_tag);
        });
    if (result != 0) {
        LOG_ERROR("%s, %s Array is null.", function, event.arrayName);
    }
    return result;
}

// The natives. They run on the Java thread that calls them, and their names begin every line that
// they log.

jint com_halvorin_tv_velmora_scan_callback_locked(JNIEnv*, jobject, jint pipeline) {
    return scanEvent(__func__, gScanCallback.pf_locked_nfy, "locked", pipeline);
}

jint com_halvorin_tv_velmora_scan_callback_stopped(JNIEnv*, jobject, jint pipeline) {
    return scanEvent(__func__, gScanCallback.pf_stopped_nfy, "stopped", pipeline);
}

jint com_halvorin_tv_velmora_scan_callback_on_progress(JNIEnv*, jobject, jint pipeline,
                                                       jint percent) {
    static constexpr ScanValueEvent kEvent = {gScanCallback.pf_progress_nfy, "percent",
                                              "scan callback progress notify"};
    return scanEvent(__func__, kEvent, pipeline, percent);
}

jint com_halvorin_tv_velmora_scan_callback_on_freq_reported(JNIEnv* env, jobject, jint pipeline,
                                                            jintArray values, jint length) {
    static constexpr ScanListEvent kEvent = {gScanCallback.pf_freq_report_nfy, "freq reported",
                                             "freq", "freq"};
    return scanEvent(__func__, kEvent, env, pipeline, values, length);
}

jint com_halvorin_tv_velmora_scan_callback_symbol_rates(JNIEnv* env, jobject, jint pipeline,
                                                        jintArray values, jint length) {
    static constexpr ScanListEvent kEvent = {gScanCallback.pf_symbol_rate_nfy, "symbol rate",
                                             "rate", "symbol_rate"};
    return scanEvent(__func__, kEvent, env, pipeline, values, length);
}

jint com_halvorin_tv_velmora_scan_callback_plpids(JNIEnv* env, jobject, jint pipeline,
                                                  jintArray values, jint length) {
    static constexpr ScanListEvent kEvent = {gScanCallback.pf_plp_id_nfy, "plp id", "plpid",
                                             nullptr};
    return scanEvent(__func__, kEvent, env, pipeline, values, length);
}

jint com_halvorin_tv_velmora_scan_callback_groupids(JNIEnv* env, jobject, jint pipeline,
                                                    jintArray values, jint length) {
    static constexpr ScanListEvent kEvent = {gScanCallback.pf_group_id_nfy, "group id", "groupid",
                                             nullptr};
    return scanEvent(__func__, kEvent, env, pipeline, values, length);
}

jint com_halvorin_tv_velmora_scan_callback_input_stream_id(JNIEnv* env, jobject, jint pipeline,
                                                           jintArray values, jint length) {
    static constexpr ScanListEvent kEvent = {gScanCallback.pf_stream_id_nfy, "stream id",
                                             "streamid", nullptr};
    return scanEvent(__func__, kEvent, env, pipeline, values, length);
}

jint com_halvorin_tv_velmora_scan_callback_dvbs_standard(JNIEnv*, jobject, jint pipeline,
                                                         jint standard) {
    static constexpr ScanValueEvent kEvent = {gScanCallback.pf_dvbs_standard_nfy, "standard",
                                              "scan dvbs standard"};
    return scanEvent(__func__, kEvent, pipeline, standard);
}

jint com_halvorin_tv_velmora_scan_callback_dvbt_standard(JNIEnv*, jobject, jint pipeline,
                                                         jint standard) {
    static constexpr ScanValueEvent kEvent = {gScanCallback.pf_dvbt_standard_nfy, "standard",
                                              "scan dvbt standard"};
    return scanEvent(__func__, kEvent, pipeline, standard);
}

jint com_halvorin_tv_velmora_scan_callback_hierarchy(JNIEnv*, jobject, jint pipeline,
                                                     jint hierarchy) {
    static constexpr ScanValueEvent kEvent = {gScanCallback.pf_hierarchy_nfy, "hierarchy",
                                              "scan hierarchy"};
    return scanEvent(__func__, kEvent, pipeline, hierarchy);
}

// The middleware has no callback for it.
jint com_halvorin_tv_velmora_scan_callback_signal_type(JNIEnv*, jobject, jint pipeline,
                                                       jint signalType) {
    LOG_INFO("%s, pipeline: 0x%x, signal_type: %d", __func__, pipeline, signalType);
    return 0;
}

jint com_halvorin_tv_velmora_lnb_event_notify(JNIEnv*, jobject, jint pipeline, jint type) {
    LOG_INFO("%s, pipeline: 0x%x, type: %d", __func__, pipeline, type);
    const fe_lnb_nfy_fct callback = gLnbNotifyFct;
    if (callback == nullptr) {
        LOG_ERROR("%s, lnb notify is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, pipeline: 0x%x", __func__, address(callback), pipeline);
    callback(static_cast<unsigned int>(pipeline), type);
    return 0;
}

jint com_halvorin_tv_velmora_lnb_onDiseqcMessage(JNIEnv* env, jobject, jint pipeline,
                                                 jbyteArray message, jint length) {
    const char* function = __func__;
    LOG_INFO("%s, pipeline: 0x%x, msgLength: %d", function, pipeline, length);
    const fe_lnb_diseqc_nfy_fct callback = gLnbOnDiseqcMessageFct;
    if (callback == nullptr) {
        LOG_ERROR("%s, gLnbOnDiseqcMessageFct is null.", function);
        return -1;
    }
    const jint result =
        withElements(env, message, length, [&](const jbyte* bytes, jint count, jint) {
            LOG_INFO("%s, callback: %p, handle: 0x%x", function, address(callback), pipeline);
            callback(static_cast<unsigned int>(pipeline), bytes, count);
        });
    if (result != 0) {
        LOG_ERROR("%s, message Array is null.", function);
    }
    return result;
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

const JNINativeMethod kLnbNatives[] = {
    NATIVE_METHOD("notifyLnbEvent", "(II)I", com_halvorin_tv_velmora_lnb_event_notify),
    NATIVE_METHOD("onDiseqcMessage", "(I[BI)I", com_halvorin_tv_velmora_lnb_onDiseqcMessage),
};

}  // namespace

int registerFrontendEventNatives(JNIEnv* env) {
    if (registerNativeMethods(
            env, "com/halvorin/tv/velmora/services/selector/connectmanager/ZytTvInnerScanCallback",
            kScanNatives, std::size(kScanNatives)) != 0) {
        LOG_ERROR("Failed to register resource scan callback native methods");
        return -1;
    }
    if (registerNativeMethods(
            env, "com/halvorin/tv/velmora/services/selector/connectmanager/ZytTvInnerLnbCallback",
            kLnbNatives, std::size(kLnbNatives)) != 0) {
        LOG_ERROR("Failed to register lnb callback native methods");
        return -1;
    }
    return 0;
}

void setScanCallbacks(const FE_SCAN_CB_T& callbacks) {
    gScanCallback.pv_tag = callbacks.pv_tag;
    gScanCallback.pf_locked_nfy = callbacks.pf_locked_nfy;
    gScanCallback.pf_stopped_nfy = callbacks.pf_stopped_nfy;
    gScanCallback.pf_progress_nfy = callbacks.pf_progress_nfy;
    gScanCallback.pf_freq_report_nfy = callbacks.pf_freq_report_nfy;
    gScanCallback.pf_symbol_rate_nfy = callbacks.pf_symbol_rate_nfy;
    gScanCallback.pf_plp_id_nfy = callbacks.pf_plp_id_nfy;
    gScanCallback.pf_group_id_nfy = callbacks.pf_group_id_nfy;
    gScanCallback.pf_stream_id_nfy = callbacks.pf_stream_id_nfy;
    gScanCallback.pf_dvbs_standard_nfy = callbacks.pf_dvbs_standard_nfy;
    gScanCallback.pf_dvbt_standard_nfy = callbacks.pf_dvbt_standard_nfy;
    gScanCallback.pf_hierarchy_nfy = callbacks.pf_hierarchy_nfy;
    LOG_INFO("[locked][ds]: %p", address(callbacks.pf_locked_nfy));
    LOG_INFO("[stopped][ds]: %p", address(callbacks.pf_stopped_nfy));
    LOG_INFO("[progress][ds]: %p", address(callbacks.pf_progress_nfy));
}

void setLnbCallback(fe_lnb_nfy_fct callback) {
    gLnbNotifyFct = callback;
}

void setDiseqcCallback(fe_lnb_diseqc_nfy_fct callback) {
    gLnbOnDiseqcMessageFct = callback;
}
