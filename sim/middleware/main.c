/* The middleware of the demo: its command line and its verdict. */
#include <getopt.h>
#include <libdvbv5/dvb-sat.h>
#include <stdbool.h>
#include <stdio.h>
#include <string.h>

#include "sim/box.h"
#include "sim/middleware/report.h"
#include "sim/middleware/services.h"
#include "sim/middleware/tuning.h"

enum { STATUS_OK = 0, STATUS_INPUT = 1, STATUS_DIFFERENT = 2, COLUMNS = 78, INDENT = 11 };

static const char* const k_default_files[] = {
    "/usr/share/dvb/dvb-s/Hotbird-13.0E", "/usr/share/dvb/dvb-c/de-Berlin",
    "/usr/share/dvb/dvb-t/uk-CrystalPalace", "/usr/share/dvb/atsc/us-ATSC-center-frequencies-8VSB",
    "/usr/share/dvb/isdb-t/br-sp-SaoPaulo"};

static const char k_usage[] =
    "usage: scripts/demo [OPTION...] [FILE...]\n"
    "       scripts/demo --middleware LIBRARY [ARGUMENT...]\n"
    "Tunes every transponder of the scan files (in DVBv5 format; five of Debian's by\n"
    "default) and lists the services of a sample stream.\n"
    "  --ts STREAM    list the services of this transport stream; without a FILE\n"
    "                 nothing is tuned\n"
    "  --verbose      show every transponder and what the scans find\n"
    "  --log LEVEL    open the library's log gate: V, D, I, W or E\n"
    "  --lnb NAME     the LNB of satellite files; EXTENDED by default\n"
    "  --option A|B, --position A|B\n"
    "                 the input of the satellite switch; A and A by default\n"
    "  --middleware   run the middleware_main of another shared object\n"
    "The status is 0, or 1 for wrong input, or 2 when anything arrived otherwise\n"
    "than it was asked or sent.\n";

/* Cuts a text at blanks, so that it fits the screen. */
static void show_wrapped(const char* label, const char* text) {
    while (*text != '\0') {
        int length = (int)strlen(text);
        if (length > COLUMNS - INDENT) {
            length = COLUMNS - INDENT;
            while (length > 1 && text[length] != ' ') {
                --length;
            }
        }
        say(RESULT, "  %-*s%.*s", INDENT - 2, label, length, text);
        text += length;
        text += *text == ' ';
        label = "";
    }
}

static void show_example(const DEMO_T* pt_demo) {
    if (pt_demo->example[0] != '\0') {
        say(RESULT, "%s", "");
        say(RESULT, "A transponder on its way");
        show_wrapped("asked", pt_demo->example);
        show_wrapped("lnb", pt_demo->example_lnb);
        show_wrapped("received", pt_demo->example_received);
    }
}

/* Result: the exit status. */
static int show_verdict(const DEMO_T* pt_demo) {
    const int* pi4_sum = pt_demo->ai4_sum;
    int status = STATUS_OK;
    say(RESULT, "%s", "");
    if (pt_demo->failed > 0) {
        say(RESULT, "FAILED: %d of %d files could not be used.", pt_demo->failed, pt_demo->inputs);
        status = STATUS_INPUT;
    }
    if (pi4_sum[DIFFERENT] + pt_demo->faults > 0) {
        say(RESULT, "DIFFERENT: %d transponders, and %d other faults; see above.",
            pi4_sum[DIFFERENT], pt_demo->faults);
        status = STATUS_DIFFERENT;
    }
    if (status == STATUS_OK && pi4_sum[TUNED] + pi4_sum[REFUSED] + pi4_sum[NOT_EXPRESSIBLE] == 0) {
        say(RESULT, "PASSED: every section of the stream arrived whole.");
    } else if (status == STATUS_OK) {
        say(RESULT, "PASSED: %d tuned, %d refused by the tuner, %d not expressible, 0 different.",
            pi4_sum[TUNED], pi4_sum[REFUSED], pi4_sum[NOT_EXPRESSIBLE]);
    }
    say(RESULT, "Next: scripts/demo --verbose (every transponder) or --help (files of your own)");
    return status;
}

