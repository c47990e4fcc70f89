/* Scan files in DVBv5 format: their entries, and the tuning requests that these make. */
#ifndef SIM_REQUEST_H
#define SIM_REQUEST_H

#include <stdbool.h>
#include <stdio.h>

#include "mw/frontend_settings.h"
#include "sim/middleware/demo.h"
#include "sim/middleware/tuner.h"

enum { FIELDS_MAX = 64, FIELD_SIZE = 32 };

typedef struct {
    int line; /* where it begins */
    int fields;
    struct {
        char key[FIELD_SIZE];
        char value[FIELD_SIZE];
    } at_field[FIELDS_MAX];
    bool malformed; /* a field comes twice and differs, or is too long */
} ENTRY_T;

/* A file that is being read: begins with zeros and the open file, and ends with a free of the line. */
typedef struct {
    FILE* in;
    char* line;
    size_t size;
    int number;        /* of the line */
    int begun;         /* the line where the next entry begins */
    const char* fault; /* what makes the line unusable; null: nothing */
} SCAN_FILE_T;

/* Reads the next entry; false at the end and at a line that is not in the format. */
bool scan_file_next(SCAN_FILE_T* pt_file, ENTRY_T* pt_entry);

/* The value of an entry's field; "" for none. */
const char* entry_value(const ENTRY_T* pt_entry, const char* key);

/* A request and what it borrows; the LNB is a satellite's. */
typedef struct {
    MW_FESETTING_T t_settings;
    MW_FE_DVBS_CODE_RATE_T t_code_rate;
    LNB_T t_lnb;
} REQUEST_T;

/* Fills the request of an entry, for an LNB or, when pt_lnb is null, the first that reaches it.
 * Result: TUNED, or why it cannot. */
OUTCOME_E request_from_entry(const ENTRY_T* pt_entry, const struct dvb_sat_lnb* pt_lnb,
                             REQUEST_T* pt_request);

/* The family of an entry's delivery system: "DVB-S". */
const char* entry_system(const ENTRY_T* pt_entry);

#endif /* SIM_REQUEST_H */
