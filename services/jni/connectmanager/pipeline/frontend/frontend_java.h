// What the frontend bridge knows of Java: the classes and methods that it calls. Filled once while
// the library loads, and only read afterwards.

#ifndef FRONTEND_JAVA_H
#define FRONTEND_JAVA_H

#include <jni.h>

#include "services/jni/connectmanager/pipeline/core/fatal_assert.h"
#include "services/jni/connectmanager/pipeline/core/java_method.h"

// The framework's frontend object, one per peer.
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

// Where this bridge's fatal assertions say they stand.
constexpr FatalSite kFrontendSite = {
    "ZYT_MW",
    "services/jni/connectmanager/pipeline/com_halvorin_tv_velmora_native_ZytTvInnerFrontend.cpp"};

// The settings classes and the status class; each binds its own table.
void bindFrontendSettingsClasses(JNIEnv* env);
void bindFrontendStatusClass(JNIEnv* env);

#endif  // FRONTEND_JAVA_H
