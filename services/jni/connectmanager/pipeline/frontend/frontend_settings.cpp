// Makes the platform's settings object of the middleware's settings record.

#include <algorithm>
#include <cstdint>

#include "services/jni/connectmanager/pipeline/frontend/JNativeInnerFrontend.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_java.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"

namespace {

using android::clearException;
using Settings = ScopedLocalRef<jobject>;

constexpr int32_t kHzPerMHz = 1000000;
constexpr uint32_t kSymbolsPerThousand = 1000;

// Each of these makes the settings object of one delivery system. Null when it cannot be made.

Settings atscSettings(JNIEnv* env, const MW_FESETTING_T& settings) {
    const MW_FE_ATSC_SETTING_T& atsc = settings.u.t_atsc;
    LOG_DEBUG("[ATSC] mFrequency = %d, mModulation = %d,", settings.mFrequency, atsc.mModulation);
    return gConfigFields.atscConstructorID.newObject(env, gConfigFields.atscClazz,
                                                     settings.mFrequency, atsc.mModulation);
}

Settings dvbcSettings(JNIEnv* env, const MW_FESETTING_T& settings) {
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

// False when the constructor threw. Fixed from outside: a code rate that is null without an
// exception is passed on.
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

Settings dvbsSettings(JNIEnv* env, const MW_FESETTING_T& settings) {
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
        return Settings(env);
    }
    const int32_t frequency = static_cast<int32_t>(exactFrequency);
    // The platform takes 32 bits. A product that does not fit wraps.
    const int32_t symbolRate =
        static_cast<int32_t>(static_cast<uint32_t>(dvbs.mSymbolRate) * kSymbolsPerThousand);

    ScopedLocalRef<jobject> codeRate(env);
    if (dvbs.pt_code_rate == nullptr) {
        LOG_INFO("transMW2FrontendSettings, code rate is null, for blind scan.");
    } else if (!makeDvbsCodeRate(env, *dvbs.pt_code_rate, &codeRate)) {
        return Settings(env);
    }
    LOG_DEBUG("[DVBS] mFrequency = %d(in Hz)", frequency);
    LOG_DEBUG("[DVBS] mSymbolRate = %d(in bd)", symbolRate);
    LOG_DEBUG("[DVBS] mScanType = %d", dvbs.mScanType);
    LOG_DEBUG("[DVBS] mIsDiseqcRxMessage = %d", dvbs.mIsDiseqcRxMessage);
    Settings object = gConfigFields.dvbsConstructorID.newObject(
        env, gConfigFields.dvbsClazz, frequency, dvbs.mModulation, codeRate.get(), symbolRate,
        dvbs.mRolloff, dvbs.mPilot, dvbs.mInputStreamId, dvbs.mStandard, dvbs.mVcmMode,
        dvbs.mScanType, dvbs.mIsDiseqcRxMessage);
    if (object.get() == nullptr) {
        return object;
    }
    // The satellite band ends just above the highest number of Hz. So the nearest number is passed.
    const int32_t endFrequency = static_cast<int32_t>(
        std::clamp<int64_t>(int64_t{settings.mEndFrequency} * kHzPerMHz, INT32_MIN, INT32_MAX));
    LOG_DEBUG("[DVBS] mEndFrequency = %d(in Hz)", endFrequency);
    // Fixed from outside: the call is made whatever the number is. The platform refuses 0 by
    // throwing; then the object has no end frequency, which is right for a plain tune. So this
    // exception is not a failure, and it is cleared without being described.
    gConfigFields.setEndFrequencyID.call(env, object.get(), endFrequency);
    env->ExceptionClear();
    return object;
}

Settings dvbtSettings(JNIEnv* env, const MW_FESETTING_T& settings) {
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

Settings isdbsSettings(JNIEnv* env, const MW_FESETTING_T& settings) {
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

Settings isdbtSettings(JNIEnv* env, jobject frontend, const MW_FESETTING_T& settings) {
    const MW_FE_ISDBT_SETTING_T& isdbt = settings.u.t_isdbt;
    LOG_DEBUG(
        "[ISDBT] mFrequency = %d, mModulation = %d, mBandwidth = %d, mMode = %d, mCodeRate = %d, "
        "mGuardInterval = %d, mServiceAreaId = %d",
        settings.mFrequency, isdbt.mModulation, isdbt.mBandwidth, isdbt.mMode, isdbt.mCodeRate,
        isdbt.mGuardInterval, isdbt.mServiceAreaId);
    const jint areaCode = ::gFields.onGetServiceAreaCodeId.call(env, frontend);
    if (clearException(env)) {
        return Settings(env);
    }
    LOG_DEBUG("[ISDBT] area code = %d", areaCode);
    if (areaCode < 0) {
        return Settings(env);
    }
    return gConfigFields.isdbtConstructorID.newObject(
        env, gConfigFields.isdbtClazz, settings.mFrequency, isdbt.mModulation, isdbt.mBandwidth,
        isdbt.mMode, isdbt.mCodeRate, isdbt.mGuardInterval, areaCode);
}

Settings dtmbSettings(JNIEnv* env, const MW_FESETTING_T& settings) {
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

Settings newSettings(JNIEnv* env, jobject frontend, const MW_FESETTING_T& settings) {
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
            return Settings(env);
    }
}

}  // namespace

namespace android {

ScopedLocalRef<jobject> JNativeInnerFrontend::transMW2FrontendSettings(
    JNIEnv* env, const MW_FESETTING_T* pt_fesettings) const {
    if (env == nullptr || pt_fesettings == nullptr) {
        LOG_ERROR("transMW2FrontendSettings, argument is null.");
        return Settings(env);
    }
    return newSettings(env, mObject, *pt_fesettings);
}

}  // namespace android
