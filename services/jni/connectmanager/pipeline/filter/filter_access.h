// Opening and closing filters, the references of their peers, and FilterAccess, through which every
// operation and every event reaches a live filter.

#ifndef FILTER_ACCESS_H
#define FILTER_ACCESS_H

#include <utils/RefBase.h>

#include <cstdint>

#include "services/jni/connectmanager/pipeline/filter/JNativeInnerFilter.h"

// Open and close, with the results and log lines of x_velmora_filter_open and x_velmora_filter_close.
// Any thread may call them. The middleware's pointers are not null.
int openFilter(uint32_t h_pipeline, int mainType, int subType, int64_t buffersize,
               uint32_t* ph_filter, const FLT_EVT_CB_T* pt_evt, void* pv_tag);
int closeFilter(uint32_t hfilter);

// Add and drop one strong reference of the peer at an instance, with the results and log lines of
// addInnerFilterReference and subInnerFilterReference. Between open and close the handle owns one.
int addFilterReference(int64_t instance);
int subFilterReference(int64_t instance);

// What an access to a filter says when it fails.
struct FilterAccessMessages {
    const char* function;
    const char* lock;          // the handle names no live filter
    const char* lookup;        // the second lookup failed
    bool lookupShowsInstance;  // lookup takes the 64-bit instance, not the handle
};

// One access to a live filter. It waits until nobody else has access, and has it until release() or
// its end; it holds the peer until its end.
//
// Note: while it waits for a filter, every other thread that wants any filter waits with it. So a
// thread that has access, and is in Java, must not ask for access to that filter or to any other; it
// would wait for a thread that waits for it. The peer may be destroyed at the end of the access, which
// calls Java.
class FilterAccess {
  public:
    FilterAccess(const FilterAccessMessages& messages, uint32_t hfilter);
    ~FilterAccess() { release(); }
    FilterAccess(const FilterAccess&) = delete;
    FilterAccess& operator=(const FilterAccess&) = delete;

    // Null when the access failed (logged).
    android::JNativeInnerFilter* peer() const { return mPeer.get(); }
    int64_t instance() const { return mInstance; }
    // Lets others have access.
    void release();

  private:
    android::sp<android::JNativeInnerFilter> mPeer;
    int64_t mInstance = 0;
    uint32_t mSemaphore = 0;
};

#endif  // FILTER_ACCESS_H
