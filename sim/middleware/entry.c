/* What an entry of a scan file says, in the platform's values. */
#include <libdvbv5/dvb-v5-std.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>

#include "mw/frontend_values.h"
#include "sim/middleware/input.h"
#include "sim/middleware/request.h"

typedef struct {
    uint32_t entry;
    int32_t value;
} VALUE_T;

#define LENGTH(table) (sizeof(table) / sizeof((table)[0]))

/* The platform's value of a property; what is missing or unknown is left to the tuner: the first
 * row. */
static int32_t mapped(struct dvb_entry* pt_entry, uint32_t property, const VALUE_T* pt_rows,
                      size_t z_rows) {
    uint32_t value;
    if (dvb_retrieve_entry_prop(pt_entry, property, &value) == 0) {
        for (size_t i = 0; i < z_rows; ++i) {
            if (pt_rows[i].entry == value) {
                return pt_rows[i].value;
            }
        }
    }
    return pt_rows[0].value;
}

#define MAPPED(pt_entry, property, table) mapped(pt_entry, property, table, LENGTH(table))

static uint32_t number(struct dvb_entry* pt_entry, uint32_t property, uint32_t otherwise) {
    uint32_t value;
    return dvb_retrieve_entry_prop(pt_entry, property, &value) == 0 ? value : otherwise;
}

/* Of these, libdvbv5 says by all ones that the entry has none. */
static uint32_t optional(struct dvb_entry* pt_entry, uint32_t property) {
    const uint32_t value = number(pt_entry, property, 0);
    return value == UINT32_MAX ? 0 : value;
}

static const VALUE_T k_fec[] = {
    {FEC_AUTO, MW_FE_FEC_AUTO}, {FEC_NONE, MW_FE_FEC_UNDEFINED}, {FEC_1_2, MW_FE_FEC_1_2},
    {FEC_2_3, MW_FE_FEC_2_3},   {FEC_3_4, MW_FE_FEC_3_4},        {FEC_4_5, MW_FE_FEC_4_5},
    {FEC_5_6, MW_FE_FEC_5_6},   {FEC_6_7, MW_FE_FEC_6_7},        {FEC_7_8, MW_FE_FEC_7_8},
    {FEC_8_9, MW_FE_FEC_8_9},   {FEC_3_5, MW_FE_FEC_3_5},        {FEC_9_10, MW_FE_FEC_9_10},
    {FEC_2_5, MW_FE_FEC_2_5}};
static const VALUE_T k_code_rate[] = {
    {FEC_AUTO, MW_FE_DVBT_CODERATE_AUTO}, {FEC_1_2, MW_FE_DVBT_CODERATE_1_2},
    {FEC_2_3, MW_FE_DVBT_CODERATE_2_3},   {FEC_3_4, MW_FE_DVBT_CODERATE_3_4},
    {FEC_4_5, MW_FE_DVBT_CODERATE_4_5},   {FEC_5_6, MW_FE_DVBT_CODERATE_5_6},
    {FEC_6_7, MW_FE_DVBT_CODERATE_6_7},   {FEC_7_8, MW_FE_DVBT_CODERATE_7_8},
    {FEC_8_9, MW_FE_DVBT_CODERATE_8_9},   {FEC_3_5, MW_FE_DVBT_CODERATE_3_5}};
static const VALUE_T k_dvbs_modulation[] = {
    {QAM_AUTO, MW_FE_DVBS_AUTO},  {QPSK, MW_FE_DVBS_QPSK},      {PSK_8, MW_FE_DVBS_8PSK},
    {APSK_16, MW_FE_DVBS_16APSK}, {APSK_32, MW_FE_DVBS_32APSK}, {QAM_16, MW_FE_DVBS_16QAM}};
static const VALUE_T k_dvbc_modulation[] = {
    {QAM_AUTO, MW_FE_DVBC_AUTO}, {QAM_16, MW_FE_DVBC_16QAM},   {QAM_32, MW_FE_DVBC_32QAM},
    {QAM_64, MW_FE_DVBC_64QAM},  {QAM_128, MW_FE_DVBC_128QAM}, {QAM_256, MW_FE_DVBC_256QAM}};
