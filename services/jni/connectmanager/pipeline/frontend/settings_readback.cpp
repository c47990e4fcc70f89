// The settings in force, read back into the middleware's record.

#include <cstdint>

#include "services/jni/connectmanager/pipeline/frontend/JNativeInnerFrontend.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_java.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"

namespace {

using android::clearException;
using android::JavaMethod;

// Reads one value of the settings in force into the record; false when the getter threw.
bool readBack(JNIEnv* env, jobject settings, const JavaMethod<jint()>& getter, int32_t* field) {
    const jint value = getter.call(env, settings);
    if (clearException(env)) {
        return false;
    }
    *field = value;
    return true;
}

bool readBackBandwidth(JNIEnv* env, jobject settings, const JavaMethod<jint()>& getter,
                       int32_t* mBandwidth) {
    if (!readBack(env, settings, getter, mBandwidth)) {
        return false;
    }
    LOG_DEBUG("getFrontendSetting, mBandwidth: %d.", *mBandwidth);
    return true;
}

// The fields of a type's sub-record; false when a getter threw.
bool readBackSubRecord(JNIEnv* env, jobject settings, MW_FESETTING_T* pt_fesettings) {
    switch (pt_fesettings->e_type) {
        case MW_FE_TYPE_DVBT: {
            MW_FE_DVBT_SETTING_T& dvbt = pt_fesettings->u.t_dvbt;
            if (!readBack(env, settings, gConfigFields.dvbtGetStandardID, &dvbt.mStandard)) {
                return false;
            }
            LOG_DEBUG("getFrontendSetting, mStandard: %d.", dvbt.mStandard);
            return readBackBandwidth(env, settings, gConfigFields.dvbtGetBandwidthID,
                                     &dvbt.mBandwidth);
        }
        case MW_FE_TYPE_ISDBT:
            return readBackBandwidth(env, settings, gConfigFields.isdbtGetBandwidthID,
                                     &pt_fesettings->u.t_isdbt.mBandwidth);
        case MW_FE_TYPE_DTMB:
            return readBackBandwidth(env, settings, gConfigFields.dtmbGetBandwidthID,
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

namespace android {

int JNativeInnerFrontend::getFrontendSetting(MW_FESETTING_T* pt_fesettings) {
    if (pt_fesettings == nullptr) {
        LOG_ERROR("getFrontendSetting, pt_fesettings == NULL.");
        return -1;
    }
    return withJava(-1, [this, pt_fesettings](JNIEnv* env) {
        const auto settings = callForObject(env, ::gFields.onGetFrontendSettingId);
        if (settings.get() == nullptr) {
            LOG_ERROR("getFrontendSetting, frontend settings is null.");
            return -1;
        }
        if (!readBack(env, settings.get(), gConfigFields.getTypeID, &pt_fesettings->e_type)) {
            return -1;
        }
        LOG_DEBUG("getFrontendSetting, e_type: %d.", pt_fesettings->e_type);
        if (!readBack(env, settings.get(), gConfigFields.getFrequencyID,
                      &pt_fesettings->mFrequency)) {
            return -1;
        }
        LOG_DEBUG("getFrontendSetting, mFrequency: %d.", pt_fesettings->mFrequency);
        return readBackSubRecord(env, settings.get(), pt_fesettings) ? 0 : -1;
    });
}

}  // namespace android
