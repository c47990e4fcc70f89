#include "services/jni/connectmanager/pipeline/filter/filter_events.h"

#include <atomic>
#include <iterator>

#include "services/jni/connectmanager/pipeline/core/java_method.h"
#include "services/jni/connectmanager/pipeline/filter/JNativeInnerFilter.h"
#include "services/jni/connectmanager/pipeline/filter/filter_access.h"
#include "services/jni/connectmanager/pipeline/filter/filter_log.h"

using android::JNativeInnerFilter;

namespace {

std::atomic<flt_section_nfy_fct> gSectionEventCallback;
std::atomic<flt_status_nfy_fct> gFilterStatusCallback;

struct FilterEvent {
    FilterAccessMessages access;
    const char* null;  // no function is registered
};

constexpr FilterEvent kSectionEvent = {
    {"com_halvorin_tv_velmora_filter_section_event",
     "<%s:%4d> handle: 0x%x, x_filter_lock handle free.",
     "<%s:%4d> handle: 0x%x invalid,drop this callback,normal case.", false},
    "<%s:%4d>  filter section event notify is null."};
constexpr FilterEvent kRestartEvent = {
    {"com_halvorin_tv_velmora_filter_restart_event",
     "<%s:%4d> handle: 0x%x, x_filter_lock handle free.",
     "<%s:%4d> handle: 0x%x invalid,drop this callback,normal case.", false},
    "<%s:%4d> filter section event notify is null."};
constexpr FilterEvent kStatusEvent = {
    {"com_halvorin_tv_velmora_filter_status_change",
     "<%s:%4d>  handle: 0x%x, x_filter_lock handle free.",
     "<%s:%4d>  handle: 0x%x invalid,drop this callback,normal case.", false},
    "<%s:%4d>  filter status change notify is null."};

// Calls deliver(function, handle, event record, tag) for a live filter, with nothing locked, but
// the peer held.
template <typename Function, typename Deliver>
void notify(const FilterEvent& event, const std::atomic<Function>& slot, jint handle,
            const Deliver& deliver) {
    FilterAccess access(event.access, static_cast<uint32_t>(handle));
    JNativeInnerFilter* filter = access.peer();
    if (filter == nullptr) {
        return;
    }
    const Function function = slot;
    if (function == nullptr) {
        FILTER_LOG_AS(event.access.function, event.null);
        return;
    }
    const uint32_t hfilter = filter->nativeGetFilterHandle();
    void* pv_tag = filter->nativeGetFilterTag();
    access.release();
    deliver(function, hfilter, filter->nativeGetFilterEvt(), pv_tag);
}

void com_halvorin_tv_velmora_filter_section_event(JNIEnv*, jobject, jint handle, jint arg0,
                                                  jint arg1, jint arg2, jint arg3) {
    FLT_EVT_DATA_T data = {{arg0, arg1, arg2, arg3}, FLT_EVT_KIND_SECTION};
    notify(kSectionEvent, gSectionEventCallback, handle,
           [&](flt_section_nfy_fct function, uint32_t hfilter, FLT_EVT_CB_T* pt_evt, void* pv_tag) {
               function(hfilter, pt_evt, &data, pv_tag);
           });
}

void com_halvorin_tv_velmora_filter_restart_event(JNIEnv*, jobject, jint handle, jint arg0) {
    FLT_EVT_DATA_T data = {{arg0, 0, 0, 0}, FLT_EVT_KIND_RESTART};
    notify(kRestartEvent, gSectionEventCallback, handle,
           [&](flt_section_nfy_fct function, uint32_t hfilter, FLT_EVT_CB_T* pt_evt, void* pv_tag) {
               function(hfilter, pt_evt, &data, pv_tag);
           });
}

void com_halvorin_tv_velmora_filter_status_change(JNIEnv*, jobject, jint handle, jint status) {
    notify(kStatusEvent, gFilterStatusCallback, handle,
           [&](flt_status_nfy_fct function, uint32_t hfilter, FLT_EVT_CB_T* pt_evt, void* pv_tag) {
               function(hfilter, pt_evt, status, pv_tag);
           });
}

const JNINativeMethod kFilterNatives[] = {
    NATIVE_METHOD("nativeFilterSectionEvent", "(IIIII)V",
                  com_halvorin_tv_velmora_filter_section_event),
    NATIVE_METHOD("nativeFilterRestartEvent", "(II)V",
                  com_halvorin_tv_velmora_filter_restart_event),
    NATIVE_METHOD("nativeFilterStatusChanged", "(II)V",
                  com_halvorin_tv_velmora_filter_status_change),
};

}  // namespace

int registerFilterEventNatives(JNIEnv* env) {
    return registerNativeMethods(
        env, "com/halvorin/tv/velmora/services/selector/connectmanager/ZytTvInnerFilterCallback",
        kFilterNatives, std::size(kFilterNatives));
}

void setSectionCallback(flt_section_nfy_fct callback) {
    gSectionEventCallback = callback;
}

void setFilterStatusCallback(flt_status_nfy_fct callback) {
    gFilterStatusCallback = callback;
}
