/* The steps of tuning: scan_file.c reads the entries of a file, request.c turns them into requests,
 * and tuner.c sends these to a frontend. */
#ifndef SIM_TUNING_H
#define SIM_TUNING_H

#include <stdbool.h>

#include "mw/frontend_settings.h"
#include "sim/middleware/demo.h"

enum { FIELDS_MAX = 64, FIELD_SIZE = 32 };

/* An entry of a scan file in DVBv5 format. */
typedef struct {
    int line; /* where it begins */
    int fields;
    struct {
        char key[FIELD_SIZE];
        char value[FIELD_SIZE];
    } at_field[FIELDS_MAX];
    bool malformed; /* a field is too long or has two values, or there are too many */
} ENTRY_T;

/* The entries of a file, as an array that ends with an entry of line 0 and that the caller frees.
 * Null after a message if the file cannot be opened or is not in the format. */
ENTRY_T* entries_read(const char* file);

/* The value of an entry's field; "" if there is none. */
const char* entry_value(const ENTRY_T* pt_entry, const char* key);

/* How an LNB receives a transponder. */
typedef struct {
    const struct dvb_sat_lnb* pt_lnb;
    bool horizontal; /* or circular left */
    bool high_band;
    int32_t mhz; /* the transponder's frequency after the LNB */
} LNB_T;

/* A request and what it points to. Only satellites use the LNB. */
typedef struct {
    const char* system; /* the family, such as "DVB-S" */
    MW_FESETTING_T t_settings;
    MW_FE_DVBS_CODE_RATE_T t_code_rate;
    LNB_T t_lnb;
} REQUEST_T;

/* Fills the request for an entry. If pt_lnb is null, it takes the first LNB that reaches the
 * transponder. Result: TUNED, or why there is no request. */
OUTCOME_E request_from_entry(const ENTRY_T* pt_entry, const struct dvb_sat_lnb* pt_lnb,
                             REQUEST_T* pt_request);

/* The frequencies after an LNB that a tuner accepts. */
enum { TUNER_MHZ_MIN = 950, TUNER_MHZ_MAX = 2147 };

/* Chooses pt_lnb, or if it is null the first LNB of libdvbv5's table that receives the downlink
 * frequency. Result: false if it does not receive it, or none does. */
bool lnb_choose(const struct dvb_sat_lnb* pt_lnb, uint32_t khz, bool horizontal, LNB_T* pt_chosen);

/* Opens the LNB of a registered pipeline. Only one may be open at a time. */
bool lnb_open(uint32_t h_pipeline);

/*
 * Sets voltage, tone and position, reads them back, and switches to the first input of the switch.
 * False if a command fails, a value read back differs, or the switch does not acknowledge within
 * two seconds. Writes into text what was done.
 */
bool lnb_select(uint32_t h_pipeline, const LNB_T* pt_chosen, char* text, size_t size);

/* Scans on a registered pipeline and waits for the end. With --verbose it prints findings as they
 * arrive. False if the scan does not start, does not report 100 percent, a finding, a lock and its
 * end, or does not end within ten seconds. */
bool scan_band(unsigned int h_pipeline, MW_FESETTING_T* pt_band);

/* Reads back the settings and, in one query, every status kind that the box reports. Writes the
 * status as a line. Result: null if both are as requested; otherwise what is wrong. */
const char* readback_fault(unsigned int h_pipeline, const MW_FESETTING_T* pt_asked, char* text,
                           size_t size);

#endif /* SIM_TUNING_H */
