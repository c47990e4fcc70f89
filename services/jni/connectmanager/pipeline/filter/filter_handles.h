// Filter handles, and FilterAccess, through which every operation and every event reaches a live filter.
// Which filters there are is known to the middleware's handle service alone; what is kept here are the
// locks that keep accesses to one filter one after the other, and who waits for a semaphore.

#ifndef FILTER_HANDLES_H
#define FILTER_HANDLES_H

#include <utils/RefBase.h>

#include <cstdint>

#include "services/jni/connectmanager/pipeline/filter/JNativeInnerFilter.h"

// The object behind a filter handle. It is made before the handle and freed after it.
struct FLT_INST_T {
    uint32_t h_sema;   // the filter's semaphore, never 0
    int64_t instance;  // address of the peer, widened
};

// Issues the handle of a record. From then on the handle is visible, but who wants access waits for
// the semaphore. Returns the handle service's result.
int32_t allocFilterHandle(FLT_INST_T* ptFltInst, uint32_t* ph_filter);

// Takes the filter's semaphore, which is then in *ph_sema if that is not null. Waits for whoever has
// it. Returns 0; -1 (logged), nothing held, when the handle names no live filter or the semaphore
// cannot be had.
int x_filter_lock(uint32_t hfilter, uint32_t* ph_sema);

// Releases a filter's semaphore; false (logged) when the service failed.
bool x_filter_unlock(uint32_t h_sema);

// Gives back what a failed open has made and still holds: the handle (0: none), the record (null:
// none) and the semaphore. A thread that waits for the semaphore fails.
void undoFilter(uint32_t hfilter, FLT_INST_T* ptFltInst, uint32_t h_sema);

// One access to a live filter. It waits until nobody else has access, and has it until release() or
// its end; it holds the peer until its end.
//
// Note: while it waits for a filter, every other thread that wants any filter waits with it. So a
// thread that has access, and is in Java, must not ask for access to that filter or to any other; it
// would wait for a thread that waits for it. The peer may be destroyed at the end of the access, which
// calls Java.
class FilterAccess {
  public:
    // function is the name of the operation or of the native that asks for access.
    FilterAccess(const char* function, uint32_t hfilter);
    ~FilterAccess() { release(); }
    FilterAccess(const FilterAccess&) = delete;
    FilterAccess& operator=(const FilterAccess&) = delete;

    // Null when there is no access. If the handle names no live filter, lockFailed(), or the second
    // lookup failed, lookupFailed(), the caller logs a line of its own.
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
