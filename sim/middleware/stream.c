#include "sim/middleware/stream.h"

#include <libdvbv5/crc32.h>
#include <stdio.h>
#include <string.h>

/* These need the includes above, in this order. */
#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/psi.h>

#include "sim/middleware/support.h"

enum { PACKET = 188, SYNC = 0x47, ERRONEOUS = 0x80, SAID_MAX = 10 };

/* Fields in the header of a table's section. */
#define EXTENSION(section) ((section)[3] << 8 | (section)[4])
#define VERSION(section) ((section)[5] >> 1 & 0x1f)
#define IS_CURRENT(section) (((section)[5] & 1) != 0)

/* Reads the next packet that is not to be skipped. */
static bool next_packet(FILE* in, uint8_t* packet, RECEPTION_T* pt_reception) {
    for (size_t got; (got = fread(packet, 1, PACKET, in)) > 0;) {
        ++pt_reception->packets;
        if (got == PACKET && packet[0] == SYNC && (packet[1] & ERRONEOUS) == 0) {
            return true;
        }
        ++pt_reception->skipped;
    }
    return false;
}

bool section_is_whole(const uint8_t* section, int length) {
    return length >= 12 && length == 3 + ((section[1] & 0x0f) << 8 | section[2]) &&
           dvb_crc32((uint8_t*)section, (size_t)length, 0xffffffff) == 0;
}

static SECTION_T* section_find(SECTIONS_T* pt_sections, const uint8_t* section, int length) {
    for (int i = 0; i < pt_sections->count; ++i) {
        if (pt_sections->at_section[i].length == length &&
            memcmp(pt_sections->at_section[i].bytes, section, (size_t)length) == 0) {
            return &pt_sections->at_section[i];
        }
    }
    return NULL;
}

void section_add(SECTIONS_T* pt_sections, const uint8_t* section, int length) {
    if (section_find(pt_sections, section, length) == NULL) {
        pt_sections->at_section =
            grown(pt_sections->at_section, (size_t)pt_sections->count + 1, sizeof(SECTION_T));
        SECTION_T* pt_section = &pt_sections->at_section[pt_sections->count++];
        memcpy(pt_section->bytes, section, (size_t)length);
        pt_section->length = length;
        pt_section->in_stream = false;
    }
}

bool section_is_current(const SECTIONS_T* pt_sections, int index) {
    const SECTION_T* pt_section = &pt_sections->at_section[index];
    const SECTION_T* pt_last = &pt_sections->at_section[pt_sections->count - 1];
    while (EXTENSION(pt_last->bytes) != EXTENSION(pt_section->bytes) ||
           !IS_CURRENT(pt_last->bytes)) {
        if (--pt_last < pt_section) {
            return false;
        }
    }
    return IS_CURRENT(pt_section->bytes) && VERSION(pt_last->bytes) == VERSION(pt_section->bytes);
}

/* A stream may repeat a fault often, so only the first ones are shown without --verbose. */
static void differs(RECEPTION_T* pt_reception, const char* how, int length) {
    say(pt_reception->different++ < SAID_MAX ? RESULT : DETAIL,
        "  section    %s: PID %u, table 0x%02x, %d bytes", how, pt_reception->pid,
        pt_reception->table, length);
}

static void compare(dvbpsi_t* pt_dvbpsi, dvbpsi_psi_section_t* pt_section) {
    RECEPTION_T* pt_reception = pt_dvbpsi->p_sys;
    const uint8_t* section = pt_section->p_data;
    const int length = 3 + pt_section->i_length;
    if (section[0] == pt_reception->table && section_is_whole(section, length) &&
        (pt_reception->extension < 0 || EXTENSION(section) == pt_reception->extension)) {
        SECTION_T* pt_received = section_find(pt_reception->pt_received, section, length);
        if (pt_received != NULL) {
            pt_received->in_stream = true;
        } else {
            differs(pt_reception, "MISSING", length);
        }
    }
    dvbpsi_DeletePSISections(pt_section);
}

/* Passes a packet on. If an earlier section has lost packets, libdvbpsi would fill it with the
 * bytes of the section that begins here, so the incomplete one is dropped first. */
static void push(dvbpsi_t* pt_dvbpsi, uint8_t* packet) {
    const int payload = (packet[3] & 0x20) != 0 ? 5 + packet[4] : 4;
    dvbpsi_decoder_t* pt_decoder = pt_dvbpsi->p_decoder;
    if ((packet[1] & 0x40) != 0 && (packet[3] & 0x0f) != pt_decoder->i_continuity_counter &&
        payload < PACKET && pt_decoder->p_current_section != NULL &&
        pt_decoder->i_need > packet[payload]) {
        dvbpsi_DeletePSISections(pt_decoder->p_current_section);
        pt_decoder->p_current_section = NULL;
    }
    dvbpsi_packet_push(pt_dvbpsi, packet);
}

void stream_compare(RECEPTION_T* pt_reception) {
    FILE* in = input_open(pt_reception->file);
    dvbpsi_t* pt_dvbpsi = dvbpsi_new(NULL, DVBPSI_MSG_NONE);
    dvbpsi_decoder_t* pt_decoder =
        dvbpsi_decoder_new(compare, SECTION_MAX, false, sizeof(dvbpsi_decoder_t));
    if (in != NULL && pt_dvbpsi != NULL && pt_decoder != NULL) {
        uint8_t packet[PACKET];
        pt_dvbpsi->p_sys = pt_reception;
        pt_dvbpsi->p_decoder = pt_decoder;
        pt_reception->packets = pt_reception->skipped = 0;
        while (next_packet(in, packet, pt_reception)) {
            if (((packet[1] & 0x1f) << 8 | packet[2]) == pt_reception->pid) {
                push(pt_dvbpsi, packet);
            }
        }
        pt_dvbpsi->p_decoder = NULL;
        dvbpsi_decoder_delete(pt_decoder);
        dvbpsi_delete(pt_dvbpsi);
        fclose(in);
    }
    for (int i = 0; i < pt_reception->pt_received->count; ++i) {
        if (!pt_reception->pt_received->at_section[i].in_stream) {
            differs(pt_reception, "NOT IN THE STREAM",
                    pt_reception->pt_received->at_section[i].length);
        }
    }
}
