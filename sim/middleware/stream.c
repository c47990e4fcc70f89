#include "sim/middleware/stream.h"

#include <libdvbv5/crc32.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { PACKET = 188, SYNC = 0x47 };

bool stream_read(const char* file, STREAM_T* pt_stream) {
    *pt_stream = (STREAM_T){NULL, 0};
    FILE* in = fopen(file, "rb");
    if (in == NULL) {
        return false;
    }
    size_t room = 0;
    size_t got = 1;
    while (got > 0) {
        if (pt_stream->size == room) {
            room = room == 0 ? 1u << 20 : room * 2;
            uint8_t* bytes = realloc(pt_stream->bytes, room);
            if (bytes == NULL) {
                break;
            }
            pt_stream->bytes = bytes;
        }
        got = fread(pt_stream->bytes + pt_stream->size, 1, room - pt_stream->size, in);
        pt_stream->size += got;
    }
    const bool whole = feof(in) != 0 && ferror(in) == 0;
    fclose(in);
    if (!whole) {
        stream_free(pt_stream);
    }
    return whole;
}

void stream_free(STREAM_T* pt_stream) {
    free(pt_stream->bytes);
    *pt_stream = (STREAM_T){NULL, 0};
}

bool section_is_whole(const uint8_t* section, int length) {
    return length >= 12 && length == 3 + ((section[1] & 0x0f) << 8 | section[2]) &&
           dvb_crc32((uint8_t*)section, (size_t)length, 0xffffffff) == 0;
}

bool sections_contain(const SECTIONS_T* pt_sections, const uint8_t* section, int length) {
    for (int i = 0; i < pt_sections->count; ++i) {
        if (pt_sections->at_section[i].length == length &&
            memcmp(pt_sections->at_section[i].bytes, section, (size_t)length) == 0) {
            return true;
        }
    }
    return false;
}

bool sections_add(SECTIONS_T* pt_sections, const uint8_t* section, int length) {
    if (pt_sections->count == SECTIONS_MAX || length > SECTION_MAX ||
        sections_contain(pt_sections, section, length)) {
        return false;
    }
    SECTION_T* pt_section = &pt_sections->at_section[pt_sections->count++];
    memcpy(pt_section->bytes, section, (size_t)length);
    pt_section->length = length;
    return true;
}

/* One section, from the packet that begins it: gathers the payloads of its PID until it is
 * complete. */
static int gather(const STREAM_T* pt_stream, size_t packet, size_t offset, uint16_t pid,
                  uint8_t* section) {
    int have = 0;
    int want = 3;
    for (bool first = true; packet + PACKET <= pt_stream->size; packet += PACKET, first = false) {
        const uint8_t* p = pt_stream->bytes + packet;
        if (p[0] != SYNC) {
            return 0;
        }
        if (((p[1] & 0x1f) << 8 | p[2]) != pid || (p[3] & 0x10) == 0) {
            continue;
        }
        size_t at = first ? offset : (p[3] & 0x20 ? 5u + p[4] : 4u);
        /* In a packet that begins another section, this one's rest is what the pointer skips. */
        size_t end = PACKET;
        if (!first && (p[1] & 0x40) != 0 && at < PACKET) {
            end = at + 1 + p[at] < PACKET ? at + 1 + p[at] : PACKET;
            ++at;
        }
        for (; at < end && have < want; ++at) {
            section[have++] = p[at];
            if (have == 3) {
                want = 3 + ((section[1] & 0x0f) << 8 | section[2]);
                if (want > SECTION_MAX) {
                    return 0;
                }
            }
        }
        if (have == want) {
            return have;
        }
        if (!first && (p[1] & 0x40) != 0) {
            return 0;
        }
    }
    return 0;
}

void stream_sections(const STREAM_T* pt_stream, uint16_t pid, uint8_t table,
                     SECTIONS_T* pt_sections) {
    pt_sections->count = 0;
    size_t packet = 0;
    while (packet + PACKET <= pt_stream->size) {
        const uint8_t* p = pt_stream->bytes + packet;
        if (p[0] != SYNC) {
            ++packet;
            continue;
        }
        size_t at = p[3] & 0x20 ? 5u + p[4] : 4u;
        if (((p[1] & 0x1f) << 8 | p[2]) == pid && (p[1] & 0x40) != 0 && (p[3] & 0x10) != 0 &&
            at < PACKET) {
            /* Several sections may begin in one packet, one behind the other. */
            at += 1u + p[at];
            while (at < PACKET && p[at] != 0xff) {
                uint8_t section[SECTION_MAX];
                const int length = gather(pt_stream, packet, at, pid, section);
                if (length == 0) {
                    break;
                }
                if (section[0] == table && section_is_whole(section, length)) {
                    sections_add(pt_sections, section, length);
                }
                at += (size_t)length;
            }
        }
        packet += PACKET;
    }
}
