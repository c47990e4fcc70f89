#include "services/jni/connectmanager/pipeline/filter/filter_handles.h"

#include <condition_variable>
#include <mutex>

#include "mw/basic_services.h"
#include "services/jni/connectmanager/pipeline/filter/filter_instance.h"
#include "services/jni/connectmanager/pipeline/filter/filter_log.h"

using android::JNativeInnerFilter;
using android::sp;

namespace {

// A thread has access to a filter while it holds the filter's semaphore. A thread that waits for a
// semaphore holds gFilterHandleMutex meanwhile, so at most one thread waits at any time. Lock
// order: the mutex, then a semaphore.
//
// The library never destroys a mutex. Other threads may still be calling while the process ends,
// and on a device, locking a destroyed mutex aborts the process.
std::mutex& gFilterHandleMutex = *new std::mutex();

// The problem of an open that fails: its handle is visible while it still runs. So when the open
// frees the record and the semaphore, another thread may be about to read the record, or may wait
// for the semaphore. That thread holds gFilterHandleMutex, so the open cannot take this mutex to
// keep it away. The rules:
// - A record is read, and a handle is freed, only under gRecordMutex. So nobody reads a record
//   whose handle is gone. Under this mutex, the only thing that is waited for is gWaiterGone.
// - gWaiter names the thread that waits for a semaphore.
// - A thread that frees a handle notes that in gWaiter. A waiting thread that then gets the
//   semaphore releases it at once, and fails.
// - The open deletes the semaphore when nobody waits for it any more. If it cannot release the
//   semaphore, the waiting thread does not get it. Then the open deletes the semaphore at once, and
//   the lock of the waiting thread fails.
std::mutex& gRecordMutex = *new std::mutex();
std::condition_variable& gWaiterGone = *new std::condition_variable();

// The waiting thread is known by its semaphore, which exists and is therefore unique. The filter's
// handle would not do, because the number of a freed handle may be issued again.
struct Waiter {
    uint32_t h_sema;  // 0: nobody waits
    bool handleFreed;
};
Waiter gWaiter;  // guarded by gRecordMutex

struct HandleResult {
    int32_t code;
    uint16_t type;
};

// The record behind a filter handle; null when the handle names no filter.
FLT_INST_T* findRecord(uint32_t hfilter, HandleResult* result) {
    void* object = nullptr;
    *result = {};
    result->code = handle_get_type_obj(hfilter, &result->type, &object);
    return result->code == 0 && result->type == HT_INNER_FILTER ? static_cast<FLT_INST_T*>(object)
                                                                : nullptr;
}

// A filter whose semaphore is held.
struct LockedFilter {
    FLT_INST_T* ptFltInst;
    uint32_t h_sema;
    int64_t instance;
};

// Looks up a handle and takes the semaphore of its filter. The caller holds gFilterHandleMutex.
// Returns the record and its contents. If the handle names no live filter, or the semaphore cannot
// be taken, ptFltInst is null (logged under the function's name), and nothing is held.
LockedFilter lockFilter(const char* function, uint32_t hfilter) {
    LockedFilter filter;
    {
        const std::lock_guard<std::mutex> lock(gRecordMutex);
        HandleResult result;
        FLT_INST_T* ptFltInst = findRecord(hfilter, &result);
        if (ptFltInst == nullptr || ptFltInst->h_sema == 0) {
            FILTER_LOG_AS(function, "<%s:%4d>  handle already free.\n");
            return {};
        }
        filter = {ptFltInst, ptFltInst->h_sema, ptFltInst->instance};
        gWaiter = {filter.h_sema, false};
    }
    const int32_t i4_rc = x_sema_lock(filter.h_sema, X_SEMA_OPTION_WAIT);
    bool handleFreed;
    {
        const std::lock_guard<std::mutex> lock(gRecordMutex);
        handleFreed = gWaiter.handleFreed;
        if (!handleFreed) {
            gWaiter = {};
        }
    }
    if (i4_rc != 0) {
        FILTER_LOG_AS(function, "<%s:%4d>  fail! return i4_rc = %d.\n", i4_rc);
    } else if (handleFreed) {
        FILTER_LOG_AS(function, "<%s:%4d>  handle already free.\n");
        x_filter_unlock(filter.h_sema);
    }
    if (handleFreed) {
        // Only now that the semaphore is released may the open delete it.
        const std::lock_guard<std::mutex> lock(gRecordMutex);
        gWaiter = {};
        gWaiterGone.notify_all();
    }
    return i4_rc == 0 && !handleFreed ? filter : LockedFilter{};
}

// The second lookup of an access; false (logged) when the handle names no filter. It needs no lock:
// the caller has the semaphore, and the record of an open filter is freed only by a thread that has
// it.
bool _native_filter_handle2instance(uint32_t hfilter, int64_t* instance) {
    HandleResult result;
    const FLT_INST_T* ptFltInst = findRecord(hfilter, &result);
    if (ptFltInst == nullptr) {
        FILTER_LOG("<%s:%4d> _native_filter_handle2instance, handle: 0x%x, e_type:%d, fail: %d.",
                   hfilter, result.type, result.code);
        return false;
    }
    *instance = ptFltInst->instance;
    return true;
}

// Frees the handle of the filter with that semaphore. From then on every lookup of the handle
// fails, and nobody reads the record any more.
void freeFilterHandle(uint32_t hfilter, uint32_t h_sema) {
    const std::lock_guard<std::mutex> lock(gRecordMutex);
    if (gWaiter.h_sema == h_sema) {
        gWaiter.handleFreed = true;
    }
    handle_free(hfilter, 1);
}

// It releases nothing: the code that frees a handle also releases what the handle referred to.
uint8_t _native_innerfilter_handle_free(uint32_t, uint16_t e_type, void*, void*, uint8_t) {
    if (e_type != HT_INNER_FILTER) {
        FILTER_LOG("<%s:%4d> _native_innerfilter_handle_free, handle free invalid type: %d",
                   e_type);
        return 0;
    }
    FILTER_LOG("<%s:%4d> _native_innerfilter_handle_free, handle free type: %d", e_type);
    return 1;
}

}  // namespace

