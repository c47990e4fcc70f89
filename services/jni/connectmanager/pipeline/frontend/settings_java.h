// The platform's settings classes, filled once while the library loads and only read afterwards.

#ifndef SETTINGS_JAVA_H
#define SETTINGS_JAVA_H

#include <jni.h>

#include "services/jni/connectmanager/pipeline/core/java_method.h"

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

#endif  // SETTINGS_JAVA_H
