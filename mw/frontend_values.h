/*
 * The platform's constants for the fields of MW_FESETTING_T and for the LNB functions, as far as a
 * middleware commonly needs them. The library interprets none of them.
 */
#ifndef MW_FRONTEND_VALUES_H
#define MW_FRONTEND_VALUES_H

/* Scan types of x_native_frontend_scan. */
enum { MW_FE_SCAN_UNDEFINED = 0, MW_FE_SCAN_AUTO = 1, MW_FE_SCAN_BLIND = 2 };

/* Inner code rates of satellite (mInnerFec of DVB-S) and cable (mFec of DVB-C): flags. */
enum {
    MW_FE_FEC_UNDEFINED = 0,
    MW_FE_FEC_AUTO = 1 << 0,
    MW_FE_FEC_1_2 = 1 << 1,
    MW_FE_FEC_1_3 = 1 << 2,
    MW_FE_FEC_1_4 = 1 << 3,
    MW_FE_FEC_1_5 = 1 << 4,
    MW_FE_FEC_2_3 = 1 << 5,
    MW_FE_FEC_2_5 = 1 << 6,
    MW_FE_FEC_2_9 = 1 << 7,
    MW_FE_FEC_3_4 = 1 << 8,
    MW_FE_FEC_3_5 = 1 << 9,
    MW_FE_FEC_4_5 = 1 << 10,
    MW_FE_FEC_4_15 = 1 << 11,
    MW_FE_FEC_5_6 = 1 << 12,
    MW_FE_FEC_5_9 = 1 << 13,
    MW_FE_FEC_6_7 = 1 << 14,
    MW_FE_FEC_7_8 = 1 << 15,
    MW_FE_FEC_7_9 = 1 << 16,
    MW_FE_FEC_7_15 = 1 << 17,
    MW_FE_FEC_8_9 = 1 << 18,
    MW_FE_FEC_8_15 = 1 << 19,
    MW_FE_FEC_9_10 = 1 << 20
};

enum { MW_FE_ATSC_AUTO = 1 << 0, MW_FE_ATSC_8VSB = 1 << 2, MW_FE_ATSC_16VSB = 1 << 3 };

enum {
    MW_FE_DVBC_AUTO = 1 << 0,
    MW_FE_DVBC_16QAM = 1 << 1,
    MW_FE_DVBC_32QAM = 1 << 2,
    MW_FE_DVBC_64QAM = 1 << 3,
    MW_FE_DVBC_128QAM = 1 << 4,
    MW_FE_DVBC_256QAM = 1 << 5
};
enum { MW_FE_DVBC_OUTER_FEC_NONE = 1, MW_FE_DVBC_OUTER_FEC_RS = 2 };
enum { MW_FE_DVBC_ANNEX_A = 1 << 0, MW_FE_DVBC_ANNEX_B = 1 << 1, MW_FE_DVBC_ANNEX_C = 1 << 2 };
enum { MW_FE_INVERSION_UNDEFINED = 0, MW_FE_INVERSION_NORMAL = 1, MW_FE_INVERSION_INVERTED = 2 };

enum {
    MW_FE_DVBS_AUTO = 1 << 0,
    MW_FE_DVBS_QPSK = 1 << 1,
    MW_FE_DVBS_8PSK = 1 << 2,
    MW_FE_DVBS_16QAM = 1 << 3,
    MW_FE_DVBS_16PSK = 1 << 4,
    MW_FE_DVBS_32PSK = 1 << 5,
    MW_FE_DVBS_ACM = 1 << 6,
    MW_FE_DVBS_8APSK = 1 << 7,
    MW_FE_DVBS_16APSK = 1 << 8,
    MW_FE_DVBS_32APSK = 1 << 9
};
enum {
    MW_FE_DVBS_ROLLOFF_UNDEFINED = 0,
    MW_FE_DVBS_ROLLOFF_0_35 = 1,
    MW_FE_DVBS_ROLLOFF_0_25 = 2,
    MW_FE_DVBS_ROLLOFF_0_20 = 3
};
enum { MW_FE_DVBS_PILOT_ON = 1, MW_FE_DVBS_PILOT_OFF = 2, MW_FE_DVBS_PILOT_AUTO = 3 };
enum {
    MW_FE_DVBS_STANDARD_AUTO = 1 << 0,
    MW_FE_DVBS_STANDARD_S = 1 << 1,
    MW_FE_DVBS_STANDARD_S2 = 1 << 2
};
enum { MW_FE_DVBS_VCM_AUTO = 1, MW_FE_DVBS_VCM_MANUAL = 2 };
enum { MW_FE_DVBS_SCAN_UNDEFINED = 0, MW_FE_DVBS_SCAN_DIRECT = 1, MW_FE_DVBS_SCAN_DISEQC = 2 };

