#include <stdlib.h>
#include <string.h>

#include "mw/frontend_values.h"
#include "sim/middleware/tuning.h"

/* A word of a scan file and the platform's value for it. The first row of a table is for fields
 * that are left to the tuner. */
typedef struct {
    const char* word;
    int32_t value;
} VALUE_T;

/* Not formatted, to keep each word beside its value. */
// clang-format off
static const VALUE_T k_fec[] = {
    {"AUTO", MW_FE_FEC_AUTO}, {"NONE", MW_FE_FEC_UNDEFINED}, {"1/2", MW_FE_FEC_1_2},
    {"2/3", MW_FE_FEC_2_3}, {"3/4", MW_FE_FEC_3_4}, {"4/5", MW_FE_FEC_4_5}, {"5/6", MW_FE_FEC_5_6},
    {"6/7", MW_FE_FEC_6_7}, {"7/8", MW_FE_FEC_7_8}, {"8/9", MW_FE_FEC_8_9}, {"3/5", MW_FE_FEC_3_5},
    {"9/10", MW_FE_FEC_9_10}, {"2/5", MW_FE_FEC_2_5}, {0}};
static const VALUE_T k_code_rate[] = {
    {"AUTO", MW_FE_DVBT_CODERATE_AUTO}, {"NONE", MW_FE_DVBT_CODERATE_AUTO},
    {"1/2", MW_FE_DVBT_CODERATE_1_2}, {"2/3", MW_FE_DVBT_CODERATE_2_3},
    {"3/4", MW_FE_DVBT_CODERATE_3_4}, {"4/5", MW_FE_DVBT_CODERATE_4_5},
    {"5/6", MW_FE_DVBT_CODERATE_5_6}, {"6/7", MW_FE_DVBT_CODERATE_6_7},
    {"7/8", MW_FE_DVBT_CODERATE_7_8}, {"8/9", MW_FE_DVBT_CODERATE_8_9},
    {"3/5", MW_FE_DVBT_CODERATE_3_5}, {0}};
static const VALUE_T k_dvbs_modulation[] = {
    {"QAM/AUTO", MW_FE_DVBS_AUTO}, {"QPSK", MW_FE_DVBS_QPSK}, {"PSK/8", MW_FE_DVBS_8PSK},
    {"APSK/16", MW_FE_DVBS_16APSK}, {"APSK/32", MW_FE_DVBS_32APSK}, {"QAM/16", MW_FE_DVBS_16QAM},
    {0}};
static const VALUE_T k_dvbc_modulation[] = {
    {"QAM/AUTO", MW_FE_DVBC_AUTO}, {"QAM/16", MW_FE_DVBC_16QAM}, {"QAM/32", MW_FE_DVBC_32QAM},
    {"QAM/64", MW_FE_DVBC_64QAM}, {"QAM/128", MW_FE_DVBC_128QAM}, {"QAM/256", MW_FE_DVBC_256QAM},
    {0}};
static const VALUE_T k_dvbt_constellation[] = {
    {"QAM/AUTO", MW_FE_DVBT_CONSTELLATION_AUTO}, {"QPSK", MW_FE_DVBT_CONSTELLATION_QPSK},
    {"QAM/16", MW_FE_DVBT_CONSTELLATION_16QAM}, {"QAM/64", MW_FE_DVBT_CONSTELLATION_64QAM},
    {"QAM/256", MW_FE_DVBT_CONSTELLATION_256QAM}, {0}};
static const VALUE_T k_isdbt_modulation[] = {
    {"QAM/AUTO", MW_FE_ISDBT_AUTO}, {"DQPSK", MW_FE_ISDBT_DQPSK}, {"QPSK", MW_FE_ISDBT_QPSK},
    {"QAM/16", MW_FE_ISDBT_16QAM}, {"QAM/64", MW_FE_ISDBT_64QAM}, {0}};
static const VALUE_T k_atsc_modulation[] = {
    {"QAM/AUTO", MW_FE_ATSC_AUTO}, {"VSB/8", MW_FE_ATSC_8VSB}, {"VSB/16", MW_FE_ATSC_16VSB}, {0}};