static const VALUE_T k_dvbt_constellation[] = {{QAM_AUTO, MW_FE_DVBT_CONSTELLATION_AUTO},
                                               {QPSK, MW_FE_DVBT_CONSTELLATION_QPSK},
                                               {QAM_16, MW_FE_DVBT_CONSTELLATION_16QAM},
                                               {QAM_64, MW_FE_DVBT_CONSTELLATION_64QAM},
                                               {QAM_256, MW_FE_DVBT_CONSTELLATION_256QAM}};
static const VALUE_T k_isdbt_modulation[] = {{QAM_AUTO, MW_FE_ISDBT_AUTO},
                                             {DQPSK, MW_FE_ISDBT_DQPSK},
                                             {QPSK, MW_FE_ISDBT_QPSK},
                                             {QAM_16, MW_FE_ISDBT_16QAM},
                                             {QAM_64, MW_FE_ISDBT_64QAM}};
static const VALUE_T k_atsc_modulation[] = {
    {QAM_AUTO, MW_FE_ATSC_AUTO}, {VSB_8, MW_FE_ATSC_8VSB}, {VSB_16, MW_FE_ATSC_16VSB}};
static const VALUE_T k_inversion[] = {{INVERSION_AUTO, MW_FE_INVERSION_UNDEFINED},
                                      {INVERSION_OFF, MW_FE_INVERSION_NORMAL},
                                      {INVERSION_ON, MW_FE_INVERSION_INVERTED}};
static const VALUE_T k_rolloff[] = {{ROLLOFF_AUTO, MW_FE_DVBS_ROLLOFF_UNDEFINED},
                                    {ROLLOFF_35, MW_FE_DVBS_ROLLOFF_0_35},
                                    {ROLLOFF_25, MW_FE_DVBS_ROLLOFF_0_25},
                                    {ROLLOFF_20, MW_FE_DVBS_ROLLOFF_0_20}};
static const VALUE_T k_pilot[] = {{PILOT_AUTO, MW_FE_DVBS_PILOT_AUTO},
                                  {PILOT_ON, MW_FE_DVBS_PILOT_ON},
                                  {PILOT_OFF, MW_FE_DVBS_PILOT_OFF}};
static const VALUE_T k_dvbt_bandwidth[] = {
    {0, MW_FE_DVBT_BANDWIDTH_AUTO},        {8000000, MW_FE_DVBT_BANDWIDTH_8MHZ},
    {7000000, MW_FE_DVBT_BANDWIDTH_7MHZ},  {6000000, MW_FE_DVBT_BANDWIDTH_6MHZ},
    {5000000, MW_FE_DVBT_BANDWIDTH_5MHZ},  {1712000, MW_FE_DVBT_BANDWIDTH_1_7MHZ},
    {10000000, MW_FE_DVBT_BANDWIDTH_10MHZ}};
static const VALUE_T k_isdbt_bandwidth[] = {{0, MW_FE_ISDBT_BANDWIDTH_AUTO},
                                            {8000000, MW_FE_ISDBT_BANDWIDTH_8MHZ},
                                            {7000000, MW_FE_ISDBT_BANDWIDTH_7MHZ},
                                            {6000000, MW_FE_ISDBT_BANDWIDTH_6MHZ}};
static const VALUE_T k_dvbt_mode[] = {
    {TRANSMISSION_MODE_AUTO, MW_FE_DVBT_MODE_AUTO}, {TRANSMISSION_MODE_1K, MW_FE_DVBT_MODE_1K},
    {TRANSMISSION_MODE_2K, MW_FE_DVBT_MODE_2K},     {TRANSMISSION_MODE_4K, MW_FE_DVBT_MODE_4K},
    {TRANSMISSION_MODE_8K, MW_FE_DVBT_MODE_8K},     {TRANSMISSION_MODE_16K, MW_FE_DVBT_MODE_16K},
    {TRANSMISSION_MODE_32K, MW_FE_DVBT_MODE_32K}};
