#include "services/jni/connectmanager/pipeline/core/java_method.h"

#include <nativehelper/ScopedLocalRef.h>

namespace android {

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
