// Callback threads, which the middleware makes and names when it opens a filter: the native peer of
// the Java object, and its handle.

#ifndef J_NATIVE_CALLBACK_THREAD_H
#define J_NATIVE_CALLBACK_THREAD_H

#include <jni.h>
#include <utils/RefBase.h>

#include <cstdint>

namespace android {

// Always held by sp, and by its handle. The destructor releases the Java object: it calls Java, on
// whichever thread drops the last reference, so no lock is held there. A failure to attach that
// thread ends the process.
class JNativeCallbackThread : public RefBase {
  public:
    // Makes the Java object: 0, or -1 (logged) when it could not be made.
    int createThread();

    // The Java object, which the peer owns; null until it is made.
    jobject object() const { return mObject; }

  protected:
    ~JNativeCallbackThread() override;

  private:
    jobject mObject = nullptr;  // global reference
};

}  // namespace android

// The Java object of a callback thread; null when the handle names none. It is the peer's reference:
// it lives as long as the callback thread is not deleted.
jobject callbackThreadObject(uint32_t hthread);

#endif  // J_NATIVE_CALLBACK_THREAD_H
