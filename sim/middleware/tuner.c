#include <inttypes.h>
#include <stdatomic.h>
#include <stdlib.h>
#include <string.h>

#include "mw/frontend.h"
#include "mw/frontend_values.h"
#include "sim/middleware/support.h"
#include "sim/middleware/tuning.h"

/* An LNB receives more than the table says: the extended C band begins 300 MHz lower. */
enum { BAND_MARGIN_MHZ = 300 };
enum { DISEQC_OK = 0xe4, DISEQC_SECONDS = 2, SCAN_SECONDS = 10 };

/* Whether an LNB receives a frequency, and how. */
static bool reaches(const struct dvb_sat_lnb* pt_lnb, uint32_t khz, bool horizontal,
                    LNB_T* pt_chosen) {
    /* The upper oscillator serves the high band, or horizontal polarisation in an LNB that receives
     * both at once. */
    const bool high_band = pt_lnb->rangeswitch != 0 ? khz >= pt_lnb->rangeswitch * 1000u
                                                    : pt_lnb->highfreq != 0 && horizontal;
    const int64_t oscillator = high_band ? pt_lnb->highfreq : pt_lnb->lowfreq;
    const int64_t low = pt_lnb->freqrange[0].low;
    const int64_t high = pt_lnb->freqrange[pt_lnb->freqrange[1].high != 0].high;
    /* The oscillator lies below the band, or above it as in the C band. */
    const int64_t mhz = (llabs(khz - oscillator * 1000) + 500) / 1000;
    *pt_chosen = (LNB_T){pt_lnb, horizontal, high_band, (int32_t)mhz};
    return khz >= (low - BAND_MARGIN_MHZ) * 1000 && khz <= (high + BAND_MARGIN_MHZ) * 1000 &&
           mhz >= TUNER_MHZ_MIN && mhz <= TUNER_MHZ_MAX;
}

bool lnb_choose(const struct dvb_sat_lnb* pt_lnb, uint32_t khz, bool horizontal, LNB_T* pt_chosen) {
    if (pt_lnb != NULL) {
        return reaches(pt_lnb, khz, horizontal, pt_chosen);
    }
    for (int i = 0; dvb_sat_get_lnb(i) != NULL; ++i) {
        if (reaches(dvb_sat_get_lnb(i), khz, horizontal, pt_chosen)) {
            return true;
        }
    }
    return false;
}

/* The last byte that the switch has acknowledged; -1 if there is none yet. */
static atomic_int g_acknowledged;

static int on_message(unsigned int h_pipeline, const int8_t* pi1_message, int32_t i4_length) {
    if (i4_length == 2 && (uint8_t)pi1_message[0] == DISEQC_OK) {
        g_acknowledged = (uint8_t)pi1_message[1];
        event_noted();
    }
    return 0;
}

bool lnb_open(uint32_t h_pipeline) {
    return x_native_frontend_require_lnb(h_pipeline) == 0 &&
           x_native_frontend_register_lnb_DiseqcMessage_callback(h_pipeline, on_message) == 0;
}

bool lnb_select(uint32_t h_pipeline, const LNB_T* pt_chosen, char* text, size_t size) {
    const int voltage = pt_chosen->horizontal ? MW_FE_LNB_VOLTAGE_18V : MW_FE_LNB_VOLTAGE_13V;
    const int tone = pt_chosen->high_band ? MW_FE_LNB_TONE_CONTINUOUS : MW_FE_LNB_TONE_NONE;
    const int satellite = MW_FE_LNB_POSITION_A;
    /* From the master, no reply required; to any switch; write to the committed inputs. */
    unsigned char message[] = {
        0xe0, 0x10, 0x38,
        (unsigned char)(0xf0 | pt_chosen->horizontal << 1 | pt_chosen->high_band)};
    g_acknowledged = -1;
    bool done = x_native_frontend_lnb_set_voltage(h_pipeline, voltage) == 0 &&
                x_native_frontend_lnb_set_tone(h_pipeline, tone) == 0 &&
                x_native_frontend_lnb_set_SatellitePosition(h_pipeline, satellite) == 0 &&
                x_native_frontend_lnb_get_voltage(h_pipeline) == voltage &&
                x_native_frontend_lnb_get_tone(h_pipeline) == tone &&
                x_native_frontend_lnb_get_SatellitePosition(h_pipeline) == satellite &&
                x_native_frontend_lnb_send_diseqcmessage(h_pipeline, message, sizeof(message)) == 0;
    while (done && g_acknowledged != message[3]) {
        done = event_wait(DISEQC_SECONDS);
    }
    snprintf(text, size, "%s: %d V, tone %s, DiSEqC %02x %02x %02x %02x -> %s",
             pt_chosen->pt_lnb->alias, pt_chosen->horizontal ? 18 : 13,
             pt_chosen->high_band ? "on" : "off", message[0], message[1], message[2], message[3],
             done ? "received e4" : "NO ANSWER");
    return done;
}

