// The load entry of the library.

#include <errno.h>
#include <jni.h>
#include <nativehelper/ScopedLocalRef.h>
#include <signal.h>

#include "log/halvorin_log.h"
#include "services/jni/connectmanager/pipeline/onload_pipeline.h"

#define LOG_TAG "Velmora-onload-pipeline"

JavaVM* g_velmora_javaVM = nullptr;

int registerNativeMethods(JNIEnv* env, const char* className, const JNINativeMethod* methods,
                          int numMethods) {
    ScopedLocalRef<jclass> clazz(env, env->FindClass(className));
    if (clazz.get() == nullptr) {
        LOG_ERROR("registerNativeMethods cannot find class return false, class: %s", className);
        return -1;
    }
    if (env->RegisterNatives(clazz.get(), methods, numMethods) < 0) {
        LOG_ERROR("registerNativeMethods cannot register methods return false");
        return -1;
    }
    return 0;
}

// May interrupt any code, malloc included: allocates nothing, and gives errno back as it was.
static void ignoreSig(int signo) {
    const int savedErrno = errno;
    if (halvorin::isLoggableInSignalHandler(halvorin::kLogError)) {
        __android_log_print(halvorin::kLogError + 1, LOG_TAG, "ignore received signal %d", signo);
    }
    errno = savedErrno;
}

extern "C" JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* vm, void* /* reserved */) {
    void* env = nullptr;
    if (vm->GetEnv(&env, JNI_VERSION_1_4) != JNI_OK || env == nullptr) {
        LOG_ERROR("ERROR: GetEnv failed");
        return -1;
    }
    JNIEnv* jenv = static_cast<JNIEnv*>(env);
    if (register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFrontend(jenv) == 0) {
        LOG_ERROR("ERROR: inner frontend native registration failed");
        return -1;
    }
    if (register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFilter(jenv) == 0) {
        LOG_ERROR("ERROR: inner filter native registration failed");
        return -1;
    }
    __atomic_store_n(&g_velmora_javaVM, vm, __ATOMIC_RELEASE);  // see javaVm()

    struct sigaction action = {};
    action.sa_handler = ignoreSig;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    return JNI_VERSION_1_4;
}
