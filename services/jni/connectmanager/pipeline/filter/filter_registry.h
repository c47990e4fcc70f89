// Filter handles: how a middleware handle becomes a peer, and how access to one filter is
// serialised.
//
// Lock order: gFilterHandleMutex, then a filter's semaphore. Whoever waits for a semaphore in order
// to work on its filter holds the mutex meanwhile, so at any moment at most one thread waits.

#ifndef FILTER_REGISTRY_H
#define FILTER_REGISTRY_H

#include <utils/RefBase.h>

#include <cstdint>
#include <mutex>

#include "services/jni/connectmanager/pipeline/filter/JNativeInnerFilter.h"

// The object behind a filter handle. Made before the handle, freed after it.
struct FLT_INST_T {
    uint32_t h_sema;   // never 0
    int64_t instance;  // address of the peer
};

// Never destroyed, as every mutex of the library: other threads may still be calling when the
// process ends, and a device ends in a crash whoever locks a destroyed one.
extern std::mutex& gFilterHandleMutex;

// A live filter: its record and what the record held when it was looked up.
struct FilterLookup {
    FLT_INST_T* ptFltInst;
    uint32_t h_sema;
    int64_t instance;
};

// Looks a handle up and takes its semaphore, with gFilterHandleMutex held by the caller. Returns 0
// with the semaphore held; -1 (logged under the function's name), nothing held, when the handle
// names no live filter, the semaphore cannot be taken, or the filter's open failed meanwhile.
int lockFilterSemaphore(const char* function, uint32_t hfilter, FilterLookup* filter);

// As above, taking the mutex for the lookup and the wait. ph_sema may be null.
int x_filter_lock(uint32_t hfilter, uint32_t* ph_sema);

// Releases a filter's semaphore; false (logged) when the service failed.
bool x_filter_unlock(uint32_t h_sema);

// Frees the handle of the filter with that semaphore: from here on every lookup of it fails, and no
// thread reads its record any more.
void freeFilterHandle(uint32_t hfilter, uint32_t h_sema);

// For a failed open, after it has released the semaphore: waits until the thread that waited for it,
// if there was one, has noticed that the handle is gone and let the semaphore go.
void awaitFilterWaiter(uint32_t h_sema);

// The address in an instance: what is left of it in a pointer, widened again. It differs from an
// instance that is no address.
inline int64_t addressIn(int64_t instance) {
    return static_cast<int64_t>(static_cast<uintptr_t>(instance));
}

// An instance, or the address in it, as log lines show it with %llx.
inline unsigned long long shown(int64_t instance) {
    return static_cast<unsigned long long>(instance);
}

// The peer at an instance: null when the value is no address, and then nothing is dereferenced.
android::sp<android::JNativeInnerFilter> peerOf(int64_t instance);

// What an access to a filter says when it fails.
struct FilterAccessMessages {
    const char* function;
    const char* lock;          // the handle names no live filter
    const char* lookup;        // the handle went away before the semaphore was held
    bool lookupShowsInstance;  // lookup takes the 64-bit instance, not the handle
};

// One access to a live filter. Holds the filter's semaphore until release() or its end, and the
// peer until its end: the peer may be destroyed there, with no lock held.
class FilterAccess {
  public:
    FilterAccess(const FilterAccessMessages& messages, uint32_t hfilter);
    ~FilterAccess() { release(); }
    FilterAccess(const FilterAccess&) = delete;
    FilterAccess& operator=(const FilterAccess&) = delete;

    // Null when the access failed (logged).
    android::JNativeInnerFilter* peer() const { return mPeer.get(); }
    int64_t instance() const { return mInstance; }
    void release();

  private:
    android::sp<android::JNativeInnerFilter> mPeer;
    int64_t mInstance = 0;
    uint32_t mSemaphore = 0;
};

#endif  // FILTER_REGISTRY_H
