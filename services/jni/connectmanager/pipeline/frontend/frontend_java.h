// What the frontend side calls in Java. The tables are filled once during the load and only read
// afterwards. The filter side has another table named gFields; this one is ::gFields.

#ifndef FRONTEND_JAVA_H
#define FRONTEND_JAVA_H

#include <jni.h>

#include "services/jni/connectmanager/pipeline/core/java_method.h"

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

// The platform's settings classes.
struct ConfigFields {
    jclass frontendSettingsClazz;
    android::JavaMethod<jint()> getTypeID;
    android::JavaMethod<jint()> getFrequencyID;
    android::JavaMethod<void(jint)> setEndFrequencyID;
    jclass dtmbClazz;
    android::JavaConstructor<jint, jint, jint, jint, jint, jint, jint> dtmbConstructorID;
    android::JavaMethod<jint()> dtmbGetBandwidthID;
    jclass dvbtClazz;
    android::JavaConstructor<jint, jint, jint, jint, jint, jint, jint, jint, jboolean, jint,
                             jboolean, jint, jint, jint>
        dvbtConstructorID;
    android::JavaMethod<jint()> dvbtGetStandardID;
    android::JavaMethod<jint()> dvbtGetBandwidthID;
    jclass dvbcClazz;
    android::JavaConstructor<jint, jint, jlong, jint, jint, jint, jint, jint, jint>
        dvbcConstructorID;
    android::JavaMethod<jint()> dvbcGetBandwidthID;
    jclass dvbsClazz;
    android::JavaConstructor<jint, jint, jobject, jint, jint, jint, jint, jint, jint, jint,
                             jboolean>
        dvbsConstructorID;
    jclass dvbsCodeRateClazz;
    android::JavaConstructor<jlong, jboolean, jboolean, jint> dvbsCodeRateConstructorID;
    jclass isdbtClazz;
    android::JavaConstructor<jint, jint, jint, jint, jint, jint, jint> isdbtConstructorID;
    android::JavaMethod<jint()> isdbtGetBandwidthID;
    jclass isdbsClazz;
    android::JavaConstructor<jint, jint, jint, jint, jint, jint, jint> isdbsConstructorID;
    jclass atscClazz;
    android::JavaConstructor<jint, jint> atscConstructorID;
};
extern ConfigFields gConfigFields;

// The platform's status class, with a getter for each kind.
struct FrontendStatusFields {
    jclass frontendStatusClass;
#define KIND(type, result, getter, field, line) android::JavaMethod<result()> getter##ID;
#define LIST(type, member, getter, field, line, missing) android::JavaMethod<jintArray()> member;
#include "services/jni/connectmanager/pipeline/frontend/status_kinds.h"
};
extern FrontendStatusFields gFrontendFields;

// Fills the tables. If a class or method is missing, the process ends.
void bindFrontendClasses(JNIEnv* env);

#endif  // FRONTEND_JAVA_H