static const VALUE_T k_isdbt_mode[] = {{TRANSMISSION_MODE_AUTO, MW_FE_ISDBT_MODE_AUTO},
                                       {TRANSMISSION_MODE_2K, MW_FE_ISDBT_MODE_1},
                                       {TRANSMISSION_MODE_4K, MW_FE_ISDBT_MODE_2},
                                       {TRANSMISSION_MODE_8K, MW_FE_ISDBT_MODE_3}};
static const VALUE_T k_hierarchy[] = {{HIERARCHY_AUTO, MW_FE_DVBT_HIERARCHY_AUTO},
                                      {HIERARCHY_NONE, MW_FE_DVBT_HIERARCHY_NONE},
                                      {HIERARCHY_1, MW_FE_DVBT_HIERARCHY_1},
                                      {HIERARCHY_2, MW_FE_DVBT_HIERARCHY_2},
                                      {HIERARCHY_4, MW_FE_DVBT_HIERARCHY_4}};
static const VALUE_T k_guard[] = {{GUARD_INTERVAL_AUTO, MW_FE_DVBT_GUARD_AUTO},
                                  {GUARD_INTERVAL_1_4, MW_FE_DVBT_GUARD_1_4},
                                  {GUARD_INTERVAL_1_8, MW_FE_DVBT_GUARD_1_8},
                                  {GUARD_INTERVAL_1_16, MW_FE_DVBT_GUARD_1_16},
                                  {GUARD_INTERVAL_1_32, MW_FE_DVBT_GUARD_1_32},
                                  {GUARD_INTERVAL_1_128, MW_FE_DVBT_GUARD_1_128},
                                  {GUARD_INTERVAL_19_128, MW_FE_DVBT_GUARD_19_128},
                                  {GUARD_INTERVAL_19_256, MW_FE_DVBT_GUARD_19_256}};

/* Downlink in kHz to the intermediate frequency; false when the LNB does not receive it. */
static bool after_lnb(const struct dvb_sat_lnb* pt_lnb, struct dvb_entry* pt_entry, uint32_t khz,
                      ENTRY_VALUES_T* pt_values) {
    const uint32_t polarization = number(pt_entry, DTV_POLARIZATION, POLARIZATION_OFF);
    pt_values->horizontal = polarization == POLARIZATION_H || polarization == POLARIZATION_L;
    /* The upper oscillator serves a band or, in an LNB for both polarisations at once, one of them.
     */
    pt_values->high_band = pt_lnb->rangeswitch != 0
                               ? khz >= pt_lnb->rangeswitch * 1000u
                               : pt_lnb->highfreq != 0 && pt_values->horizontal;
    const uint32_t oscillator_khz =
        1000u * (pt_values->high_band ? pt_lnb->highfreq : pt_lnb->lowfreq);
    const uint32_t difference = khz > oscillator_khz ? khz - oscillator_khz : oscillator_khz - khz;
    pt_values->frequency = (int32_t)((difference + 500u) / 1000u);
    return pt_values->frequency > 0 && pt_values->frequency <= 2147;
}

