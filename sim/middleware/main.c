/* The middleware of the demo: tunes every transponder of its scan files, from threads of its own.
 */
#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "mw/frontend.h"
#include "sim/box.h"
#include "sim/middleware/lnb.h"
#include "sim/middleware/request.h"
#include "sim/middleware/scan.h"
#include "sim/middleware/services.h"
#include "sim/middleware/signal.h"

enum { THREADS = 2, TEXT_SIZE = 512 };
enum { STATUS_OK = 0, STATUS_INPUT = 1, STATUS_DIFFERENT = 2 };

static const char* const k_default_files[] = {
    "/usr/share/dvb/dvb-s/Hotbird-13.0E", "/usr/share/dvb/dvb-c/de-Berlin",
    "/usr/share/dvb/dvb-t/uk-CrystalPalace", "/usr/share/dvb/atsc/us-ATSC-center-frequencies-8VSB",
    "/usr/share/dvb/isdb-t/br-sp-SaoPaulo"};

typedef enum { TUNED, REFUSED, DIFFERENT, NOT_EXPRESSIBLE } OUTCOME_E;
enum { OUTCOMES = NOT_EXPRESSIBLE + 1 };
static const char* const k_outcomes[] = {"tuned", "refused", "DIFFERENT", "no request"};

typedef struct {
    struct dvb_entry* pt_entry;
    OUTCOME_E e_outcome;
    char asked[TEXT_SIZE];
    char received[TEXT_SIZE];
    char lnb[128];
    char signal[TEXT_SIZE];
    const char* pc_fault; /* what went wrong besides; null: nothing */
} TRANSPONDER_T;

typedef struct {
    const BOX_T* pt_box;
    const struct dvb_sat_lnb* pt_lnb;
    LNB_SWITCH_T t_switch;
    TRANSPONDER_T* at_transponder;
    int count;
    atomic_int next;
    atomic_int done;
} JOB_T;

static bool is_satellite(const REQUEST_T* pt_request) {
    return pt_request->t_settings.e_type == MW_FE_TYPE_DVBS;
}

/* What a tuned frontend says of itself; null when it agrees with the request. */
static const char* check_tuned(uint32_t h_pipeline, const REQUEST_T* pt_request,
                               TRANSPONDER_T* pt_transponder) {
    if (!signal_text(h_pipeline, pt_transponder->signal, TEXT_SIZE)) {
        return "the signal is not there";
    }
    return readback_agrees(h_pipeline, &pt_request->t_settings) ? NULL
                                                                : "the readback does not agree";
}

