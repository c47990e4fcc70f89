#include "services/jni/connectmanager/pipeline/filter/FilterEnv.h"

#include "services/jni/connectmanager/pipeline/core/java_vm.h"
#include "services/jni/connectmanager/pipeline/filter/filter_java.h"

namespace android {

FilterEnv::FilterEnv(const Checks& checks) : mChecks(checks) {
    JavaVM* vm = javaVm();
    jint status = JNI_ERR;
    if (vm != nullptr) {
        void* env = nullptr;
        status = vm->GetEnv(&env, JNI_VERSION_1_4);
        mEnv = status == JNI_OK ? static_cast<JNIEnv*>(env) : nullptr;
        if (status != JNI_OK || (mEnv == nullptr && checks.attachWhenEmpty)) {
            status = attachCurrentThread(vm, &mEnv);
            mAttached = status == JNI_OK && mEnv != nullptr;
        }
    }
    if (status != JNI_OK) {
        mEnv = nullptr;
    }
    if (checks.attach != nullptr) {
        fatalUnless(mEnv != nullptr, checks.attach, kFilterSite, __LINE__);
    }
}

FilterEnv::~FilterEnv() {
    if (!mAttached) {
        return;
    }
    const jint status = javaVm()->DetachCurrentThread();
    if (mChecks.detach != nullptr) {
        fatalUnless(status == JNI_OK, mChecks.detach, kFilterSite, __LINE__);
    }
}

}  // namespace android
