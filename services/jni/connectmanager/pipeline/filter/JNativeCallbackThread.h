// The native peer of one Java callback-thread object, which the middleware names when it opens a
// filter.

#ifndef J_NATIVE_CALLBACK_THREAD_H
#define J_NATIVE_CALLBACK_THREAD_H

#include <jni.h>
#include <utils/RefBase.h>

namespace android {

// Always held by sp, and by its handle. The destructor releases the Java object.
class JNativeCallbackThread : public RefBase {
  public:
    // Makes the Java object: 0, or -1 (logged) when it could not be made.
    int createThread();

    // The Java object, a global reference of the peer's; null until it is made.
    jobject object() const { return mObject; }

  protected:
    ~JNativeCallbackThread() override;

  private:
    jobject mObject = nullptr;
};

}  // namespace android

#endif  // J_NATIVE_CALLBACK_THREAD_H
