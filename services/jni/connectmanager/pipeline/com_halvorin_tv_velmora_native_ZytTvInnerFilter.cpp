// The section filter bridge: the functions that the middleware calls, and the registration of what
// the Java side calls and is called by.

#include <jni.h>

#include <cstdint>

#include "mw/basic_services.h"
#include "mw/filter.h"
#include "services/jni/connectmanager/pipeline/filter/JNativeCallbackThread.h"
#include "services/jni/connectmanager/pipeline/filter/JNativeInnerFilter.h"
#include "services/jni/connectmanager/pipeline/filter/filter_events.h"
#include "services/jni/connectmanager/pipeline/filter/filter_java.h"
#include "services/jni/connectmanager/pipeline/filter/filter_registry.h"
#include "services/jni/connectmanager/pipeline/onload_pipeline.h"

using android::JNativeCallbackThread;
using android::JNativeInnerFilter;
using android::sp;
using android::widened;

android::FilterFields android::gFields;
android::CallbackThreadFields android::gCallbackThreadFields;

namespace {

// The free callbacks. They release nothing: who frees a handle releases what was behind it.

uint8_t _native_innerfilter_handle_free(uint32_t, uint16_t e_type, void*, void*, uint8_t) {
    if (e_type != HT_INNER_FILTER) {
        FILTER_LOG(" _native_innerfilter_handle_free, handle free invalid type: %d", e_type);
        return 0;
    }
    FILTER_LOG(" _native_innerfilter_handle_free, handle free type: %d", e_type);
    return 1;
}

uint8_t _native_filter_callback_thread_handle_free(uint32_t, uint16_t e_type, void*, void*,
                                                   uint8_t) {
    if (e_type != HT_FILTER_CALLBACK_THREAD) {
        FILTER_LOG(" handle free invalid type: %d", e_type);
        return 0;
    }
    FILTER_LOG(" handle free type: %d", e_type);
    return 1;
}

// --- Open ---

// What an open has made so far, and gives back when it fails.
struct OpeningFilter {
    uint32_t h_sema = 0;
    FLT_INST_T* ptFltInst = nullptr;
    uint32_t hfilter = 0;

    // The handle first: from then on nobody finds the record. The semaphore last: a thread that
    // waits for it wakes up when it is released, finds the handle gone, and lets the semaphore go
    // before it is deleted. A release that fails may have woken nobody; then there is nothing to
    // wait for, and the deletion wakes the waiter with an error.
    void undo() {
        if (hfilter != 0) {
            freeFilterHandle(hfilter, h_sema);
        }
        if (ptFltInst != nullptr) {
            x_mem_free(ptFltInst);
        }
        if (x_filter_unlock(h_sema)) {
            awaitFilterWaiter(h_sema);
        }
        x_sema_delete(h_sema);
    }
};

// Of two deletes of a callback thread at once the first frees the handle, and drops the reference
// that it owned.
std::mutex& gDeletionMutex = *new std::mutex();

// The Java object of a callback thread; null when the handle names none.
jobject callbackThreadObject(uint32_t hthread) {
    uint16_t type = 0;
    void* object = nullptr;
    if (handle_get_type_obj(hthread, &type, &object) != 0 || type != HT_FILTER_CALLBACK_THREAD ||
        object == nullptr) {
        return nullptr;
    }
    return sp<JNativeCallbackThread>(static_cast<JNativeCallbackThread*>(object))->object();
}

// Makes handle and peer known to each other and opens the Java filter; false when one of the steps
// failed.
bool openPeer(OpeningFilter* opening, JNativeInnerFilter* filter, uint32_t h_pipeline, int mainType,
              int subType, int64_t buffersize, const FLT_EVT_CB_T* pt_evt, void* pv_tag) {
    static constexpr char kFunction[] = "x_velmora_filter_open";
    int32_t i4_rc = handle_alloc(HT_INNER_FILTER, opening->ptFltInst, nullptr,
                                 _native_innerfilter_handle_free, &opening->hfilter);
    if (i4_rc != 0) {
        opening->hfilter = 0;
        FILTER_LOG_AS(kFunction, "  handle alloc fail: %d\n", i4_rc);
        return false;
    }
    // The handle is visible from here on, but every access to it waits for the semaphore.
    uint16_t type = 0;
    void* object = nullptr;
    if (handle_get_type_obj(opening->hfilter, &type, &object) != 0 ||
        object != opening->ptFltInst) {
        FILTER_LOG_AS(kFunction, "  handle: 0x%x, failed.\n", opening->hfilter);
        return false;
    }
    filter->nativeSetFilterHandle(opening->hfilter);
    filter->nativeSetFilterEvt(pt_evt);
    filter->nativeSetFilterTag(pv_tag);

    object = nullptr;
    i4_rc = handle_get_type_obj(h_pipeline, &type, &object);
    if (i4_rc != 0 || type != HT_PIPELINE) {
        FILTER_LOG_AS(kFunction, "  handle: 0x%x, fail: %d.\n", h_pipeline, i4_rc);
        return false;
    }
    const int result = filter->nativeOpen(widened(object), mainType, subType, buffersize,
                                          callbackThreadObject(pt_evt->h_cb_thread));
    if (result != 0) {
        FILTER_LOG_AS(kFunction, " x_velmora_filter_open, nativeOpen fail: %d, instance: 0x%llx.",
                      result, shown(opening->ptFltInst->instance));
        return false;
    }
    return true;
}

// --- Operations ---

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
        LOG_FILTER_FORMAT(operation.failure, function, result, shown(access.instance()));
    }
    LOG_FILTER_FORMAT(operation.result, function, hfilter, result);
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

