/* The middleware of the demo: its command line and its verdict. */
#include <getopt.h>
#include <pthread.h>
#include <stdbool.h>
#include <stdio.h>
#include <string.h>

#include "sim/middleware/demo.h"
#include "sim/middleware/support.h"

enum { STATUS_OK = 0, STATUS_INPUT = 1, STATUS_DIFFERENT = 2 };

static char* k_default_files[] = {
    "/usr/share/dvb/dvb-s/Hotbird-13.0E",    "/usr/share/dvb/dvb-c/de-Berlin",
    "/usr/share/dvb/dvb-t/uk-CrystalPalace", "/usr/share/dvb/atsc/us-ATSC-center-frequencies-8VSB",
    "/usr/share/dvb/isdb-t/br-sp-SaoPaulo",  NULL};

/* Result: the exit status. */
static int show_verdict(const DEMO_T* pt_demo) {
    const int* pi4_sum = pt_demo->ai4_sum;
    int status = STATUS_OK;
    say(RESULT, "%s", "");
    const int not_expressible = show_reasons("Not expressible:", pi4_sum);
    if (pt_demo->failed > 0) {
        say(RESULT, "FAILED: %d of %d files cannot be used, tune nothing or lack services.",
            pt_demo->failed, pt_demo->inputs);
        status = STATUS_INPUT;
    }
    if (pi4_sum[DIFFERENT] + pt_demo->faults > 0) {
        say(RESULT, "DIFFERENT: %d transponders, and %d other faults; see above.",
            pi4_sum[DIFFERENT], pt_demo->faults);
        status = STATUS_DIFFERENT;
    }
    if (status == STATUS_OK && pt_demo->rows == 0) {
        say(RESULT, "PASSED: every section of the stream arrived whole.");
    } else if (status == STATUS_OK) {
        say(RESULT, "PASSED: %d tuned, %d refused by the tuner, %d not expressible, 0 different.",
            pi4_sum[TUNED], pi4_sum[REFUSED], not_expressible);
    }
    say(RESULT, "Next: scripts/demo --verbose (every transponder) or --help (files of your own)");
    return status;
}

/* Runs on a thread that the virtual machine does not know. */
static void* run(void* pv_demo) {
    DEMO_T* pt_demo = pv_demo;
    const bool defaults = *pt_demo->files == NULL && pt_demo->stream == NULL;
    for (char** file = defaults ? k_default_files : pt_demo->files; *file != NULL; ++file) {
        tune_file(pt_demo, *file);
    }
    if (pt_demo->example[0][0] != '\0') {
        say(RESULT, "%s", "");
        say(RESULT, "A transponder on its way");
        say(RESULT, "  asked    %s", pt_demo->example[0]);
        say(RESULT, "  lnb      %s", pt_demo->example[1]);
        say(RESULT, "  received %.66s...", pt_demo->example[2]);
    }
    if (defaults || pt_demo->stream != NULL) {
        show_services(pt_demo, defaults ? pt_demo->pt_box->sample : pt_demo->stream);
    }
    return NULL;
}

int middleware_main(const BOX_T* pt_box, int argc, char** argv) {
    static const struct option k_options[] = {{"verbose", no_argument, NULL, 'v'},
                                              {"log", required_argument, NULL, 'l'},
                                              {"lnb", required_argument, NULL, 'n'},
                                              {"ts", required_argument, NULL, 't'},
                                              {NULL, 0, NULL, 0}};
    static DEMO_T t_demo;
    t_demo.pt_box = pt_box;
    opterr = 0;
    for (int option; (option = getopt_long(argc, argv, ":", k_options, NULL)) != -1;) {
        const char* fault = NULL;
        switch (option) {
            case 'v':
                g_verbose = true;
                break;
            case 'l':
                fault = strlen(optarg) != 1 || strchr("VDIWE", *optarg) == NULL
                            ? "is not one of V D I W E"
                            : NULL;
                pt_box->set_log_level(optarg);
                break;
            case 'n':
                t_demo.pt_lnb = dvb_sat_get_lnb(dvb_sat_search_lnb(optarg));
                fault = t_demo.pt_lnb == NULL ? "is not an LNB of libdvbv5" : NULL;
                break;
            case 't':
                fault = t_demo.stream != NULL ? "is a second stream" : NULL;
                t_demo.stream = optarg;
                break;
            default:
                fault = option == ':' ? "needs a value" : "is unknown here";
                break;
        }
        if (fault != NULL) {
            say(PROBLEM, "%s %s; see --help", argv[optind - 1], fault);
            return STATUS_INPUT;
        }
    }
    t_demo.files = argv + optind;
    pthread_t thread;
    if (pthread_create(&thread, NULL, run, &t_demo) != 0) {
        say(PROBLEM, "cannot start a thread");
        return STATUS_INPUT;
    }
    pthread_join(thread, NULL);
    return show_verdict(&t_demo);
}
