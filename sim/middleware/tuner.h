/* A frontend: its LNB, a scan with it, and what it says of itself. */
#ifndef SIM_TUNER_H
#define SIM_TUNER_H

#include <libdvbv5/dvb-sat.h>
#include <stdbool.h>
#include <stddef.h>

#include "mw/frontend.h"

/* What a tuner takes behind an LNB. */
enum { TUNER_MHZ_MIN = 950, TUNER_MHZ_MAX = 2147 };

/* An LNB as it receives a transponder. */
typedef struct {
    const struct dvb_sat_lnb* pt_lnb;
    bool horizontal; /* or circular left */
    bool high_band;
    int32_t mhz; /* of the transponder after the LNB */
} LNB_T;

/* Chooses the first LNB of libdvbv5's table that receives a downlink frequency, or only tries
 * pt_lnb. Result: false when there is none. */
bool lnb_choose(const struct dvb_sat_lnb* pt_lnb, uint32_t khz, bool horizontal, LNB_T* pt_chosen);

/* Opens the LNB of a registered pipeline; one at a time. */
bool lnb_open(uint32_t h_pipeline);

/*
 * Sets voltage, tone and position, reads them back, and switches to the first input of the switch. False
 * when one of the commands fails, a value is read back otherwise, or the switch does not acknowledge
 * within two seconds. Says in text what was done.
 */
bool lnb_select(uint32_t h_pipeline, const LNB_T* pt_chosen, char* text, size_t size);

/* Scans on a registered pipeline, says with --verbose what it finds as it arrives, and waits for the
 * end. False when the scan does not start, does not report progress up to 100, a finding, a lock
 * and its end, or reports nothing for ten seconds. */
bool scan_band(unsigned int h_pipeline, MW_FESETTING_T* pt_band);

/* Reads the settings back, and in one query every status kind that the box reports, which it writes as a
 * line. Result: null when both are what was asked for; otherwise what is wrong. */
const char* readback_fault(unsigned int h_pipeline, const MW_FESETTING_T* pt_asked, char* text,
                           size_t size);

#endif /* SIM_TUNER_H */
