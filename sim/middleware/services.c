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
enum { FILTER_TS = 1, FILTER_SECTION = 1, FILTER_BUFFER = 64 * 1024, SECONDS = 5 };

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
    (void)i4_status;
    pthread_mutex_lock(&g_waiting.lock);
    if (pv_tag == &g_waiting && g_waiting.hfilter == hfilter) {
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
    until.tv_sec += SECONDS;
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
    int missing; /* sections of the stream that did not arrive whole */
    int damaged; /* that arrived as they are in the stream, with a wrong CRC */
} RECEPTION_T;

/* Receives a table of a PID through a filter of its own, and compares it with what the stream
 * holds. */
static void receive(RECEPTION_T* pt_reception, uint16_t pid, uint8_t table,
                    SECTIONS_T* pt_received) {
    static SECTIONS_T expected;
    FLT_EVT_CB_T evt = {.h_cb_thread = pt_reception->hthread};
    uint8_t pattern[FLT_PATTERN_SIZE] = {table};
    uint8_t mask[FLT_PATTERN_SIZE] = {0xff};
    uint8_t mode[FLT_PATTERN_SIZE] = {0};
    uint32_t hfilter = 0;
    pt_received->count = 0;
    stream_sections(pt_reception->pt_stream, pid, table, &expected);
    if (x_velmora_filter_open(pt_reception->h_pipeline, FILTER_TS, FILTER_SECTION, FILTER_BUFFER,
                              &hfilter, &evt, &g_waiting) == 0) {
        wait_for(hfilter);
        if (x_velmora_filter_setSectionConfig(hfilter, pid, 1, 0, 0, pattern, mask, mode) == 0 &&
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
    for (int i = 0; i < expected.count; ++i) {
        const SECTION_T* pt_section = &expected.at_section[i];
        if (!sections_contain(pt_received, pt_section->bytes, pt_section->length)) {
            printf("  section    MISSING: PID %u, table 0x%02x, %d bytes\n", pid, table,
                   pt_section->length);
            ++pt_reception->missing;
        }
    }
}

static void show_programme(RECEPTION_T* pt_reception, uint16_t programme, uint16_t pid) {
    static SECTIONS_T sections;
    receive(pt_reception, pid, TABLE_PMT, &sections);
    for (int i = 0; i < sections.count; ++i) {
        struct dvb_table_pmt* pt_pmt = NULL;
        if (dvb_table_pmt_init(pt_reception->pt_parms, sections.at_section[i].bytes,
                               sections.at_section[i].length, &pt_pmt) < 0) {
            continue;
        }
        printf("  programme  %u, PMT %u:", programme, pid);
        dvb_pmt_stream_foreach(pt_es, pt_pmt) {
            printf(" %u (type 0x%02x)", pt_es->elementary_pid, pt_es->type);
        }
        printf("\n");
        dvb_table_pmt_free(pt_pmt);
    }
}

/* Returns whether there was one. */
static bool show_programmes(RECEPTION_T* pt_reception) {
    static SECTIONS_T sections;
    receive(pt_reception, PID_PAT, TABLE_PAT, &sections);
    for (int i = 0; i < sections.count; ++i) {
        struct dvb_table_pat* pt_pat = NULL;
        if (dvb_table_pat_init(pt_reception->pt_parms, sections.at_section[i].bytes,
                               sections.at_section[i].length, &pt_pat) < 0) {
            continue;
        }
        dvb_pat_program_foreach(pt_program, pt_pat) {
            if (pt_program->service_id != 0) {
                show_programme(pt_reception, pt_program->service_id, pt_program->pid);
            }
        }
        dvb_table_pat_free(pt_pat);
    }
    return sections.count > 0;
}

static void show_names(RECEPTION_T* pt_reception) {
    static SECTIONS_T sections;
    receive(pt_reception, PID_SDT, TABLE_SDT, &sections);
    for (int i = 0; i < sections.count; ++i) {
        struct dvb_table_sdt* pt_sdt = NULL;
        if (dvb_table_sdt_init(pt_reception->pt_parms, sections.at_section[i].bytes,
                               sections.at_section[i].length, &pt_sdt) < 0) {
            continue;
        }
        dvb_sdt_service_foreach(pt_service, pt_sdt) {
            dvb_desc_find(struct dvb_desc_service, pt_name, pt_service, service_descriptor) {
                printf("  service    %u: %s (%s)\n", pt_service->service_id,
                       pt_name->name != NULL ? pt_name->name : "",
                       pt_name->provider != NULL ? pt_name->provider : "");
            }
        }
        dvb_table_sdt_free(pt_sdt);
    }
}

int show_services(const BOX_T* pt_box, const char* file) {
    static SECTIONS_T pat;
    STREAM_T t_stream;
    const bool readable = stream_read(file, &t_stream);
    stream_sections(&t_stream, PID_PAT, TABLE_PAT, &pat);
    if (!readable || pat.count == 0) {
        fprintf(stderr, "%s: not a readable transport stream with programmes\n", file);
        stream_free(&t_stream);
        return 1;
    }
    printf("\n%s: transport stream of %zu bytes\n", file, t_stream.size);
    pt_box->set_stream(file);
    x_velmora_filter_register_section_callback(on_section);
    x_velmora_filter_register_filter_status_callback(on_status);
    RECEPTION_T t_reception = {.h_pipeline = pt_box->create_pipeline(),
                               .pt_stream = &t_stream,
                               .pt_parms = dvb_fe_dummy()};
    int status = 2;
    if (t_reception.pt_parms != NULL &&
        x_velmora_filter_create_callback_thread(&t_reception.hthread) == 0) {
        const bool any = show_programmes(&t_reception);
        show_names(&t_reception);
        x_velmora_filter_delete_callback_thread(t_reception.hthread);
        status = any && t_reception.missing == 0 ? 0 : 2;
    }
    if (t_reception.damaged > 0) {
        printf("  sections   %d damaged in the stream, left out\n", t_reception.damaged);
    }
    printf("  sections   %s\n", status == 0 ? "all arrived whole" : "NOT ALL ARRIVED");
    free(t_reception.pt_parms);
    pt_box->destroy_pipeline(t_reception.h_pipeline);
    stream_free(&t_stream);
    return status;
}
