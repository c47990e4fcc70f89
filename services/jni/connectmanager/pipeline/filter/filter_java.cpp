#include "services/jni/connectmanager/pipeline/filter/filter_java.h"

#include "services/jni/connectmanager/pipeline/filter/filter_log.h"

namespace android {

FilterFields gFields;
CallbackThreadFields gCallbackThreadFields;

}  // namespace android

namespace {

#define ROW(member, name, signature) JAVA_METHOD_ROW(android::gFields, member, name, signature)

constexpr android::JavaMethodRow kFilterMethods[] = {
    ROW(constructorFilterId, "<init>",
        "(Lcom/halvorin/tv/velmora/services/pipeline/PipelineHandler;)V"),
    ROW(setNativeHandleId, "setNativeHandle", "(I)V"),
    ROW(onOpenFilterId, "onOpenFilter",
        "(IIJLcom/halvorin/tv/velmora/services/selector/connectmanager/"
        "ZytTvInnerFilterCallbackThread;)I"),
    ROW(onCloseFilterId, "onCloseFilter", "()I"),
    ROW(onSetSectionConfigId, "onSetSectionConfig", "(IZZZ[B[B[B)I"),
    ROW(onStartId, "onStart", "()I"),
    ROW(onReadId, "onRead", "([BJJ)I"),
    ROW(onFlushId, "onFlush", "()I"),
    ROW(onStopId, "onStop", "()I"),
};

#undef ROW

constexpr android::JavaMethodRow kCallbackThreadMethods[] = {
    JAVA_METHOD_ROW(android::gCallbackThreadFields, constructorId, "<init>", "()V"),
    JAVA_METHOD_ROW(android::gCallbackThreadFields, release, "release", "()V"),
};

void com_halvorin_tv_velmora_innerfilter_native_init(JNIEnv* env) {
    android::bindJavaClass(
        env, "com/halvorin/tv/velmora/services/selector/connectmanager/ZytTvInnerFilter",
        &android::gFields.filterClazz, kFilterMethods, kFilterSite, __LINE__);
    FILTER_LOG("<%s:%4d> innerfilter_native_init success.\n");
}

void com_halvorin_tv_velmora_filter_callback_thread_native_init(JNIEnv* env) {
    android::bindJavaClass(
        env,
        "com/halvorin/tv/velmora/services/selector/connectmanager/ZytTvInnerFilterCallbackThread",
        &android::gCallbackThreadFields.callbackThreadClazz, kCallbackThreadMethods, kFilterSite,
        __LINE__);
    FILTER_LOG("<%s:%4d> filter_callback_thread_native_init success.\n");
}

}  // namespace

void bindFilterClasses(JNIEnv* env) {
    com_halvorin_tv_velmora_innerfilter_native_init(env);
    com_halvorin_tv_velmora_filter_callback_thread_native_init(env);
}

const char* filterTag(int level) {
    return halvorin::tagIfLoggable(level, kFilterSite.tag);
}
