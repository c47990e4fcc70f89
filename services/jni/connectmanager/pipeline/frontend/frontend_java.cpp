#include "services/jni/connectmanager/pipeline/frontend/frontend_java.h"

#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"

FrontendFields gFields;
ConfigFields gConfigFields;
FrontendStatusFields gFrontendFields;

namespace {

#define ROW(member, name, signature) JAVA_METHOD_ROW(gFields, member, name, signature)

constexpr android::JavaMethodRow kFrontendMethods[] = {
    ROW(frontendConstructorID, "<init>",
        "(Lcom/halvorin/tv/velmora/services/pipeline/PipelineHandler;)V"),
    ROW(onTuneId, "onTune", "(Landroid/media/tv/tuner/frontend/FrontendSettings;)I"),
    ROW(onCancelTuningId, "onCancelTuning", "()I"),
    ROW(onSetNativeHandleId, "onSetNativeHandle", "(I)V"),
    ROW(onOpenFrontendId, "onOpenFrontend", "()I"),
    ROW(onCloseFrontendId, "onCloseFrontend", "()I"),
    ROW(onScanId, "onScan", "(Landroid/media/tv/tuner/frontend/FrontendSettings;I)I"),
    ROW(onCancelScanningId, "onCancelScanning", "()I"),
    ROW(onGetServiceAreaCodeId, "onGetServiceAreaCode", "()I"),
    ROW(onSetLnaEnabledId, "onSetLnaEnabled", "(Z)I"),
    ROW(onGetFrontendStatusId, "onGetFrontendStatus",
        "([I)Landroid/media/tv/tuner/frontend/FrontendStatus;"),
    ROW(onGetFrontendSettingId, "onGetFrontendSetting",
        "()Landroid/media/tv/tuner/frontend/FrontendSettings;"),
    ROW(onOpenLnbId, "onOpenLnb", "()I"),
    ROW(onLnbSetVoltageID, "onSetVoltage", "(I)I"),
    ROW(onLnbSetToneID, "onSetTone", "(I)I"),
    ROW(onLnbSetSatellitePositionID, "onSetSatellitePosition", "(I)I"),
    ROW(onLnbGetVoltageID, "onGetVoltage", "()I"),
    ROW(onLnbGetToneID, "onGetTone", "()I"),
    ROW(onLnbGetSatellitePositionID, "onGetSatellitePosition", "()I"),
    ROW(onLnbSendDiseqcMessageID, "onSendDiseqcMessage", "([B)I"),
    ROW(onLnbCloseID, "onLnbClose", "()V"),
};

#undef ROW

#define ROW(member, name, signature) JAVA_METHOD_ROW(gConfigFields, member, name, signature)

constexpr android::JavaMethodRow kFrontendSettingsMethods[] = {
    ROW(setEndFrequencyID, "setEndFrequency", "(I)V"),
    ROW(getFrequencyID, "getFrequency", "()I"),
    ROW(getTypeID, "getType", "()I"),
};
constexpr android::JavaMethodRow kDtmbMethods[] = {
    ROW(dtmbConstructorID, "<init>", "(IIIIIII)V"),
    ROW(dtmbGetBandwidthID, "getBandwidth", "()I"),
};
constexpr android::JavaMethodRow kDvbtMethods[] = {
    ROW(dvbtConstructorID, "<init>", "(IIIIIIIIZIZIII)V"),
    ROW(dvbtGetStandardID, "getStandard", "()I"),
    ROW(dvbtGetBandwidthID, "getBandwidth", "()I"),
};
constexpr android::JavaMethodRow kDvbcMethods[] = {
    ROW(dvbcConstructorID, "<init>", "(IIJIIIIII)V"),
    ROW(dvbcGetBandwidthID, "getBandwidth", "()I"),
};
constexpr android::JavaMethodRow kDvbsMethods[] = {
    ROW(dvbsConstructorID, "<init>", "(IILandroid/media/tv/tuner/frontend/DvbsCodeRate;IIIIIIIZ)V"),
};
constexpr android::JavaMethodRow kDvbsCodeRateMethods[] = {
    ROW(dvbsCodeRateConstructorID, "<init>", "(JZZI)V"),
};
constexpr android::JavaMethodRow kIsdbtMethods[] = {
    ROW(isdbtConstructorID, "<init>", "(IIIIIII)V"),
    ROW(isdbtGetBandwidthID, "getBandwidth", "()I"),
};
constexpr android::JavaMethodRow kIsdbsMethods[] = {
    ROW(isdbsConstructorID, "<init>", "(IIIIIII)V"),
};
constexpr android::JavaMethodRow kAtscMethods[] = {
    ROW(atscConstructorID, "<init>", "(II)V"),
};

#undef ROW

constexpr android::JavaMethodRow kGetters[] = {
#define SIGNATURE_jboolean "()Z"
#define SIGNATURE_jint "()I"
#define SIGNATURE_jlong "()J"
#define KIND(type, result, getter, field, line) \
    JAVA_METHOD_ROW(gFrontendFields, getter##ID, #getter, SIGNATURE_##result),
#define LIST(type, member, getter, field, line, missing) \
    JAVA_METHOD_ROW(gFrontendFields, member, #getter, "()[I"),
#include "services/jni/connectmanager/pipeline/frontend/status_kinds.h"
};

}  // namespace

void bindFrontendClasses(JNIEnv* env) {
    const auto bind = [env](const char* className, jclass* clazz, const auto& methods, int line) {
        android::bindJavaClass(env, className, clazz, methods, kFrontendSite, line);
    };
    bind("com/halvorin/tv/velmora/services/selector/connectmanager/ZytTvInnerFrontend",
         &gFields.frontendClazz, kFrontendMethods, __LINE__);
    bind("android/media/tv/tuner/frontend/FrontendSettings", &gConfigFields.frontendSettingsClazz,
         kFrontendSettingsMethods, __LINE__);
    bind("android/media/tv/tuner/frontend/DtmbFrontendSettings", &gConfigFields.dtmbClazz,
         kDtmbMethods, __LINE__);
    bind("android/media/tv/tuner/frontend/DvbtFrontendSettings", &gConfigFields.dvbtClazz,
         kDvbtMethods, __LINE__);
    bind("android/media/tv/tuner/frontend/DvbcFrontendSettings", &gConfigFields.dvbcClazz,
         kDvbcMethods, __LINE__);
    bind("android/media/tv/tuner/frontend/DvbsFrontendSettings", &gConfigFields.dvbsClazz,
         kDvbsMethods, __LINE__);
    bind("android/media/tv/tuner/frontend/DvbsCodeRate", &gConfigFields.dvbsCodeRateClazz,
         kDvbsCodeRateMethods, __LINE__);
    bind("android/media/tv/tuner/frontend/IsdbtFrontendSettings", &gConfigFields.isdbtClazz,
         kIsdbtMethods, __LINE__);
    bind("android/media/tv/tuner/frontend/IsdbsFrontendSettings", &gConfigFields.isdbsClazz,
         kIsdbsMethods, __LINE__);
    bind("android/media/tv/tuner/frontend/AtscFrontendSettings", &gConfigFields.atscClazz,
         kAtscMethods, __LINE__);
    bind("android/media/tv/tuner/frontend/FrontendStatus", &gFrontendFields.frontendStatusClass,
         kGetters, __LINE__);
}

const char* frontendTag(int level) {
    return halvorin::tagIfLoggable(level, kFrontendSite.tag);
}
