/* What the demo is asked to do, what came of it so far, and its two parts. */
#ifndef SIM_DEMO_H
#define SIM_DEMO_H

#include <libdvbv5/dvb-sat.h>

#include "sim/box.h"

/* What came of a transponder; from NO_LNB on, why its entry makes no request. */
typedef enum { TUNED, REFUSED, DIFFERENT, NO_LNB, NO_FIT, NO_FIELD, NO_SYSTEM, OUTCOMES } OUTCOME_E;

typedef struct {
    const BOX_T* pt_box;
    char** files;                     /* scan files, up to a null */
    const char* stream;               /* null: none */
    const struct dvb_sat_lnb* pt_lnb; /* null: the first that reaches a transponder */
    int ai4_sum[OUTCOMES];            /* of transponders */
    int rows;                         /* of the table of scan files */
    int inputs;                       /* files and streams */
    int failed; /* of them, that cannot be used, or lack what is to be tuned or received */
    int faults; /* what went otherwise than it should, besides DIFFERENT */
    char example[3][1024]; /* the first that was tuned: its name, its LNB, what Java received */
} DEMO_T;

/* Scans the band of a file, tunes its transponders and prints a row. */
void tune_file(DEMO_T* pt_demo, const char* file);

/* Sums up why entries make no request, as a line that begins with a label, when there are any.
 * Result: how many. */
int show_reasons(const char* label, const int* pi4_sum);

/* Opens filters for the PAT, the SDT and each PMT of a stream, prints what they carry, and counts
 * as a fault each section that did not arrive whole. The file has failed when it has no programme,
 * or not the PMT of each. */
void show_services(DEMO_T* pt_demo, const char* file);

#endif /* SIM_DEMO_H */
