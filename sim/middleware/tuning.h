/* Scan files, tuned entry by entry on threads of the middleware's own. */
#ifndef SIM_TUNING_H
#define SIM_TUNING_H

#include <libdvbv5/dvb-sat.h>

#include "sim/box.h"
#include "sim/middleware/lnb.h"
#include "sim/middleware/report.h"

/* What the demo is asked to do, and what came of it so far. */
typedef enum { TUNED, REFUSED, NOT_EXPRESSIBLE, DIFFERENT, OUTCOMES } OUTCOME_E;
typedef struct {
    const BOX_T* pt_box;
    const struct dvb_sat_lnb* pt_lnb;
    LNB_SWITCH_T t_switch;
    int ai4_sum[OUTCOMES]; /* of transponders */
    int inputs;            /* files and streams */
    int failed;            /* of them, that could not be used */
    int faults;            /* what went otherwise than it should, besides DIFFERENT */
    /* The first transponder that was tuned: where it is from, its LNB, what Java received. */
    char example[128];
    char example_lnb[128];
    char example_received[LINE_SIZE];
} DEMO_T;

/* Scans the band of a file, tunes its transponders and prints a row. */
void tune_file(DEMO_T* pt_demo, const char* file);

#endif /* SIM_TUNING_H */
