#include "services/jni/connectmanager/pipeline/core/java_method.h"

#include "log/halvorin_log.h"

const char* loadTag(int level) {
    return halvorin::tagIfLoggable(level, "Velmora-onload-pipeline");
}

int registerNativeMethods(JNIEnv* env, const char* className, const JNINativeMethod* methods,
                          int numMethods) {
    const ScopedLocalRef<jclass> clazz(env, env->FindClass(className));
    if (clazz.get() == nullptr) {
        HALVORIN_LOG(halvorin::kLogError, loadTag,
                     "registerNativeMethods cannot find class return false, class: %s", className);
        return -1;
    }
    if (env->RegisterNatives(clazz.get(), methods, numMethods) < 0) {
        HALVORIN_LOG(halvorin::kLogError, loadTag,
                     "registerNativeMethods cannot register methods return false");
        return -1;
    }
    return 0;
}

namespace android {

bool clearException(JNIEnv* env) {
    if (!env->ExceptionCheck()) {
        return false;
    }
    env->ExceptionDescribe();
    env->ExceptionClear();
    return true;
}

void bindJavaClass(JNIEnv* env, const char* className, jclass* clazz, const JavaMethodRow* rows,
                   size_t count, const FatalSite& site, int line) {
    ScopedLocalRef<jclass> local(env, env->FindClass(className));
    static constexpr char kCondition[] = "!(clazz.get() != __null)";
    fatalUnless(local.get() != nullptr, kCondition, site, line);
    *clazz = static_cast<jclass>(env->NewGlobalRef(local.get()));
    fatalUnless(*clazz != nullptr, kCondition, site, line);
    for (size_t i = 0; i < count; ++i) {
        *rows[i].id = env->GetMethodID(local.get(), rows[i].name, rows[i].signature);
        fatalUnless(*rows[i].id != nullptr, rows[i].condition, site, rows[i].line);
    }
}

}  // namespace android
