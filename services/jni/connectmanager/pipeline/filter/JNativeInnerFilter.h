// The native peer of one Java section filter object.

#ifndef J_NATIVE_INNER_FILTER_H
#define J_NATIVE_INNER_FILTER_H

#include <jni.h>
#include <utils/RefBase.h>

#include "mw/filter.h"

namespace android {

// Always held by sp, and by its handle while the filter is open. It locks nothing: its callers hold
// the filter's semaphore, so that one thread at a time uses it. The event record alone is also read
// without the semaphore: an event hands the middleware its address. That is safe because the record
// does not change after open, and because the event holds the peer.
//
// Note: a thread that cannot be attached or detached ends the process. Exceptions of the
// Java methods are left pending, but for the constructor's; a JNI function that fails leaves none.
// The destructor runs on whichever thread drops the last reference, and does not call
// onCloseFilter.
class JNativeInnerFilter : public RefBase {
  public:
    JNativeInnerFilter();

    // Makes the read buffer and the Java filter and opens it. pipeline_instance is the JNI
    // reference of the PipelineHandler; callbackThread may be null. Returns the Java result, 1
    // without a pipeline, or -1.
    int nativeOpen(int64_t pipeline_instance, int mainType, int subType, int64_t buffersize,
                   jobject callbackThread);
    void nativeClose();
    int nativeStart();
    int nativeStop();
    int nativeFlush();

    // Returns the bytes copied to buffer, 1 to FLT_MAX_READ_SIZE and at most size, or -1.
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
    // Make the read buffer and the Java object, and hold them; false when Java cannot.
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
