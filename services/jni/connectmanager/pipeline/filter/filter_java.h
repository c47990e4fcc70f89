// What the filter side knows of Java, and how it logs. The tables are filled once while the library
// loads, and only read afterwards. The frontend side has a table named gFields of its own; this one
// is android::gFields.

#ifndef FILTER_JAVA_H
#define FILTER_JAVA_H

#include <jni.h>

#include <cstdint>

#include "log/halvorin_log.h"
#include "services/jni/connectmanager/pipeline/core/fatal_assert.h"
#include "services/jni/connectmanager/pipeline/core/java_method.h"

constexpr FatalSite kFilterSite = {
    "ZytTvInnerFilter_JNI",
    "services/jni/connectmanager/pipeline/com_halvorin_tv_velmora_native_ZytTvInnerFilter.cpp"};

// An INFO line. Its format begins with "<%s:%4d>": the function that logs and the source line.
#define FILTER_LOG_AS(function, format, ...) \
    HALVORIN_LOG(::halvorin::kLogInfo, kFilterSite.tag, format, function, __LINE__, ##__VA_ARGS__)
#define FILTER_LOG(...) FILTER_LOG_AS(__func__, __VA_ARGS__)

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

// A pointer as the 64-bit value in which it travels through the middleware.
inline int64_t widened(const void* pointer) {
    return static_cast<int64_t>(reinterpret_cast<uintptr_t>(pointer));
}

}  // namespace android

#endif  // FILTER_JAVA_H
