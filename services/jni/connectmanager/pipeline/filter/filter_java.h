// What the filter side calls in Java. The tables are filled once during the load and only read
// afterwards. The frontend side has another table named gFields; this one is android::gFields.

#ifndef FILTER_JAVA_H
#define FILTER_JAVA_H

#include <jni.h>

#include "services/jni/connectmanager/pipeline/core/java_method.h"

namespace android {

struct FilterFields {
    jclass filterClazz;
    JavaConstructor<jobject> constructorFilterId;
    JavaMethod<void(jint)> setNativeHandleId;
    JavaMethod<jint(jint, jint, jlong, jobject)> onOpenFilterId;
    JavaMethod<jint()> onCloseFilterId;
    JavaMethod<jint(jint, jboolean, jboolean, jboolean, jbyteArray, jbyteArray, jbyteArray)>
        onSetSectionConfigId;
    JavaMethod<jint()> onStartId;
    JavaMethod<jint(jbyteArray, jlong, jlong)> onReadId;
    JavaMethod<jint()> onFlushId;
    JavaMethod<jint()> onStopId;
};
extern FilterFields gFields;

struct CallbackThreadFields {
    jclass callbackThreadClazz;
    JavaConstructor<> constructorId;
    JavaMethod<void()> release;
};
extern CallbackThreadFields gCallbackThreadFields;

}  // namespace android

// Fills the tables. If a class or method is missing, the process ends.
void bindFilterClasses(JNIEnv* env);

#endif  // FILTER_JAVA_H
