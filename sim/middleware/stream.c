#include "sim/middleware/stream.h"

#include <errno.h>
#include <libdvbv5/crc32.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>

#include "sim/middleware/input.h"
#include "sim/middleware/report.h"

enum { PACKET = 188, SYNC = 0x47, STREAM_MAX = 1 << 30 };

/* Of the header that the sections of a table have. */
#define EXTENSION(section) ((section)[3] << 8 | (section)[4])
#define VERSION(section) ((section)[5] >> 1 & 0x1f)
#define IS_CURRENT(section) (((section)[5] & 1) != 0)

bool stream_open(const char* file, STREAM_T* pt_stream) {
    *pt_stream = (STREAM_T){NULL, 0};
    size_t size = 0;
    FILE* in = input_open(file, &size);
    if (in == NULL) {
        return false;
    }
    if (size == 0 || size > STREAM_MAX || size % PACKET != 0) {
        say(PROBLEM, "%s: %zu bytes are not 1 to %d packets of %d bytes", file, size,
            STREAM_MAX / PACKET, PACKET);
    } else {
        void* bytes = mmap(NULL, size, PROT_READ, MAP_PRIVATE, fileno(in), 0);
        if (bytes == MAP_FAILED) {
            say(PROBLEM, "%s: %s", file, strerror(errno));
        } else {
            *pt_stream = (STREAM_T){bytes, size};
        }
    }
    fclose(in);
    for (size_t at = 0; at < pt_stream->size; at += PACKET) {
        if (pt_stream->bytes[at] != SYNC) {
            say(PROBLEM, "%s: no packet of a transport stream begins at byte %zu", file, at);
            stream_close(pt_stream);
        }
    }
    return pt_stream->bytes != NULL;
}

void stream_close(STREAM_T* pt_stream) {
    if (pt_stream->bytes != NULL) {
        munmap((void*)pt_stream->bytes, pt_stream->size);
    }
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

bool section_is_current(const SECTIONS_T* pt_sections, int index) {
    const uint8_t* section = pt_sections->at_section[index].bytes;
    int version = VERSION(section);
    for (int i = index; i < pt_sections->count; ++i) {
        const uint8_t* later = pt_sections->at_section[i].bytes;
        if (EXTENSION(later) == EXTENSION(section) && IS_CURRENT(later)) {
            version = VERSION(later);
        }
    }
    return IS_CURRENT(section) && version == VERSION(section);
}

/* The packet's payload as an offset into it; PACKET when it has none, or is of another PID. */
static size_t payload_of(const uint8_t* packet, uint16_t pid) {
    if (((packet[1] & 0x1f) << 8 | packet[2]) != pid || (packet[3] & 0x10) == 0) {
        return PACKET;
    }
    const size_t at = packet[3] & 0x20 ? 5u + packet[4] : 4u;
    return at < PACKET ? at : PACKET;
}

static bool begins_section(const uint8_t* packet) {
    return (packet[1] & 0x40) != 0;
}

/* One section, from the offset in the packet that begins it: gathers the payloads of its PID until
 * it is complete. Returns its length; 0 for none. */
static int gather(const STREAM_T* pt_stream, size_t packet, size_t offset, uint16_t pid,
                  uint8_t* section) {
    int have = 0;
    int want = 3;
    const uint8_t* previous = pt_stream->bytes + packet;
    for (bool first = true; packet < pt_stream->size; packet += PACKET, first = false) {
        const uint8_t* p = pt_stream->bytes + packet;
        size_t at = first ? offset : payload_of(p, pid);
        /* A packet may be sent twice. */
        if (at >= PACKET || (!first && memcmp(p, previous, PACKET) == 0)) {
            continue;
        }
        previous = p;
        /* In a packet that begins another section, this one's rest is what the pointer skips. */
        size_t end = PACKET;
        if (!first && begins_section(p)) {
            end = at + 1 + p[at] < PACKET ? at + 1 + p[at] : PACKET;
            ++at;
        }
        for (; at < end && have < want; ++at) {
            section[have++] = p[at];
            if (have == 3) {
                want = 3 + ((section[1] & 0x0f) << 8 | section[2]);
            }
        }
        if (have == want) {
            return have;
        }
        if (!first && begins_section(p)) {
            return 0;
        }
    }
    return 0;
}

void stream_sections(const STREAM_T* pt_stream, const WANTED_T* pt_wanted,
                     SECTIONS_T* pt_sections) {
    pt_sections->count = 0;
    for (size_t packet = 0; packet < pt_stream->size; packet += PACKET) {
        const uint8_t* p = pt_stream->bytes + packet;
        size_t at = payload_of(p, pt_wanted->pid);
        if (at >= PACKET || !begins_section(p)) {
            continue;
        }
        /* Several sections may begin in one packet, one behind the other. */
        at += 1u + p[at];
        while (at < PACKET && p[at] != 0xff) {
            uint8_t section[3 + 0xfff];
            const int length = gather(pt_stream, packet, at, pt_wanted->pid, section);
            if (length == 0) {
                break;
            }
            if (section[0] == pt_wanted->table && section_is_whole(section, length) &&
                (pt_wanted->extension < 0 || EXTENSION(section) == pt_wanted->extension)) {
                sections_add(pt_sections, section, length);
            }
            at += (size_t)length;
        }
    }
}