extern "C" {

PIPELINE_EXPORT int x_velmora_filter_open(uint32_t h_pipeline, int mainType, int subType,
                                          int64_t buffersize, uint32_t* ph_filter,
                                          FLT_EVT_CB_T* pt_evt, void* pv_tag) {
    if (ph_filter == nullptr || pt_evt == nullptr) {
        FILTER_LOG("  ph_filter or pt_evt is null.");
        return -1;
    }
    OpeningFilter opening;
    const int32_t i4_rc = x_sema_create(&opening.h_sema, X_SEMA_TYPE_BINARY_HELD, 0);
    if (i4_rc != 0) {
        FILTER_LOG(" create sema for mwl filter failed, ret=%d\r\n", i4_rc);
        return i4_rc;
    }
    FILTER_LOG(" create sema for mwl filter succ, ret=%d\r\n", 0);
    opening.ptFltInst = static_cast<FLT_INST_T*>(x_mem_alloc(sizeof(FLT_INST_T)));
    if (opening.ptFltInst == nullptr) {
        FILTER_LOG("  ptFltInst is NULL.");
        opening.undo();
        return -1;
    }
    const sp<JNativeInnerFilter> filter(new JNativeInnerFilter());
    const int64_t instance = widened(filter.get());
    *opening.ptFltInst = {opening.h_sema, instance};
    if (!openPeer(&opening, filter.get(), h_pipeline, mainType, subType, buffersize, pt_evt,
                  pv_tag)) {
        *ph_filter = 0;
        opening.undo();
        return -1;
    }
    addInnerFilterReference(instance);
    *ph_filter = opening.hfilter;
    x_filter_unlock(opening.h_sema);  // from here on the filter may be closed at any moment
    FILTER_LOG("  handle: 0x%x, instance: 0x%llx\n", opening.hfilter, shown(instance));
    FILTER_LOG("  handle from sp: 0x%x get instance: 0x%llx\n", filter->nativeGetFilterHandle(),
               shown(instance));
    return 0;
}

PIPELINE_EXPORT int x_velmora_filter_close(uint32_t hfilter) {
    FilterLookup closing = {};
    {
        const std::lock_guard<std::mutex> lock(gFilterHandleMutex);
        if (lockFilterSemaphore(__func__, hfilter, &closing) != 0) {
            return -1;
        }
        freeFilterHandle(hfilter, closing.h_sema);
    }
    // Declared here, so that the peer is destroyed last, after the semaphore is gone.
    const sp<JNativeInnerFilter> filter = peerOf(closing.instance);
    if (addressIn(closing.instance) != closing.instance) {
        FILTER_LOG("  filter.get: 0x%llx, instance: 0x%llx,failed.",
                   shown(addressIn(closing.instance)), shown(closing.instance));
    }
    if (filter.get() != nullptr) {
        filter->nativeClose();
    }
    subInnerFilterReference(closing.instance);
    x_mem_free(closing.ptFltInst);
    x_filter_unlock(closing.h_sema);
    x_sema_delete(closing.h_sema);
    FILTER_LOG("  hfilter[0x%x] !\n", hfilter);
    return 0;
}

PIPELINE_EXPORT int x_velmora_filter_start(uint32_t hfilter) {
    return operate(kStart, hfilter,
                   [](JNativeInnerFilter& filter) { return filter.nativeStart(); });
}

PIPELINE_EXPORT int x_velmora_filter_stop(uint32_t hfilter) {
    return operate(kStop, hfilter, [](JNativeInnerFilter& filter) { return filter.nativeStop(); });
}

PIPELINE_EXPORT int x_velmora_filter_flush(uint32_t hfilter) {
    return operate(kFlush, hfilter,
                   [](JNativeInnerFilter& filter) { return filter.nativeFlush(); });
}

PIPELINE_EXPORT int x_velmora_filter_read(uint32_t hfilter, int8_t* buffer, int64_t position,
                                          int64_t size) {
    if (buffer == nullptr) {
        FILTER_LOG(" handle: 0x%x, buffer is null.", hfilter);
        return -1;
    }
    return operate(kRead, hfilter, [=](JNativeInnerFilter& filter) {
        return filter.nativeRead(buffer, position, size);
    });
}

PIPELINE_EXPORT int x_velmora_filter_setSectionConfig(uint32_t hfilter, int value, uint8_t flag1,
                                                      uint8_t flag2, uint8_t flag3,
                                                      uint8_t* pattern1, uint8_t* pattern2,
                                                      uint8_t* pattern3) {
    if (pattern1 == nullptr || pattern2 == nullptr || pattern3 == nullptr) {
        FILTER_LOG(" handle: 0x%x, a pattern is null.", hfilter);
        return -1;
    }
    return operate(kSetSectionConfig, hfilter, [=](JNativeInnerFilter& filter) {
        return filter.nativeSetSectionConfig(value, flag1, flag2, flag3, pattern1, pattern2,
                                             pattern3);
    });
}

PIPELINE_EXPORT int x_velmora_filter_register_section_callback(flt_section_nfy_fct pf_nfy) {
    FILTER_LOG("  callback: %p", reinterpret_cast<void*>(pf_nfy));
    setSectionCallback(pf_nfy);
    return 0;
}

PIPELINE_EXPORT int x_velmora_filter_register_filter_status_callback(flt_status_nfy_fct pf_nfy) {
    FILTER_LOG(" callback: %p", reinterpret_cast<void*>(pf_nfy));
    setFilterStatusCallback(pf_nfy);
    return 0;
}

PIPELINE_EXPORT int x_velmora_filter_create_callback_thread(uint32_t* ph_thread) {
    if (ph_thread == nullptr) {
        return -1;
    }
    const sp<JNativeCallbackThread> thread(new JNativeCallbackThread());
    const int created = thread->createThread();
    if (created != 0) {
        return created;
    }
    uint32_t hthread = 0;
    thread->incStrong(thread.get());
    const int32_t i4_rc = handle_alloc(HT_FILTER_CALLBACK_THREAD, thread.get(), nullptr,
                                       _native_filter_callback_thread_handle_free, &hthread);
    if (i4_rc != 0) {
        FILTER_LOG("  handle alloc fail: %d\n", i4_rc);
        thread->decStrong(thread.get());
    }
    *ph_thread = hthread;
    return i4_rc == 0 ? 0 : -1;
}

PIPELINE_EXPORT int x_velmora_filter_delete_callback_thread(uint32_t hthread) {
    sp<JNativeCallbackThread> thread;
    {
        const std::lock_guard<std::mutex> lock(gDeletionMutex);
        uint16_t type = 0;
        void* object = nullptr;
        if (handle_get_type_obj(hthread, &type, &object) != 0 ||
            type != HT_FILTER_CALLBACK_THREAD || object == nullptr) {
            FILTER_LOG("  handle: 0x%x, is free.\n", hthread);
            return -1;
        }
        thread = sp<JNativeCallbackThread>(static_cast<JNativeCallbackThread*>(object));
        thread->decStrong(thread.get());
        handle_free(hthread, 1);
    }
    return 0;
}

PIPELINE_EXPORT int addInnerFilterReference(int64_t instance) {
    if (addressIn(instance) != instance) {
        FILTER_LOG(" addInnerFilterReferencefailed, filter.get: 0x%llx, instance: 0x%llx,failed.\n",
                   shown(addressIn(instance)), shown(instance));
        return -1;
    }
    const sp<JNativeInnerFilter> filter = peerOf(instance);
    if (filter.get() != nullptr) {
        filter->incStrong(filter.get());
    }
    FILTER_LOG(" addInnerFilterReference, setInnerFilter = 0x%llx\n", shown(instance));
    return 0;
}

PIPELINE_EXPORT int subInnerFilterReference(int64_t instance) {
    if (addressIn(instance) != instance) {
        FILTER_LOG(" subInnerFilterReferencefailed, filter.get: 0x%llx, instance: 0x%llx,failed.\n",
                   shown(addressIn(instance)), shown(instance));
        return -1;
    }
    const sp<JNativeInnerFilter> filter = peerOf(instance);
    if (filter.get() != nullptr) {
        filter->decStrong(filter.get());
    }
    FILTER_LOG(" subInnerFilterReference, setInnerFilter = 0x%llx\n", shown(instance));
    return 0;
}

}  // extern "C"

