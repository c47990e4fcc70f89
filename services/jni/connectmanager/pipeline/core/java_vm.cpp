#include "services/jni/connectmanager/pipeline/core/java_vm.h"

JavaVM* g_velmora_javaVM = nullptr;

namespace android {

namespace {

// A device declares AttachCurrentThread with a JNIEnv**, OpenJDK with a void**. This becomes either,
// so that the same source compiles with both.
struct EnvAddress {
    JNIEnv** env;
    operator JNIEnv**() const { return env; }
    operator void**() const { return reinterpret_cast<void**>(env); }
};

}  // namespace

jint attachCurrentThread(JavaVM* vm, JNIEnv** env) {
    *env = nullptr;
    return vm->AttachCurrentThread(EnvAddress{env}, nullptr);
}

JniEnvOption::JniEnvOption() {
    JavaVM* vm = javaVm();
    if (vm == nullptr) {
        return;
    }
    void* env = nullptr;
    if (vm->GetEnv(&env, JNI_VERSION_1_4) == JNI_OK) {
        mEnv = static_cast<JNIEnv*>(env);
        return;
    }
    mAttached = attachCurrentThread(vm, &mEnv) == JNI_OK && mEnv != nullptr;
    if (!mAttached) {
        mEnv = nullptr;
    }
}

JniEnvOption::~JniEnvOption() {
    if (mAttached) {
        javaVm()->DetachCurrentThread();
    }
}

}  // namespace android