static const VALUE_T k_inversion[] = {
    {"AUTO", MW_FE_INVERSION_UNDEFINED}, {"OFF", MW_FE_INVERSION_NORMAL},
    {"ON", MW_FE_INVERSION_INVERTED}, {0}};
static const VALUE_T k_rolloff[] = {
    {"AUTO", MW_FE_DVBS_ROLLOFF_UNDEFINED}, {"35", MW_FE_DVBS_ROLLOFF_0_35},
    {"25", MW_FE_DVBS_ROLLOFF_0_25}, {"20", MW_FE_DVBS_ROLLOFF_0_20}, {0}};
static const VALUE_T k_pilot[] = {
    {"AUTO", MW_FE_DVBS_PILOT_AUTO}, {"ON", MW_FE_DVBS_PILOT_ON}, {"OFF", MW_FE_DVBS_PILOT_OFF},
    {0}};
static const VALUE_T k_dvbt_bandwidth[] = {
    {"0", MW_FE_DVBT_BANDWIDTH_AUTO}, {"8000000", MW_FE_DVBT_BANDWIDTH_8MHZ},
    {"7000000", MW_FE_DVBT_BANDWIDTH_7MHZ}, {"6000000", MW_FE_DVBT_BANDWIDTH_6MHZ},
    {"5000000", MW_FE_DVBT_BANDWIDTH_5MHZ}, {"1712000", MW_FE_DVBT_BANDWIDTH_1_7MHZ},
    {"10000000", MW_FE_DVBT_BANDWIDTH_10MHZ}, {0}};
static const VALUE_T k_isdbt_bandwidth[] = {
    {"0", MW_FE_ISDBT_BANDWIDTH_AUTO}, {"8000000", MW_FE_ISDBT_BANDWIDTH_8MHZ},
    {"7000000", MW_FE_ISDBT_BANDWIDTH_7MHZ}, {"6000000", MW_FE_ISDBT_BANDWIDTH_6MHZ}, {0}};
static const VALUE_T k_dvbt_mode[] = {
    {"AUTO", MW_FE_DVBT_MODE_AUTO}, {"1K", MW_FE_DVBT_MODE_1K}, {"2K", MW_FE_DVBT_MODE_2K},
    {"4K", MW_FE_DVBT_MODE_4K}, {"8K", MW_FE_DVBT_MODE_8K}, {"16K", MW_FE_DVBT_MODE_16K},
    {"32K", MW_FE_DVBT_MODE_32K}, {0}};
static const VALUE_T k_isdbt_mode[] = {
    {"AUTO", MW_FE_ISDBT_MODE_AUTO}, {"2K", MW_FE_ISDBT_MODE_1}, {"4K", MW_FE_ISDBT_MODE_2},
    {"8K", MW_FE_ISDBT_MODE_3}, {0}};
static const VALUE_T k_hierarchy[] = {
    {"AUTO", MW_FE_DVBT_HIERARCHY_AUTO}, {"NONE", MW_FE_DVBT_HIERARCHY_NONE},
    {"1", MW_FE_DVBT_HIERARCHY_1}, {"2", MW_FE_DVBT_HIERARCHY_2}, {"4", MW_FE_DVBT_HIERARCHY_4},
    {0}};
static const VALUE_T k_guard[] = {
    {"AUTO", MW_FE_DVBT_GUARD_AUTO}, {"1/4", MW_FE_DVBT_GUARD_1_4}, {"1/8", MW_FE_DVBT_GUARD_1_8},
    {"1/16", MW_FE_DVBT_GUARD_1_16}, {"1/32", MW_FE_DVBT_GUARD_1_32},
    {"1/128", MW_FE_DVBT_GUARD_1_128}, {"19/128", MW_FE_DVBT_GUARD_19_128},
    {"19/256", MW_FE_DVBT_GUARD_19_256}, {0}};
// clang-format on

typedef struct {
    const char* word;
    const char* family;
    int32_t type;
    int32_t variant; /* the standard or the annex */
} SYSTEM_T;

