#include "services/jni/connectmanager/pipeline/core/JniEnvOption.h"

#include "services/jni/connectmanager/pipeline/onload_pipeline.h"

namespace android {

namespace {

// Becomes whichever of the two pointers the declaration asks for.
struct EnvAddress {
    JNIEnv** env;
    operator JNIEnv**() const { return env; }
    operator void**() const { return reinterpret_cast<void**>(env); }
};

}  // namespace

jint attachCurrentThread(JavaVM* vm, JNIEnv** env) {
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
    JNIEnv* attached = nullptr;
    if (attachCurrentThread(vm, &attached) == JNI_OK && attached != nullptr) {
        mEnv = attached;
        mAttached = true;
    }
}

JniEnvOption::~JniEnvOption() {
    if (mAttached) {
        javaVm()->DetachCurrentThread();
    }
}

}  // namespace android
