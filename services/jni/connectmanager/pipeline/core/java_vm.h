// The virtual machine, attaching a thread to it, and the environment of one operation.

#ifndef JAVA_VM_H
#define JAVA_VM_H

#include <jni.h>

// What is called or read by other libraries and is not declared in mw/.
#define PIPELINE_EXPORT __attribute__((visibility("default")))

// Null until the library is loaded, never cleared. For other libraries; this one uses javaVm().
extern "C" PIPELINE_EXPORT JavaVM* g_velmora_javaVM;

namespace android {

// The load entry publishes the pointer last, with release order, when the tables of Java methods are
// complete. Who reads it with acquire order, and gets it, sees the whole tables.
inline void publishJavaVm(JavaVM* vm) {
    __atomic_store_n(&g_velmora_javaVM, vm, __ATOMIC_RELEASE);
}
inline JavaVM* javaVm() {
    return __atomic_load_n(&g_velmora_javaVM, __ATOMIC_ACQUIRE);
}

// The calling thread's environment. A thread that is not attached is attached, without a name or a
// group and not as a daemon; then *attached becomes true, and the caller detaches it. attachWhenEmpty
// says whether a thread is attached too when GetEnv succeeds without giving an environment. Null,
// with nothing attached, when there is no virtual machine yet or the thread cannot be attached.
JNIEnv* acquireEnv(bool attachWhenEmpty, bool* attached);

// Lives on the stack of one operation. A thread that the virtual machine has never seen is attached
// by the scope and detached at its end. A thread that is attached already, also by an enclosing
// scope, is used and left as it is.
//
// Note: env() is null when there is no virtual machine yet or the thread cannot be attached;
// then the operation makes no JNI call and returns its failure value. The scope does not look at
// exceptions: one that is still pending when a thread is detached ends the process of a device.
// Local references of the operation are deleted before the scope ends.
class JniEnvOption {
  public:
    JniEnvOption() : mEnv(acquireEnv(false, &mAttached)) {}
    ~JniEnvOption();
    JniEnvOption(const JniEnvOption&) = delete;
    JniEnvOption& operator=(const JniEnvOption&) = delete;

    JNIEnv* env() const { return mEnv; }

  private:
    bool mAttached = false;  // stands first: acquiring mEnv sets it
    JNIEnv* mEnv;
};

}  // namespace android

#endif  // JAVA_VM_H
