#include "services/jni/connectmanager/pipeline/core/java_vm.h"

JavaVM* g_velmora_javaVM = nullptr;

namespace android {

JNIEnv* acquireEnv(bool attachWhenEmpty, bool* attached) {
    JavaVM* vm = javaVm();
    if (vm == nullptr) {
        return nullptr;
    }
    void* env = nullptr;
    if (vm->GetEnv(&env, JNI_VERSION_1_4) == JNI_OK && (env != nullptr || !attachWhenEmpty)) {
        return static_cast<JNIEnv*>(env);
    }
    JNIEnv* own = nullptr;
    *attached = vm->AttachCurrentThread(&own, nullptr) == JNI_OK && own != nullptr;
    return *attached ? own : nullptr;
}

JniEnvOption::~JniEnvOption() {
    if (mAttached) {
        javaVm()->DetachCurrentThread();
    }
}

}  // namespace android
