#include "sim/middleware/support.h"

#include <errno.h>
#include <semaphore.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <wctype.h>

bool g_verbose;

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
    fflush(stdout); /* keeps both streams in order on a terminal */
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

void* grown(void* array, size_t count, size_t size) {
    array = reallocarray(array, count, size);
    if (array == NULL) {
        abort();
    }
    return array;
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

static sem_t g_events; /* zeroed: no event yet */

void event_noted(void) {
    sem_post(&g_events);
}

bool event_wait(int seconds) {
    struct timespec until;
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += seconds;
    return sem_timedwait(&g_events, &until) == 0;
}
