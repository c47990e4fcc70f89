/*
 * The status of a tuner frontend: the kinds that can be asked for and the record that receives
 * them.
 */
#ifndef MW_FRONTEND_STATUS_H
#define MW_FRONTEND_STATUS_H

#include "mw/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Status kinds, in the platform's numbering. A kind that is missing here is passed to Java like any
 * other, and Java may refuse the whole query because of it. The library does not read its value.
 */
typedef enum {
    FE_STATUS_TYPE_DEMOD_LOCK = 0,
    FE_STATUS_TYPE_SNR = 1,
    FE_STATUS_TYPE_BER = 2,
    FE_STATUS_TYPE_PER = 3,
    FE_STATUS_TYPE_PER_BER = 4,
    FE_STATUS_TYPE_SIGNAL_QUALITY = 5,
    FE_STATUS_TYPE_SIGNAL_STRENGTH = 6,
    FE_STATUS_TYPE_SYMBOL_RATE = 7,
    FE_STATUS_TYPE_INNER_FEC = 8,
    FE_STATUS_TYPE_MODULATION = 9,
    FE_STATUS_TYPE_SPECTRAL_INVERSION = 10,
    FE_STATUS_TYPE_LNB_VOLTAGE = 11,
    FE_STATUS_TYPE_PLP_ID = 12,
    FE_STATUS_TYPE_EWBS = 13,
    FE_STATUS_TYPE_AGC = 14,
    FE_STATUS_TYPE_LNA = 15,
    FE_STATUS_TYPE_MER = 17,
    FE_STATUS_TYPE_FREQ_OFFSET = 18,
    FE_STATUS_TYPE_HIERARCHY = 19,
    FE_STATUS_TYPE_RF_LOCK = 20,
    FE_STATUS_TYPE_MODULATIONS_EXT = 22,
    FE_STATUS_TYPE_CODE_RATES = 24,
    FE_STATUS_TYPE_BANDWIDTH = 25,
    FE_STATUS_TYPE_SYSTEM_ID = 29,
    FE_STATUS_TYPE_ROLL_OFF = 33
} FE_STATUS_TYPE_E;

/* The most kinds in one query. */
#define FE_STATUS_MAX_TYPES 34

/* The longest list that a query copies. Of a longer list, only the length is copied. */
#define FE_STATUS_MAX_LIST_COPY 9

/*
 * The record belongs to the caller. A query writes the fields of the kinds that were asked for,
 * without converting them, and leaves every other byte alone. A frontend need not report every
 * kind. If a kind is missing, or its getter threw, its field becomes 0; a list keeps what was
 * there. Units are the platform's. A field without a unit holds a plain number or, for code rates,
 * modulation, inversion, voltage, hierarchy, bandwidth and roll-off, the platform's constant. The
 * reserved bytes belong to the middleware, and so does everything that its own declaration has
 * after mRollOff. A boolean byte holds 0 or 1.
 */
typedef struct {
    /* Demodulator locked */
    uint8_t mIsDemodLocked;
    /* Signal-to-noise ratio, thousandths of a dB */
    int32_t mSnr;
    /* Bit errors per thousand million bits */
    int32_t mBer;
    /* Packet errors per thousand million packets */
    int32_t mPer;
    /* Bit errors per thousand million bits, before error correction */
    int32_t mPerBer;
    /* Percent */
    int32_t mSignalQuality;
    /* Thousandths of a dBm */
    int32_t mSignalStrength;
    /* Symbols per second */
    int32_t mSymbolRate;
    int64_t mInnerFec;
    int32_t mModulation;
    /* One for each layer; see FE_STATUS_MAX_LIST_COPY */
    int32_t mModulationsExt[10];
    /* Elements in the platform's list, whether or not they were copied */
    int32_t mModulationsExtLen;
    int32_t mInversion;
    int32_t mLnbVoltage;
    int32_t mPlpId;
    /* Emergency warning broadcast present */
    uint8_t mIsEwbs;
    /* Automatic gain control, 0 to 255 */
    int32_t mAgc;
    /* Low-noise amplifier on */
    uint8_t mIsLnaOn;
    uint8_t aui1_reserved0[11];
    /* Modulation error ratio, thousandths of a dB */
    int32_t mMer;
    /* Hz between the frequency tuned to and the one locked on */
    int32_t mFreqOffset;
    int32_t mHierarchy;
    int32_t mBandWidth;
    /* One for each layer; see FE_STATUS_MAX_LIST_COPY */
    int32_t mCodeRates[10];
    /* Elements in the platform's list, whether or not they were copied */
    int32_t mCodeRatesLen;
    uint8_t mIsRfLocked;
    uint8_t aui1_reserved1[15];
    int32_t mSystemId;
    int32_t mRollOff;
} FE_STATUS_T;

/* A request is an array of these. A compiler that makes enumerations short does not fit. */
MW_PIN_SIZE(FE_STATUS_TYPE_E, 4);

MW_PIN_OFFSET(FE_STATUS_T, mIsDemodLocked, 0);
MW_PIN_OFFSET(FE_STATUS_T, mSnr, 4);
MW_PIN_OFFSET(FE_STATUS_T, mBer, 8);
MW_PIN_OFFSET(FE_STATUS_T, mPer, 12);
MW_PIN_OFFSET(FE_STATUS_T, mPerBer, 16);
MW_PIN_OFFSET(FE_STATUS_T, mSignalQuality, 20);
MW_PIN_OFFSET(FE_STATUS_T, mSignalStrength, 24);
MW_PIN_OFFSET(FE_STATUS_T, mSymbolRate, 28);
MW_PIN_OFFSET(FE_STATUS_T, mInnerFec, 32);
MW_PIN_OFFSET(FE_STATUS_T, mModulation, 40);
MW_PIN_OFFSET(FE_STATUS_T, mModulationsExt, 44);
MW_PIN_OFFSET(FE_STATUS_T, mModulationsExtLen, 84);
MW_PIN_OFFSET(FE_STATUS_T, mInversion, 88);
MW_PIN_OFFSET(FE_STATUS_T, mLnbVoltage, 92);
MW_PIN_OFFSET(FE_STATUS_T, mPlpId, 96);
MW_PIN_OFFSET(FE_STATUS_T, mIsEwbs, 100);
MW_PIN_OFFSET(FE_STATUS_T, mAgc, 104);
MW_PIN_OFFSET(FE_STATUS_T, mIsLnaOn, 108);
MW_PIN_OFFSET(FE_STATUS_T, aui1_reserved0, 109);
MW_PIN_OFFSET(FE_STATUS_T, mMer, 120);
MW_PIN_OFFSET(FE_STATUS_T, mFreqOffset, 124);
MW_PIN_OFFSET(FE_STATUS_T, mHierarchy, 128);
MW_PIN_OFFSET(FE_STATUS_T, mBandWidth, 132);
MW_PIN_OFFSET(FE_STATUS_T, mCodeRates, 136);
MW_PIN_OFFSET(FE_STATUS_T, mCodeRatesLen, 176);
MW_PIN_OFFSET(FE_STATUS_T, mIsRfLocked, 180);
MW_PIN_OFFSET(FE_STATUS_T, aui1_reserved1, 181);
MW_PIN_OFFSET(FE_STATUS_T, mSystemId, 196);
MW_PIN_OFFSET(FE_STATUS_T, mRollOff, 200);

#ifdef __cplusplus
}
#endif

#endif /* MW_FRONTEND_STATUS_H */
