#include "services/jni/connectmanager/pipeline/filter/filter_access.h"

#include "mw/basic_services.h"
#include "services/jni/connectmanager/pipeline/filter/JNativeCallbackThread.h"
#include "services/jni/connectmanager/pipeline/filter/filter_handles.h"
#include "services/jni/connectmanager/pipeline/filter/filter_instance.h"
#include "services/jni/connectmanager/pipeline/filter/filter_log.h"

using android::addressIn;
using android::JNativeInnerFilter;
using android::peerOf;
using android::shown;
using android::sp;
using android::widened;

namespace {

constexpr char kOpen[] = "x_velmora_filter_open";
constexpr char kClose[] = "x_velmora_filter_close";

// Issues the handle, makes it and the peer known to each other, and opens the Java filter; false when
// one of the steps failed. *phfilter stays 0 when there is no handle.
bool openPeer(FLT_INST_T* ptFltInst, JNativeInnerFilter* filter, uint32_t* phfilter,
              uint32_t h_pipeline, int mainType, int subType, int64_t buffersize,
              const FLT_EVT_CB_T* pt_evt, void* pv_tag) {
    uint32_t hfilter = 0;
    int32_t i4_rc = allocFilterHandle(ptFltInst, &hfilter);
    if (i4_rc != 0) {
        FILTER_LOG_AS(kOpen, "<%s:%4d>  handle alloc fail: %d\n", i4_rc);
        return false;
    }
    *phfilter = hfilter;
    // Fixed from outside: the handle is read back before it is used, which never fails as long as the
    // service works.
    uint16_t type = 0;
    void* object = nullptr;
    if (handle_get_type_obj(hfilter, &type, &object) != 0 || object != ptFltInst) {
        FILTER_LOG_AS(kOpen, "<%s:%4d>  handle: 0x%x, failed.\n", hfilter);
        return false;
    }
    filter->nativeSetFilterHandle(hfilter);
    filter->nativeSetFilterEvt(pt_evt);
    filter->nativeSetFilterTag(pv_tag);

    object = nullptr;
    i4_rc = handle_get_type_obj(h_pipeline, &type, &object);
    if (i4_rc != 0 || type != HT_PIPELINE) {
        FILTER_LOG_AS(kOpen, "<%s:%4d>  handle: 0x%x, fail: %d.\n", h_pipeline, i4_rc);
        return false;
    }
    const int opened = filter->nativeOpen(widened(object), mainType, subType, buffersize,
                                          callbackThreadObject(pt_evt->h_cb_thread));
    if (opened != 0) {
        FILTER_LOG_AS(kOpen,
                      "<%s:%4d> x_velmora_filter_open, nativeOpen fail: %d, instance: 0x%llx.",
                      opened, shown(ptFltInst->instance));
        return false;
    }
    return true;
}

}  // namespace

int openFilter(uint32_t h_pipeline, int mainType, int subType, int64_t buffersize,
               uint32_t* ph_filter, const FLT_EVT_CB_T* pt_evt, void* pv_tag) {
    uint32_t h_sema = 0;
    const int32_t i4_rc = x_sema_create(&h_sema, X_SEMA_TYPE_BINARY_HELD, 0);
    if (i4_rc != 0) {
        FILTER_LOG_AS(kOpen, "<%s:%4d> create sema for mwl filter failed, ret=%d\r\n", i4_rc);
        return i4_rc;
    }
    FILTER_LOG_AS(kOpen, "<%s:%4d> create sema for mwl filter succ, ret=%d\r\n", 0);
    FLT_INST_T* ptFltInst = static_cast<FLT_INST_T*>(x_mem_alloc(sizeof(FLT_INST_T)));
    if (ptFltInst == nullptr) {
        FILTER_LOG_AS(kOpen, "<%s:%4d>  ptFltInst is NULL.");
        undoFilter(0, nullptr, h_sema);
        return -1;
    }
    const sp<JNativeInnerFilter> filter(new JNativeInnerFilter());
    const int64_t instance = widened(filter.get());
    *ptFltInst = {h_sema, instance};
    uint32_t hfilter = 0;
    if (!openPeer(ptFltInst, filter.get(), &hfilter, h_pipeline, mainType, subType, buffersize,
                  pt_evt, pv_tag)) {
        *ph_filter = 0;
        undoFilter(hfilter, ptFltInst, h_sema);
        return -1;
    }
    addFilterReference(instance);
    *ph_filter = hfilter;
    x_filter_unlock(h_sema);  // from here on the filter may be closed at any moment
    FILTER_LOG_AS(kOpen, "<%s:%4d>  handle: 0x%x, instance: 0x%llx\n", hfilter, shown(instance));
    FILTER_LOG_AS(kOpen, "<%s:%4d>  handle from sp: 0x%x get instance: 0x%llx\n",
                  filter->nativeGetFilterHandle(), shown(instance));
    return 0;
}

