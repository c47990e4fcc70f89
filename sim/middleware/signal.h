/* The signal of a tuned frontend, and the settings that it says are in force. */
#ifndef SIM_SIGNAL_H
#define SIM_SIGNAL_H

#include <stdbool.h>
#include <stddef.h>

#include "mw/frontend.h"

/* Asks for every status kind in one query and writes those of the delivery system as a line, into
 * at least SIGNAL_SIZE bytes. False when the query fails, or the signal is not locked. */
enum { SIGNAL_SIZE = 512 };
bool signal_text(unsigned int h_pipeline, int32_t e_type, char* text, size_t size);

/* Whether the settings read back agree with a request. */
bool readback_agrees(unsigned int h_pipeline, const MW_FESETTING_T* pt_asked);

#endif /* SIM_SIGNAL_H */