static const SYSTEM_T k_systems[] = {{"DVBS", "DVB-S", MW_FE_TYPE_DVBS, MW_FE_DVBS_STANDARD_S},
                                     {"DVBS2", "DVB-S", MW_FE_TYPE_DVBS, MW_FE_DVBS_STANDARD_S2},
                                     {"DVBC/ANNEX_A", "DVB-C", MW_FE_TYPE_DVBC, MW_FE_DVBC_ANNEX_A},
                                     {"DVBC/ANNEX_B", "DVB-C", MW_FE_TYPE_DVBC, MW_FE_DVBC_ANNEX_B},
                                     {"DVBC/ANNEX_C", "DVB-C", MW_FE_TYPE_DVBC, MW_FE_DVBC_ANNEX_C},
                                     {"DVBT", "DVB-T", MW_FE_TYPE_DVBT, MW_FE_DVBT_STANDARD_T},
                                     {"DVBT2", "DVB-T", MW_FE_TYPE_DVBT, MW_FE_DVBT_STANDARD_T2},
                                     {"ISDBT", "ISDB-T", MW_FE_TYPE_ISDBT, 0},
                                     {"ATSC", "ATSC", MW_FE_TYPE_ATSC, 0},
                                     {NULL, "other", MW_FE_TYPE_UNDEFINED, 0}};

static const SYSTEM_T* system_of(const ENTRY_T* pt_entry) {
    const SYSTEM_T* pt_system = k_systems;
    while (pt_system->word != NULL &&
           strcasecmp(pt_system->word, entry_value(pt_entry, "DELIVERY_SYSTEM")) != 0) {
        ++pt_system;
    }
    return pt_system;
}

/* An entry that is being read, and the first reason against it; TUNED if there is none. */
typedef struct {
    const ENTRY_T* pt_entry;
    OUTCOME_E e_reason;
} READING_T;

static void note(READING_T* pt_reading, OUTCOME_E e_reason) {
    pt_reading->e_reason = pt_reading->e_reason == TUNED ? e_reason : pt_reading->e_reason;
}

static int32_t mapped(READING_T* pt_reading, const char* key, const VALUE_T* pt_row) {
    const char* word = entry_value(pt_reading->pt_entry, key);
    while (*word != '\0' && pt_row->word != NULL && strcasecmp(pt_row->word, word) != 0) {
        ++pt_row;
    }
    note(pt_reading, pt_row->word != NULL ? TUNED : NO_FIELD);
    return pt_row->value;
}

/* A number. Only an optional field may be missing, 0 or -1; the result is then 0. */
static int32_t number(READING_T* pt_reading, const char* key, bool optional) {
    const char* word = entry_value(pt_reading->pt_entry, key);
    char* end;
    const long long value = strtoll(word, &end, 10); /* limited to the type's range */
    const bool fits = value >= -1 && value <= INT32_MAX;
    const bool missing = *end != '\0' || (value <= 0 && fits && !optional);
    note(pt_reading, missing ? NO_FIELD : fits ? TUNED : NO_FIT);
    return value > 0 ? (int32_t)value : 0;
}

/* Chooses the LNB for a transponder of a satellite, and with it the frequency after the LNB. */
static void choose_lnb(READING_T* pt_reading, const struct dvb_sat_lnb* pt_lnb,
                       REQUEST_T* pt_request) {
    static const VALUE_T k_polarization[] = {{"", -1},          {"VERTICAL", 0}, {"RIGHT", 0},
                                             {"HORIZONTAL", 1}, {"LEFT", 1},     {NULL, -1}};
    const int32_t horizontal = mapped(pt_reading, "POLARIZATION", k_polarization);
    const bool reached = lnb_choose(pt_lnb, (uint32_t)pt_request->t_settings.mFrequency,
                                    horizontal == 1, &pt_request->t_lnb);
    note(pt_reading, horizontal < 0 ? NO_FIELD : reached ? TUNED : NO_LNB);
    pt_request->t_settings.mFrequency = pt_request->t_lnb.mhz;
}

