#include <iterator>

#include "services/jni/connectmanager/pipeline/core/java_method.h"
#include "services/jni/connectmanager/pipeline/frontend/array_elements.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_events.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"
#include "services/jni/connectmanager/pipeline/frontend/scan_callbacks.h"

namespace {

// The native methods. They run on the Java thread that calls them. Each takes its callback and its
// tag from one registration.

jint com_halvorin_tv_velmora_scan_callback_locked(JNIEnv*, jobject, jint pipeline) {
    LOG_INFO("%s, pipeline: 0x%x", __func__, pipeline);
    const ScanCallback& registered = scanCallbacks();
    const auto callback = registered.pf_locked_nfy;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan callback locked notify is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", __func__, reinterpret_cast<void*>(callback),
             pipeline);
    callback(static_cast<unsigned int>(pipeline), registered.pv_tag);
    return 0;
}

jint com_halvorin_tv_velmora_scan_callback_stopped(JNIEnv*, jobject, jint pipeline) {
    LOG_INFO("%s, pipeline: 0x%x", __func__, pipeline);
    const ScanCallback& registered = scanCallbacks();
    const auto callback = registered.pf_stopped_nfy;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan callback stopped notify is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", __func__, reinterpret_cast<void*>(callback),
             pipeline);
    callback(static_cast<unsigned int>(pipeline), registered.pv_tag);
    return 0;
}

jint com_halvorin_tv_velmora_scan_callback_on_progress(JNIEnv*, jobject, jint pipeline,
                                                       jint percent) {
    LOG_INFO("%s, pipeline: 0x%x, percent: %d", __func__, pipeline, percent);
    const ScanCallback& registered = scanCallbacks();
    const auto callback = registered.pf_progress_nfy;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan callback progress notify is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", __func__, reinterpret_cast<void*>(callback),
             pipeline);
    callback(static_cast<unsigned int>(pipeline), percent, registered.pv_tag);
    return 0;
}

jint com_halvorin_tv_velmora_scan_callback_on_freq_reported(JNIEnv* env, jobject, jint pipeline,
                                                            jintArray values, jint length) {
    LOG_INFO("%s, pipeline: 0x%x, len = %d", __func__, pipeline, length);
    const ScanCallback& registered = scanCallbacks();
    const auto callback = registered.pf_freq_report_nfy;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan callback freq reported notify is null.", __func__);
        return -1;
    }
    const ArrayElements<jintArray, jint> elements(env, values, length, 1);
    if (elements.get() == nullptr) {
        LOG_ERROR("%s, freq Array is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x, freq = %d, length:%d.", __func__,
             reinterpret_cast<void*>(callback), pipeline, elements.get()[0], elements.realLength());
    callback(static_cast<unsigned int>(pipeline), elements.get(), elements.count(),
             registered.pv_tag);
    return 0;
}

jint com_halvorin_tv_velmora_scan_callback_symbol_rates(JNIEnv* env, jobject, jint pipeline,
                                                        jintArray values, jint length) {
    LOG_INFO("%s, pipeline: 0x%x, len = %d", __func__, pipeline, length);
    const ScanCallback& registered = scanCallbacks();
    const auto callback = registered.pf_symbol_rate_nfy;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan callback symbol rate notify is null.", __func__);
        return -1;
    }
    const ArrayElements<jintArray, jint> elements(env, values, length, 1);
    if (elements.get() == nullptr) {
        LOG_ERROR("%s, rate Array is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x, symbol_rate = %d, length:%d.", __func__,
             reinterpret_cast<void*>(callback), pipeline, elements.get()[0], elements.realLength());
    callback(static_cast<unsigned int>(pipeline), elements.get(), elements.count(),
             registered.pv_tag);
    return 0;
}

