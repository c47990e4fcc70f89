/*
 * MW_FESETTING_T: one tuning or scanning request, or the settings read back from a tuner frontend.
 *
 * The record belongs to the caller. The library uses it only during the call. The same holds for
 * the code-rate record of a DVB-S request. Fields with an enumerated value or flags (modulation,
 * code rate, guard interval, standard and so on) hold the platform's own constants, which the
 * settings classes in android.media.tv.tuner.frontend define; mw/frontend_values.h lists the common
 * ones. The library passes them on unchanged. A boolean is one byte, 0 or 1. Any other value
 * reaches Java as it is, and ends the process on a device where JNI is checked.
 */
#ifndef MW_FRONTEND_SETTINGS_H
#define MW_FRONTEND_SETTINGS_H

#include "mw/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

/* e_type: the delivery system, in the platform's numbering. The library refuses analog, ATSC 3.0
 * and ISDB-S3. */
typedef enum {
    MW_FE_TYPE_UNDEFINED = 0,
    MW_FE_TYPE_ANALOG = 1,
    MW_FE_TYPE_ATSC = 2,
    MW_FE_TYPE_ATSC3 = 3,
    MW_FE_TYPE_DVBC = 4,
    MW_FE_TYPE_DVBS = 5,
    MW_FE_TYPE_DVBT = 6,
    MW_FE_TYPE_ISDBS = 7,
    MW_FE_TYPE_ISDBS3 = 8,
    MW_FE_TYPE_ISDBT = 9,
    MW_FE_TYPE_DTMB = 10
} MW_FE_TYPE_E;

typedef struct {
    int32_t mModulation;
} MW_FE_ATSC_SETTING_T;

typedef struct {
    int32_t mModulation;
    /* Inner FEC code rate */
    int64_t mFec;
    /* Symbols per second */
    int32_t mSymbolRate;
    int32_t mOuterFec;
    int32_t mAnnex;
    int32_t mSpectralInversion;
    int32_t mInterleaveMode;
    int32_t mBandwidth;
} MW_FE_DVBC_SETTING_T;

typedef struct {
    /* Inner FEC code rate */
    int64_t mInnerFec;
    uint8_t mIsLinear;
    uint8_t mIsShortFrames;
    int32_t mBitsPer1000Symbol;
} MW_FE_DVBS_CODE_RATE_T;

typedef struct {
    int32_t mModulation;
    /* Null: no code rate is given, as for a blind scan */
    MW_FE_DVBS_CODE_RATE_T* pt_code_rate;
    /* Thousands of symbols per second; a product above 32 bits wraps */
    int32_t mSymbolRate;
    int32_t mRolloff;
    int32_t mPilot;
    int32_t mInputStreamId;
    int32_t mStandard;
    int32_t mVcmMode;
    int32_t mScanType;
    /* Whether DiSEqC receive messages are expected */
    uint8_t mIsDiseqcRxMessage;
} MW_FE_DVBS_SETTING_T;

typedef struct {
    int32_t mTransmissionMode;
    /* Written by a readback */
    int32_t mBandwidth;
    int32_t mConstellation;
    int32_t mHierarchy;
    int32_t mHpCodeRate;
    int32_t mLpCodeRate;
    int32_t mGuardInterval;
    uint8_t mIsHighPriority;
    /* Written by a readback */
    int32_t mStandard;
    uint8_t mIsMiso;
    int32_t mPlpMode;
    int32_t mPlpId;
    int32_t mPlpGroupId;
} MW_FE_DVBT_SETTING_T;

typedef struct {
    int32_t mStreamId;
    int32_t mStreamIdType;
    int32_t mModulation;
    int32_t mCodeRate;
    /* Symbols per second */
    int32_t mSymbolRate;
    int32_t mRolloff;
} MW_FE_ISDBS_SETTING_T;

typedef struct {
    int32_t mModulation;
    /* Written by a readback */
    int32_t mBandwidth;
    int32_t mMode;
    int32_t mCodeRate;
    int32_t mGuardInterval;
    /* Only logged: the request carries the area code of the Java frontend */
    int32_t mServiceAreaId;
} MW_FE_ISDBT_SETTING_T;

typedef struct {
    int32_t mModulation;
    int32_t mCodeRate;
    int32_t mTransmissionMode;
    int32_t mGuardInterval;
    int32_t mTimeInterleaveMode;
    /* Written by a readback */
    int32_t mBandwidth;
} MW_FE_DTMB_SETTING_T;

typedef struct {
    /* The sub-record of e_type */
    union {
        MW_FE_ATSC_SETTING_T t_atsc;
        MW_FE_DVBC_SETTING_T t_dvbc;
        MW_FE_DVBS_SETTING_T t_dvbs;
        MW_FE_DVBT_SETTING_T t_dvbt;
        MW_FE_ISDBS_SETTING_T t_isdbs;
        MW_FE_ISDBT_SETTING_T t_isdbt;
        MW_FE_DTMB_SETTING_T t_dtmb;
    } u;
    /* DVB-S: MHz, refused above 2147 and below -2147; other systems: Hz. A readback stores Hz for
     * all */
    int32_t mFrequency;
    /* DVB-S only: end of the scan range in MHz. Above 2147 it becomes 2147483647 Hz, below -2147 it
     * becomes -2147483648. The platform refuses a value below 1; then there is no end */
    int32_t mEndFrequency;
    /* MW_FE_TYPE_E */
    int32_t e_type;
} MW_FESETTING_T;

MW_PIN_SIZE(MW_FE_ATSC_SETTING_T, 4);