#define ROW(member, name, signature) JAVA_METHOD_ROW(android::gFields, member, name, signature)

static constexpr android::JavaMethodRow kFilterMethods[] = {
    ROW(constructorFilterId, "<init>",
        "(Lcom/halvorin/tv/velmora/services/pipeline/PipelineHandler;)V"),
    ROW(setNativeHandleId, "setNativeHandle", "(I)V"),
    ROW(onOpenFilterId, "onOpenFilter",
        "(IIJLcom/halvorin/tv/velmora/services/selector/connectmanager/"
        "ZytTvInnerFilterCallbackThread;)I"),
    ROW(onCloseFilterId, "onCloseFilter", "()I"),
    ROW(onSetSectionConfigId, "onSetSectionConfig", "(IZZZ[B[B[B)I"),
    ROW(onStartId, "onStart", "()I"),
    ROW(onReadId, "onRead", "([BJJ)I"),
    ROW(onFlushId, "onFlush", "()I"),
    ROW(onStopId, "onStop", "()I"),
};

#undef ROW

static constexpr android::JavaMethodRow kCallbackThreadMethods[] = {
    JAVA_METHOD_ROW(android::gCallbackThreadFields, constructorId, "<init>", "()V"),
    JAVA_METHOD_ROW(android::gCallbackThreadFields, release, "release", "()V"),
};

static void com_halvorin_tv_velmora_innerfilter_native_init(JNIEnv* env) {
    android::bindJavaClass(
        env, "com/halvorin/tv/velmora/services/selector/connectmanager/ZytTvInnerFilter",
        &android::gFields.filterClazz, kFilterMethods, kFilterSite, __LINE__);
    FILTER_LOG(" innerfilter_native_init success.\n");
}

static void com_halvorin_tv_velmora_filter_callback_thread_native_init(JNIEnv* env) {
    android::bindJavaClass(
        env,
        "com/halvorin/tv/velmora/services/selector/connectmanager/ZytTvInnerFilterCallbackThread",
        &android::gCallbackThreadFields.callbackThreadClazz, kCallbackThreadMethods, kFilterSite,
        __LINE__);
    FILTER_LOG(" filter_callback_thread_native_init success.\n");
}

int register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFilter(JNIEnv* env) {
    if (registerFilterEventNatives(env) != 0) {
        FILTER_LOG(" Failed to register data source filter native methods");
        return 0;
    }
    com_halvorin_tv_velmora_innerfilter_native_init(env);
    com_halvorin_tv_velmora_filter_callback_thread_native_init(env);
    return 1;
}
