/* A middleware in one file: tunes a cable transponder, waits for the PAT of its stream and prints
 * the programmes. */
#define _POSIX_C_SOURCE 200809L
#include <semaphore.h>
#include <stdio.h>
#include <time.h>

#include "mw/filter.h"
#include "mw/frontend.h"
#include "mw/frontend_values.h"
#include "sim/box.h"

enum { PID_PAT = 0, TABLE_PAT = 0, PATIENCE_SECONDS = 10 };
enum { PAT_HEADER = 8, PAT_ENTRY = 4, CRC = 4 };

/* A callback may still run after its filter is closed, so these outlive the filter. */
static uint8_t g_pat[FLT_MAX_READ_SIZE];
static int g_length;
static sem_t g_received;

/* Runs on the filter's callback thread, which may call the library. */
static void on_section(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, FLT_EVT_DATA_T* pt_data,
                       void* pv_tag) {
    if (pt_data->e_kind == FLT_EVT_KIND_SECTION && g_length == 0) {
        g_length = x_velmora_filter_read(hfilter, (int8_t*)g_pat, 0, sizeof(g_pat));
        sem_post(&g_received);
    }
}

static int wait_for_section(void) {
    struct timespec until;
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += PATIENCE_SECONDS;
    return sem_timedwait(&g_received, &until);
}

int middleware_main(const BOX_T* pt_box, int argc, char** argv) {
    const uint32_t h_pipeline = pt_box->create_pipeline();
    MW_FESETTING_T settings = {.e_type = MW_FE_TYPE_DVBC, .mFrequency = 394000000 /* Hz */};
    settings.u.t_dvbc.mModulation = MW_FE_DVBC_64QAM;
    settings.u.t_dvbc.mSymbolRate = 6900000; /* per second */
    x_native_frontend_require_tuner(h_pipeline);
    const int tuned = x_native_frontend_tune(h_pipeline, &settings);
    printf("tuned: %d\n", tuned);

    pt_box->set_stream(argc > 1 ? argv[1] : pt_box->sample);
    sem_init(&g_received, 0, 0);
    x_velmora_filter_register_section_callback(on_section);
    uint8_t value[FLT_PATTERN_SIZE] = {TABLE_PAT};
    uint8_t mask[FLT_PATTERN_SIZE] = {0xff};
    uint8_t mode[FLT_PATTERN_SIZE] = {0};
    FLT_EVT_CB_T evt = {.h_cb_thread = 0};
    uint32_t hfilter = 0;
    int received = -1;
    if (x_velmora_filter_open(h_pipeline, BOX_FILTER_MAIN_TS, BOX_FILTER_SUB_SECTION,
                              FLT_MAX_READ_SIZE, &hfilter, &evt, NULL) == 0) {
        if (x_velmora_filter_setSectionConfig(hfilter, PID_PAT, 0, 0, 0, value, mask, mode) == 0 &&
            x_velmora_filter_start(hfilter) == 0) {
            received = wait_for_section();
        }
        x_velmora_filter_close(hfilter);
    }
    for (int i = PAT_HEADER; received == 0 && i + PAT_ENTRY + CRC <= g_length; i += PAT_ENTRY) {
        printf("programme %d, PMT on PID %d\n", g_pat[i] << 8 | g_pat[i + 1],
               (g_pat[i + 2] & 0x1f) << 8 | g_pat[i + 3]);
    }
    x_native_frontend_close_tuner(h_pipeline);
    pt_box->destroy_pipeline(h_pipeline);
    return tuned == 0 && received == 0 ? 0 : 1;
}
