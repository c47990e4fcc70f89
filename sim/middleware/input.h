/* Files that the user names. Each function says on standard error why it cannot use one. */
#ifndef SIM_INPUT_H
#define SIM_INPUT_H

#include <libdvbv5/dvb-file.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

/* The frequency that an entry gets of which a number does not fit into a settings record. */
#define FREQUENCY_DOES_NOT_FIT UINT32_MAX

/* Opens a regular file and tells its size; null when it cannot. */
FILE* input_open(const char* file, size_t* pz_size);

/* Reads a scan file that has entries; null when it cannot. To be freed with dvb_file_free. */
struct dvb_file* input_scan_file(const char* file);

#endif /* SIM_INPUT_H */
