/* The demo's options and results so far, and its two parts. */
#ifndef SIM_DEMO_H
#define SIM_DEMO_H

#include <libdvbv5/dvb-sat.h>

#include "sim/box.h"

/* The result for a transponder; from NO_LNB on, why its entry makes no request. */
typedef enum { TUNED, REFUSED, DIFFERENT, NO_LNB, NO_FIT, NO_FIELD, NO_SYSTEM, OUTCOMES } OUTCOME_E;

typedef struct {
    const BOX_T* pt_box;
    char** files;                     /* scan files, then a null */
    const char* stream;               /* null if there is none */
    const struct dvb_sat_lnb* pt_lnb; /* null: the first that reaches the transponder */
    int ai4_sum[OUTCOMES];            /* of transponders */
    int rows;                         /* of the table of scan files */
    int inputs;                       /* files and streams */
    int failed;                       /* those that cannot be used, tune nothing or lack services */
    int faults;                       /* everything else that went wrong, besides DIFFERENT */
    char example[3][1024];            /* of the first one tuned: name, LNB, what Java received */
} DEMO_T;

/* Scans the band of a file, tunes its transponders and prints a row. */
void tune_file(DEMO_T* pt_demo, const char* file);

/* If some entries make no request, prints a line that begins with the label and counts them by
 * reason. Result: how many they are. */
int show_reasons(const char* label, const int* pi4_sum);

/* Opens filters for the PAT, the SDT and each PMT of a stream and prints what they carry. Each
 * section that did not arrive whole counts as a fault. The file has failed if it has no programme,
 * or lacks the PMT of one. */
void show_services(DEMO_T* pt_demo, const char* file);

#endif /* SIM_DEMO_H */