jint com_halvorin_tv_velmora_scan_callback_plpids(JNIEnv* env, jobject, jint pipeline,
                                                  jintArray values, jint length) {
    LOG_INFO("%s, pipeline: 0x%x", __func__, pipeline);
    const ScanCallback& registered = scanCallbacks();
    const auto callback = registered.pf_plp_id_nfy;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan callback plp id notify is null.", __func__);
        return -1;
    }
    const ArrayElements<jintArray, jint> elements(env, values, length, 1);
    if (elements.get() == nullptr) {
        LOG_ERROR("%s, plpid Array is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", __func__, reinterpret_cast<void*>(callback),
             pipeline);
    callback(static_cast<unsigned int>(pipeline), elements.get(), elements.count(),
             registered.pv_tag);
    return 0;
}

jint com_halvorin_tv_velmora_scan_callback_groupids(JNIEnv* env, jobject, jint pipeline,
                                                    jintArray values, jint length) {
    LOG_INFO("%s, pipeline: 0x%x", __func__, pipeline);
    const ScanCallback& registered = scanCallbacks();
    const auto callback = registered.pf_group_id_nfy;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan callback group id notify is null.", __func__);
        return -1;
    }
    const ArrayElements<jintArray, jint> elements(env, values, length, 1);
    if (elements.get() == nullptr) {
        LOG_ERROR("%s, groupid Array is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", __func__, reinterpret_cast<void*>(callback),
             pipeline);
    callback(static_cast<unsigned int>(pipeline), elements.get(), elements.count(),
             registered.pv_tag);
    return 0;
}

jint com_halvorin_tv_velmora_scan_callback_input_stream_id(JNIEnv* env, jobject, jint pipeline,
                                                           jintArray values, jint length) {
    LOG_INFO("%s, pipeline: 0x%x", __func__, pipeline);
    const ScanCallback& registered = scanCallbacks();
    const auto callback = registered.pf_stream_id_nfy;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan callback stream id notify is null.", __func__);
        return -1;
    }
    const ArrayElements<jintArray, jint> elements(env, values, length, 1);
    if (elements.get() == nullptr) {
        LOG_ERROR("%s, streamid Array is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", __func__, reinterpret_cast<void*>(callback),
             pipeline);
    callback(static_cast<unsigned int>(pipeline), elements.get(), elements.count(),
             registered.pv_tag);
    return 0;
}

jint com_halvorin_tv_velmora_scan_callback_dvbs_standard(JNIEnv*, jobject, jint pipeline,
                                                         jint standard) {
    LOG_INFO("%s, pipeline: 0x%x, standard: %d", __func__, pipeline, standard);
    const ScanCallback& registered = scanCallbacks();
    const auto callback = registered.pf_dvbs_standard_nfy;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan dvbs standard is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", __func__, reinterpret_cast<void*>(callback),
             pipeline);
    callback(static_cast<unsigned int>(pipeline), standard, registered.pv_tag);
    return 0;
}

jint com_halvorin_tv_velmora_scan_callback_dvbt_standard(JNIEnv*, jobject, jint pipeline,
                                                         jint standard) {
    LOG_INFO("%s, pipeline: 0x%x, standard: %d", __func__, pipeline, standard);
    const ScanCallback& registered = scanCallbacks();
    const auto callback = registered.pf_dvbt_standard_nfy;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan dvbt standard is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", __func__, reinterpret_cast<void*>(callback),
             pipeline);
    callback(static_cast<unsigned int>(pipeline), standard, registered.pv_tag);
    return 0;
}

jint com_halvorin_tv_velmora_scan_callback_hierarchy(JNIEnv*, jobject, jint pipeline,
                                                     jint hierarchy) {
    LOG_INFO("%s, pipeline: 0x%x, hierarchy: %d", __func__, pipeline, hierarchy);
    const ScanCallback& registered = scanCallbacks();
    const auto callback = registered.pf_hierarchy_nfy;
    if (callback == nullptr) {
        LOG_ERROR("%s, scan hierarchy is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", __func__, reinterpret_cast<void*>(callback),
             pipeline);
    callback(static_cast<unsigned int>(pipeline), hierarchy, registered.pv_tag);
    return 0;
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