enum {
    MW_FE_DVBT_MODE_AUTO = 1 << 0,
    MW_FE_DVBT_MODE_2K = 1 << 1,
    MW_FE_DVBT_MODE_8K = 1 << 2,
    MW_FE_DVBT_MODE_4K = 1 << 3,
    MW_FE_DVBT_MODE_1K = 1 << 4,
    MW_FE_DVBT_MODE_16K = 1 << 5,
    MW_FE_DVBT_MODE_32K = 1 << 6
};
enum {
    MW_FE_DVBT_BANDWIDTH_AUTO = 1 << 0,
    MW_FE_DVBT_BANDWIDTH_8MHZ = 1 << 1,
    MW_FE_DVBT_BANDWIDTH_7MHZ = 1 << 2,
    MW_FE_DVBT_BANDWIDTH_6MHZ = 1 << 3,
    MW_FE_DVBT_BANDWIDTH_5MHZ = 1 << 4,
    MW_FE_DVBT_BANDWIDTH_1_7MHZ = 1 << 5,
    MW_FE_DVBT_BANDWIDTH_10MHZ = 1 << 6
};
enum {
    MW_FE_DVBT_CONSTELLATION_AUTO = 1 << 0,
    MW_FE_DVBT_CONSTELLATION_QPSK = 1 << 1,
    MW_FE_DVBT_CONSTELLATION_16QAM = 1 << 2,
    MW_FE_DVBT_CONSTELLATION_64QAM = 1 << 3,
    MW_FE_DVBT_CONSTELLATION_256QAM = 1 << 4
};
enum {
    MW_FE_DVBT_HIERARCHY_AUTO = 1 << 0,
    MW_FE_DVBT_HIERARCHY_NONE = 1 << 1,
    MW_FE_DVBT_HIERARCHY_1 = 1 << 2,
    MW_FE_DVBT_HIERARCHY_2 = 1 << 3,
    MW_FE_DVBT_HIERARCHY_4 = 1 << 4
};
/* Code rates of DVB-T (mHpCodeRate, mLpCodeRate) and of ISDB-T (mCodeRate), which has the first
 * six. */
enum {
    MW_FE_DVBT_CODERATE_AUTO = 1 << 0,
    MW_FE_DVBT_CODERATE_1_2 = 1 << 1,
    MW_FE_DVBT_CODERATE_2_3 = 1 << 2,
    MW_FE_DVBT_CODERATE_3_4 = 1 << 3,
    MW_FE_DVBT_CODERATE_5_6 = 1 << 4,
    MW_FE_DVBT_CODERATE_7_8 = 1 << 5,
    MW_FE_DVBT_CODERATE_3_5 = 1 << 6,
    MW_FE_DVBT_CODERATE_4_5 = 1 << 7,
    MW_FE_DVBT_CODERATE_6_7 = 1 << 8,
    MW_FE_DVBT_CODERATE_8_9 = 1 << 9
};
enum {
    MW_FE_DVBT_GUARD_AUTO = 1 << 0,
    MW_FE_DVBT_GUARD_1_32 = 1 << 1,
    MW_FE_DVBT_GUARD_1_16 = 1 << 2,
    MW_FE_DVBT_GUARD_1_8 = 1 << 3,
    MW_FE_DVBT_GUARD_1_4 = 1 << 4,
    MW_FE_DVBT_GUARD_1_128 = 1 << 5,
    MW_FE_DVBT_GUARD_19_128 = 1 << 6,
    MW_FE_DVBT_GUARD_19_256 = 1 << 7
};
enum {
    MW_FE_DVBT_STANDARD_AUTO = 1 << 0,
    MW_FE_DVBT_STANDARD_T = 1 << 1,
    MW_FE_DVBT_STANDARD_T2 = 1 << 2
};
enum { MW_FE_DVBT_PLP_AUTO = 1, MW_FE_DVBT_PLP_MANUAL = 2 };

enum {
    MW_FE_ISDBT_AUTO = 1 << 0,
    MW_FE_ISDBT_DQPSK = 1 << 1,
    MW_FE_ISDBT_QPSK = 1 << 2,
    MW_FE_ISDBT_16QAM = 1 << 3,
    MW_FE_ISDBT_64QAM = 1 << 4
};
enum {
    MW_FE_ISDBT_MODE_AUTO = 1 << 0,
    MW_FE_ISDBT_MODE_1 = 1 << 1,
    MW_FE_ISDBT_MODE_2 = 1 << 2,
    MW_FE_ISDBT_MODE_3 = 1 << 3
};
enum {
    MW_FE_ISDBT_BANDWIDTH_AUTO = 1 << 0,
    MW_FE_ISDBT_BANDWIDTH_8MHZ = 1 << 1,
    MW_FE_ISDBT_BANDWIDTH_7MHZ = 1 << 2,
    MW_FE_ISDBT_BANDWIDTH_6MHZ = 1 << 3
};

/* For the LNB functions of mw/frontend.h: voltage, tone and position. They are no fields of
 * MW_FESETTING_T. */
enum { MW_FE_LNB_VOLTAGE_NONE = 0, MW_FE_LNB_VOLTAGE_13V = 4, MW_FE_LNB_VOLTAGE_18V = 7 };
enum { MW_FE_LNB_TONE_NONE = 0, MW_FE_LNB_TONE_CONTINUOUS = 1 };
enum { MW_FE_LNB_POSITION_UNDEFINED = 0, MW_FE_LNB_POSITION_A = 1, MW_FE_LNB_POSITION_B = 2 };

#endif /* MW_FRONTEND_VALUES_H */
