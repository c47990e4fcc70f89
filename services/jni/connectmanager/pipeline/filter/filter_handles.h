// Filter handles, and FilterAccess, through which every operation and every event reaches a live
// filter. Only the middleware's handle service knows which filters there are. Because of the
// locks here, accesses to one filter happen one after the other.

#ifndef FILTER_HANDLES_H
#define FILTER_HANDLES_H

#include <utils/RefBase.h>

#include <cstdint>

#include "services/jni/connectmanager/pipeline/filter/JNativeInnerFilter.h"

// The object of a filter handle. It is made before the handle and freed after it.
struct FLT_INST_T {
    uint32_t h_sema;   // the filter's semaphore, never 0
    int64_t instance;  // address of the peer, see filter_instance.h
};

// Issues the handle of a record. From then on the handle is visible, but anyone who wants access
// waits for the semaphore. Returns the handle service's result.
int32_t allocFilterHandle(FLT_INST_T* ptFltInst, uint32_t* ph_filter);

// Waits for the filter's semaphore, takes it and stores it in *ph_sema, unless ph_sema is null.
// Returns 0; -1 (logged), with nothing held, when the handle names no live filter or the semaphore
// cannot be taken.
int x_filter_lock(uint32_t hfilter, uint32_t* ph_sema);

// Releases a filter's semaphore; false (logged) when the service fails.
bool x_filter_unlock(uint32_t h_sema);

// Releases what a failed open has made: the handle (0: none), the record (null: none) and the
// semaphore. If another thread waits for the semaphore, its access fails.
void undoFilter(uint32_t hfilter, FLT_INST_T* ptFltInst, uint32_t h_sema);

// One access to a live filter. The constructor waits until nobody else has access. The access lasts
// until release() or the destructor; the peer is held until the destructor.
//
// Note: while one thread waits for a filter, every other thread that wants any filter waits as
// well. So a thread that has access and runs a Java method must not ask for access to any filter:
// the two threads could wait for each other. The destructor may destroy the peer, which calls
// Java.
class FilterAccess {
  public:
    // function: the name of the operation or native method that asks for access.
    FilterAccess(const char* function, uint32_t hfilter);
    ~FilterAccess() { release(); }
    FilterAccess(const FilterAccess&) = delete;
    FilterAccess& operator=(const FilterAccess&) = delete;

    // Null when the access failed. The caller then logs its own line if lockFailed() (the handle
    // names no live filter, or its semaphore cannot be taken) or if lookupFailed() (the second
    // lookup failed).
    android::JNativeInnerFilter* peer() const { return mPeer.get(); }
    bool lockFailed() const { return mFailed == kLock; }
    bool lookupFailed() const { return mFailed == kLookup; }

    // 0 until the filter is found.
    int64_t instance() const { return mInstance; }

    // Lets others have access.
    void release();

  private:
    enum Step { kNone, kLock, kLookup };
    android::sp<android::JNativeInnerFilter> mPeer;
    int64_t mInstance = 0;
    uint32_t mSemaphore = 0;
    Step mFailed = kNone;
};

#endif  // FILTER_HANDLES_H
