/* Services of a transport stream, received through section filters. */
#include <stdatomic.h>
#include <string.h>

#include "mw/filter.h"
#include "sim/middleware/demo.h"
#include "sim/middleware/stream.h"
#include "sim/middleware/support.h"

enum { PID_PAT = 0x00, PID_SDT = 0x11, TABLE_PAT = 0x00, TABLE_PMT = 0x02, TABLE_SDT = 0x42 };
enum { PAT_HEADER = 8, PAT_PROGRAMME = 4, PMT_HEADER = 12, PMT_STREAM = 5, CRC = 4 };
enum { SDT_HEADER = 11, SDT_SERVICE = 5, SERVICE_DESCRIPTOR = 0x48 };
enum { FILTER_BUFFER = 64 * 1024, PATIENCE_SECONDS = 300, NAME_COLUMNS = 40 };

enum { PID = 0x1fff, LENGTH = 0x0fff, NUMBER = 0xffff };

static uint16_t bits(const uint8_t* bytes, int mask) {
    return (uint16_t)((bytes[0] << 8 | bytes[1]) & mask);
}

/* The tag of the filter whose stream has been played to its end. Every filter has its own tag,
 * because an event may come after the filter was closed. */
static atomic_uintptr_t g_ended;

static void on_section(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, FLT_EVT_DATA_T* pt_data,
                       void* pv_tag) {
    event_noted();
}

static void on_status(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, int32_t i4_status, void* pv_tag) {
    if (i4_status == BOX_STATUS_END_OF_STREAM) {
        atomic_store(&g_ended, (uintptr_t)pv_tag);
        event_noted();
    }
}

/* Takes the sections of a started filter until the stream ends. */
static void take_sections(RECEPTION_T* pt_reception, uint32_t hfilter, uintptr_t tag) {
    for (;;) {
        const bool ended = atomic_load(&g_ended) == tag; /* before the last read */
        int8_t section[FLT_MAX_READ_SIZE];
        const int length = x_velmora_filter_read(hfilter, section, 0, sizeof(section));
        if (length > 0 && section_is_whole((uint8_t*)section, length)) {
            section_add(pt_reception->pt_received, (uint8_t*)section, length);
        } else if (length > 0) {
            ++pt_reception->damaged;
        } else if (ended || !event_wait(PATIENCE_SECONDS)) {
            return;
        }
    }
}

/* Receives sections through a filter of their own, and compares them with those of the stream. */
static void receive(RECEPTION_T* pt_reception, uint16_t pid, uint8_t table, int extension,
                    SECTIONS_T* pt_received) {
    static uintptr_t tag;
    FLT_EVT_CB_T evt = {.h_cb_thread = pt_reception->hthread};
    uint8_t pattern[FLT_PATTERN_SIZE] = {table, (uint8_t)(extension >> 8), (uint8_t)extension};
    uint8_t mask[FLT_PATTERN_SIZE] = {0xff};
    uint8_t mode[FLT_PATTERN_SIZE] = {0};
    uint32_t hfilter = 0;
    mask[1] = mask[2] = extension < 0 ? 0 : 0xff;
    pt_received->count = 0;
    pt_reception->pid = pid;
    pt_reception->table = table;
    pt_reception->extension = extension;
    pt_reception->pt_received = pt_received;
    if (x_velmora_filter_open(pt_reception->h_pipeline, BOX_FILTER_MAIN_TS, BOX_FILTER_SUB_SECTION,
                              FILTER_BUFFER, &hfilter, &evt, (void*)++tag) == 0) {
        if (x_velmora_filter_setSectionConfig(hfilter, pid, 0, 0, 0, pattern, mask, mode) == 0 &&
            x_velmora_filter_flush(hfilter) == 0 && x_velmora_filter_start(hfilter) == 0) {
            take_sections(pt_reception, hfilter, tag);
            x_velmora_filter_stop(hfilter);
        }
        x_velmora_filter_close(hfilter);
    }
    stream_compare(pt_reception);
}

/* Appends the name and the provider of a service descriptor. Result: the columns they take. */
static int append_names(char* text, size_t size, const uint8_t* descriptor, int length) {
    const int provider = length > 1 ? descriptor[1] : 0;
    const int at = 2 + provider; /* where the name's length is */
    if (at >= length || at + 1 + descriptor[at] > length) {
        return 0;
    }
    int columns = append_name(text, size, descriptor + at + 1, descriptor[at]);
    if (provider > 0) {
        append(text, size, " (");
        columns += 3 + append_name(text, size, descriptor + 2, (size_t)provider);
        append(text, size, ")");
    }
    return columns;
}

