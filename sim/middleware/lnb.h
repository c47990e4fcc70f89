/* The LNB of a pipeline and the switch in front of it. */
#ifndef SIM_LNB_H
#define SIM_LNB_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/* Which of the four inputs of a committed switch; 0 or 1 each. */
typedef struct {
    int option;
    int position;
} LNB_SWITCH_T;

/* Opens and closes the LNB of a registered pipeline. */
bool lnb_open(uint32_t h_pipeline);
void lnb_close(uint32_t h_pipeline);

/*
 * Sets voltage and tone for a polarisation and a band, reads them back, and switches. False when
 * one of the commands fails, a value is read back otherwise, or the switch does not acknowledge
 * within two seconds.
 */
bool lnb_select(uint32_t h_pipeline, bool horizontal, bool high_band, const LNB_SWITCH_T* pt_switch,
                char* text, size_t size);

#endif /* SIM_LNB_H */
