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
    uint8_t* bytes;
    size_t size;
} STREAM_T;

/* Reads a whole file; false when it cannot be read. */
bool stream_read(const char* file, STREAM_T* pt_stream);
void stream_free(STREAM_T* pt_stream);

/* The different sections of a table on a PID whose CRC is right. */
void stream_sections(const STREAM_T* pt_stream, uint16_t pid, uint8_t table,
                     SECTIONS_T* pt_sections);

/* Whether a section is whole: its length and its CRC. */
bool section_is_whole(const uint8_t* section, int length);

/* Adds a section that is not there yet; false when it was, or there is no room. */
bool sections_add(SECTIONS_T* pt_sections, const uint8_t* section, int length);
bool sections_contain(const SECTIONS_T* pt_sections, const uint8_t* section, int length);

#endif /* SIM_STREAM_H */
