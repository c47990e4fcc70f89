/* Requests, and what must come of them. The two functions do not know each other. */
#include "sim/middleware/request.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "mw/frontend_values.h"

bool request_from_entry(struct dvb_entry* pt_entry, const struct dvb_sat_lnb* pt_lnb,
                        REQUEST_T* pt_request) {
    ENTRY_VALUES_T v;
    if (!entry_values(pt_entry, pt_lnb, &v)) {
        return false;
    }
    MW_FESETTING_T* pt_settings = &pt_request->t_settings;
    memset(pt_request, 0, sizeof(*pt_request));
    pt_settings->mFrequency = v.frequency;
    switch (v.delsys) {
        case SYS_DVBS:
        case SYS_DVBS2:
            pt_settings->e_type = MW_FE_TYPE_DVBS;
            pt_request->t_code_rate.mInnerFec = v.fec;
            pt_settings->u.t_dvbs.pt_code_rate = &pt_request->t_code_rate;
            pt_settings->u.t_dvbs.mModulation = v.modulation;
            pt_settings->u.t_dvbs.mSymbolRate = (v.symbol_rate + 500) / 1000;
            pt_settings->u.t_dvbs.mRolloff = v.rolloff;
            pt_settings->u.t_dvbs.mPilot = v.pilot;
            pt_settings->u.t_dvbs.mInputStreamId = v.stream_id;
            pt_settings->u.t_dvbs.mStandard =
                v.delsys == SYS_DVBS ? MW_FE_DVBS_STANDARD_S : MW_FE_DVBS_STANDARD_S2;
            pt_settings->u.t_dvbs.mVcmMode = MW_FE_DVBS_VCM_AUTO;
            pt_settings->u.t_dvbs.mScanType = MW_FE_DVBS_SCAN_DISEQC;
            break;
        case SYS_DVBC_ANNEX_A:
        case SYS_DVBC_ANNEX_B:
        case SYS_DVBC_ANNEX_C:
            pt_settings->e_type = MW_FE_TYPE_DVBC;
            pt_settings->u.t_dvbc.mModulation = v.modulation;
            pt_settings->u.t_dvbc.mFec = v.fec;
            pt_settings->u.t_dvbc.mSymbolRate = v.symbol_rate;
            pt_settings->u.t_dvbc.mOuterFec = MW_FE_DVBC_OUTER_FEC_RS;
            pt_settings->u.t_dvbc.mAnnex = v.delsys == SYS_DVBC_ANNEX_A   ? MW_FE_DVBC_ANNEX_A
                                           : v.delsys == SYS_DVBC_ANNEX_B ? MW_FE_DVBC_ANNEX_B
                                                                          : MW_FE_DVBC_ANNEX_C;
            pt_settings->u.t_dvbc.mSpectralInversion = v.inversion;
            break;
        case SYS_DVBT:
        case SYS_DVBT2:
            pt_settings->e_type = MW_FE_TYPE_DVBT;
            pt_settings->u.t_dvbt.mTransmissionMode = v.mode;
            pt_settings->u.t_dvbt.mBandwidth = v.bandwidth;
            pt_settings->u.t_dvbt.mConstellation = v.modulation;
            pt_settings->u.t_dvbt.mHierarchy = v.hierarchy;
            pt_settings->u.t_dvbt.mHpCodeRate = v.hp_rate;
            pt_settings->u.t_dvbt.mLpCodeRate = v.lp_rate;
            pt_settings->u.t_dvbt.mGuardInterval = v.guard;
            pt_settings->u.t_dvbt.mIsHighPriority = 1;
            pt_settings->u.t_dvbt.mStandard =
                v.delsys == SYS_DVBT ? MW_FE_DVBT_STANDARD_T : MW_FE_DVBT_STANDARD_T2;
            pt_settings->u.t_dvbt.mPlpMode =
                v.delsys == SYS_DVBT ? MW_FE_DVBT_PLP_AUTO : MW_FE_DVBT_PLP_MANUAL;
            pt_settings->u.t_dvbt.mPlpId = v.stream_id;
            break;
        case SYS_ISDBT:
            pt_settings->e_type = MW_FE_TYPE_ISDBT;
            pt_settings->u.t_isdbt.mModulation = v.modulation;
            pt_settings->u.t_isdbt.mBandwidth = v.bandwidth;
            pt_settings->u.t_isdbt.mMode = v.mode;
            pt_settings->u.t_isdbt.mCodeRate = v.hp_rate;
            pt_settings->u.t_isdbt.mGuardInterval = v.guard;
            break;
        default:
            pt_settings->e_type = MW_FE_TYPE_ATSC;
            pt_settings->u.t_atsc.mModulation = v.modulation;
            break;
    }
    return true;
}

