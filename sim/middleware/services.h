/* Programmes and services of a transport stream, received through section filters. */
#ifndef SIM_SERVICES_H
#define SIM_SERVICES_H

#include "sim/box.h"

/*
 * Opens filters for the PAT, each PMT that it names and the SDT, and prints what they carry.
 * Result: 0; 1 when the file is no readable transport stream with a PAT; 2 when a section of the
 * stream did not arrive whole.
 */
int show_services(const BOX_T* pt_box, const char* file);

#endif /* SIM_SERVICES_H */
