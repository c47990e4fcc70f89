// Filter handles, and the locks that keep accesses to one filter one after the other. Which filters
// there are is known to the middleware's handle service alone; what is kept here are the locks, and who
// waits for a semaphore.

#ifndef FILTER_HANDLES_H
#define FILTER_HANDLES_H

#include <cstdint>

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

// The second lookup of an access; false (logged) when the handle names no filter. It needs no lock:
// its caller has the semaphore, without which nobody frees the record of a filter that was opened.
bool _native_filter_handle2instance(uint32_t hfilter, int64_t* instance);

// The first half of a close: takes the semaphore as x_filter_lock does, and frees the handle, so that
// every lookup fails from then on. ptFltInst is null (logged under the function's name) on a failure.
struct LockedFilter {
    FLT_INST_T* ptFltInst;
    uint32_t h_sema;
    int64_t instance;
};
LockedFilter lockAndFreeFilter(const char* function, uint32_t hfilter);

// Gives back what a failed open has made and still holds: the handle (0: none), the record (null:
// none) and the semaphore. A thread that waits for the semaphore fails.
void undoFilter(uint32_t hfilter, FLT_INST_T* ptFltInst, uint32_t h_sema);

#endif  // FILTER_HANDLES_H
