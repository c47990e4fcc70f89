/* What a transport stream holds, as libdvbpsi tells it: what the section filters must deliver. */
#ifndef SIM_STREAM_H
#define SIM_STREAM_H

#include <stdbool.h>
#include <stdint.h>

enum { SECTION_MAX = 4096, SECTIONS_MAX = 256 };

typedef struct {
    uint8_t bytes[SECTION_MAX];
    int length;
    bool in_stream;
} SECTION_T;

typedef struct {
    SECTION_T at_section[SECTIONS_MAX];
    int count;
    bool full; /* there was no room for others */
} SECTIONS_T;

/* Sections of a table on a PID, as they were received, with a table id extension or -1 for any; then
 * how many differ, and how many packets of the stream were skipped: those that are cut short, have no sync
 * byte or are marked as erroneous. */
typedef struct {
    uint16_t pid;
    uint8_t table;
    int extension;
    SECTIONS_T* pt_received;
    int different;
    long packets;
    long skipped;
} COMPARISON_T;

/* Whether a file has packets of 188 bytes; says on standard error why it cannot be used. */
bool stream_check(const char* file);

/* Says and counts which whole sections of the stream were not received, and the other way round. */
void stream_compare(const char* file, COMPARISON_T* pt_comparison);

/* Whether a section is whole: its length and its CRC. */
bool section_is_whole(const uint8_t* section, int length);

/* Adds a section that is not there yet. */
void section_add(SECTIONS_T* pt_sections, const uint8_t* section, int length);

/* Whether a section is in force: the stream does not announce it for later, and no newer version of
 * its table follows. */
bool section_is_current(const SECTIONS_T* pt_sections, int index);

#endif /* SIM_STREAM_H */