OUTCOME_E request_from_entry(const ENTRY_T* pt_entry, const struct dvb_sat_lnb* pt_lnb,
                             REQUEST_T* pt_request) {
    READING_T t_reading = {pt_entry, pt_entry->malformed ? NO_FIELD : TUNED};
    READING_T* r = &t_reading;
    MW_FESETTING_T* pt_settings = &pt_request->t_settings;
    const SYSTEM_T* pt_system = system_of(pt_entry);
    memset(pt_request, 0, sizeof(*pt_request));
    pt_request->system = pt_system->family;
    pt_settings->e_type = pt_system->type;
    pt_settings->mFrequency = number(r, "FREQUENCY", false);
    switch (pt_system->type) {
        case MW_FE_TYPE_DVBS:
            pt_request->t_code_rate.mInnerFec = mapped(r, "INNER_FEC", k_fec);
            pt_settings->u.t_dvbs = (MW_FE_DVBS_SETTING_T){
                .mModulation = mapped(r, "MODULATION", k_dvbs_modulation),
                .pt_code_rate = &pt_request->t_code_rate,
                .mSymbolRate = (int32_t)((number(r, "SYMBOL_RATE", false) + 500LL) / 1000),
                .mRolloff = mapped(r, "ROLLOFF", k_rolloff),
                .mPilot = mapped(r, "PILOT", k_pilot),
                .mInputStreamId = number(r, "STREAM_ID", true),
                .mStandard = pt_system->variant,
                .mVcmMode = MW_FE_DVBS_VCM_AUTO,
                .mScanType = MW_FE_DVBS_SCAN_DISEQC};
            choose_lnb(r, pt_lnb, pt_request);
            break;
        case MW_FE_TYPE_DVBC:
            pt_settings->u.t_dvbc = (MW_FE_DVBC_SETTING_T){
                .mModulation = mapped(r, "MODULATION", k_dvbc_modulation),
                .mFec = mapped(r, "INNER_FEC", k_fec),
                /* In annex B the modulation determines it. */
                .mSymbolRate = number(r, "SYMBOL_RATE", pt_system->variant == MW_FE_DVBC_ANNEX_B),
                .mOuterFec = MW_FE_DVBC_OUTER_FEC_RS,
                .mAnnex = pt_system->variant,
                .mSpectralInversion = mapped(r, "INVERSION", k_inversion)};
            break;
        case MW_FE_TYPE_DVBT:
            pt_settings->u.t_dvbt = (MW_FE_DVBT_SETTING_T){
                .mTransmissionMode = mapped(r, "TRANSMISSION_MODE", k_dvbt_mode),
                .mBandwidth = mapped(r, "BANDWIDTH_HZ", k_dvbt_bandwidth),
                .mConstellation = mapped(r, "MODULATION", k_dvbt_constellation),
                .mHierarchy = mapped(r, "HIERARCHY", k_hierarchy),
                .mHpCodeRate = mapped(r, "CODE_RATE_HP", k_code_rate),
                .mLpCodeRate = mapped(r, "CODE_RATE_LP", k_code_rate),
                .mGuardInterval = mapped(r, "GUARD_INTERVAL", k_guard),
                .mIsHighPriority = 1,
                .mStandard = pt_system->variant,
                .mPlpMode = pt_system->variant == MW_FE_DVBT_STANDARD_T ? MW_FE_DVBT_PLP_AUTO
                                                                        : MW_FE_DVBT_PLP_MANUAL,
                .mPlpId = number(r, "STREAM_ID", true)};
            break;
        case MW_FE_TYPE_ISDBT:
            pt_settings->u.t_isdbt = (MW_FE_ISDBT_SETTING_T){
                .mModulation = mapped(r, "ISDBT_LAYERA_MODULATION", k_isdbt_modulation),
                .mBandwidth = mapped(r, "BANDWIDTH_HZ", k_isdbt_bandwidth),
                .mMode = mapped(r, "TRANSMISSION_MODE", k_isdbt_mode),
                .mCodeRate = mapped(r, "ISDBT_LAYERA_FEC", k_code_rate),
                .mGuardInterval = mapped(r, "GUARD_INTERVAL", k_guard)};
            break;
        case MW_FE_TYPE_ATSC:
            pt_settings->u.t_atsc.mModulation = mapped(r, "MODULATION", k_atsc_modulation);
            break;
        default:
            note(r, *entry_value(pt_entry, "DELIVERY_SYSTEM") == '\0' ? NO_FIELD : NO_SYSTEM);
            break;
    }
    return t_reading.e_reason;
}
