#include "sim/middleware/tuning.h"

#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "mw/frontend.h"
#include "sim/middleware/input.h"
#include "sim/middleware/request.h"
#include "sim/middleware/scan.h"
#include "sim/middleware/signal.h"

enum { THREADS = 2, PROGRESS_MICROSECONDS = 50000 };

static const char* const k_outcomes[] = {"tuned", "refused", "no request", "DIFFERENT"};

typedef struct {
    struct dvb_entry* pt_entry;
    OUTCOME_E e_outcome;
    char asked[LINE_SIZE];
    char received[LINE_SIZE];
    char lnb[128];
    char signal[SIGNAL_SIZE];
    const char* pc_fault; /* what went wrong besides; null: nothing */
} TRANSPONDER_T;

typedef struct {
    const DEMO_T* pt_demo;
    TRANSPONDER_T* at_transponder;
    int count;
    atomic_int next;
    atomic_int done;
} JOB_T;

/* What a tuned frontend says of itself; null when it agrees with the request. */
static const char* check_tuned(uint32_t h_pipeline, const REQUEST_T* pt_request,
                               TRANSPONDER_T* pt_transponder) {
    if (!signal_text(h_pipeline, pt_request->t_settings.e_type, pt_transponder->signal,
                     sizeof(pt_transponder->signal))) {
        return "the signal is not there";
    }
    return readback_agrees(h_pipeline, &pt_request->t_settings) ? NULL
                                                                : "the readback does not agree";
}

static void tune(const DEMO_T* pt_demo, uint32_t h_pipeline, TRANSPONDER_T* pt_transponder) {
    REQUEST_T t_request;
    ENTRY_VALUES_T t_values;
    if (!request_from_entry(pt_transponder->pt_entry, pt_demo->pt_lnb, &t_request) ||
        !entry_values(pt_transponder->pt_entry, pt_demo->pt_lnb, &t_values)) {
        pt_transponder->e_outcome = NOT_EXPRESSIBLE;
        return;
    }
    if (t_request.t_settings.e_type == MW_FE_TYPE_DVBS &&
        !lnb_select(h_pipeline, t_values.horizontal, t_values.high_band, &pt_demo->t_switch,
                    pt_transponder->lnb, sizeof(pt_transponder->lnb))) {
        pt_transponder->pc_fault = "the LNB or its switch did not answer";
    }
    expected_text(pt_transponder->pt_entry, pt_demo->pt_lnb, pt_transponder->asked, LINE_SIZE);
    const int result = x_native_frontend_tune(h_pipeline, &t_request.t_settings);
    pt_demo->pt_box->received(h_pipeline, pt_transponder->received, LINE_SIZE);
    if (strcmp(pt_transponder->asked, pt_transponder->received) != 0) {
        pt_transponder->e_outcome = DIFFERENT;
    } else if (result != 0) {
        pt_transponder->e_outcome = REFUSED;
    } else {
        pt_transponder->e_outcome = TUNED;
        const char* fault = check_tuned(h_pipeline, &t_request, pt_transponder);
        pt_transponder->pc_fault = fault != NULL ? fault : pt_transponder->pc_fault;
    }
}

/* Scans from the file's lowest frequency to its highest. */
static bool scan_file(const JOB_T* pt_job) {
    REQUEST_T t_band;
    int32_t end = 0;
    bool found = false;
    for (int i = 0; i < pt_job->count; ++i) {
        REQUEST_T t_request;
        if (request_from_entry(pt_job->at_transponder[i].pt_entry, pt_job->pt_demo->pt_lnb,
                               &t_request)) {
            const int32_t frequency = t_request.t_settings.mFrequency;
            end = frequency > end ? frequency : end;
            if (!found || frequency < t_band.t_settings.mFrequency) {
                t_band = t_request;
                found = true;
            }
        }
    }
    if (!found) {
        return true;
    }
    if (t_band.t_settings.e_type == MW_FE_TYPE_DVBS) {
        t_band.t_settings.u.t_dvbs.pt_code_rate = NULL; /* blind */
    }
    t_band.t_settings.mEndFrequency = end;
    const uint32_t h_pipeline = pt_job->pt_demo->pt_box->create_pipeline();
    x_native_frontend_require_tuner(h_pipeline);
    const bool complete = scan_band(h_pipeline, &t_band.t_settings);
    x_native_frontend_close_tuner(h_pipeline);
    pt_job->pt_demo->pt_box->destroy_pipeline(h_pipeline);
    return complete;
}

static void* tune_all(void* pv_job) {
    JOB_T* pt_job = pv_job;
    const BOX_T* pt_box = pt_job->pt_demo->pt_box;
    const uint32_t h_pipeline = pt_box->create_pipeline();
    x_native_frontend_require_tuner(h_pipeline);
    lnb_open(h_pipeline); /* what it cannot do shows in the first selection */
    for (int i = atomic_fetch_add(&pt_job->next, 1); i < pt_job->count;
         i = atomic_fetch_add(&pt_job->next, 1)) {
        tune(pt_job->pt_demo, h_pipeline, &pt_job->at_transponder[i]);
        atomic_fetch_add(&pt_job->done, 1);
    }
    lnb_close(h_pipeline);
    x_native_frontend_close_tuner(h_pipeline);
    pt_box->destroy_pipeline(h_pipeline);
    return NULL;
}

