#include "sim/middleware/services.h"

#include <libdvbv5/desc_service.h>
#include <libdvbv5/descriptors.h>
#include <libdvbv5/dvb-fe.h>
#include <libdvbv5/pat.h>
#include <libdvbv5/pmt.h>
#include <libdvbv5/sdt.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "mw/filter.h"
#include "sim/middleware/stream.h"

enum { PID_PAT = 0x00, PID_SDT = 0x11, TABLE_PAT = 0x00, TABLE_PMT = 0x02, TABLE_SDT = 0x42 };
enum { FILTER_BUFFER = 64 * 1024, PATIENCE_SECONDS = 60, NAME_SIZE = 64 };

/* The filter being received. It outlives every filter: an event may come after the close of its
 * own. */
static struct {
    pthread_mutex_t lock;
    pthread_cond_t changed;
    uint32_t hfilter;
    int announced; /* sections that wait to be read */
    bool ended;
} g_waiting = {.lock = PTHREAD_MUTEX_INITIALIZER, .changed = PTHREAD_COND_INITIALIZER};

static void on_section(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, FLT_EVT_DATA_T* pt_data,
                       void* pv_tag) {
    (void)pt_evt;
    pthread_mutex_lock(&g_waiting.lock);
    if (pv_tag == &g_waiting && g_waiting.hfilter == hfilter &&
        pt_data->e_kind == FLT_EVT_KIND_SECTION) {
        ++g_waiting.announced;
        pthread_cond_signal(&g_waiting.changed);
    }
    pthread_mutex_unlock(&g_waiting.lock);
}

static void on_status(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, int32_t i4_status, void* pv_tag) {
    (void)pt_evt;
    pthread_mutex_lock(&g_waiting.lock);
    if (pv_tag == &g_waiting && g_waiting.hfilter == hfilter &&
        i4_status == BOX_STATUS_END_OF_STREAM) {
        g_waiting.ended = true;
        pthread_cond_signal(&g_waiting.changed);
    }
    pthread_mutex_unlock(&g_waiting.lock);
}

static void wait_for(uint32_t hfilter) {
    pthread_mutex_lock(&g_waiting.lock);
    g_waiting.hfilter = hfilter;
    g_waiting.announced = 0;
    g_waiting.ended = false;
    pthread_mutex_unlock(&g_waiting.lock);
}

/* Waits for the next announced section; false at the stream's end, or when nothing comes. */
static bool next_announced(void) {
    struct timespec until;
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += PATIENCE_SECONDS;
    pthread_mutex_lock(&g_waiting.lock);
    int waiting = 0;
    while (g_waiting.announced == 0 && !g_waiting.ended && waiting == 0) {
        waiting = pthread_cond_timedwait(&g_waiting.changed, &g_waiting.lock, &until);
    }
    const bool announced = g_waiting.announced > 0;
    g_waiting.announced -= announced ? 1 : 0;
    pthread_mutex_unlock(&g_waiting.lock);
    return announced;
}

typedef struct {
    uint32_t h_pipeline;
    uint32_t hthread;
    const STREAM_T* pt_stream;
    struct dvb_v5_fe_parms* pt_parms;
    int different; /* sections that did not arrive as the stream has them */
    int damaged;   /* that arrived as they are in the stream, with a wrong CRC */
} RECEPTION_T;

/* Shows the sections that others lack; their number. */
static int show_lacking(const SECTIONS_T* pt_sections, const SECTIONS_T* pt_others,
                        const char* what, const WANTED_T* pt_wanted) {
    int lacking = 0;
    for (int i = 0; i < pt_sections->count; ++i) {
        const SECTION_T* pt_section = &pt_sections->at_section[i];
        if (!sections_contain(pt_others, pt_section->bytes, pt_section->length)) {
            say(RESULT, "  section    %s: PID %u, table 0x%02x, %d bytes", what, pt_wanted->pid,
                pt_wanted->table, pt_section->length);
            ++lacking;
        }
    }
    return lacking;
}

/* Receives sections through a filter of their own, and compares them with what the stream holds. */
static void receive(RECEPTION_T* pt_reception, WANTED_T t_wanted, SECTIONS_T* pt_received) {
    static SECTIONS_T expected;
    FLT_EVT_CB_T evt = {.h_cb_thread = pt_reception->hthread};
    uint8_t pattern[FLT_PATTERN_SIZE] = {t_wanted.table};
    uint8_t mask[FLT_PATTERN_SIZE] = {0xff};
    uint8_t mode[FLT_PATTERN_SIZE] = {0};
    if (t_wanted.extension >= 0) {
        pattern[1] = (uint8_t)(t_wanted.extension >> 8);
        pattern[2] = (uint8_t)t_wanted.extension;
        mask[1] = mask[2] = 0xff;
    }
    uint32_t hfilter = 0;
    pt_received->count = 0;
    stream_sections(pt_reception->pt_stream, &t_wanted, &expected);
    if (x_velmora_filter_open(pt_reception->h_pipeline, BOX_FILTER_MAIN_TS, BOX_FILTER_SUB_SECTION,
                              FILTER_BUFFER, &hfilter, &evt, &g_waiting) == 0) {
        wait_for(hfilter);
        if (x_velmora_filter_setSectionConfig(hfilter, t_wanted.pid, 0, 0, 0, pattern, mask,
                                              mode) == 0 &&
            x_velmora_filter_flush(hfilter) == 0 && x_velmora_filter_start(hfilter) == 0) {
            while (next_announced()) {
                int8_t section[FLT_MAX_READ_SIZE];
                const int length = x_velmora_filter_read(hfilter, section, 0, sizeof(section));
                if (length > 0 && section_is_whole((uint8_t*)section, length)) {
                    sections_add(pt_received, (uint8_t*)section, length);
                } else if (length > 0) {
                    ++pt_reception->damaged;
                }
            }
            x_velmora_filter_stop(hfilter);
        }
        wait_for(0);
        x_velmora_filter_close(hfilter);
    }
    pt_reception->different += show_lacking(&expected, pt_received, "MISSING", &t_wanted) +
                               show_lacking(pt_received, &expected, "NOT IN THE STREAM", &t_wanted);
}

