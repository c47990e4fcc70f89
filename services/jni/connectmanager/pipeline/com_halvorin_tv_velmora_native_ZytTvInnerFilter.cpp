// The section filter functions that only pass a call on to a filter's peer, and the registration of
// the filter side with Java. Everything else that the middleware calls is defined in filter/:
// opening and closing, callback threads, the registration of callbacks, and references.

#include <jni.h>

#include <cstdint>

#include "mw/filter.h"
#include "services/jni/connectmanager/pipeline/filter/filter_events.h"
#include "services/jni/connectmanager/pipeline/filter/filter_handles.h"
#include "services/jni/connectmanager/pipeline/filter/filter_instance.h"
#include "services/jni/connectmanager/pipeline/filter/filter_java.h"
#include "services/jni/connectmanager/pipeline/filter/filter_log.h"
#include "services/jni/connectmanager/pipeline/onload_pipeline.h"

int x_velmora_filter_start(uint32_t hfilter) {
    FilterAccess access(__func__, hfilter);
    if (access.lockFailed()) {
        FILTER_LOG("<%s:%4d>  handle: 0x%x, x_filter_lock handle free.", hfilter);
    }
    if (access.lookupFailed()) {
        FILTER_LOG("<%s:%4d> handle: 0x%x, failed.", hfilter);
    }
    if (access.peer() == nullptr) {
        return -1;
    }
    const int result = access.peer()->nativeStart();
    access.release();
    if (result != 0) {
        FILTER_LOG("<%s:%4d>  start fail: %d, instance: 0x%llx.", result, shown(access.instance()));
    }
    FILTER_LOG("<%s:%4d>  hfilter[0x%x] jret %d !\n", hfilter, result);
    return result;
}

int x_velmora_filter_stop(uint32_t hfilter) {
    FilterAccess access(__func__, hfilter);
    if (access.lockFailed()) {
        FILTER_LOG("<%s:%4d>  handle: 0x%x, x_filter_lock handle free.", hfilter);
    }
    if (access.lookupFailed()) {
        FILTER_LOG("<%s:%4d>  handle:  0x%x, failed.", hfilter);
    }
    if (access.peer() == nullptr) {
        return -1;
    }
    const int result = access.peer()->nativeStop();
    access.release();
    if (result != 0) {
        FILTER_LOG("<%s:%4d>  stop fail: %d, instance: 0x%llx.", result, shown(access.instance()));
    }
    FILTER_LOG("<%s:%4d>  hfilter[0x%x] jret %d !\n", hfilter, result);
    return result;
}

int x_velmora_filter_flush(uint32_t hfilter) {
    FilterAccess access(__func__, hfilter);
    if (access.lockFailed()) {
        FILTER_LOG("<%s:%4d> handle: 0x%x, x_filter_lock handle free.", hfilter);
    }
    if (access.lookupFailed()) {
        FILTER_LOG("<%s:%4d> handle:  0x%x, failed.", hfilter);
    }
    if (access.peer() == nullptr) {
        return -1;
    }
    const int result = access.peer()->nativeFlush();
    access.release();
    if (result != 0) {
        FILTER_LOG("<%s:%4d> flush fail: %d, instance: 0x%llx.", result, shown(access.instance()));
    }
    FILTER_LOG("<%s:%4d> hfilter[0x%x] jret %d !\n", hfilter, result);
    return result;
}

int x_velmora_filter_read(uint32_t hfilter, int8_t* buffer, int64_t position, int64_t size) {
    if (buffer == nullptr) {
        FILTER_LOG("<%s:%4d> handle: 0x%x, buffer is null.", hfilter);
        return -1;
    }
    FilterAccess access(__func__, hfilter);
    if (access.lockFailed()) {
        FILTER_LOG("<%s:%4d> handle: 0x%x, x_filter_lock handle free.", hfilter);
    }
    if (access.lookupFailed()) {
        FILTER_LOG("<%s:%4d> handle:  0x%x, failed.", hfilter);
    }
    if (access.peer() == nullptr) {
        return -1;
    }
    const int result = access.peer()->nativeRead(buffer, position, size);
    access.release();
    FILTER_LOG("<%s:%4d> hfilter[0x%x] jret 0x%x !\n", hfilter, static_cast<unsigned int>(result));
    return result;
}

int x_velmora_filter_setSectionConfig(uint32_t hfilter, int value, uint8_t flag1, uint8_t flag2,
                                      uint8_t flag3, uint8_t* pattern1, uint8_t* pattern2,
                                      uint8_t* pattern3) {
    if (pattern1 == nullptr || pattern2 == nullptr || pattern3 == nullptr) {
        FILTER_LOG("<%s:%4d> handle: 0x%x, a pattern is null.", hfilter);
        return -1;
    }
    FilterAccess access(__func__, hfilter);
    if (access.lockFailed()) {
        FILTER_LOG("<%s:%4d> handle: 0x%x, x_filter_lock handle free.", hfilter);
    }
    if (access.lookupFailed()) {
        // Fixed from outside: this shows the instance, which is 0 here, instead of the handle.
        FILTER_LOG("<%s:%4d> handle:  0x%llx, failed.", shown(access.instance()));
    }
    if (access.peer() == nullptr) {
        return -1;
    }
    const int result = access.peer()->nativeSetSectionConfig(value, flag1, flag2, flag3, pattern1,
                                                             pattern2, pattern3);
    access.release();
    if (result != 0) {
        FILTER_LOG("<%s:%4d> setSectionConfig fail: %d, instance: 0x%llx.", result,
                   shown(access.instance()));
    }
    FILTER_LOG("<%s:%4d> hfilter[0x%x] jret %d !\n", hfilter, result);
    return result;
}

int register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFilter(JNIEnv* env) {
    if (registerFilterEventNatives(env) != 0) {
        FILTER_LOG("<%s:%4d> Failed to register data source filter native methods");
        return 0;
    }
    bindFilterClasses(env);
    return 1;
}
