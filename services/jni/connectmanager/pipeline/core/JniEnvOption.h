// The calling thread's Java environment, for the length of one operation.

#ifndef JNI_ENV_OPTION_H
#define JNI_ENV_OPTION_H

#include <jni.h>

namespace android {

// Lives on the stack of one operation. A thread that the virtual machine has never seen is attached
// by the scope and detached at its end; an attached one, also by an enclosing scope, is used and
// left as it is. Without an environment the operation makes no JNI call and returns its failure
// value.
class JniEnvOption {
  public:
    JniEnvOption();
    ~JniEnvOption();
    JniEnvOption(const JniEnvOption&) = delete;
    JniEnvOption& operator=(const JniEnvOption&) = delete;

    // Null when there is no environment.
    JNIEnv* env() const { return mEnv; }

  private:
    bool mAttached = false;
    JNIEnv* mEnv = nullptr;
};

// Attaches the calling thread; the result is AttachCurrentThread's, *env null or the environment.
// On a device that function takes a JNIEnv**, on a desk a void**.
jint attachCurrentThread(JavaVM* vm, JNIEnv** env);

}  // namespace android

#endif  // JNI_ENV_OPTION_H
