/* Services of a transport stream, received through section filters. */
#ifndef SIM_SERVICES_H
#define SIM_SERVICES_H

#include "sim/middleware/tuning.h"

/* Opens filters for the PAT, the SDT and each PMT, prints what they carry, and counts as a fault each
 * section of the stream that did not arrive whole. */
void show_services(DEMO_T* pt_demo, const char* file);

#endif /* SIM_SERVICES_H */
