/* A scan over a band, as its events tell it. */
#ifndef SIM_SCAN_H
#define SIM_SCAN_H

#include <stdbool.h>

#include "mw/frontend.h"

/*
 * Scans on a registered pipeline, reports progress and findings as they arrive, and waits for the
 * end. False when the scan does not start, or does not report progress up to 100, a
 * frequency, a lock and its end within ten seconds.
 */
bool scan_band(unsigned int h_pipeline, MW_FESETTING_T* pt_band);

#endif /* SIM_SCAN_H */