int32_t allocFilterHandle(FLT_INST_T* ptFltInst, uint32_t* ph_filter) {
    return handle_alloc(HT_INNER_FILTER, ptFltInst, nullptr, _native_innerfilter_handle_free,
                        ph_filter);
}

int x_filter_lock(uint32_t hfilter, uint32_t* ph_sema) {
    const std::lock_guard<std::mutex> lock(gFilterHandleMutex);
    const LockedFilter filter = lockFilter(__func__, hfilter);
    if (filter.ptFltInst == nullptr) {
        return -1;
    }
    if (ph_sema != nullptr) {
        *ph_sema = filter.h_sema;
    }
    return 0;
}

bool x_filter_unlock(uint32_t h_sema) {
    const int32_t i4_rc = x_sema_unlock(h_sema);
    if (i4_rc != 0) {
        FILTER_LOG("<%s:%4d>  fail! return i4_rc = %d.\n", i4_rc);
    }
    return i4_rc == 0;
}

// Fixed from outside: this order, and that the semaphore is released before it is deleted.
void undoFilter(uint32_t hfilter, FLT_INST_T* ptFltInst, uint32_t h_sema) {
    if (hfilter != 0) {
        freeFilterHandle(hfilter, h_sema);
    }
    if (ptFltInst != nullptr) {
        x_mem_free(ptFltInst);
    }
    if (x_filter_unlock(h_sema)) {
        std::unique_lock<std::mutex> lock(gRecordMutex);
        gWaiterGone.wait(lock, [h_sema] { return gWaiter.h_sema != h_sema; });
    }
    x_sema_delete(h_sema);
}

FilterAccess::FilterAccess(const char* function, uint32_t hfilter) {
    if (x_filter_lock(hfilter, &mSemaphore) != 0) {
        mFailed = kLock;
        return;
    }
    // Fixed from outside: the handle is looked up a second time, with the semaphore held.
    if (!_native_filter_handle2instance(hfilter, &mInstance)) {
        mFailed = kLookup;
        return;
    }
    mPeer = peerOf(mInstance);
    if (mPeer.get() == nullptr) {
        FILTER_LOG_AS(function, "<%s:%4d> filter.get: 0x%llx, instance: 0x%llx,failed.",
                      shown(addressIn(mInstance)), shown(mInstance));
    }
}

void FilterAccess::release() {
    if (mSemaphore != 0) {
        x_filter_unlock(mSemaphore);
        mSemaphore = 0;
    }
}

int x_velmora_filter_close(uint32_t hfilter) {
    LockedFilter closing;
    {
        const std::lock_guard<std::mutex> lock(gFilterHandleMutex);
        closing = lockFilter(__func__, hfilter);
        if (closing.ptFltInst == nullptr) {
            return -1;
        }
        freeFilterHandle(hfilter, closing.h_sema);
    }
    // Declared here, so that the peer is destroyed last, after the semaphore.
    const sp<JNativeInnerFilter> filter = peerOf(closing.instance);
    if (addressIn(closing.instance) != closing.instance) {
        FILTER_LOG("<%s:%4d>  filter.get: 0x%llx, instance: 0x%llx,failed.",
                   shown(addressIn(closing.instance)), shown(closing.instance));
    }
    if (filter.get() != nullptr) {
        filter->nativeClose();
    }
    subInnerFilterReference(closing.instance);
    x_mem_free(closing.ptFltInst);
    x_filter_unlock(closing.h_sema);
    x_sema_delete(closing.h_sema);
    FILTER_LOG("<%s:%4d>  hfilter[0x%x] !\n", hfilter);
    return 0;
}
