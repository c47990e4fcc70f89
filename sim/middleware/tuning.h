/* The steps of tuning: scan_file.c reads a file's entries, request.c makes requests of them, and
 * tuner.c works a frontend with these. */
#ifndef SIM_TUNING_H
#define SIM_TUNING_H

#include <stdbool.h>

#include "mw/frontend_settings.h"
#include "sim/middleware/demo.h"

enum { FIELDS_MAX = 64, FIELD_SIZE = 32 };

/* Of a scan file in DVBv5 format. */
typedef struct {
    int line; /* where it begins */
    int fields;
    struct {
        char key[FIELD_SIZE];
        char value[FIELD_SIZE];
    } at_field[FIELDS_MAX];
    bool malformed; /* a field comes twice and differs, or is too long */
} ENTRY_T;

/* The entries of a file, up to one with line 0, as an array to be freed; null, told why, when it
 * cannot be opened, has a line that is not in the format, or no entry. */
ENTRY_T* entries_read(const char* file);

/* The value of an entry's field; "" for none. */
const char* entry_value(const ENTRY_T* pt_entry, const char* key);

/* An LNB as it receives a transponder. */
typedef struct {
    const struct dvb_sat_lnb* pt_lnb;
    bool horizontal; /* or circular left */
    bool high_band;
    int32_t mhz; /* of the transponder after the LNB */
} LNB_T;

/* A request and what it borrows; the LNB is a satellite's. */
typedef struct {
    const char* system; /* the family: "DVB-S" */
    MW_FESETTING_T t_settings;
    MW_FE_DVBS_CODE_RATE_T t_code_rate;
    LNB_T t_lnb;
} REQUEST_T;

/* Fills the request of an entry, for an LNB or, when pt_lnb is null, the first that reaches it.
 * Result: TUNED, or why it cannot. */
OUTCOME_E request_from_entry(const ENTRY_T* pt_entry, const struct dvb_sat_lnb* pt_lnb,
                             REQUEST_T* pt_request);

/* What a tuner takes behind an LNB. */
enum { TUNER_MHZ_MIN = 950, TUNER_MHZ_MAX = 2147 };

/* Chooses the first LNB of libdvbv5's table that receives a downlink frequency, or only tries
 * pt_lnb. Result: false when there is none. */
bool lnb_choose(const struct dvb_sat_lnb* pt_lnb, uint32_t khz, bool horizontal, LNB_T* pt_chosen);

/* Opens the LNB of a registered pipeline; one at a time. */
bool lnb_open(uint32_t h_pipeline);

/*
 * Sets voltage, tone and position, reads them back, and switches to the first input of the switch.
 * False when one of the commands fails, a value is read back otherwise, or the switch does not
 * acknowledge within two seconds. Says in text what was done.
 */
bool lnb_select(uint32_t h_pipeline, const LNB_T* pt_chosen, char* text, size_t size);

/* Scans on a registered pipeline, says with --verbose what it finds as it arrives, and waits for
 * the end. False when the scan does not start, does not report progress up to 100, a finding, a
 * lock and its end, or reports nothing for ten seconds. */
bool scan_band(unsigned int h_pipeline, MW_FESETTING_T* pt_band);

/* Reads the settings back, and in one query every status kind that the box reports, which it writes
 * as a line. Result: null when both are what was asked for; otherwise what is wrong. */
const char* readback_fault(unsigned int h_pipeline, const MW_FESETTING_T* pt_asked, char* text,
                           size_t size);

#endif /* SIM_TUNING_H */
