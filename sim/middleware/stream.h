/* The sections that libdvbpsi finds in a transport stream: what section filters must deliver. */
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
    SECTION_T* at_section; /* grows as needed */
    int count;
} SECTIONS_T;

/* The reception of a stream. */
typedef struct {
    const char* file;
    uint32_t h_pipeline;
    uint32_t hthread;
    int different;  /* sections that did not arrive as they are in the stream */
    int damaged;    /* sections that arrived unchanged, but have a wrong CRC in the stream */
    int programmes; /* in the PAT */
    int lacking;    /* programmes without a PMT */
    /* The sections that were received last, and their PID, table id and table id extension; -1
     * stands for any extension. */
    uint16_t pid;
    uint8_t table;
    int extension;
    SECTIONS_T* pt_received;
    /* All packets of the stream, and those that are cut short, have no sync byte or are marked as
     * erroneous. */
    long packets;
    long skipped;
} RECEPTION_T;

/* Prints and counts whole sections of the stream that were not received, and received sections
 * that are not in the stream. Counts the packets. */
void stream_compare(RECEPTION_T* pt_reception);

/* Whether a section is whole, by its length and its CRC. */
bool section_is_whole(const uint8_t* section, int length);

/* Adds a section unless it is there already. */
void section_add(SECTIONS_T* pt_sections, const uint8_t* section, int length);

/* Whether a section is in force: it is not marked for later use, and no newer version of its table
 * follows. */
bool section_is_current(const SECTIONS_T* pt_sections, int index);

#endif /* SIM_STREAM_H */