MW_PIN_SIZE(MW_FE_DVBC_SETTING_T, 40);
MW_PIN_OFFSET(MW_FE_DVBC_SETTING_T, mModulation, 0);
MW_PIN_OFFSET(MW_FE_DVBC_SETTING_T, mFec, 8);
MW_PIN_OFFSET(MW_FE_DVBC_SETTING_T, mSymbolRate, 16);
MW_PIN_OFFSET(MW_FE_DVBC_SETTING_T, mOuterFec, 20);
MW_PIN_OFFSET(MW_FE_DVBC_SETTING_T, mAnnex, 24);
MW_PIN_OFFSET(MW_FE_DVBC_SETTING_T, mSpectralInversion, 28);
MW_PIN_OFFSET(MW_FE_DVBC_SETTING_T, mInterleaveMode, 32);
MW_PIN_OFFSET(MW_FE_DVBC_SETTING_T, mBandwidth, 36);

MW_PIN_SIZE(MW_FE_DVBS_CODE_RATE_T, 16);
MW_PIN_OFFSET(MW_FE_DVBS_CODE_RATE_T, mInnerFec, 0);
MW_PIN_OFFSET(MW_FE_DVBS_CODE_RATE_T, mIsLinear, 8);
MW_PIN_OFFSET(MW_FE_DVBS_CODE_RATE_T, mIsShortFrames, 9);
MW_PIN_OFFSET(MW_FE_DVBS_CODE_RATE_T, mBitsPer1000Symbol, 12);

MW_PIN_SIZE_32(MW_FE_DVBS_SETTING_T, 40);
MW_PIN_OFFSET_32(MW_FE_DVBS_SETTING_T, mModulation, 0);
MW_PIN_OFFSET_32(MW_FE_DVBS_SETTING_T, pt_code_rate, 4);
MW_PIN_OFFSET_32(MW_FE_DVBS_SETTING_T, mSymbolRate, 8);
MW_PIN_OFFSET_32(MW_FE_DVBS_SETTING_T, mRolloff, 12);
MW_PIN_OFFSET_32(MW_FE_DVBS_SETTING_T, mPilot, 16);
MW_PIN_OFFSET_32(MW_FE_DVBS_SETTING_T, mInputStreamId, 20);
MW_PIN_OFFSET_32(MW_FE_DVBS_SETTING_T, mStandard, 24);
MW_PIN_OFFSET_32(MW_FE_DVBS_SETTING_T, mVcmMode, 28);
MW_PIN_OFFSET_32(MW_FE_DVBS_SETTING_T, mScanType, 32);
MW_PIN_OFFSET_32(MW_FE_DVBS_SETTING_T, mIsDiseqcRxMessage, 36);

MW_PIN_SIZE(MW_FE_DVBT_SETTING_T, 52);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mTransmissionMode, 0);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mBandwidth, 4);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mConstellation, 8);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mHierarchy, 12);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mHpCodeRate, 16);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mLpCodeRate, 20);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mGuardInterval, 24);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mIsHighPriority, 28);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mStandard, 32);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mIsMiso, 36);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mPlpMode, 40);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mPlpId, 44);
MW_PIN_OFFSET(MW_FE_DVBT_SETTING_T, mPlpGroupId, 48);

MW_PIN_SIZE(MW_FE_ISDBS_SETTING_T, 24);
MW_PIN_OFFSET(MW_FE_ISDBS_SETTING_T, mStreamId, 0);
MW_PIN_OFFSET(MW_FE_ISDBS_SETTING_T, mStreamIdType, 4);
MW_PIN_OFFSET(MW_FE_ISDBS_SETTING_T, mModulation, 8);
MW_PIN_OFFSET(MW_FE_ISDBS_SETTING_T, mCodeRate, 12);
MW_PIN_OFFSET(MW_FE_ISDBS_SETTING_T, mSymbolRate, 16);
MW_PIN_OFFSET(MW_FE_ISDBS_SETTING_T, mRolloff, 20);

MW_PIN_SIZE(MW_FE_ISDBT_SETTING_T, 24);
MW_PIN_OFFSET(MW_FE_ISDBT_SETTING_T, mModulation, 0);
MW_PIN_OFFSET(MW_FE_ISDBT_SETTING_T, mBandwidth, 4);
MW_PIN_OFFSET(MW_FE_ISDBT_SETTING_T, mMode, 8);
MW_PIN_OFFSET(MW_FE_ISDBT_SETTING_T, mCodeRate, 12);
MW_PIN_OFFSET(MW_FE_ISDBT_SETTING_T, mGuardInterval, 16);
MW_PIN_OFFSET(MW_FE_ISDBT_SETTING_T, mServiceAreaId, 20);

MW_PIN_SIZE(MW_FE_DTMB_SETTING_T, 24);
MW_PIN_OFFSET(MW_FE_DTMB_SETTING_T, mModulation, 0);
MW_PIN_OFFSET(MW_FE_DTMB_SETTING_T, mCodeRate, 4);
MW_PIN_OFFSET(MW_FE_DTMB_SETTING_T, mTransmissionMode, 8);
MW_PIN_OFFSET(MW_FE_DTMB_SETTING_T, mGuardInterval, 12);
MW_PIN_OFFSET(MW_FE_DTMB_SETTING_T, mTimeInterleaveMode, 16);
MW_PIN_OFFSET(MW_FE_DTMB_SETTING_T, mBandwidth, 20);

MW_PIN_SIZE_32(MW_FESETTING_T, 72);
MW_PIN_OFFSET_32(MW_FESETTING_T, mFrequency, 56);
MW_PIN_OFFSET_32(MW_FESETTING_T, mEndFrequency, 60);
MW_PIN_OFFSET_32(MW_FESETTING_T, e_type, 64);

#ifdef __cplusplus
}
#endif

#endif /* MW_FRONTEND_SETTINGS_H */