int closeFilter(uint32_t hfilter) {
    const LockedFilter closing = lockAndFreeFilter(kClose, hfilter);
    if (closing.ptFltInst == nullptr) {
        return -1;
    }
    // Declared here, so that the peer is destroyed last, after the semaphore is gone.
    const sp<JNativeInnerFilter> filter = peerOf(closing.instance);
    if (addressIn(closing.instance) != closing.instance) {
        FILTER_LOG_AS(kClose, "<%s:%4d>  filter.get: 0x%llx, instance: 0x%llx,failed.",
                      shown(addressIn(closing.instance)), shown(closing.instance));
    }
    if (filter.get() != nullptr) {
        filter->nativeClose();
    }
    subFilterReference(closing.instance);
    x_mem_free(closing.ptFltInst);
    x_filter_unlock(closing.h_sema);
    x_sema_delete(closing.h_sema);
    FILTER_LOG_AS(kClose, "<%s:%4d>  hfilter[0x%x] !\n", hfilter);
    return 0;
}

// change adds or drops the reference. served is the line when it was done, refused when the instance
// is no address.
static int changeReference(int64_t instance, const char* function,
                           void (android::RefBase::*change)(const void*) const, const char* served,
                           const char* refused) {
    if (addressIn(instance) != instance) {
        FILTER_LOG_AS(function, refused, shown(addressIn(instance)), shown(instance));
        return -1;
    }
    const sp<JNativeInnerFilter> filter = peerOf(instance);
    if (filter.get() != nullptr) {
        (filter.get()->*change)(filter.get());
    }
    FILTER_LOG_AS(function, served, shown(instance));
    return 0;
}

int addFilterReference(int64_t instance) {
    return changeReference(
        instance, "addInnerFilterReference", &android::RefBase::incStrong,
        "<%s:%4d> addInnerFilterReference, setInnerFilter = 0x%llx\n",
        "<%s:%4d> addInnerFilterReferencefailed, filter.get: 0x%llx, instance: 0x%llx,failed.\n");
}

int subFilterReference(int64_t instance) {
    return changeReference(
        instance, "subInnerFilterReference", &android::RefBase::decStrong,
        "<%s:%4d> subInnerFilterReference, setInnerFilter = 0x%llx\n",
        "<%s:%4d> subInnerFilterReferencefailed, filter.get: 0x%llx, instance: 0x%llx,failed.\n");
}

FilterAccess::FilterAccess(const FilterAccessMessages& messages, uint32_t hfilter) {
    if (x_filter_lock(hfilter, &mSemaphore) != 0) {
        FILTER_LOG_AS(messages.function, messages.lock, hfilter);
        return;
    }
    if (!_native_filter_handle2instance(hfilter, &mInstance)) {
        if (messages.lookupShowsInstance) {
            FILTER_LOG_AS(messages.function, messages.lookup, shown(mInstance));
        } else {
            FILTER_LOG_AS(messages.function, messages.lookup, hfilter);
        }
        release();
        return;
    }
    mPeer = peerOf(mInstance);
    if (mPeer.get() == nullptr) {
        FILTER_LOG_AS(messages.function, "<%s:%4d> filter.get: 0x%llx, instance: 0x%llx,failed.",
                      shown(addressIn(mInstance)), shown(mInstance));
        release();
    }
}

void FilterAccess::release() {
    if (mSemaphore != 0) {
        x_filter_unlock(mSemaphore);
        mSemaphore = 0;
    }
}
