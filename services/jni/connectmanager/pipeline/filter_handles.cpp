#include "services/jni/connectmanager/pipeline/filter_handles.h"

#include <pthread.h>

#include <atomic>

#include "mw/basic_services.h"
#include "services/jni/connectmanager/pipeline/filter_java.h"

using android::JNativeInnerFilter;

std::mutex& gFilterHandleMutex = *new std::mutex();

namespace {

// A filter's handle is visible while its open still runs, and when that open fails, it frees handle
// and record at a moment when another thread may be reading the record or await the semaphore.
// That thread holds gFilterHandleMutex, so open cannot take it. Instead:
// - gRecordMutex is held from a lookup until the record has been read, and while a handle is freed.
//   A leaf: no semaphore is waited for under it.
// - The one waiter is known. Freeing its handle tells it so: it gives the semaphore it gets straight
//   back, and open deletes the semaphore only when the waiter is gone, so nobody ever uses a deleted
//   one.
std::mutex& gRecordMutex = *new std::mutex();
std::atomic<uint32_t> gWaiter;  // the live filter that is waited for; 0: none
uint32_t gLeaving;              // the freed filter that was waited for; guarded by gRecordMutex
pthread_cond_t gWaiterGone = PTHREAD_COND_INITIALIZER;  // has no destructor that could wait at exit

struct HandleResult {
    int32_t code;
    uint16_t type;
};

// Reads a live filter's record, which is kept from being freed meanwhile.
bool readRecord(uint32_t hfilter, FilterLookup* filter, HandleResult* result) {
    void* object = nullptr;
    uint16_t type = 0;
    result->code = handle_get_type_obj(hfilter, &type, &object);
    result->type = type;
    if (result->code != 0 || type != HT_INNER_FILTER || object == nullptr) {
        return false;
    }
    FLT_INST_T* record = static_cast<FLT_INST_T*>(object);
    *filter = {record, record->h_sema, record->instance};
    return true;
}

// The second lookup, with the semaphore held: the handle must still name the filter of that
// semaphore. Who holds a semaphore that was not given back keeps the record alive: neither close nor
// a failing open frees it without the semaphore.
bool _native_filter_handle2instance(const char* function, uint32_t hfilter, uint32_t h_sema,
                                    int64_t* instance) {
    FilterLookup filter = {};
    HandleResult result = {};
    if (!readRecord(hfilter, &filter, &result) || filter.h_sema != h_sema) {
        FILTER_LOG_AS(function,
                      " _native_filter_handle2instance, handle: 0x%x, e_type:%d, fail: %d.",
                      hfilter, result.type, result.code);
        return false;
    }
    *instance = filter.instance;
    return true;
}

}  // namespace

int lockFilterSemaphore(const char* function, uint32_t hfilter, FilterLookup* filter) {
    {
        const std::lock_guard<std::mutex> lock(gRecordMutex);
        HandleResult result = {};
        if (!readRecord(hfilter, filter, &result) || filter->h_sema == 0) {
            FILTER_LOG_AS(function, "  handle already free.\n");
            return -1;
        }
        gWaiter.store(hfilter, std::memory_order_relaxed);
    }
    const int32_t i4_rc = x_sema_lock(filter->h_sema, X_SEMA_OPTION_WAIT);
    // Only with the semaphore is a handle freed: who has it need not fear that it happens now.
    const bool handleFreed = (i4_rc == 0 ? gWaiter.load() : gWaiter.exchange(0)) != hfilter;
    gWaiter.store(0, std::memory_order_relaxed);
    if (i4_rc != 0) {
        FILTER_LOG_AS(function, "  fail! return i4_rc = %d.\n", i4_rc);
    } else if (handleFreed) {
        FILTER_LOG_AS(function, "  handle already free.\n");
        x_filter_unlock(filter->h_sema);
    }
    if (handleFreed) {
        const std::lock_guard<std::mutex> lock(gRecordMutex);
        gLeaving = 0;
        pthread_cond_broadcast(&gWaiterGone);
    }
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

void x_filter_unlock(uint32_t h_sema) {
    const int32_t i4_rc = x_sema_unlock(h_sema);
    if (i4_rc != 0) {
        FILTER_LOG("  fail! return i4_rc = %d.\n", i4_rc);
    }
}

void freeFilterHandle(uint32_t hfilter) {
    const std::lock_guard<std::mutex> lock(gRecordMutex);
    uint32_t waitedFor = hfilter;
    if (gWaiter.compare_exchange_strong(waitedFor, 0)) {
        gLeaving = hfilter;
    }
    handle_free(hfilter, 1);
}

void awaitFilterWaiter(uint32_t hfilter) {
    const std::lock_guard<std::mutex> lock(gRecordMutex);
    while (gLeaving == hfilter) {
        pthread_cond_wait(&gWaiterGone, gRecordMutex.native_handle());
    }
}

android::sp<JNativeInnerFilter> peerOf(int64_t instance) {
    JNativeInnerFilter* peer =
        reinterpret_cast<JNativeInnerFilter*>(static_cast<uintptr_t>(instance));
    return android::sp<JNativeInnerFilter>(android::widened(peer) == instance ? peer : nullptr);
}

FilterAccess::FilterAccess(const FilterAccessMessages& messages, uint32_t hfilter) {
    if (x_filter_lock(hfilter, &mSemaphore) != 0) {
        LOG_FILTER_FORMAT(messages.lock, messages.function, hfilter);
        return;
    }
    if (!_native_filter_handle2instance(messages.function, hfilter, mSemaphore, &mInstance)) {
        if (messages.lookupShowsInstance) {
            LOG_FILTER_FORMAT(messages.lookup, messages.function,
                              static_cast<unsigned long long>(mInstance));
        } else {
            LOG_FILTER_FORMAT(messages.lookup, messages.function, hfilter);
        }
        release();
        return;
    }
    mPeer = peerOf(mInstance);
    if (mPeer.get() == nullptr) {
        FILTER_LOG_AS(messages.function, " filter.get: 0x%llx, instance: 0x%llx,failed.",
                      static_cast<unsigned long long>(static_cast<uintptr_t>(mInstance)),
                      static_cast<unsigned long long>(mInstance));
        release();
    }
}

void FilterAccess::release() {
    if (mSemaphore != 0) {
        x_filter_unlock(mSemaphore);
        mSemaphore = 0;
    }
}
