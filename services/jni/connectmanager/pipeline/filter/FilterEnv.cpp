#include "services/jni/connectmanager/pipeline/filter/FilterEnv.h"

#include "services/jni/connectmanager/pipeline/core/java_vm.h"
#include "services/jni/connectmanager/pipeline/filter/filter_log.h"

namespace android {

FilterEnv::FilterEnv(const Checks& checks)
    : mChecks(checks), mEnv(acquireEnv(checks.attachWhenEmpty, &mAttached)) {
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
