/* What a transport stream holds, as libdvbpsi tells it: what the section filters must deliver. */
#ifndef SIM_STREAM_H
#define SIM_STREAM_H

#include <stdbool.h>
#include <stdint.h>

enum { SECTION_MAX = 4096 };

typedef struct {
    uint8_t bytes[SECTION_MAX];
    int length;
    bool in_stream;
} SECTION_T;

typedef struct {
    SECTION_T* at_section; /* grows as it must */
    int count;
} SECTIONS_T;

/* What is received of a stream. */
typedef struct {
    const char* file;
    uint32_t h_pipeline;
    uint32_t hthread;
    int different;  /* sections that did not arrive as the stream has them */
    int damaged;    /* that arrived as they are in the stream, with a wrong CRC */
    int programmes; /* of the PAT */
    int lacking;    /* of them, that have no PMT */
    /* The sections that were received last, and of which table on which PID they are, with a table
     * id extension or -1 for any. */
    uint16_t pid;
    uint8_t table;
    int extension;
    SECTIONS_T* pt_received;
    /* Of the stream, and of them those that are cut short, have no sync byte or are marked as
     * erroneous. */
    long packets;
    long skipped;
} RECEPTION_T;

/* Says and counts which whole sections of the stream were not received, and the other way round;
 * counts the packets. */
void stream_compare(RECEPTION_T* pt_reception);

/* Whether a section is whole: its length and its CRC. */
bool section_is_whole(const uint8_t* section, int length);

/* Adds a section that is not there yet. */
void section_add(SECTIONS_T* pt_sections, const uint8_t* section, int length);

/* Whether a section is in force: the stream does not announce it for later, and no newer version of
 * its table follows. */
bool section_is_current(const SECTIONS_T* pt_sections, int index);

#endif /* SIM_STREAM_H */
