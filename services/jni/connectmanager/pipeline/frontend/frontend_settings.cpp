// Settings: the middleware's record as a platform settings object, and the settings in force read
// back.

#include <nativehelper/ScopedLocalRef.h>

#include <cstdint>

#include "log/halvorin_log.h"
#include "services/jni/connectmanager/pipeline/core/JniEnvOption.h"
#include "services/jni/connectmanager/pipeline/frontend/JNativeInnerFrontend.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_java.h"

#define LOG_TAG "ZYT_MW"

namespace {

using android::clearException;
using android::JavaConstructor;
using android::JavaMethod;

// The platform's settings classes.
struct ConfigFields {
    jclass frontendSettingsClazz;
    JavaMethod<jint()> getTypeID;
    JavaMethod<jint()> getFrequencyID;
    JavaMethod<void(jint)> setEndFrequencyID;
    jclass dtmbClazz;
    JavaConstructor<jint, jint, jint, jint, jint, jint, jint> dtmbConstructorID;
    JavaMethod<jint()> dtmbGetBandwidthID;
    jclass dvbtClazz;
    JavaConstructor<jint, jint, jint, jint, jint, jint, jint, jint, jboolean, jint, jboolean, jint,
                    jint, jint>
        dvbtConstructorID;
    JavaMethod<jint()> dvbtGetStandardID;
    JavaMethod<jint()> dvbtGetBandwidthID;
    jclass dvbcClazz;
    JavaConstructor<jint, jint, jlong, jint, jint, jint, jint, jint, jint> dvbcConstructorID;
    JavaMethod<jint()> dvbcGetBandwidthID;
    jclass dvbsClazz;
    JavaConstructor<jint, jint, jobject, jint, jint, jint, jint, jint, jint, jint, jboolean>
        dvbsConstructorID;
    jclass dvbsCodeRateClazz;
    JavaConstructor<jlong, jboolean, jboolean, jint> dvbsCodeRateConstructorID;
    jclass isdbtClazz;
    JavaConstructor<jint, jint, jint, jint, jint, jint, jint> isdbtConstructorID;
    JavaMethod<jint()> isdbtGetBandwidthID;
    jclass isdbsClazz;
    JavaConstructor<jint, jint, jint, jint, jint, jint, jint> isdbsConstructorID;
    jclass atscClazz;
    JavaConstructor<jint, jint> atscConstructorID;
};
ConfigFields gConfigFields;

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

// A product as the platform's 32-bit argument takes it: what does not fit wraps.
int32_t wrappingProduct(int32_t value, int32_t factor) {
    return static_cast<int32_t>(static_cast<uint32_t>(value) * static_cast<uint32_t>(factor));
}

constexpr int32_t kHzPerMHz = 1000000;
constexpr int32_t kSymbolsPerThousand = 1000;

// Each of these makes the settings object of one delivery system: a local reference, or null,
// nothing pending.

jobject atscSettings(JNIEnv* env, const MW_FESETTING_T& settings) {
    const MW_FE_ATSC_SETTING_T& atsc = settings.u.t_atsc;
    LOG_DEBUG("[ATSC] mFrequency = %d, mModulation = %d,", settings.mFrequency, atsc.mModulation);
    return gConfigFields.atscConstructorID.newObject(env, gConfigFields.atscClazz,
                                                     settings.mFrequency, atsc.mModulation);
}

jobject dvbcSettings(JNIEnv* env, const MW_FESETTING_T& settings) {
    const MW_FE_DVBC_SETTING_T& dvbc = settings.u.t_dvbc;
    LOG_DEBUG(
        "[DVBC] mFrequency = %d, mModulation = %d, mFec = %lld, mSymbolRate = %d, mOuterFec = %d, "
        "mAnnex = %d, mSpectralInversion = %d",
        settings.mFrequency, dvbc.mModulation, static_cast<long long>(dvbc.mFec), dvbc.mSymbolRate,
        dvbc.mOuterFec, dvbc.mAnnex, dvbc.mSpectralInversion);
    return gConfigFields.dvbcConstructorID.newObject(
        env, gConfigFields.dvbcClazz, settings.mFrequency, dvbc.mModulation, dvbc.mFec,
        dvbc.mSymbolRate, dvbc.mOuterFec, dvbc.mAnnex, dvbc.mSpectralInversion,
        dvbc.mInterleaveMode, dvbc.mBandwidth);
}

// False when the construction threw; an object that is null without an exception is used as it is.
bool makeDvbsCodeRate(JNIEnv* env, const MW_FE_DVBS_CODE_RATE_T& rate,
                      ScopedLocalRef<jobject>* object) {
    LOG_DEBUG("[DVBS]pt_code_rate->mInnerFec = %lld", static_cast<long long>(rate.mInnerFec));
    LOG_DEBUG("[DVBS]pt_code_rate->mIsLinear = %d", rate.mIsLinear);
    LOG_DEBUG("[DVBS]pt_code_rate->mIsShortFrames = %d", rate.mIsShortFrames);
    LOG_DEBUG("[DVBS]pt_code_rate->mBitsPer1000Symbol = %d", rate.mBitsPer1000Symbol);
    return gConfigFields.dvbsCodeRateConstructorID.construct(
        env, gConfigFields.dvbsCodeRateClazz, object, rate.mInnerFec, rate.mIsLinear,
        rate.mIsShortFrames, rate.mBitsPer1000Symbol);
}

jobject dvbsSettings(JNIEnv* env, const MW_FESETTING_T& settings) {
    const MW_FE_DVBS_SETTING_T& dvbs = settings.u.t_dvbs;
    LOG_DEBUG(
        "[DVBS] mFrequency = %d(in MHz), mModulation = %d, mSymbolRate = %d, mInputStreamId = %d, "
        "mStandard = %d, mVcmMode = %d",
        settings.mFrequency, dvbs.mModulation, dvbs.mSymbolRate, dvbs.mInputStreamId,
        dvbs.mStandard, dvbs.mVcmMode);
    const int64_t exactFrequency = int64_t{settings.mFrequency} * kHzPerMHz;
    if (exactFrequency < INT32_MIN || exactFrequency > INT32_MAX) {
        LOG_ERROR("transMW2FrontendSettings, DVB-S mFrequency: %d(in MHz), does not fit in Hz.",
                  settings.mFrequency);
        return nullptr;
    }
    const int32_t frequency = static_cast<int32_t>(exactFrequency);
    const int32_t symbolRate = wrappingProduct(dvbs.mSymbolRate, kSymbolsPerThousand);

    ScopedLocalRef<jobject> codeRate(env);
    if (dvbs.pt_code_rate == nullptr) {
        LOG_INFO("transMW2FrontendSettings, code rate is null, for blind scan.");
    } else if (!makeDvbsCodeRate(env, *dvbs.pt_code_rate, &codeRate)) {
        return nullptr;
    }
    LOG_DEBUG("[DVBS] mFrequency = %d(in Hz)", frequency);
    LOG_DEBUG("[DVBS] mSymbolRate = %d(in bd)", symbolRate);
    LOG_DEBUG("[DVBS] mScanType = %d", dvbs.mScanType);
    LOG_DEBUG("[DVBS] mIsDiseqcRxMessage = %d", dvbs.mIsDiseqcRxMessage);
    ScopedLocalRef<jobject> object(
        env, gConfigFields.dvbsConstructorID.newObject(
                 env, gConfigFields.dvbsClazz, frequency, dvbs.mModulation, codeRate.get(),
                 symbolRate, dvbs.mRolloff, dvbs.mPilot, dvbs.mInputStreamId, dvbs.mStandard,
                 dvbs.mVcmMode, dvbs.mScanType, dvbs.mIsDiseqcRxMessage));
    if (object.get() == nullptr) {
        return nullptr;
    }
    // A plain tune has no end frequency and its record may hold anything there, so this one may
    // wrap.
    const int32_t endFrequency = wrappingProduct(settings.mEndFrequency, kHzPerMHz);
    LOG_DEBUG("[DVBS] mEndFrequency = %d(in Hz)", endFrequency);
    gConfigFields.setEndFrequencyID.call(env, object.get(), endFrequency);
    return clearException(env) ? nullptr : object.release();
}

jobject dvbtSettings(JNIEnv* env, const MW_FESETTING_T& settings) {
    const MW_FE_DVBT_SETTING_T& dvbt = settings.u.t_dvbt;
    LOG_DEBUG(
        "[DVBT] mFrequency = %d, mTransmissionMode = %d, mBandwidth = %d, mConstellation = %d, "
        "mHierarchy = %d, mHpCodeRate = %d, mLpCodeRate = %d, mGuardInterval = %d, "
        "mIsHighPriority = %d, mStandard = %d, mIsMiso = %d, mPlpMode = %d, mPlpId = %d, "
        "mPlpGroupId = %d",
        settings.mFrequency, dvbt.mTransmissionMode, dvbt.mBandwidth, dvbt.mConstellation,
        dvbt.mHierarchy, dvbt.mHpCodeRate, dvbt.mLpCodeRate, dvbt.mGuardInterval,
        dvbt.mIsHighPriority, dvbt.mStandard, dvbt.mIsMiso, dvbt.mPlpMode, dvbt.mPlpId,
        dvbt.mPlpGroupId);
    return gConfigFields.dvbtConstructorID.newObject(
        env, gConfigFields.dvbtClazz, settings.mFrequency, dvbt.mTransmissionMode, dvbt.mBandwidth,
        dvbt.mConstellation, dvbt.mHierarchy, dvbt.mHpCodeRate, dvbt.mLpCodeRate,
        dvbt.mGuardInterval, dvbt.mIsHighPriority, dvbt.mStandard, dvbt.mIsMiso, dvbt.mPlpMode,
        dvbt.mPlpId, dvbt.mPlpGroupId);
}

jobject isdbsSettings(JNIEnv* env, const MW_FESETTING_T& settings) {
    const MW_FE_ISDBS_SETTING_T& isdbs = settings.u.t_isdbs;
    LOG_DEBUG(
        "[ISDBS] mFrequency = %d, mStreamId = %d, mStreamIdType = %d, mModulation = %d, "
        "mCodeRate = %d, mSymbolRate = %d, mRolloff = %d",
        settings.mFrequency, isdbs.mStreamId, isdbs.mStreamIdType, isdbs.mModulation,
        isdbs.mCodeRate, isdbs.mSymbolRate, isdbs.mRolloff);
    return gConfigFields.isdbsConstructorID.newObject(
        env, gConfigFields.isdbsClazz, settings.mFrequency, isdbs.mStreamId, isdbs.mStreamIdType,
        isdbs.mModulation, isdbs.mCodeRate, isdbs.mSymbolRate, isdbs.mRolloff);
}

jobject isdbtSettings(JNIEnv* env, jobject frontend, const MW_FESETTING_T& settings) {
    const MW_FE_ISDBT_SETTING_T& isdbt = settings.u.t_isdbt;
    LOG_DEBUG(
        "[ISDBT] mFrequency = %d, mModulation = %d, mBandwidth = %d, mMode = %d, mCodeRate = %d, "
        "mGuardInterval = %d, mServiceAreaId = %d",
        settings.mFrequency, isdbt.mModulation, isdbt.mBandwidth, isdbt.mMode, isdbt.mCodeRate,
        isdbt.mGuardInterval, isdbt.mServiceAreaId);
    const jint areaCode = gFields.onGetServiceAreaCodeId.call(env, frontend);
    if (clearException(env)) {
        return nullptr;
    }
    LOG_DEBUG("[ISDBT] area code = %d", areaCode);
    if (areaCode < 0) {
        return nullptr;
    }
    return gConfigFields.isdbtConstructorID.newObject(
        env, gConfigFields.isdbtClazz, settings.mFrequency, isdbt.mModulation, isdbt.mBandwidth,
        isdbt.mMode, isdbt.mCodeRate, isdbt.mGuardInterval, areaCode);
}

jobject dtmbSettings(JNIEnv* env, const MW_FESETTING_T& settings) {
    const MW_FE_DTMB_SETTING_T& dtmb = settings.u.t_dtmb;
    LOG_DEBUG(
        "[DTMB] mFrequency = %d, mModulation = %d, mCodeRate = %d, mTransmissionMode = %d, "
        "mGuardInterval = %d, mTimeInterleaveMode = %d, mBandwidth = %d.",
        settings.mFrequency, dtmb.mModulation, dtmb.mCodeRate, dtmb.mTransmissionMode,
        dtmb.mGuardInterval, dtmb.mTimeInterleaveMode, dtmb.mBandwidth);
    return gConfigFields.dtmbConstructorID.newObject(
        env, gConfigFields.dtmbClazz, settings.mFrequency, dtmb.mModulation, dtmb.mCodeRate,
        dtmb.mTransmissionMode, dtmb.mGuardInterval, dtmb.mTimeInterleaveMode, dtmb.mBandwidth);
}

jobject newSettings(JNIEnv* env, jobject frontend, const MW_FESETTING_T& settings) {
    switch (settings.e_type) {
        case MW_FE_TYPE_ATSC:
            return atscSettings(env, settings);
        case MW_FE_TYPE_DVBC:
            return dvbcSettings(env, settings);
        case MW_FE_TYPE_DVBS:
            return dvbsSettings(env, settings);
        case MW_FE_TYPE_DVBT:
            return dvbtSettings(env, settings);
        case MW_FE_TYPE_ISDBS:
            return isdbsSettings(env, settings);
        case MW_FE_TYPE_ISDBT:
            return isdbtSettings(env, frontend, settings);
        case MW_FE_TYPE_DTMB:
            return dtmbSettings(env, settings);
        default:
            LOG_ERROR("transMW2FrontendSettings, type: %d, not support by currently.",
                      settings.e_type);
            return nullptr;
    }
}

// Reads one value of the settings in force into the record; false when the getter threw. line shows
// the value.
bool readBack(JNIEnv* env, jobject settings, const JavaMethod<jint()>& getter, const char* line,
              int32_t* field) {
    const jint value = getter.call(env, settings);
    if (clearException(env)) {
        return false;
    }
    *field = value;
    LOG_DEBUG(line, value);
    return true;
}

// The fields of a type's sub-record; false when a getter threw.
bool readBackSubRecord(JNIEnv* env, jobject settings, MW_FESETTING_T* pt_fesettings) {
    static constexpr char kBandwidthLine[] = "getFrontendSetting, mBandwidth: %d.";
    switch (pt_fesettings->e_type) {
        case MW_FE_TYPE_DVBT: {
            MW_FE_DVBT_SETTING_T& dvbt = pt_fesettings->u.t_dvbt;
            return readBack(env, settings, gConfigFields.dvbtGetStandardID,
                            "getFrontendSetting, mStandard: %d.", &dvbt.mStandard) &&
                   readBack(env, settings, gConfigFields.dvbtGetBandwidthID, kBandwidthLine,
                            &dvbt.mBandwidth);
        }
        case MW_FE_TYPE_ISDBT:
            return readBack(env, settings, gConfigFields.isdbtGetBandwidthID, kBandwidthLine,
                            &pt_fesettings->u.t_isdbt.mBandwidth);
        case MW_FE_TYPE_DTMB:
            return readBack(env, settings, gConfigFields.dtmbGetBandwidthID, kBandwidthLine,
                            &pt_fesettings->u.t_dtmb.mBandwidth);
        case MW_FE_TYPE_ATSC:
        case MW_FE_TYPE_DVBC:
        case MW_FE_TYPE_DVBS:
        case MW_FE_TYPE_ISDBS:
            return true;
        default:
            LOG_DEBUG("getFrontendSetting, not support e_type: %d.", pt_fesettings->e_type);
            return true;
    }
}

}  // namespace