/* What the events of the running scan have reported; they get it as their tag. */
enum { LOCKED = 1, FOUND = 2, WHOLE = 4, STOPPED = 8 };

static int on_progress(unsigned int h_pipeline, int32_t percent, void* pv_scan) {
    *(atomic_int*)pv_scan |= percent == 100 ? WHOLE : 0;
    return 0;
}

static int on_locked(unsigned int h_pipeline, void* pv_scan) {
    say(DETAIL, "  scan       pipeline 0x%x: locked", h_pipeline);
    *(atomic_int*)pv_scan |= LOCKED;
    return 0;
}

static int on_stopped(unsigned int h_pipeline, void* pv_scan) {
    say(DETAIL, "  scan       pipeline 0x%x: stopped", h_pipeline);
    *(atomic_int*)pv_scan |= STOPPED;
    event_noted();
    return 0;
}

static int found(unsigned int h_pipeline, const char* what, const int32_t* pi4_values,
                 int32_t count, atomic_int* pt_scan) {
    char text[LINE_SIZE] = "";
    for (int32_t i = 0; i < count; ++i) {
        append(text, sizeof(text), " %d", pi4_values[i]);
    }
    say(DETAIL, "  scan       pipeline 0x%x: %s%s", h_pipeline, what, text);
    *pt_scan |= count > 0 ? FOUND : 0;
    return 0;
}

#define ON_LIST(name, what)                                                                  \
    static int name(unsigned int h_pipeline, const int32_t* list, int32_t count, void* pv) { \
        return found(h_pipeline, what, list, count, pv);                                     \
    }
ON_LIST(on_frequencies, "frequencies (Hz)")
ON_LIST(on_symbol_rates, "symbol rates (per second)")
ON_LIST(on_plp_ids, "PLP ids")
ON_LIST(on_group_ids, "PLP group ids")
ON_LIST(on_stream_ids, "input stream ids")

#define ON_VALUE(name, what)                                                 \
    static int name(unsigned int h_pipeline, int32_t value, void* pv_scan) { \
        return found(h_pipeline, what, &value, 1, pv_scan);                  \
    }
ON_VALUE(on_dvbs_standard, "DVB-S standard")
ON_VALUE(on_dvbt_standard, "DVB-T standard")
ON_VALUE(on_hierarchy, "hierarchy")

bool scan_band(unsigned int h_pipeline, MW_FESETTING_T* pt_band) {
    /* Static, because an event may still come after the wait for its scan has timed out. */
    static atomic_int scan;
    FE_SCAN_CB_T callbacks = {.pf_locked_nfy = on_locked,
                              .pf_stopped_nfy = on_stopped,
                              .pf_progress_nfy = on_progress,
                              .pf_freq_report_nfy = on_frequencies,
                              .pf_symbol_rate_nfy = on_symbol_rates,
                              .pf_plp_id_nfy = on_plp_ids,
                              .pf_group_id_nfy = on_group_ids,
                              .pf_stream_id_nfy = on_stream_ids,
                              .pf_dvbs_standard_nfy = on_dvbs_standard,
                              .pf_dvbt_standard_nfy = on_dvbt_standard,
                              .pf_hierarchy_nfy = on_hierarchy,
                              .pv_tag = &scan};
    scan = 0;
    x_native_frontend_register_scan_callback(&callbacks);
    if (x_native_frontend_scan(h_pipeline, pt_band, MW_FE_SCAN_AUTO) != 0) {
        return false;
    }
    while ((scan & STOPPED) == 0 && event_wait(SCAN_SECONDS)) {
    }
    return scan == (LOCKED | FOUND | WHOLE | STOPPED);
}