static void tune(const JOB_T* pt_job, uint32_t h_pipeline, TRANSPONDER_T* pt_transponder) {
    REQUEST_T t_request;
    ENTRY_VALUES_T t_values;
    if (!request_from_entry(pt_transponder->pt_entry, pt_job->pt_lnb, &t_request) ||
        !entry_values(pt_transponder->pt_entry, pt_job->pt_lnb, &t_values)) {
        pt_transponder->e_outcome = NOT_EXPRESSIBLE;
        return;
    }
    if (is_satellite(&t_request) &&
        !lnb_select(h_pipeline, t_values.horizontal, t_values.high_band, &pt_job->t_switch,
                    pt_transponder->lnb, sizeof(pt_transponder->lnb))) {
        pt_transponder->pc_fault = "the LNB or its switch did not answer";
    }
    expected_text(pt_transponder->pt_entry, pt_job->pt_lnb, pt_transponder->asked, TEXT_SIZE);
    const int result = x_native_frontend_tune(h_pipeline, &t_request.t_settings);
    pt_job->pt_box->received(h_pipeline, pt_transponder->received, TEXT_SIZE);
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
static bool scan_file(const JOB_T* pt_job, uint32_t h_pipeline) {
    REQUEST_T t_band;
    int32_t end = 0;
    bool found = false;
    for (int i = 0; i < pt_job->count; ++i) {
        REQUEST_T t_request;
        if (request_from_entry(pt_job->at_transponder[i].pt_entry, pt_job->pt_lnb, &t_request)) {
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
    if (is_satellite(&t_band)) {
        t_band.t_settings.u.t_dvbs.pt_code_rate = NULL; /* blind */
    }
    t_band.t_settings.mEndFrequency = end;
    return scan_band(h_pipeline, &t_band.t_settings);
}

static void* tune_all(void* pv_job) {
    JOB_T* pt_job = pv_job;
    const uint32_t h_pipeline = pt_job->pt_box->create_pipeline();
    x_native_frontend_require_tuner(h_pipeline);
    lnb_open(h_pipeline); /* what it cannot do shows in the first selection */
    for (int i = atomic_fetch_add(&pt_job->next, 1); i < pt_job->count;
         i = atomic_fetch_add(&pt_job->next, 1)) {
        tune(pt_job, h_pipeline, &pt_job->at_transponder[i]);
        atomic_fetch_add(&pt_job->done, 1);
    }
    lnb_close(h_pipeline);
    x_native_frontend_close_tuner(h_pipeline);
    pt_job->pt_box->destroy_pipeline(h_pipeline);
    return NULL;
}

static void show_progress(const char* file, const JOB_T* pt_job) {
    static const char bar[] = "##############################";
    const int width = (int)sizeof(bar) - 1;
    const int done = atomic_load(&((JOB_T*)pt_job)->done);
    const int filled = pt_job->count > 0 ? done * width / pt_job->count : width;
    fprintf(stderr, "\r[%-*.*s] %d/%d %s", width, filled, bar, done, pt_job->count, file);
    fflush(stderr);
}

/* Tunes every entry; false when the threads could not be started. */
static bool run(JOB_T* pt_job, const char* file) {
    pthread_t at_thread[THREADS];
    int started = 0;
    while (started < THREADS && pthread_create(&at_thread[started], NULL, tune_all, pt_job) == 0) {
        ++started;
    }
    const bool terminal = isatty(STDERR_FILENO) != 0;
    while (terminal && started > 0 && atomic_load(&pt_job->done) < pt_job->count) {
        show_progress(file, pt_job);
        usleep(50000);
    }
    for (int i = 0; i < started; ++i) {
        pthread_join(at_thread[i], NULL);
    }
    if (terminal) {
        show_progress(file, pt_job);
        fprintf(stderr, "\n");
    }
    return started > 0;
}

/* Tunes a file's transponders and shows them; adds to the sums, by outcome. */
static int tune_file(const BOX_T* pt_box, const struct dvb_sat_lnb* pt_lnb,
                     const LNB_SWITCH_T* pt_switch, const char* file, int ai4_sum[OUTCOMES]) {
    struct dvb_file* pt_file =
        access(file, R_OK) == 0 ? dvb_read_file_format(file, SYS_UNDEFINED, FILE_DVBV5) : NULL;
    int count = 0;
    for (struct dvb_entry* e = pt_file != NULL ? pt_file->first_entry : NULL; e != NULL;
         e = e->next) {
        ++count;
    }
    if (count == 0) {
        fprintf(stderr, "%s: not a readable scan file with entries\n", file);
        if (pt_file != NULL) {
            dvb_file_free(pt_file);
        }
        return STATUS_INPUT;
    }
    JOB_T job = {.pt_box = pt_box, .pt_lnb = pt_lnb, .t_switch = *pt_switch, .count = count};
    job.at_transponder = calloc((size_t)count, sizeof(*job.at_transponder));
    if (job.at_transponder == NULL) {
        fprintf(stderr, "%s: no memory for %d entries\n", file, count);
        dvb_file_free(pt_file);
        return STATUS_INPUT;
    }
    int i = 0;
    for (struct dvb_entry* e = pt_file->first_entry; e != NULL; e = e->next) {
        job.at_transponder[i++].pt_entry = e;
    }
    printf("\n%s: %d transponders\n", file, count);
    fflush(stdout);
    const uint32_t h_scan = pt_box->create_pipeline();
    x_native_frontend_require_tuner(h_scan);
    int status = scan_file(&job, h_scan) ? STATUS_OK : STATUS_DIFFERENT;
    if (status != STATUS_OK) {
        printf("  scan       INCOMPLETE\n");
    }
    x_native_frontend_close_tuner(h_scan);
    pt_box->destroy_pipeline(h_scan);
    if (!run(&job, file)) {
        status = STATUS_INPUT;
    }
    for (i = 0; i < count; ++i) {
        const TRANSPONDER_T* pt_transponder = &job.at_transponder[i];
        char name[64];
        entry_name(pt_transponder->pt_entry, name, sizeof(name));
        printf("  %-10s %s -> %s\n", k_outcomes[pt_transponder->e_outcome], name,
               pt_transponder->received[0] != '\0' ? pt_transponder->received : "nothing");
        if (pt_transponder->lnb[0] != '\0') {
            printf("  %-10s %s\n", "", pt_transponder->lnb);
        }
        if (pt_transponder->signal[0] != '\0') {
            printf("  %-10s %s\n", "", pt_transponder->signal);
            printf("  %-10s readback %s\n", "",
                   pt_transponder->pc_fault == NULL ? "agrees" : "of a transponder with a fault");
        }
        if (pt_transponder->pc_fault != NULL) {
            printf("  %-10s FAULT: %s\n", "", pt_transponder->pc_fault);
            status = STATUS_DIFFERENT;
        }
        ++ai4_sum[pt_transponder->e_outcome];
        if (pt_transponder->e_outcome == DIFFERENT) {
            printf("  %-10s asked: %s\n", "", pt_transponder->asked);
            status = STATUS_DIFFERENT;
        }
    }
    free(job.at_transponder);
    dvb_file_free(pt_file);
    return status;
}

static int usage(FILE* out) {
    fprintf(out,
            "usage: demo [--log LEVEL] [--lnb NAME] [--option A|B] [--position A|B]\n"
            "            [--ts STREAM] [FILE...]\n"
            "Scans the band and tunes every transponder of the scan files (five of Debian's by\n"
            "default), and lists the services of a sample stream.\n"
            "  --log LEVEL    opens the log gate: V, D, I, W or E\n"
            "  --lnb NAME     the LNB of satellite files (EXTENDED by default)\n"
            "  --option, --position\n"
            "                 the input of the satellite switch (A and A by default)\n"
            "  --ts STREAM    lists the services of this transport stream too\n");
    return out == stdout ? STATUS_OK : STATUS_INPUT;
}

/* "A" or "B" of a switch. */
static bool input_of(const char* text, int* pi4_input) {
    *pi4_input = strcmp(text, "B") == 0;
    return *pi4_input || strcmp(text, "A") == 0;
}

int middleware_main(const BOX_T* pt_box, int argc, char** argv) {
    const char* lnb = "EXTENDED";
    const char* stream = NULL;
    LNB_SWITCH_T t_switch = {0, 0};
    bool known = true;
    int first = 0;
    for (; first < argc && argv[first][0] == '-'; ++first) {
        if (strcmp(argv[first], "--help") == 0) {
            return usage(stdout);
        } else if (strcmp(argv[first], "--log") == 0 && first + 1 < argc) {
            pt_box->set_log_level(argv[++first]);
        } else if (strcmp(argv[first], "--lnb") == 0 && first + 1 < argc) {
            lnb = argv[++first];
        } else if (strcmp(argv[first], "--ts") == 0 && first + 1 < argc) {
            stream = argv[++first];
        } else if (strcmp(argv[first], "--option") == 0 && first + 1 < argc) {
            known = input_of(argv[++first], &t_switch.option);
        } else if (strcmp(argv[first], "--position") == 0 && first + 1 < argc) {
            known = input_of(argv[++first], &t_switch.position);
        } else {
            known = false;
        }
        if (!known) {
            fprintf(stderr, "%s: unknown option, or no value behind it\n", argv[first]);
            return usage(stderr);
        }
    }
    const int index = dvb_sat_search_lnb(lnb);
    if (index < 0) {
        fprintf(stderr, "%s: an LNB that is not known\n", lnb);
        return STATUS_INPUT;
    }
    const char* const* files = k_default_files;
    int count = (int)(sizeof(k_default_files) / sizeof(k_default_files[0]));
    if (first < argc) {
        files = (const char* const*)(argv + first);
        count = argc - first;
    }
    int status = STATUS_OK;
    int ai4_sum[OUTCOMES] = {0};
    for (int i = 0; i < count; ++i) {
        const int result = tune_file(pt_box, dvb_sat_get_lnb(index), &t_switch, files[i], ai4_sum);
        status = result > status ? result : status;
    }
    for (int i = 0; i < 2; ++i) {
        const char* file = i == 0 ? pt_box->sample : stream;
        const int result = file != NULL ? show_services(pt_box, file) : STATUS_OK;
        status = result > status ? result : status;
    }
    printf(
        "\n%d tuned, %d refused by the tuner, %d not expressible, %d arrived otherwise than "
        "asked\n",
        ai4_sum[TUNED], ai4_sum[REFUSED], ai4_sum[NOT_EXPRESSIBLE], ai4_sum[DIFFERENT]);
    fflush(stdout);
    return status;
}
