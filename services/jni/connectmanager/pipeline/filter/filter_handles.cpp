#include "services/jni/connectmanager/pipeline/filter/filter_handles.h"

#include <condition_variable>
#include <mutex>

#include "mw/basic_services.h"
#include "services/jni/connectmanager/pipeline/filter/filter_instance.h"
#include "services/jni/connectmanager/pipeline/filter/filter_log.h"

using android::JNativeInnerFilter;
using android::sp;

namespace {

// Access to a filter goes with its semaphore. Whoever waits for a semaphore holds gFilterHandleMutex
// meanwhile, so at any moment at most one thread waits. Lock order: the mutex, then a semaphore.
//
// Mutexes of the library are never destroyed: other threads may still be calling when the process
// ends, and a device ends in a crash whoever locks a destroyed mutex.
std::mutex& gFilterHandleMutex = *new std::mutex();

// The problem of the failing open: its handle is visible while it still runs, so another thread may
// be about to read the record, or may wait for the semaphore, when the open fails and frees both.
// That thread holds gFilterHandleMutex, so the open cannot take the mutex to keep it away. The rules:
// - A record is read, and a handle is freed, under gRecordMutex. So no record is read once its handle
//   is gone. Nothing is waited for under this mutex but gWaiterGone.
// - The thread that waits for a semaphore is noted in gWaiter.
// - Who frees a handle notes that there too. A waiter that then gets the semaphore gives it straight
//   back, and fails.
// - The open deletes the semaphore when the waiter is gone. If it cannot release the semaphore, the
//   waiter does not get it; then the open deletes it at once, and the waiter's lock fails.
std::mutex& gRecordMutex = *new std::mutex();
std::condition_variable& gWaiterGone = *new std::condition_variable();

// The waiter is known by the semaphore, which is alive and therefore unique. A handle would not do:
// the number of a freed one may be issued again.
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

// Looks a handle up and takes the semaphore of its filter; the caller holds gFilterHandleMutex. The
// result is the record and what it holds; ptFltInst is null (logged under the function's name), and
// nothing is held, when the handle names no live filter or the semaphore cannot be had.
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
        // Only now, when the semaphore is let go, may the open delete it.
        const std::lock_guard<std::mutex> lock(gRecordMutex);
        gWaiter = {};
        gWaiterGone.notify_all();
    }
    return i4_rc == 0 && !handleFreed ? filter : LockedFilter{};
}

// The second lookup of an access; false (logged) when the handle names no filter. It needs no lock:
// its caller has the semaphore, without which nobody frees the record of a filter that was opened.
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

// The handle of the filter with that semaphore: from here on every lookup of it fails, and its
// record is not read any more.
void freeFilterHandle(uint32_t hfilter, uint32_t h_sema) {
    const std::lock_guard<std::mutex> lock(gRecordMutex);
    if (gWaiter.h_sema == h_sema) {
        gWaiter.handleFreed = true;
    }
    handle_free(hfilter, 1);
}

// It releases nothing: who frees a handle releases what was behind it.
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

// Fixed from outside: the order, and that the semaphore is released before it is deleted.
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
    // Declared here, so that the peer is destroyed last, after the semaphore is gone.
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