void expected_text(struct dvb_entry* pt_entry, const struct dvb_sat_lnb* pt_lnb, char* text,
                   size_t size) {
    ENTRY_VALUES_T v;
    if (!entry_values(pt_entry, pt_lnb, &v)) {
        snprintf(text, size, "%s", "");
        return;
    }
    switch (v.delsys) {
        case SYS_DVBS:
        case SYS_DVBS2:
            snprintf(
                text, size,
                "DvbsFrontendSettings(frequency=%d000000, modulation=%d, codeRate=DvbsCodeRate("
                "innerFec=%" PRId64
                ", isLinear=false, isShortFrames=false, bitsPer1000Symbol=0), "
                "symbolRate=%d, rolloff=%d, pilot=%d, inputStreamId=%d, standard=%d, vcmMode=1, "
                "scanType=2, isDiseqcRxMessage=false, endFrequency=0)",
                v.frequency, v.modulation, v.fec, (v.symbol_rate + 500) / 1000 * 1000, v.rolloff,
                v.pilot, v.stream_id, v.delsys == SYS_DVBS2 ? 4 : 2);
            break;
        case SYS_DVBC_ANNEX_A:
        case SYS_DVBC_ANNEX_B:
        case SYS_DVBC_ANNEX_C:
            snprintf(text, size,
                     "DvbcFrontendSettings(frequency=%d, modulation=%d, fec=%" PRId64
                     ", symbolRate=%d, "
                     "outerFec=2, annex=%d, spectralInversion=%d, interleaveMode=0, bandwidth=0)",
                     v.frequency, v.modulation, v.fec, v.symbol_rate,
                     v.delsys == SYS_DVBC_ANNEX_B   ? 2
                     : v.delsys == SYS_DVBC_ANNEX_C ? 4
                                                    : 1,
                     v.inversion);
            break;
        case SYS_DVBT:
        case SYS_DVBT2:
            snprintf(
                text, size,
                "DvbtFrontendSettings(frequency=%d, transmissionMode=%d, bandwidth=%d, "
                "constellation=%d, hierarchy=%d, hpCodeRate=%d, lpCodeRate=%d, guardInterval=%d, "
                "isHighPriority=true, standard=%d, isMiso=false, plpMode=%d, plpId=%d, "
                "plpGroupId=0)",
                v.frequency, v.mode, v.bandwidth, v.modulation, v.hierarchy, v.hp_rate, v.lp_rate,
                v.guard, v.delsys == SYS_DVBT2 ? 4 : 2, v.delsys == SYS_DVBT2 ? 2 : 1, v.stream_id);
            break;
        case SYS_ISDBT:
            snprintf(text, size,
                     "IsdbtFrontendSettings(frequency=%d, modulation=%d, bandwidth=%d, mode=%d, "
                     "codeRate=%d, guardInterval=%d, serviceAreaId=42)",
                     v.frequency, v.modulation, v.bandwidth, v.mode, v.hp_rate, v.guard);
            break;
        default:
            snprintf(text, size, "AtscFrontendSettings(frequency=%d, modulation=%d)", v.frequency,
                     v.modulation);
            break;
    }
}
