#include <android/log.h>
#include <desk/log_sink.h>
#include <errno.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

std::atomic<desk_log_sink_fct> gSink;
std::atomic<desk_fatal_handler_fct> gFatalHandler;

// One write for a line: lines of several threads do not mix.
void writeLine(int prio, const char* tag, const char* text) {
    static constexpr char kLetters[] = "??VDIWEF";
    const char letter = prio >= 0 && prio < 8 ? kLetters[prio] : '?';
    char line[1200];
    int length = snprintf(line, sizeof(line) - 1, "%c/%-8s(%5d): %s", letter, tag,
                          static_cast<int>(getpid()), text);
    if (length < 0) {
        return;
    }
    size_t end = length < static_cast<int>(sizeof(line) - 1) ? static_cast<size_t>(length)
                                                             : sizeof(line) - 2;
    while (end > 0 && (line[end - 1] == '\n' || line[end - 1] == '\r')) {
        --end;
    }
    line[end++] = '\n';
    const ssize_t written = write(STDERR_FILENO, line, end);
    static_cast<void>(written);  // there is nowhere to report it
}

}  // namespace

void desk_log_set_sink(desk_log_sink_fct sink) {
    gSink = sink;
}

void desk_log_set_fatal_handler(desk_fatal_handler_fct handler) {
    gFatalHandler = handler;
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    const int savedErrno = errno;
    char text[1024];
    va_list args;
    va_start(args, fmt);
    vsnprintf(text, sizeof(text), fmt, args);
    va_end(args);
    const desk_log_sink_fct sink = gSink;
    if (sink != nullptr) {
        sink(prio, tag, text);
    } else {
        writeLine(prio, tag, text);
    }
    errno = savedErrno;
    return 1;
}

void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...) {
    char message[768];
    va_list args;
    va_start(args, fmt);
    vsnprintf(message, sizeof(message), fmt, args);
    va_end(args);
    const desk_fatal_handler_fct handler = gFatalHandler;
    if (handler != nullptr) {
        handler(cond, tag, message);
    }
    char text[1024];
    snprintf(text, sizeof(text), "%s: %s", cond, message);
    writeLine(ANDROID_LOG_FATAL, tag, text);
    abort();
}
