// The section filter functions that the middleware calls, and the registration of what the filter
// side's Java classes call and are called by.

#include <jni.h>

#include <cstdint>

#include "mw/filter.h"
#include "services/jni/connectmanager/pipeline/filter/JNativeCallbackThread.h"
#include "services/jni/connectmanager/pipeline/filter/JNativeInnerFilter.h"
#include "services/jni/connectmanager/pipeline/filter/filter_access.h"
#include "services/jni/connectmanager/pipeline/filter/filter_events.h"
#include "services/jni/connectmanager/pipeline/filter/filter_instance.h"
#include "services/jni/connectmanager/pipeline/filter/filter_java.h"
#include "services/jni/connectmanager/pipeline/filter/filter_log.h"
#include "services/jni/connectmanager/pipeline/onload_pipeline.h"

using android::JNativeInnerFilter;
using android::shown;

namespace {

struct FilterOperation {
    FilterAccessMessages access;
    const char* failure;  // null: none
    const char* result;
};

// Runs call(peer) on a live filter, with its semaphore held.
template <typename Call>
int operate(const FilterOperation& operation, uint32_t hfilter, const Call& call) {
    FilterAccess access(operation.access, hfilter);
    if (access.peer() == nullptr) {
        return -1;
    }
    const int result = call(*access.peer());
    access.release();
    const char* function = operation.access.function;
    if (result != 0 && operation.failure != nullptr) {
        FILTER_LOG_AS(function, operation.failure, result, shown(access.instance()));
    }
    FILTER_LOG_AS(function, operation.result, hfilter, result);
    return result;
}

constexpr FilterOperation kStart = {
    {"x_velmora_filter_start", "<%s:%4d>  handle: 0x%x, x_filter_lock handle free.",
     "<%s:%4d> handle: 0x%x, failed.", false},
    "<%s:%4d>  start fail: %d, instance: 0x%llx.",
    "<%s:%4d>  hfilter[0x%x] jret %d !\n"};
constexpr FilterOperation kStop = {
    {"x_velmora_filter_stop", "<%s:%4d>  handle: 0x%x, x_filter_lock handle free.",
     "<%s:%4d>  handle:  0x%x, failed.", false},
    "<%s:%4d>  stop fail: %d, instance: 0x%llx.",
    "<%s:%4d>  hfilter[0x%x] jret %d !\n"};
constexpr FilterOperation kFlush = {
    {"x_velmora_filter_flush", "<%s:%4d> handle: 0x%x, x_filter_lock handle free.",
     "<%s:%4d> handle:  0x%x, failed.", false},
    "<%s:%4d> flush fail: %d, instance: 0x%llx.",
    "<%s:%4d> hfilter[0x%x] jret %d !\n"};
constexpr FilterOperation kRead = {
    {"x_velmora_filter_read", "<%s:%4d> handle: 0x%x, x_filter_lock handle free.",
     "<%s:%4d> handle:  0x%x, failed.", false},
    nullptr,
    "<%s:%4d> hfilter[0x%x] jret 0x%x !\n"};
constexpr FilterOperation kSetSectionConfig = {
    {"x_velmora_filter_setSectionConfig", "<%s:%4d> handle: 0x%x, x_filter_lock handle free.",
     "<%s:%4d> handle:  0x%llx, failed.", true},
    "<%s:%4d> setSectionConfig fail: %d, instance: 0x%llx.",
    "<%s:%4d> hfilter[0x%x] jret %d !\n"};

}  // namespace

// What the middleware calls is visible outside the library; everything else is hidden.
#pragma GCC visibility push(default)
extern "C" {

int x_velmora_filter_open(uint32_t h_pipeline, int mainType, int subType, int64_t buffersize,
                          uint32_t* ph_filter, FLT_EVT_CB_T* pt_evt, void* pv_tag) {
    if (ph_filter == nullptr || pt_evt == nullptr) {
        FILTER_LOG("<%s:%4d>  ph_filter or pt_evt is null.");
        return -1;
    }
    return openFilter(h_pipeline, mainType, subType, buffersize, ph_filter, pt_evt, pv_tag);
}

int x_velmora_filter_close(uint32_t hfilter) {
    return closeFilter(hfilter);
}

int x_velmora_filter_start(uint32_t hfilter) {
    return operate(kStart, hfilter,
                   [](JNativeInnerFilter& filter) { return filter.nativeStart(); });
}

int x_velmora_filter_stop(uint32_t hfilter) {
    return operate(kStop, hfilter, [](JNativeInnerFilter& filter) { return filter.nativeStop(); });
}

int x_velmora_filter_flush(uint32_t hfilter) {
    return operate(kFlush, hfilter,
                   [](JNativeInnerFilter& filter) { return filter.nativeFlush(); });
}

int x_velmora_filter_read(uint32_t hfilter, int8_t* buffer, int64_t position, int64_t size) {
    if (buffer == nullptr) {
        FILTER_LOG("<%s:%4d> handle: 0x%x, buffer is null.", hfilter);
        return -1;
    }
    return operate(kRead, hfilter, [=](JNativeInnerFilter& filter) {
        return filter.nativeRead(buffer, position, size);
    });
}

int x_velmora_filter_setSectionConfig(uint32_t hfilter, int value, uint8_t flag1, uint8_t flag2,
                                      uint8_t flag3, uint8_t* pattern1, uint8_t* pattern2,
                                      uint8_t* pattern3) {
    if (pattern1 == nullptr || pattern2 == nullptr || pattern3 == nullptr) {
        FILTER_LOG("<%s:%4d> handle: 0x%x, a pattern is null.", hfilter);
        return -1;
    }
    return operate(kSetSectionConfig, hfilter, [=](JNativeInnerFilter& filter) {
        return filter.nativeSetSectionConfig(value, flag1, flag2, flag3, pattern1, pattern2,
                                             pattern3);
    });
}

int x_velmora_filter_register_section_callback(flt_section_nfy_fct pf_nfy) {
    FILTER_LOG("<%s:%4d>  callback: %p", reinterpret_cast<void*>(pf_nfy));
    setSectionCallback(pf_nfy);
    return 0;
}

int x_velmora_filter_register_filter_status_callback(flt_status_nfy_fct pf_nfy) {
    FILTER_LOG("<%s:%4d> callback: %p", reinterpret_cast<void*>(pf_nfy));
    setFilterStatusCallback(pf_nfy);
    return 0;
}

int x_velmora_filter_create_callback_thread(uint32_t* ph_thread) {
    return ph_thread != nullptr ? createCallbackThread(ph_thread) : -1;
}

int x_velmora_filter_delete_callback_thread(uint32_t hthread) {
    return deleteCallbackThread(hthread);
}

int addInnerFilterReference(int64_t instance) {
    return addFilterReference(instance);
}

int subInnerFilterReference(int64_t instance) {
    return subFilterReference(instance);
}

}  // extern "C"
#pragma GCC visibility pop

int register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFilter(JNIEnv* env) {
    if (registerFilterEventNatives(env) != 0) {
        FILTER_LOG("<%s:%4d> Failed to register data source filter native methods");
        return 0;
    }
    bindFilterClasses(env);
    return 1;
}