/* Whether settings and status are what was asked for, and the signal is there. */
static bool agrees(const MW_FESETTING_T* pt_settings, const FE_STATUS_T* pt_status,
                   const MW_FESETTING_T* pt_asked) {
    const int32_t unit = pt_asked->e_type == MW_FE_TYPE_DVBS ? 1000000 : 1;
    if (pt_settings->e_type != pt_asked->e_type || !pt_status->mIsDemodLocked ||
        pt_settings->mFrequency != pt_asked->mFrequency * unit || !pt_status->mIsRfLocked) {
        return false;
    }
    switch (pt_asked->e_type) {
        case MW_FE_TYPE_DVBS:
            return pt_status->mSymbolRate == pt_asked->u.t_dvbs.mSymbolRate * 1000 &&
                   pt_status->mInnerFec == pt_asked->u.t_dvbs.pt_code_rate->mInnerFec &&
                   pt_status->mModulation == pt_asked->u.t_dvbs.mModulation;
        case MW_FE_TYPE_DVBC:
            return pt_status->mSymbolRate == pt_asked->u.t_dvbc.mSymbolRate &&
                   pt_status->mInnerFec == pt_asked->u.t_dvbc.mFec &&
                   pt_status->mModulation == pt_asked->u.t_dvbc.mModulation;
        case MW_FE_TYPE_DVBT:
            return pt_settings->u.t_dvbt.mStandard == pt_asked->u.t_dvbt.mStandard &&
                   pt_settings->u.t_dvbt.mBandwidth == pt_asked->u.t_dvbt.mBandwidth &&
                   pt_status->mModulation == pt_asked->u.t_dvbt.mConstellation;
        case MW_FE_TYPE_ISDBT:
            return pt_settings->u.t_isdbt.mBandwidth == pt_asked->u.t_isdbt.mBandwidth &&
                   pt_status->mModulationsExtLen == 1 &&
                   pt_status->mModulationsExt[0] == pt_asked->u.t_isdbt.mModulation;
        default:
            return pt_status->mModulation == pt_asked->u.t_atsc.mModulation;
    }
}

const char* readback_fault(unsigned int h_pipeline, const MW_FESETTING_T* pt_asked, char* text,
                           size_t size) {
    enum { EVERY = 8, DVBC = 10, DVBS = 11 }; /* how many of these a system reports */
    FE_STATUS_TYPE_E kinds[FE_STATUS_MAX_TYPES] = {
        FE_STATUS_TYPE_DEMOD_LOCK, FE_STATUS_TYPE_RF_LOCK,        FE_STATUS_TYPE_SNR,
        FE_STATUS_TYPE_MER,        FE_STATUS_TYPE_SIGNAL_QUALITY, FE_STATUS_TYPE_SIGNAL_STRENGTH,
        FE_STATUS_TYPE_AGC,        FE_STATUS_TYPE_MODULATION,     FE_STATUS_TYPE_SYMBOL_RATE,
        FE_STATUS_TYPE_INNER_FEC,  FE_STATUS_TYPE_LNB_VOLTAGE};
    unsigned char count = pt_asked->e_type == MW_FE_TYPE_DVBS   ? DVBS
                          : pt_asked->e_type == MW_FE_TYPE_DVBC ? DVBC
                                                                : EVERY;
    if (pt_asked->e_type == MW_FE_TYPE_ISDBT) {
        kinds[count++] = FE_STATUS_TYPE_MODULATIONS_EXT;
    }
    FE_STATUS_T s = {0};
    MW_FESETTING_T settings = {0};
    if (x_native_frontend_get_frontend_status(h_pipeline, kinds, count, &s) != 0 ||
        x_native_frontend_get_frontend_setting(h_pipeline, &settings) != 0) {
        return "settings or status cannot be read back";
    }
    snprintf(text, size,
             "lock %d/%d  snr %.1f dB  mer %.1f dB  quality %d %%  strength %.1f dBm  agc %d  "
             "modulation %d",
             s.mIsDemodLocked, s.mIsRfLocked, s.mSnr / 1e3, s.mMer / 1e3, s.mSignalQuality,
             s.mSignalStrength / 1e3, s.mAgc, s.mModulation);
    if (count >= DVBC) {
        append(text, size, "  symbol rate %d  fec %" PRId64, s.mSymbolRate, s.mInnerFec);
    }
    if (count == DVBS) {
        append(text, size, "  lnb %d", s.mLnbVoltage);
    }
    return agrees(&settings, &s, pt_asked) ? NULL : "settings or status read back differ";
}
