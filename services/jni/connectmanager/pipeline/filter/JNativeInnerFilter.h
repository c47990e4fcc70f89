// The native peer of one Java section filter object.

#ifndef J_NATIVE_INNER_FILTER_H
#define J_NATIVE_INNER_FILTER_H

#include <jni.h>
#include <utils/RefBase.h>

#include "mw/filter.h"

namespace android {

// Always held by sp, and by its handle while the filter is open. It locks nothing: its callers hold
// the filter's semaphore, so only one thread at a time uses it. Only the event record is also read
// without the semaphore, because an event passes its address to the middleware. That is safe: the
// record does not change after open, and the event holds the peer.
//
// Note: if a thread cannot be attached or detached, the process ends, except in the destructor,
// which then leaves its references behind. Exceptions of the Java methods stay pending, except for
// those of the constructor. A JNI function that fails leaves no exception. The destructor runs on
// whichever thread drops the last reference. It does not call onCloseFilter.
class JNativeInnerFilter : public RefBase {
  public:
    JNativeInnerFilter();

    // Makes the read buffer and the Java filter, and opens the filter. pipeline_instance is the JNI
    // reference to the PipelineHandler; callbackThread may be null. Returns the Java result; 1
    // without a pipeline; -1 on failure.
    int nativeOpen(int64_t pipeline_instance, int mainType, int subType, int64_t buffersize,
                   jobject callbackThread);
    void nativeClose();
    int nativeStart();
    int nativeStop();
    int nativeFlush();

    // Returns the number of bytes copied to buffer: 1 to FLT_MAX_READ_SIZE, at most size; or -1.
    int nativeRead(int8_t* buffer, int64_t position, int64_t size);

    // Patterns of FLT_PATTERN_SIZE bytes. Returns the Java result, or -1.
    int nativeSetSectionConfig(int value, uint8_t flag1, uint8_t flag2, uint8_t flag3,
                               const uint8_t* pattern1, const uint8_t* pattern2,
                               const uint8_t* pattern3);

    void nativeSetFilterHandle(uint32_t handle) { mFilterHandle = handle; }
    uint32_t nativeGetFilterHandle() const { return mFilterHandle; }
    void nativeSetFilterEvt(const FLT_EVT_CB_T* pt_evt) { mFilterEvt = *pt_evt; }
    FLT_EVT_CB_T* nativeGetFilterEvt() { return &mFilterEvt; }
    void nativeSetFilterTag(void* pv_tag) { mFilterTag = pv_tag; }
    void* nativeGetFilterTag() const { return mFilterTag; }
    jobject nativeGetFilterObject() const { return mObject; }

  protected:
    ~JNativeInnerFilter() override;

  private:
    // Make and keep the read buffer and the Java object; false when that fails.
    bool makeSectionArray(JNIEnv* env);
    bool makeObject(JNIEnv* env, jobject pipeline);

    jobject mObject = nullptr;           // global reference
    jbyteArray mj_sectionarr = nullptr;  // global reference
    uint32_t mFilterHandle = 0;
    FLT_EVT_CB_T mFilterEvt = {};
    void* mFilterTag = nullptr;
};

}  // namespace android

#endif  // J_NATIVE_INNER_FILTER_H
