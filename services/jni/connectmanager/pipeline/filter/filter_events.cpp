#include "services/jni/connectmanager/pipeline/filter/filter_events.h"

#include <atomic>
#include <iterator>

#include "mw/filter.h"
#include "services/jni/connectmanager/pipeline/core/java_method.h"
#include "services/jni/connectmanager/pipeline/filter/JNativeInnerFilter.h"
#include "services/jni/connectmanager/pipeline/filter/filter_handles.h"
#include "services/jni/connectmanager/pipeline/filter/filter_log.h"

using android::JNativeInnerFilter;

namespace {

std::atomic<flt_section_nfy_fct> gSectionEventCallback;
std::atomic<flt_status_nfy_fct> gFilterStatusCallback;

// Calls the middleware's function for a section or a restart event. Nothing is locked then, but the
// peer is held.
void callSectionFunction(FilterAccess* access, flt_section_nfy_fct function, FLT_EVT_DATA_T data) {
    JNativeInnerFilter* filter = access->peer();
    const uint32_t hfilter = filter->nativeGetFilterHandle();
    void* pv_tag = filter->nativeGetFilterTag();
    access->release();
    function(hfilter, filter->nativeGetFilterEvt(), &data, pv_tag);
}

// The native methods. They run on the Java thread that calls them.

void com_halvorin_tv_velmora_filter_section_event(JNIEnv*, jobject, jint handle, jint arg0,
                                                  jint arg1, jint arg2, jint arg3) {
    FilterAccess access(__func__, static_cast<uint32_t>(handle));
    if (access.lockFailed()) {
        FILTER_LOG("<%s:%4d> handle: 0x%x, x_filter_lock handle free.", handle);
    }
    if (access.lookupFailed()) {
        FILTER_LOG("<%s:%4d> handle: 0x%x invalid,drop this callback,normal case.", handle);
    }
    if (access.peer() == nullptr) {
        return;
    }
    const flt_section_nfy_fct function = gSectionEventCallback;
    if (function == nullptr) {
        FILTER_LOG("<%s:%4d>  filter section event notify is null.");
        return;
    }
    callSectionFunction(&access, function, {{arg0, arg1, arg2, arg3}, FLT_EVT_KIND_SECTION});
}

void com_halvorin_tv_velmora_filter_restart_event(JNIEnv*, jobject, jint handle, jint arg0) {
    FilterAccess access(__func__, static_cast<uint32_t>(handle));
    if (access.lockFailed()) {
        FILTER_LOG("<%s:%4d> handle: 0x%x, x_filter_lock handle free.", handle);
    }
    if (access.lookupFailed()) {
        FILTER_LOG("<%s:%4d> handle: 0x%x invalid,drop this callback,normal case.", handle);
    }
    if (access.peer() == nullptr) {
        return;
    }
    const flt_section_nfy_fct function = gSectionEventCallback;
    if (function == nullptr) {
        FILTER_LOG("<%s:%4d> filter section event notify is null.");
        return;
    }
    callSectionFunction(&access, function, {{arg0, 0, 0, 0}, FLT_EVT_KIND_RESTART});
}

void com_halvorin_tv_velmora_filter_status_change(JNIEnv*, jobject, jint handle, jint status) {
    FilterAccess access(__func__, static_cast<uint32_t>(handle));
    if (access.lockFailed()) {
        FILTER_LOG("<%s:%4d>  handle: 0x%x, x_filter_lock handle free.", handle);
    }
    if (access.lookupFailed()) {
        FILTER_LOG("<%s:%4d>  handle: 0x%x invalid,drop this callback,normal case.", handle);
    }
    JNativeInnerFilter* filter = access.peer();
    if (filter == nullptr) {
        return;
    }
    const flt_status_nfy_fct function = gFilterStatusCallback;
    if (function == nullptr) {
        FILTER_LOG("<%s:%4d>  filter status change notify is null.");
        return;
    }
    const uint32_t hfilter = filter->nativeGetFilterHandle();
    void* pv_tag = filter->nativeGetFilterTag();
    access.release();
    function(hfilter, filter->nativeGetFilterEvt(), status, pv_tag);
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

int x_velmora_filter_register_section_callback(flt_section_nfy_fct pf_nfy) {
    FILTER_LOG("<%s:%4d>  callback: %p", reinterpret_cast<void*>(pf_nfy));
    gSectionEventCallback = pf_nfy;
    return 0;
}

int x_velmora_filter_register_filter_status_callback(flt_status_nfy_fct pf_nfy) {
    FILTER_LOG("<%s:%4d> callback: %p", reinterpret_cast<void*>(pf_nfy));
    gFilterStatusCallback = pf_nfy;
    return 0;
}
