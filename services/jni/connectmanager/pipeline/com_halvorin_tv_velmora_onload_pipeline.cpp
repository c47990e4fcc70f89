// The load entry of the library.

#include <errno.h>
#include <jni.h>
#include <signal.h>

#include "log/halvorin_log.h"
#include "services/jni/connectmanager/pipeline/core/java_method.h"
#include "services/jni/connectmanager/pipeline/core/java_vm.h"
#include "services/jni/connectmanager/pipeline/onload_pipeline.h"

#define LOAD_ERROR(...) HALVORIN_LOG(halvorin::kLogError, loadTag, __VA_ARGS__)

// It may interrupt any code, even malloc. So it allocates nothing, and it restores errno.
static void ignoreSig(int signo) {
    const int savedErrno = errno;
    LOAD_ERROR("ignore received signal %d", signo);
    errno = savedErrno;
}

extern "C" JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* vm, void* /* reserved */) {
    void* result = nullptr;
    if (vm->GetEnv(&result, JNI_VERSION_1_4) != JNI_OK || result == nullptr) {
        LOAD_ERROR("ERROR: GetEnv failed");
        return -1;
    }
    JNIEnv* env = static_cast<JNIEnv*>(result);
    if (register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFrontend(env) == 0) {
        LOAD_ERROR("ERROR: inner frontend native registration failed");
        return -1;
    }
    if (register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFilter(env) == 0) {
        LOAD_ERROR("ERROR: inner filter native registration failed");
        return -1;
    }
    android::publishJavaVm(vm);

    struct sigaction action = {};
    action.sa_handler = ignoreSig;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    return JNI_VERSION_1_4;
}
