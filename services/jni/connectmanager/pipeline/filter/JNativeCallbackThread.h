// Callback threads. The middleware creates them and names one when it opens a filter. This declares
// the native peer of the Java object, and what looks up its handle.

#ifndef J_NATIVE_CALLBACK_THREAD_H
#define J_NATIVE_CALLBACK_THREAD_H

#include <jni.h>
#include <utils/RefBase.h>

#include <cstdint>

namespace android {

// Always held by sp, and by its handle. The destructor releases the Java object, on whichever
// thread drops the last reference. It calls Java, so no lock may be held there. If that thread
// cannot be attached, the process ends.
class JNativeCallbackThread : public RefBase {
  public:
    // Makes the Java object. Returns 0; -1 (logged) when it could not be made.
    int createThread();

    // The Java object; null until it is made. The peer owns the reference.
    jobject object() const { return mObject; }

  protected:
    ~JNativeCallbackThread() override;

  private:
    jobject mObject = nullptr;  // global reference
};

}  // namespace android

// The Java object of a callback thread; null when the handle names no callback thread. The peer
// owns the reference, so it is valid until the callback thread is deleted.
jobject callbackThreadObject(uint32_t hthread);

#endif  // J_NATIVE_CALLBACK_THREAD_H