/* False, told why, when the text is none of the words, which are separated by blanks. */
static bool one_of(const char* option, const char* text, const char* words) {
    const size_t length = strlen(text);
    for (const char* word = words; word != NULL; word = strchr(word, ' ')) {
        word += *word == ' ';
        if (length > 0 && strncmp(word, text, length) == 0 && strchr(" ", word[length]) != NULL) {
            return true;
        }
    }
    say(PROBLEM, "%s %s: there are %s", option, text, words);
    return false;
}

/* The names of the LNBs that libdvbv5 knows. */
static void lnb_names(char* text, size_t size) {
    size_t used = 0;
    text[0] = '\0';
    for (int i = 0; dvb_sat_get_lnb(i) != NULL && used < size; ++i) {
        used += (size_t)snprintf(text + used, size - used, "%s%s", i > 0 ? " " : "",
                                 dvb_sat_get_lnb(i)->alias);
    }
}

int middleware_main(const BOX_T* pt_box, int argc, char** argv) {
    static const struct option k_options[] = {
        {"help", no_argument, NULL, 'h'},           {"verbose", no_argument, NULL, 'v'},
        {"log", required_argument, NULL, 'l'},      {"lnb", required_argument, NULL, 'n'},
        {"ts", required_argument, NULL, 't'},       {"option", required_argument, NULL, 'o'},
        {"position", required_argument, NULL, 'p'}, {NULL, 0, NULL, 0}};
    static DEMO_T t_demo;
    const char* lnb = "EXTENDED";
    const char* stream = NULL;
    bool verbose = false;
    bool logging = false;
    char names[LINE_SIZE / 2];
    lnb_names(names, sizeof(names));
    report_setup(false, false);
    opterr = 0;
    for (int option; (option = getopt_long(argc, argv, ":", k_options, NULL)) != -1;) {
        bool valid = true;
        switch (option) {
            case 'h':
                fputs(k_usage, stdout);
                return STATUS_OK;
            case 'v':
                verbose = true;
                break;
            case 'l':
                logging = valid = one_of("--log", optarg, "V D I W E");
                pt_box->set_log_level(optarg);
                break;
            case 'n':
                valid = one_of("--lnb", optarg, names);
                lnb = optarg;
                break;
            case 't':
                valid = stream == NULL;
                if (!valid) {
                    say(PROBLEM, "--ts: one stream at a time");
                }
                stream = optarg;
                break;
            case 'o':
                valid = one_of("--option", optarg, "A B");
                t_demo.t_switch.option = *optarg == 'B';
                break;
            case 'p':
                valid = one_of("--position", optarg, "A B");
                t_demo.t_switch.position = *optarg == 'B';
                break;
            default:
                say(PROBLEM, "%s: %s", argv[optind - 1],
                    option == ':' ? "needs a value" : "unknown option");
                fputs(k_usage, stderr);
                return STATUS_INPUT;
        }
        if (!valid) {
            return STATUS_INPUT;
        }
    }
    report_setup(verbose, !logging);
    t_demo.pt_box = pt_box;
    t_demo.pt_lnb = dvb_sat_get_lnb(dvb_sat_search_lnb(lnb));
    const bool defaults = optind == argc && stream == NULL;
    for (int i = optind; i < argc; ++i) {
        tune_file(&t_demo, argv[i]);
    }
    for (size_t i = 0; defaults && i < sizeof(k_default_files) / sizeof(k_default_files[0]); ++i) {
        tune_file(&t_demo, k_default_files[i]);
    }
    show_example(&t_demo);
    if (defaults || stream != NULL) {
        show_services(&t_demo, defaults ? pt_box->sample : stream);
    }
    return show_verdict(&t_demo);
}