/* Tunes every entry; false when no thread could be started. */
static bool run(JOB_T* pt_job, const char* file) {
    pthread_t at_thread[THREADS];
    int started = 0;
    while (started < THREADS && pthread_create(&at_thread[started], NULL, tune_all, pt_job) == 0) {
        ++started;
    }
    while (started > 0 && atomic_load(&pt_job->done) < pt_job->count &&
           progress("tuning %d of %d in %s", atomic_load(&pt_job->done), pt_job->count, file)) {
        usleep(PROGRESS_MICROSECONDS);
    }
    for (int i = 0; i < started; ++i) {
        pthread_join(at_thread[i], NULL);
    }
    progress(NULL);
    return started > 0;
}

static void show(DEMO_T* pt_demo, const TRANSPONDER_T* pt_transponder, const char* file) {
    char name[64];
    entry_name(pt_transponder->pt_entry, name, sizeof(name));
    const bool fault = pt_transponder->pc_fault != NULL || pt_transponder->e_outcome == DIFFERENT;
    const LINE_E e_line = fault ? RESULT : DETAIL;
    say(e_line, "  %-10s %s -> %s", k_outcomes[pt_transponder->e_outcome], name,
        pt_transponder->received[0] != '\0' ? pt_transponder->received : "nothing");
    if (pt_transponder->e_outcome == DIFFERENT) {
        say(e_line, "             asked: %s", pt_transponder->asked);
    }
    if (pt_transponder->lnb[0] != '\0') {
        say(e_line, "             lnb %s", pt_transponder->lnb);
    }
    if (pt_transponder->signal[0] != '\0') {
        say(e_line, "             %s", pt_transponder->signal);
    }
    if (pt_transponder->pc_fault != NULL) {
        say(e_line, "             FAULT: %s", pt_transponder->pc_fault);
        ++pt_demo->faults;
    } else if (pt_transponder->e_outcome == TUNED) {
        say(e_line, "             readback agrees");
    }
    if (pt_transponder->e_outcome == TUNED && pt_demo->example[0] == '\0') {
        snprintf(pt_demo->example, sizeof(pt_demo->example), "%s, from %s", name, file);
        memcpy(pt_demo->example_lnb, pt_transponder->lnb, sizeof(pt_transponder->lnb));
        memcpy(pt_demo->example_received, pt_transponder->received, LINE_SIZE);
    }
}

void tune_file(DEMO_T* pt_demo, const char* file) {
    ++pt_demo->inputs;
    struct dvb_file* pt_file = input_scan_file(file);
    if (pt_file == NULL) {
        ++pt_demo->failed;
        return;
    }
    JOB_T job = {.pt_demo = pt_demo};
    for (struct dvb_entry* e = pt_file->first_entry; e != NULL; e = e->next) {
        ++job.count;
    }
    job.at_transponder = calloc((size_t)job.count, sizeof(*job.at_transponder));
    if (job.at_transponder == NULL) {
        say(PROBLEM, "%s: no memory for %d entries", file, job.count);
        ++pt_demo->failed;
        dvb_file_free(pt_file);
        return;
    }
    int i = 0;
    const char* system = entry_system(pt_file->first_entry);
    for (struct dvb_entry* e = pt_file->first_entry; e != NULL; e = e->next) {
        system = strcmp(system, entry_system(e)) == 0 ? system : "several";
        job.at_transponder[i++].pt_entry = e;
    }
    if (pt_demo->inputs - pt_demo->failed == 1) {
        say(RESULT, "%-31s %-7s %5s %7s %15s %9s", "scan file", "system", "tuned", "refused",
            "not expressible", "different");
    }
    say(DETAIL, "%s: %d transponders", file, job.count);
    if (!scan_file(&job)) {
        say(RESULT, "  scan       INCOMPLETE");
        ++pt_demo->faults;
    }
    if (run(&job, file)) {
        const char* slash = strrchr(file, '/');
        const char* name = slash != NULL ? slash + 1 : file;
        int ai4_count[OUTCOMES] = {0};
        for (i = 0; i < job.count; ++i) {
            const OUTCOME_E e_outcome = job.at_transponder[i].e_outcome;
            show(pt_demo, &job.at_transponder[i], name);
            ++ai4_count[e_outcome];
            ++pt_demo->ai4_sum[e_outcome];
        }
        say(RESULT, "%-31.31s %-7s %5d %7d %15d %9d", name, system, ai4_count[TUNED],
            ai4_count[REFUSED], ai4_count[NOT_EXPRESSIBLE], ai4_count[DIFFERENT]);
    } else {
        say(PROBLEM, "%s: no thread could be started", file);
        ++pt_demo->failed;
    }
    free(job.at_transponder);
    dvb_file_free(pt_file);
}
