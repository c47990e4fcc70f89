#include "sim/middleware/scan.h"

#include <pthread.h>
#include <stdio.h>
#include <time.h>

#include "mw/frontend_values.h"
#include "sim/middleware/report.h"

/* What the events of the running scan have said. */
typedef struct {
    pthread_mutex_t lock;
    pthread_cond_t changed;
    int percent;
    int frequencies;
    bool locked;
    bool stopped;
} SCAN_T;

static int on_progress(unsigned int h_pipeline, int32_t percent, void* pv_scan) {
    SCAN_T* pt_scan = pv_scan;
    pthread_mutex_lock(&pt_scan->lock);
    pt_scan->percent = percent;
    pthread_mutex_unlock(&pt_scan->lock);
    progress("scan of pipeline 0x%x: %d %%", h_pipeline, percent);
    return 0;
}

static int on_locked(unsigned int h_pipeline, void* pv_scan) {
    SCAN_T* pt_scan = pv_scan;
    pthread_mutex_lock(&pt_scan->lock);
    pt_scan->locked = true;
    pthread_mutex_unlock(&pt_scan->lock);
    say(DETAIL, "  scan       locked, pipeline 0x%x", h_pipeline);
    return 0;
}

static int on_stopped(unsigned int h_pipeline, void* pv_scan) {
    SCAN_T* pt_scan = pv_scan;
    say(DETAIL, "  scan       stopped, pipeline 0x%x", h_pipeline);
    pthread_mutex_lock(&pt_scan->lock);
    pt_scan->stopped = true;
    pthread_cond_signal(&pt_scan->changed);
    pthread_mutex_unlock(&pt_scan->lock);
    return 0;
}

static void show_list(const char* what, const int32_t* pi4_values, int32_t count) {
    char text[LINE_SIZE] = "";
    size_t used = 0;
    for (int32_t i = 0; i < count && used < sizeof(text); ++i) {
        used += (size_t)snprintf(text + used, sizeof(text) - used, " %d", pi4_values[i]);
    }
    say(DETAIL, "  scan       found %s%s", what, text);
}

static int on_frequencies(unsigned int h_pipeline, const int32_t* pi4_values, int32_t count,
                          void* pv_scan) {
    (void)h_pipeline;
    SCAN_T* pt_scan = pv_scan;
    pthread_mutex_lock(&pt_scan->lock);
    pt_scan->frequencies += count;
    pthread_mutex_unlock(&pt_scan->lock);
    show_list("frequencies (Hz)", pi4_values, count);
    return 0;
}

#define ON_LIST(name, what)                                                            \
    static int name(unsigned int h_pipeline, const int32_t* pi4_values, int32_t count, \
                    void* pv_scan) {                                                   \
        (void)h_pipeline;                                                              \
        (void)pv_scan;                                                                 \
        show_list(what, pi4_values, count);                                            \
        return 0;                                                                      \
    }
ON_LIST(on_symbol_rates, "symbol rates (per second)")
ON_LIST(on_plp_ids, "PLP ids")
ON_LIST(on_group_ids, "PLP group ids")
ON_LIST(on_stream_ids, "input stream ids")

#define ON_VALUE(name, what)                                                 \
    static int name(unsigned int h_pipeline, int32_t value, void* pv_scan) { \
        (void)h_pipeline;                                                    \
        (void)pv_scan;                                                       \
        show_list(what, &value, 1);                                          \
        return 0;                                                            \
    }
ON_VALUE(on_dvbs_standard, "DVB-S standard")
ON_VALUE(on_dvbt_standard, "DVB-T standard")
ON_VALUE(on_hierarchy, "hierarchy")

bool scan_band(unsigned int h_pipeline, MW_FESETTING_T* pt_band) {
    /* Events that come late, after a scan that was given up, still find the record. */
    static SCAN_T scan = {.lock = PTHREAD_MUTEX_INITIALIZER, .changed = PTHREAD_COND_INITIALIZER};
    FE_SCAN_CB_T callbacks = {.pf_locked_nfy = on_locked,
                              .pf_stopped_nfy = on_stopped,
                              .pf_progress_nfy = on_progress,
                              .pf_freq_report_nfy = on_frequencies,
                              .pf_symbol_rate_nfy = on_symbol_rates,
                              .pf_plp_id_nfy = on_plp_ids,
                              .pf_group_id_nfy = on_group_ids,
                              .pf_stream_id_nfy = on_stream_ids,
                              .pf_dvbs_standard_nfy = on_dvbs_standard,
                              .pf_dvbt_standard_nfy = on_dvbt_standard,
                              .pf_hierarchy_nfy = on_hierarchy,
                              .pv_tag = &scan};
    pthread_mutex_lock(&scan.lock);
    scan.percent = 0;
    scan.frequencies = 0;
    scan.locked = false;
    scan.stopped = false;
    pthread_mutex_unlock(&scan.lock);
    x_native_frontend_register_scan_callback(&callbacks);
    if (x_native_frontend_scan(h_pipeline, pt_band, MW_FE_SCAN_AUTO) != 0) {
        return false;
    }
    struct timespec until;
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += 10;
    pthread_mutex_lock(&scan.lock);
    int waiting = 0;
    while (!scan.stopped && waiting == 0) {
        waiting = pthread_cond_timedwait(&scan.changed, &scan.lock, &until);
    }
    const bool complete =
        scan.stopped && scan.percent == 100 && scan.locked && scan.frequencies > 0;
    pthread_mutex_unlock(&scan.lock);
    return complete;
}