/* The service's name in the SDT; "" for none. */
static void name_of(const RECEPTION_T* pt_reception, const SECTIONS_T* pt_sdt_sections,
                    uint16_t service, char* name) {
    name[0] = '\0';
    for (int i = 0; i < pt_sdt_sections->count; ++i) {
        struct dvb_table_sdt* pt_sdt = NULL;
        if (!section_is_current(pt_sdt_sections, i) ||
            dvb_table_sdt_init(pt_reception->pt_parms, pt_sdt_sections->at_section[i].bytes,
                               pt_sdt_sections->at_section[i].length, &pt_sdt) < 0) {
            continue;
        }
        dvb_sdt_service_foreach(pt_service, pt_sdt) {
            dvb_desc_find(struct dvb_desc_service, pt_name, pt_service, service_descriptor) {
                if (pt_service->service_id == service) {
                    const char* provider = pt_name->provider != NULL ? pt_name->provider : "";
                    snprintf(name, NAME_SIZE, *provider != '\0' ? "%s (%s)" : "%s",
                             pt_name->name != NULL ? pt_name->name : "", provider);
                }
            }
        }
        dvb_table_sdt_free(pt_sdt);
    }
}

static void show_programme(RECEPTION_T* pt_reception, const char* name, uint16_t programme,
                           uint16_t pid) {
    static SECTIONS_T sections;
    char text[LINE_SIZE] = "";
    int streams = 0;
    receive(pt_reception, (WANTED_T){pid, TABLE_PMT, programme}, &sections);
    for (int i = 0; i < sections.count; ++i) {
        struct dvb_table_pmt* pt_pmt = NULL;
        if (!section_is_current(&sections, i) ||
            dvb_table_pmt_init(pt_reception->pt_parms, sections.at_section[i].bytes,
                               sections.at_section[i].length, &pt_pmt) < 0) {
            continue;
        }
        dvb_pmt_stream_foreach(pt_es, pt_pmt) {
            const size_t used = strlen(text);
            snprintf(text + used, sizeof(text) - used, " %u (type 0x%02x)", pt_es->elementary_pid,
                     pt_es->type);
            ++streams;
        }
        dvb_table_pmt_free(pt_pmt);
    }
    say(RESULT, "  %5u  %-40.40s  PMT %4u: %d streams", programme, name, pid, streams);
    say(DETAIL, "         streams%s", text);
}

static void show_programmes(RECEPTION_T* pt_reception) {
    static SECTIONS_T pat_sections;
    static SECTIONS_T sdt_sections;
    receive(pt_reception, (WANTED_T){PID_PAT, TABLE_PAT, -1}, &pat_sections);
    receive(pt_reception, (WANTED_T){PID_SDT, TABLE_SDT, -1}, &sdt_sections);
    for (int i = 0; i < pat_sections.count; ++i) {
        struct dvb_table_pat* pt_pat = NULL;
        if (!section_is_current(&pat_sections, i) ||
            dvb_table_pat_init(pt_reception->pt_parms, pat_sections.at_section[i].bytes,
                               pat_sections.at_section[i].length, &pt_pat) < 0) {
            continue;
        }
        dvb_pat_program_foreach(pt_program, pt_pat) {
            char name[NAME_SIZE];
            if (pt_program->service_id != 0) {
                name_of(pt_reception, &sdt_sections, pt_program->service_id, name);
                show_programme(pt_reception, name, pt_program->service_id, pt_program->pid);
            }
        }
        dvb_table_pat_free(pt_pat);
    }
}

void show_services(DEMO_T* pt_demo, const char* file) {
    static SECTIONS_T pat;
    STREAM_T t_stream;
    ++pt_demo->inputs;
    if (!stream_open(file, &t_stream)) {
        ++pt_demo->failed;
        return;
    }
    stream_sections(&t_stream, &(WANTED_T){PID_PAT, TABLE_PAT, -1}, &pat);
    if (pat.count == 0) {
        say(PROBLEM, "%s: the stream has no PAT, so no services", file);
        ++pt_demo->failed;
        stream_close(&t_stream);
        return;
    }
    const char* slash = strrchr(file, '/');
    say(RESULT, "%s", "");
    say(RESULT,
        "Services of %s, received through section filters:", slash != NULL ? slash + 1 : file);
    pt_demo->pt_box->set_stream(file);
    x_velmora_filter_register_section_callback(on_section);
    x_velmora_filter_register_filter_status_callback(on_status);
    RECEPTION_T t_reception = {.h_pipeline = pt_demo->pt_box->create_pipeline(),
                               .pt_stream = &t_stream,
                               .pt_parms = dvb_fe_dummy()};
    if (t_reception.pt_parms != NULL &&
        x_velmora_filter_create_callback_thread(&t_reception.hthread) == 0) {
        show_programmes(&t_reception);
        x_velmora_filter_delete_callback_thread(t_reception.hthread);
    } else {
        say(RESULT, "  NOT RECEIVED: no callback thread could be made");
        ++pt_demo->faults;
    }
    if (t_reception.damaged > 0) {
        say(RESULT, "  sections   %d damaged in the stream, left out", t_reception.damaged);
    }
    pt_demo->faults += t_reception.different;
    free(t_reception.pt_parms);
    pt_demo->pt_box->destroy_pipeline(t_reception.h_pipeline);
    stream_close(&t_stream);
}
