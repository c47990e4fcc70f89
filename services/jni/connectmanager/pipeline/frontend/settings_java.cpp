#include "services/jni/connectmanager/pipeline/frontend/settings_java.h"

#include "services/jni/connectmanager/pipeline/frontend/frontend_java.h"

ConfigFields gConfigFields;

namespace {

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

}  // namespace

void bindSettingsClasses(JNIEnv* env) {
    struct SettingsClass {
        const char* name;
        jclass* clazz;
        const android::JavaMethodRow* methods;
        size_t count;
        int line;
    };
#define SETTINGS_CLASS(name, member, methods)                                    \
    {                                                                            \
        "android/media/tv/tuner/frontend/" name, &gConfigFields.member, methods, \
            sizeof(methods) / sizeof(methods[0]), __LINE__                       \
    }
    static constexpr SettingsClass kClasses[] = {
        SETTINGS_CLASS("FrontendSettings", frontendSettingsClazz, kFrontendSettingsMethods),
        SETTINGS_CLASS("DtmbFrontendSettings", dtmbClazz, kDtmbMethods),
        SETTINGS_CLASS("DvbtFrontendSettings", dvbtClazz, kDvbtMethods),
        SETTINGS_CLASS("DvbcFrontendSettings", dvbcClazz, kDvbcMethods),
        SETTINGS_CLASS("DvbsFrontendSettings", dvbsClazz, kDvbsMethods),
        SETTINGS_CLASS("DvbsCodeRate", dvbsCodeRateClazz, kDvbsCodeRateMethods),
        SETTINGS_CLASS("IsdbtFrontendSettings", isdbtClazz, kIsdbtMethods),
        SETTINGS_CLASS("IsdbsFrontendSettings", isdbsClazz, kIsdbsMethods),
        SETTINGS_CLASS("AtscFrontendSettings", atscClazz, kAtscMethods),
    };
#undef SETTINGS_CLASS
    for (const SettingsClass& row : kClasses) {
        android::bindJavaClass(env, row.name, row.clazz, row.methods, row.count, kFrontendSite,
                               row.line);
    }
}
