#include "services/jni/connectmanager/pipeline/filter/filter_registry.h"

#include <condition_variable>

#include "mw/basic_services.h"
#include "services/jni/connectmanager/pipeline/filter/filter_java.h"

using android::JNativeInnerFilter;

std::mutex& gFilterHandleMutex = *new std::mutex();

namespace {

// The failing open. A filter's handle is visible while its open still runs. When that open fails,
// another thread may be about to read the record, or may wait for the semaphore. That thread holds
// gFilterHandleMutex, so the open cannot take the mutex to keep it away. Instead:
// - A handle is freed, and a record is read, under gRecordMutex: no record is read once its handle is
//   gone. The mutex is a leaf: nothing is waited for under it but gWaiterGone.
// - Who waits for a semaphore is noted in gWaiter. Because it holds gFilterHandleMutex, there is at
//   most one.
// - Freeing the handle tells the waiter. When it gets the semaphore, it gives it straight back and
//   fails.
// - Open deletes the semaphore when the waiter is gone. If the semaphore could not be released, the
//   waiter does not get it; then open deletes it at once, which makes the waiter's lock fail.
std::mutex& gRecordMutex = *new std::mutex();

// Keyed by the semaphore, which is alive and therefore unique. The handle is not: once freed, its
// number may be issued again.
struct Waiter {
    uint32_t h_sema;  // 0: nobody waits
    bool handleFreed;
};
Waiter gWaiter;  // guarded by gRecordMutex
std::condition_variable& gWaiterGone = *new std::condition_variable();

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

// The second lookup of an access. It needs no lock: its caller has the semaphore, without which
// nobody frees a live filter's record.
bool _native_filter_handle2instance(uint32_t hfilter, int64_t* instance) {
    HandleResult result;
    const FLT_INST_T* ptFltInst = findRecord(hfilter, &result);
    if (ptFltInst == nullptr) {
        FILTER_LOG(" _native_filter_handle2instance, handle: 0x%x, e_type:%d, fail: %d.", hfilter,
                   result.type, result.code);
        return false;
    }
    *instance = ptFltInst->instance;
    return true;
}

}  // namespace

int lockFilterSemaphore(const char* function, uint32_t hfilter, FilterLookup* filter) {
    {
        const std::lock_guard<std::mutex> lock(gRecordMutex);
        HandleResult result;
        FLT_INST_T* ptFltInst = findRecord(hfilter, &result);
        if (ptFltInst == nullptr || ptFltInst->h_sema == 0) {
            FILTER_LOG_AS(function, "  handle already free.\n");
            return -1;
        }
        *filter = {ptFltInst, ptFltInst->h_sema, ptFltInst->instance};
        gWaiter = {filter->h_sema, false};
    }
    const int32_t i4_rc = x_sema_lock(filter->h_sema, X_SEMA_OPTION_WAIT);
    bool handleFreed;
    {
        const std::lock_guard<std::mutex> lock(gRecordMutex);
        handleFreed = gWaiter.handleFreed;
    }
    if (i4_rc != 0) {
        FILTER_LOG_AS(function, "  fail! return i4_rc = %d.\n", i4_rc);
    } else if (handleFreed) {
        FILTER_LOG_AS(function, "  handle already free.\n");
        x_filter_unlock(filter->h_sema);
    }
    {
        const std::lock_guard<std::mutex> lock(gRecordMutex);
        gWaiter = {};
    }
    gWaiterGone.notify_all();
    return i4_rc == 0 && !handleFreed ? 0 : -1;
}

int x_filter_lock(uint32_t hfilter, uint32_t* ph_sema) {
    const std::lock_guard<std::mutex> lock(gFilterHandleMutex);
    FilterLookup filter = {};
    if (lockFilterSemaphore(__func__, hfilter, &filter) != 0) {
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
        FILTER_LOG("  fail! return i4_rc = %d.\n", i4_rc);
    }
    return i4_rc == 0;
}

void freeFilterHandle(uint32_t hfilter, uint32_t h_sema) {
    const std::lock_guard<std::mutex> lock(gRecordMutex);
    if (gWaiter.h_sema == h_sema) {
        gWaiter.handleFreed = true;
    }
    handle_free(hfilter, 1);
}

void awaitFilterWaiter(uint32_t h_sema) {
    std::unique_lock<std::mutex> lock(gRecordMutex);
    gWaiterGone.wait(lock, [h_sema] { return gWaiter.h_sema != h_sema; });
}

android::sp<JNativeInnerFilter> peerOf(int64_t instance) {
    return android::sp<JNativeInnerFilter>(
        addressIn(instance) == instance
            ? reinterpret_cast<JNativeInnerFilter*>(static_cast<uintptr_t>(instance))
            : nullptr);
}

FilterAccess::FilterAccess(const FilterAccessMessages& messages, uint32_t hfilter) {
    if (x_filter_lock(hfilter, &mSemaphore) != 0) {
        LOG_FILTER_FORMAT(messages.lock, messages.function, hfilter);
        return;
    }
    if (!_native_filter_handle2instance(hfilter, &mInstance)) {
        if (messages.lookupShowsInstance) {
            LOG_FILTER_FORMAT(messages.lookup, messages.function, shown(mInstance));
        } else {
            LOG_FILTER_FORMAT(messages.lookup, messages.function, hfilter);
        }
        release();
        return;
    }
    mPeer = peerOf(mInstance);
    if (mPeer.get() == nullptr) {
        FILTER_LOG_AS(messages.function, " filter.get: 0x%llx, instance: 0x%llx,failed.",
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
