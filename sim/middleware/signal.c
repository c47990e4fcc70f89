#include "sim/middleware/signal.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

bool signal_text(unsigned int h_pipeline, int32_t e_type, char* text, size_t size) {
    FE_STATUS_TYPE_E kinds[FE_STATUS_MAX_TYPES]; /* those that are not supported are skipped */
    for (unsigned char i = 0; i < FE_STATUS_MAX_TYPES; ++i) {
        kinds[i] = (FE_STATUS_TYPE_E)i;
    }
    FE_STATUS_T s;
    memset(&s, 0xff, sizeof(s));
    if (x_native_frontend_get_frontend_status(h_pipeline, kinds, FE_STATUS_MAX_TYPES, &s) != 0) {
        snprintf(text, size, "no status");
        return false;
    }
    const int length =
        snprintf(text, size,
                 "lock %d/%d  snr %.1f dB  mer %.1f dB  quality %d %%  strength %.1f dBm  ber %d  "
                 "agc %d  modulation %d  inversion %d",
                 s.mIsDemodLocked, s.mIsRfLocked, s.mSnr / 1e3, s.mMer / 1e3, s.mSignalQuality,
                 s.mSignalStrength / 1e3, s.mBer, s.mAgc, s.mModulation, s.mInversion);
    text += length;
    size -= (size_t)length;
    switch (e_type) {
        case MW_FE_TYPE_DVBS:
        case MW_FE_TYPE_DVBC:
            snprintf(text, size, "  symbol rate %d  fec %" PRId64 "  lnb %d  rolloff %d",
                     s.mSymbolRate, s.mInnerFec, s.mLnbVoltage, s.mRollOff);
            break;
        case MW_FE_TYPE_DVBT:
            snprintf(text, size, "  bandwidth %d  hierarchy %d  plp %d  system %d", s.mBandWidth,
                     s.mHierarchy, s.mPlpId, s.mSystemId);
            break;
        case MW_FE_TYPE_ISDBT:
            snprintf(text, size, "  bandwidth %d  ewbs %d  modulations %d (%d)  code rates %d (%d)",
                     s.mBandWidth, s.mIsEwbs, s.mModulationsExtLen, s.mModulationsExt[0],
                     s.mCodeRatesLen, s.mCodeRates[0]);
            break;
        default:
            break;
    }
    return s.mIsDemodLocked == 1 && s.mIsRfLocked == 1;
}

bool readback_agrees(unsigned int h_pipeline, const MW_FESETTING_T* pt_asked) {
    /* What a readback does not write must stay as it was: start from what was asked. */
    MW_FESETTING_T settings = *pt_asked;
    settings.e_type = -1;
    settings.mFrequency = -1;
    MW_FESETTING_T expected = *pt_asked;
    switch (pt_asked->e_type) {
        case MW_FE_TYPE_DVBS:
            expected.mFrequency *= 1000000;
            break;
        case MW_FE_TYPE_DVBT:
            settings.u.t_dvbt.mBandwidth = -1;
            settings.u.t_dvbt.mStandard = -1;
            break;
        case MW_FE_TYPE_ISDBT:
            settings.u.t_isdbt.mBandwidth = -1;
            break;
        default:
            break;
    }
    return x_native_frontend_get_frontend_setting(h_pipeline, &settings) == 0 &&
           memcmp(&settings, &expected, sizeof(settings)) == 0;
}
