/* Scan files, tuned entry by entry. */
#include "sim/middleware/tuning.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "mw/frontend.h"
#include "sim/middleware/support.h"

static const char* const k_outcomes[] = {"tuned",
                                         "refused",
                                         "DIFFERENT",
                                         "no LNB reaches it",
                                         "a number does not fit",
                                         "a field is missing or malformed",
                                         "unsupported system"};

int show_reasons(const char* label, const int* pi4_sum) {
    char text[LINE_SIZE] = "";
    int sum = 0;
    for (int i = NO_LNB; i < OUTCOMES; ++i) {
        sum += pi4_sum[i];
        if (pi4_sum[i] > 0) {
            append(text, sizeof(text), "%s %d: %s", text[0] != '\0' ? ";" : "", pi4_sum[i],
                   k_outcomes[i]);
        }
    }
    if (sum > 0) {
        say(RESULT, "%s%s", label, text);
    }
    return sum;
}

/* A file that is being tuned. */
typedef struct {
    DEMO_T* pt_demo;
    const char* name; /* without folders */
    const char* system;
    uint32_t h_pipeline;
    int ai4_sum[OUTCOMES];
} JOB_T;

/* Scans the band from the first entry that makes a request. Without one there is no scan. */
static void scan(JOB_T* pt_job, const ENTRY_T* pt_entry) {
    REQUEST_T t_band;
    MW_FESETTING_T* pt_band = &t_band.t_settings;
    while (request_from_entry(pt_entry, pt_job->pt_demo->pt_lnb, &t_band) != TUNED) {
        if ((++pt_entry)->line == 0) {
            return;
        }
    }
    if (pt_band->e_type == MW_FE_TYPE_DVBS) {
        pt_band->mEndFrequency = TUNER_MHZ_MAX;
        pt_band->u.t_dvbs.pt_code_rate = NULL; /* a blind scan */
    }
    if (!scan_band(pt_job->h_pipeline, pt_band)) {
        say(RESULT, "  scan       INCOMPLETE");
        ++pt_job->pt_demo->faults;
    }
}

static void tune(JOB_T* pt_job, const ENTRY_T* pt_entry) {
    DEMO_T* pt_demo = pt_job->pt_demo;
    REQUEST_T t_request;
    char name[64];
    char lnb[128] = "none";
    char received[1024] = "";
    char signal[512] = "";
    const char* fault = NULL;
    OUTCOME_E e_outcome = request_from_entry(pt_entry, pt_demo->pt_lnb, &t_request);
    const bool other = pt_job->system != NULL && strcmp(pt_job->system, t_request.system) != 0;
    pt_job->system = other ? "several" : t_request.system;
    const char* polarization = entry_value(pt_entry, "POLARIZATION");
    snprintf(name, sizeof(name), "%s %.3f MHz%s%.1s", entry_value(pt_entry, "DELIVERY_SYSTEM"),
             strtod(entry_value(pt_entry, "FREQUENCY"), NULL) / (*polarization ? 1e3 : 1e6),
             *polarization ? " " : "", polarization);
    if (e_outcome == TUNED) {
        const bool selected = t_request.t_settings.e_type != MW_FE_TYPE_DVBS ||
                              lnb_select(pt_job->h_pipeline, &t_request.t_lnb, lnb, sizeof(lnb));
        const int result = x_native_frontend_tune(pt_job->h_pipeline, &t_request.t_settings);
        pt_demo->pt_box->received(pt_job->h_pipeline, received, sizeof(received));
        fault = readback_fault(pt_job->h_pipeline, &t_request.t_settings, signal, sizeof(signal));
        fault = selected ? fault : "the LNB or its switch did not answer";
        e_outcome = fault != NULL ? DIFFERENT : result != 0 ? REFUSED : TUNED;
    }
    ++pt_job->ai4_sum[e_outcome];
    const LINE_E e_line = fault != NULL ? RESULT : DETAIL;
    say(e_line, "  %-10s %s, line %d: %s",
        e_outcome < NO_LNB ? k_outcomes[e_outcome] : "no request", name, pt_entry->line,
        e_outcome < NO_LNB ? received : k_outcomes[e_outcome]);
    if (e_outcome < NO_LNB) {
        say(e_line, "             lnb %s", lnb);
        say(e_line, "             %s", signal);
        say(e_line, "             %s",
            fault != NULL ? fault : "settings and status read back agree");
    }
    if (e_outcome == TUNED && pt_demo->example[0][0] == '\0') {
        append(pt_demo->example[0], 1024, "%s, from %s", name, pt_job->name);
        append(pt_demo->example[1], 1024, "%s", lnb);
        append(pt_demo->example[2], 1024, "%s", received);
    }
}

static void show_row(const JOB_T* pt_job) {
    DEMO_T* pt_demo = pt_job->pt_demo;
    const int* pi4_sum = pt_job->ai4_sum;
    if (pt_demo->rows++ == 0) {
        say(RESULT, "%-31s %-7s %5s %7s %15s %9s", "scan file", "system", "tuned", "refused",
            "not expressible", "different");
    }
    say(RESULT, "%-31.31s %-7s %5d %7d %15d %9d", pt_job->name, pt_job->system, pi4_sum[TUNED],
        pi4_sum[REFUSED],
        pi4_sum[NO_LNB] + pi4_sum[NO_FIT] + pi4_sum[NO_FIELD] + pi4_sum[NO_SYSTEM],
        pi4_sum[DIFFERENT]);
    if (pi4_sum[TUNED] == 0) {
        say(RESULT, "  NOTHING TUNED");
        show_reasons("  not expressible:", pi4_sum);
        ++pt_demo->failed;
    }
    for (int i = 0; i < OUTCOMES; ++i) {
        pt_demo->ai4_sum[i] += pi4_sum[i];
    }
}

void tune_file(DEMO_T* pt_demo, const char* file) {
    JOB_T job = {.pt_demo = pt_demo, .name = basename(file)};
    ENTRY_T* entries = entries_read(file);
    ++pt_demo->inputs;
    if (entries == NULL) {
        ++pt_demo->failed;
        return;
    }
    job.h_pipeline = pt_demo->pt_box->create_pipeline();
    x_native_frontend_require_tuner(job.h_pipeline);
    scan(&job, entries);
    lnb_open(job.h_pipeline); /* if this fails, the first selection fails too */
    for (const ENTRY_T* pt_entry = entries; pt_entry->line > 0; ++pt_entry) {
        tune(&job, pt_entry);
    }
    x_native_frontend_lnb_close(job.h_pipeline);
    x_native_frontend_close_tuner(job.h_pipeline);
    pt_demo->pt_box->destroy_pipeline(job.h_pipeline);
    show_row(&job);
    free(entries);
}
