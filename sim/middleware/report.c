#include "sim/middleware/report.h"

#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <wchar.h>
#include <wctype.h>

static pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
static bool g_verbose;
static bool g_progress;
static bool g_shown; /* a progress line is on the screen */

void report_setup(bool verbose, bool with_progress) {
    g_verbose = verbose;
    g_progress = with_progress && isatty(STDERR_FILENO) != 0;
}

/* Replaces what the terminal's character set cannot print. */
static void make_plain(char* text) {
    mbstate_t state = {0};
    while (*text != '\0') {
        wchar_t character;
        const size_t length = mbrtowc(&character, text, strlen(text), &state);
        if (length == 0 || length > strlen(text) || !iswprint((wint_t)character)) {
            *text++ = '?';
            memset(&state, 0, sizeof(state));
        } else {
            text += length;
        }
    }
}

static void erase(void) {
    if (g_shown) {
        fprintf(stderr, "\r\033[K");
        fflush(stderr);
        g_shown = false;
    }
}

void say(LINE_E e_line, const char* format, ...) {
    if (e_line == DETAIL && !g_verbose) {
        return;
    }
    char line[LINE_SIZE];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    make_plain(line);
    pthread_mutex_lock(&g_lock);
    erase();
    fflush(stdout); /* so that both streams come in order where they share a terminal */
    fprintf(e_line == PROBLEM ? stderr : stdout, "%s\n", line);
    fflush(stdout);
    pthread_mutex_unlock(&g_lock);
}

bool progress(const char* format, ...) {
    if (!g_progress) {
        return false;
    }
    pthread_mutex_lock(&g_lock);
    erase();
    struct winsize size;
    if (format != NULL && ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1) {
        char line[LINE_SIZE];
        va_list arguments;
        va_start(arguments, format);
        vsnprintf(line, sizeof(line), format, arguments);
        va_end(arguments);
        make_plain(line);
        fprintf(stderr, "%.*s", size.ws_col - 1, line);
        fflush(stderr);
        g_shown = true;
    }
    pthread_mutex_unlock(&g_lock);
    return true;
}
