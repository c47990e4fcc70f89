#include "sim/middleware/support.h"

#include <errno.h>
#include <poll.h>
#include <stdarg.h>
#include <string.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <wctype.h>

static bool g_verbose;

void show_details(void) {
    g_verbose = true;
}

bool is_plain(wchar_t character) {
    return iswprint((wint_t)character) && (character < 0x200b || character > 0x200f) &&
           (character < 0x202a || character > 0x202e) &&
           (character < 0x2060 || character > 0x206f) && character != 0xfeff;
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
    FILE* out = e_line == PROBLEM ? stderr : stdout;
    fflush(stdout); /* so that both streams come in order where they share a terminal */
    flockfile(out);
    mbstate_t state = {0};
    size_t length;
    for (const char* text = line; *text != '\0'; text += length) {
        wchar_t character;
        length = mbrtowc(&character, text, strlen(text), &state);
        if (length > strlen(text) || !is_plain(character)) {
            length = length > strlen(text) ? 1 : length;
            memset(&state, 0, sizeof(state));
            fputc('?', out);
        } else {
            fwrite(text, 1, length, out);
        }
    }
    fputc('\n', out);
    fflush(out);
    funlockfile(out);
}

void append(char* text, size_t size, const char* format, ...) {
    const size_t used = strlen(text);
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text + used, size - used, format, arguments);
    va_end(arguments);
}

FILE* input_open(const char* file) {
    struct stat status;
    if (stat(file, &status) == 0 && !S_ISREG(status.st_mode)) {
        say(PROBLEM, "%s: not a regular file", file);
        return NULL;
    }
    FILE* in = fopen(file, "rbe");
    if (in == NULL) {
        say(PROBLEM, "%s: %s", file, strerror(errno));
    }
    return in;
}

static int g_events = -1;

__attribute__((constructor)) static void open_events(void) {
    g_events = eventfd(0, EFD_CLOEXEC); /* without it every wait ends without an event */
}

void event_noted(void) {
    eventfd_write(g_events, 1);
}

bool event_wait(int seconds) {
    struct pollfd events = {.fd = g_events, .events = POLLIN};
    eventfd_t count;
    return poll(&events, 1, seconds * 1000) == 1 && eventfd_read(g_events, &count) == 0;
}
