/* What a transport stream holds, read from its file: what the section filters must deliver. */
#ifndef SIM_STREAM_H
#define SIM_STREAM_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

enum { SECTION_MAX = 4096, SECTIONS_MAX = 256 };

typedef struct {
    uint8_t bytes[SECTION_MAX];
    int length;
} SECTION_T;

typedef struct {
    SECTION_T at_section[SECTIONS_MAX];
    int count;
} SECTIONS_T;

typedef struct {
    const uint8_t* bytes;
    size_t size;
} STREAM_T;

/* Sections of a table on a PID; with a table id extension, or -1 for any. */
typedef struct {
    uint16_t pid;
    uint8_t table;
    int extension;
} WANTED_T;

/* Opens a file of 188-byte packets; says on standard error why it cannot. */
bool stream_open(const char* file, STREAM_T* pt_stream);
void stream_close(STREAM_T* pt_stream);

/* The different sections that are wanted and whose CRC is right, in the order of the stream. */
void stream_sections(const STREAM_T* pt_stream, const WANTED_T* pt_wanted, SECTIONS_T* pt_sections);

/* Whether a section is whole: its length and its CRC. */
bool section_is_whole(const uint8_t* section, int length);

/* Adds a section that is not there yet; false when it was, or there is no room. */
bool sections_add(SECTIONS_T* pt_sections, const uint8_t* section, int length);
bool sections_contain(const SECTIONS_T* pt_sections, const uint8_t* section, int length);

/* Whether a section is in force: the stream does not announce it for later, and no newer version of
 * its table follows. */
bool section_is_current(const SECTIONS_T* pt_sections, int index);

#endif /* SIM_STREAM_H */
