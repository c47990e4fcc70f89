#include "services/jni/connectmanager/pipeline/filter/JNativeCallbackThread.h"

#include <nativehelper/ScopedLocalRef.h>

#include "services/jni/connectmanager/pipeline/filter/FilterEnv.h"
#include "services/jni/connectmanager/pipeline/filter/filter_java.h"
#include "services/jni/connectmanager/pipeline/onload_pipeline.h"

namespace android {

int JNativeCallbackThread::createThread() {
    if (javaVm() == nullptr) {
        FILTER_LOG(" attach java env in callback failed.");
        return -1;
    }
    const FilterEnv scope(FilterEnv::kCallbackThread);
    if (!scope.attachedHere()) {
        FILTER_LOG(" Attached already.");
    }
    JNIEnv* env = scope.env();
    ScopedLocalRef<jobject> object(env, gCallbackThreadFields.constructorId.newObject(
                                            env, gCallbackThreadFields.callbackThreadClazz));
    if (object.get() != nullptr) {
        mObject = newGlobalRef(env, object.get());
    }
    if (mObject == nullptr) {
        FILTER_LOG("  constructor mObject failed.");
        return -1;
    }
    return 0;
}

JNativeCallbackThread::~JNativeCallbackThread() {
    if (javaVm() == nullptr) {
        FILTER_LOG(" attach java env in callback failed.");
        return;
    }
    const FilterEnv scope(FilterEnv::kCallbackThread);
    if (!scope.attachedHere()) {
        FILTER_LOG(" Attached already.");
    }
    if (mObject != nullptr) {
        JNIEnv* env = scope.env();
        gCallbackThreadFields.release.call(env, mObject);
        clearException(env);
        env->DeleteGlobalRef(mObject);
    }
}

}  // namespace android