/* Appends the SDT's name of a service. Result: the columns it takes, 0 if there is none. */
static int append_service(char* text, size_t size, const SECTIONS_T* pt_sdt, uint16_t service) {
    int columns = 0;
    for (int i = 0; i < pt_sdt->count && columns == 0; ++i) {
        const uint8_t* section = pt_sdt->at_section[i].bytes;
        const int end = section_is_current(pt_sdt, i) ? pt_sdt->at_section[i].length - CRC : 0;
        int next;
        for (int at = SDT_HEADER; at + SDT_SERVICE <= end; at = next) {
            next = at + SDT_SERVICE + bits(section + at + 3, LENGTH);
            int length;
            for (int d = at + SDT_SERVICE; d + 2 <= next && next <= end; d += 2 + length) {
                length = section[d + 1];
                if (bits(section + at, NUMBER) == service && d + 2 + length <= next &&
                    section[d] == SERVICE_DESCRIPTOR && columns == 0) {
                    columns = append_names(text, size, section + d + 2, length);
                }
            }
        }
    }
    return columns;
}

static void show_programme(RECEPTION_T* pt_reception, const SECTIONS_T* pt_sdt, uint16_t programme,
                           uint16_t pid) {
    static SECTIONS_T sections;
    char name[LINE_SIZE - 64] = "";
    char text[LINE_SIZE] = "";
    int streams = -1; /* no PMT yet */
    const int columns = append_service(name, sizeof(name), pt_sdt, programme);
    receive(pt_reception, pid, TABLE_PMT, programme, &sections);
    for (int i = 0; i < sections.count && streams < 0; ++i) {
        const uint8_t* section = sections.at_section[i].bytes;
        if (section_is_current(&sections, i)) {
            const int end = sections.at_section[i].length - CRC;
            streams = 0;
            for (int at = PMT_HEADER + bits(section + PMT_HEADER - 2, LENGTH);
                 at + PMT_STREAM <= end; at += PMT_STREAM + bits(section + at + 3, LENGTH)) {
                append(text, sizeof(text), " %u (type 0x%02x)", bits(section + at + 1, PID),
                       section[at]);
                ++streams;
            }
        }
    }
    ++pt_reception->programmes;
    pt_reception->lacking += streams < 0;
    say(RESULT,
        streams < 0 ? "  %5u  %s%*s  PMT %4u: NEVER ARRIVED" : "  %5u  %s%*s  PMT %4u: %d streams",
        programme, name, columns < NAME_COLUMNS ? NAME_COLUMNS - columns : 0, "", pid, streams);
    if (streams > 0) {
        say(DETAIL, "         streams%s", text);
    }
}

static void show_programmes(RECEPTION_T* pt_reception) {
    static SECTIONS_T pat;
    static SECTIONS_T sdt;
    receive(pt_reception, PID_PAT, TABLE_PAT, -1, &pat);
    if (pt_reception->skipped > 0) {
        say(RESULT, "  packets    %ld of %ld skipped: cut short, without sync byte or erroneous",
            pt_reception->skipped, pt_reception->packets);
    }
    receive(pt_reception, PID_SDT, TABLE_SDT, -1, &sdt);
    for (int i = 0; i < pat.count; ++i) {
        const uint8_t* section = pat.at_section[i].bytes;
        const int end = section_is_current(&pat, i) ? pat.at_section[i].length - CRC : 0;
        for (int at = PAT_HEADER; at + PAT_PROGRAMME <= end; at += PAT_PROGRAMME) {
            if (bits(section + at, NUMBER) != 0) { /* 0 is the network's table */
                show_programme(pt_reception, &sdt, bits(section + at, NUMBER),
                               bits(section + at + 2, PID));
            }
        }
    }
    if (pt_reception->programmes == 0) {
        const bool is_stream = 2 * pt_reception->skipped < pt_reception->packets;
        say(RESULT, "  NO SERVICE: %s",
            !is_stream       ? "no transport stream of 188-byte packets"
            : pat.count == 0 ? "no PAT arrived"
                             : "the PAT has no programme");
    }
}

void show_services(DEMO_T* pt_demo, const char* file) {
    RECEPTION_T t_reception = {.file = file};
    ++pt_demo->inputs;
    say(RESULT, "%s", "");
    say(RESULT, "Services of %s, received through section filters:", basename(file));
    FILE* in = input_open(file);
    if (in != NULL) {
        fclose(in);
        t_reception.h_pipeline = pt_demo->pt_box->create_pipeline();
        pt_demo->pt_box->set_stream(file);
        x_velmora_filter_register_section_callback(on_section);
        x_velmora_filter_register_filter_status_callback(on_status);
        /* If there is none, the sections come on the shared thread. */
        pt_demo->faults += x_velmora_filter_create_callback_thread(&t_reception.hthread) != 0;
        show_programmes(&t_reception);
        x_velmora_filter_delete_callback_thread(t_reception.hthread);
        pt_demo->pt_box->destroy_pipeline(t_reception.h_pipeline);
    }
    if (t_reception.damaged > 0) {
        say(RESULT, "  sections   %d damaged in the stream, left out", t_reception.damaged);
    }
    pt_demo->failed += t_reception.programmes == 0 || t_reception.lacking > 0;
    pt_demo->faults += t_reception.different;
}