bool entry_values(struct dvb_entry* pt_entry, const struct dvb_sat_lnb* pt_lnb,
                  ENTRY_VALUES_T* pt_values) {
    const uint32_t frequency = number(pt_entry, DTV_FREQUENCY, 0);
    const uint32_t symbol_rate = optional(pt_entry, DTV_SYMBOL_RATE);
    const uint32_t stream_id = optional(pt_entry, DTV_STREAM_ID);
    if (frequency == 0 || frequency > INT32_MAX || symbol_rate > INT32_MAX - 500 ||
        stream_id > INT32_MAX) {
        return false;
    }
    *pt_values = (ENTRY_VALUES_T){
        .delsys = number(pt_entry, DTV_DELIVERY_SYSTEM, SYS_UNDEFINED),
        .frequency = (int32_t)frequency,
        .symbol_rate = (int32_t)symbol_rate,
        .fec = MAPPED(pt_entry, DTV_INNER_FEC, k_fec),
        .inversion = MAPPED(pt_entry, DTV_INVERSION, k_inversion),
        .rolloff = MAPPED(pt_entry, DTV_ROLLOFF, k_rolloff),
        .pilot = MAPPED(pt_entry, DTV_PILOT, k_pilot),
        .stream_id = (int32_t)stream_id,
        .hierarchy = MAPPED(pt_entry, DTV_HIERARCHY, k_hierarchy),
        .hp_rate = MAPPED(pt_entry, DTV_CODE_RATE_HP, k_code_rate),
        .lp_rate = MAPPED(pt_entry, DTV_CODE_RATE_LP, k_code_rate),
        .guard = MAPPED(pt_entry, DTV_GUARD_INTERVAL, k_guard),
    };
    switch (pt_values->delsys) {
        case SYS_DVBS:
        case SYS_DVBS2:
            pt_values->modulation = MAPPED(pt_entry, DTV_MODULATION, k_dvbs_modulation);
            return after_lnb(pt_lnb, pt_entry, frequency, pt_values);
        case SYS_DVBC_ANNEX_A:
        case SYS_DVBC_ANNEX_B:
        case SYS_DVBC_ANNEX_C:
            pt_values->modulation = MAPPED(pt_entry, DTV_MODULATION, k_dvbc_modulation);
            return true;
        case SYS_DVBT:
        case SYS_DVBT2:
            pt_values->modulation = MAPPED(pt_entry, DTV_MODULATION, k_dvbt_constellation);
            pt_values->bandwidth = MAPPED(pt_entry, DTV_BANDWIDTH_HZ, k_dvbt_bandwidth);
            pt_values->mode = MAPPED(pt_entry, DTV_TRANSMISSION_MODE, k_dvbt_mode);
            return true;
        case SYS_ISDBT:
            pt_values->modulation =
                MAPPED(pt_entry, DTV_ISDBT_LAYERA_MODULATION, k_isdbt_modulation);
            pt_values->hp_rate = MAPPED(pt_entry, DTV_ISDBT_LAYERA_FEC, k_code_rate);
            pt_values->bandwidth = MAPPED(pt_entry, DTV_BANDWIDTH_HZ, k_isdbt_bandwidth);
            pt_values->mode = MAPPED(pt_entry, DTV_TRANSMISSION_MODE, k_isdbt_mode);
            return true;
        case SYS_ATSC:
            pt_values->modulation = MAPPED(pt_entry, DTV_MODULATION, k_atsc_modulation);
            return true;
        default:
            return false;
    }
}

const char* entry_system(struct dvb_entry* pt_entry) {
    switch (number(pt_entry, DTV_DELIVERY_SYSTEM, SYS_UNDEFINED)) {
        case SYS_DVBS:
        case SYS_DVBS2:
            return "DVB-S";
        case SYS_DVBC_ANNEX_A:
        case SYS_DVBC_ANNEX_B:
        case SYS_DVBC_ANNEX_C:
            return "DVB-C";
        case SYS_DVBT:
        case SYS_DVBT2:
            return "DVB-T";
        case SYS_ISDBT:
            return "ISDB-T";
        case SYS_ATSC:
            return "ATSC";
        default:
            return "other";
    }
}

void entry_name(struct dvb_entry* pt_entry, char* text, size_t size) {
    static const char* const k_polarization[] = {"", " H", " V", " L", " R"};
    const uint32_t delsys = number(pt_entry, DTV_DELIVERY_SYSTEM, SYS_UNDEFINED);
    const bool satellite = delsys == SYS_DVBS || delsys == SYS_DVBS2;
    const uint32_t frequency = number(pt_entry, DTV_FREQUENCY, 0);
    const uint32_t polarization = number(pt_entry, DTV_POLARIZATION, POLARIZATION_OFF);
    const char* name = delsys <= SYS_DVBC_ANNEX_C ? delivery_system_name[delsys] : "?";
    if (frequency == FREQUENCY_DOES_NOT_FIT) {
        snprintf(text, size, "%s with a number that does not fit", name);
    } else {
        snprintf(text, size, "%s %.3f MHz%s", name, frequency / (satellite ? 1e3 : 1e6),
                 polarization < LENGTH(k_polarization) ? k_polarization[polarization] : "");
    }
}
