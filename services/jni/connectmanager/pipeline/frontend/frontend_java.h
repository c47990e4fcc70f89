// What the frontend side knows of Java, and how it logs. The tables are filled once while the library
// loads, and only read afterwards. The filter side has a table named gFields of its own; this one is
// ::gFields.

#ifndef FRONTEND_JAVA_H
#define FRONTEND_JAVA_H

#include <jni.h>

#include "log/halvorin_log.h"
#include "services/jni/connectmanager/pipeline/core/fatal_assert.h"
#include "services/jni/connectmanager/pipeline/core/java_method.h"

constexpr FatalSite kFrontendSite = {
    "ZYT_MW",
    "services/jni/connectmanager/pipeline/com_halvorin_tv_velmora_native_ZytTvInnerFrontend.cpp"};

#define LOG_DEBUG(...) HALVORIN_LOG(::halvorin::kLogDebug, kFrontendSite.tag, __VA_ARGS__)
#define LOG_INFO(...) HALVORIN_LOG(::halvorin::kLogInfo, kFrontendSite.tag, __VA_ARGS__)
#define LOG_ERROR(...) HALVORIN_LOG(::halvorin::kLogError, kFrontendSite.tag, __VA_ARGS__)

// The framework's frontend object, one for each peer.
struct FrontendFields {
    jclass frontendClazz;
    android::JavaConstructor<jobject> frontendConstructorID;
    android::JavaMethod<void(jint)> onSetNativeHandleId;
    android::JavaMethod<jint()> onOpenFrontendId;
    android::JavaMethod<jint()> onCloseFrontendId;
    android::JavaMethod<jint(jobject)> onTuneId;
    android::JavaMethod<jint()> onCancelTuningId;
    android::JavaMethod<jint(jobject, jint)> onScanId;
    android::JavaMethod<jint()> onCancelScanningId;
    android::JavaMethod<jint()> onGetServiceAreaCodeId;
    android::JavaMethod<jint(jboolean)> onSetLnaEnabledId;
    android::JavaMethod<jobject(jintArray)> onGetFrontendStatusId;
    android::JavaMethod<jobject()> onGetFrontendSettingId;
    android::JavaMethod<jint()> onOpenLnbId;
    android::JavaMethod<jint(jint)> onLnbSetVoltageID;
    android::JavaMethod<jint(jint)> onLnbSetToneID;
    android::JavaMethod<jint(jint)> onLnbSetSatellitePositionID;
    android::JavaMethod<jint()> onLnbGetVoltageID;
    android::JavaMethod<jint()> onLnbGetToneID;
    android::JavaMethod<jint()> onLnbGetSatellitePositionID;
    android::JavaMethod<jint(jbyteArray)> onLnbSendDiseqcMessageID;
    android::JavaMethod<void()> onLnbCloseID;
};
extern FrontendFields gFields;

// The platform's settings classes and its status class; each has a table of its own.
void bindSettingsClasses(JNIEnv* env);
void bindStatusClass(JNIEnv* env);

#endif  // FRONTEND_JAVA_H
