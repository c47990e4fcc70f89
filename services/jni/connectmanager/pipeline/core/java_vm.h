// The virtual machine, attaching a thread to it, and the environment of one operation.

#ifndef JAVA_VM_H
#define JAVA_VM_H

#include <jni.h>

// Marks what the library exports in addition to the functions that mw/ declares.
#define PIPELINE_EXPORT __attribute__((visibility("default")))

// For other libraries; this one uses javaVm(). Null until the library is loaded, and never cleared.
extern "C" PIPELINE_EXPORT JavaVM* g_velmora_javaVM;

namespace android {

// The load entry publishes the pointer last, with release order, when the tables of Java methods
// are complete. A thread that reads the pointer with acquire order therefore sees complete tables.
inline void publishJavaVm(JavaVM* vm) {
    __atomic_store_n(&g_velmora_javaVM, vm, __ATOMIC_RELEASE);
}
inline JavaVM* javaVm() {
    return __atomic_load_n(&g_velmora_javaVM, __ATOMIC_ACQUIRE);
}

// The calling thread's environment. If the thread is not attached, it is attached without a name or
// a group, and not as a daemon; then *attached becomes true, and the caller must detach it.
// attachWhenEmpty: also attach when GetEnv succeeds without giving an environment. Null, with
// nothing attached, when there is no virtual machine yet or the thread cannot be attached.
JNIEnv* acquireEnv(bool attachWhenEmpty, bool* attached);

// The environment of one operation; lives on its stack. If the thread is not attached, the scope
// attaches it and detaches it at the end. A thread that is attached already, for example by an
// enclosing scope, stays as it is.
//
// Note: env() is null when there is no virtual machine yet or the thread cannot be attached. Then
// the operation makes no JNI call and returns its failure value. The scope does not check for
// exceptions: on a device, detaching a thread with a pending exception ends the process. The
// operation must delete its local references before the scope ends.
class JniEnvOption {
  public:
    JniEnvOption() : mEnv(acquireEnv(false, &mAttached)) {}
    ~JniEnvOption();
    JniEnvOption(const JniEnvOption&) = delete;
    JniEnvOption& operator=(const JniEnvOption&) = delete;

    JNIEnv* env() const { return mEnv; }

  private:
    bool mAttached = false;  // must come before mEnv, whose initialization sets it
    JNIEnv* mEnv;
};

}  // namespace android

#endif  // JAVA_VM_H