void bindFrontendSettingsClasses(JNIEnv* env) {
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

namespace android {

jobject JNativeInnerFrontend::transMW2FrontendSettings(JNIEnv* env,
                                                       const MW_FESETTING_T* pt_fesettings) const {
    if (env == nullptr || pt_fesettings == nullptr) {
        LOG_ERROR("transMW2FrontendSettings, argument is null.");
        return nullptr;
    }
    return newSettings(env, mObject, *pt_fesettings);
}

int JNativeInnerFrontend::getFrontendSetting(MW_FESETTING_T* pt_fesettings) {
    if (pt_fesettings == nullptr) {
        LOG_ERROR("getFrontendSetting, pt_fesettings == NULL.");
        return -1;
    }
    return withJava(-1, [this, pt_fesettings](JNIEnv* env) {
        ScopedLocalRef<jobject> settings(env, callForObject(env, gFields.onGetFrontendSettingId));
        if (settings.get() == nullptr) {
            LOG_ERROR("getFrontendSetting, frontend settings is null.");
            return -1;
        }
        const bool read =
            readBack(env, settings.get(), gConfigFields.getTypeID,
                     "getFrontendSetting, e_type: %d.", &pt_fesettings->e_type) &&
            readBack(env, settings.get(), gConfigFields.getFrequencyID,
                     "getFrontendSetting, mFrequency: %d.", &pt_fesettings->mFrequency) &&
            readBackSubRecord(env, settings.get(), pt_fesettings);
        return read ? 0 : -1;
    });
}

}  // namespace android
