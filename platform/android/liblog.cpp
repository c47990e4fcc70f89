#include <android/log.h>
#include <errno.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kUnset = 1;              // as a minimum priority
constexpr size_t kMessageSize = 1024;  // of a device's log, with the terminating zero

std::atomic<int> gMinimum{kUnset};
std::atomic<__android_logger_function> gLogger{__android_log_stderr_logger};

int log(int prio, const char* tag, const char* message) {
    const int minimum = gMinimum;
    if (prio < (minimum == kUnset ? ANDROID_LOG_INFO : minimum)) {
        return 0;
    }
    const int savedErrno = errno;
    const __android_logger_data data = {sizeof(data), 0, prio, tag, nullptr, 0};
    gLogger.load()(&data, message);
    errno = savedErrno;
    return 1;
}

void writeToStderr(const char* text, size_t length) {
    const ssize_t written = write(STDERR_FILENO, text, length);
    static_cast<void>(written);  // there is nowhere to report it
}

}  // namespace

int __android_log_set_minimum_priority(int priority) {
    return gMinimum.exchange(priority);
}

void __android_log_set_logger(__android_logger_function logger) {
    gLogger = logger;
}

// One write for a line: lines of several threads do not mix.
void __android_log_stderr_logger(const __android_logger_data* data, const char* message) {
    static constexpr char kLetters[] = "??VDIWEF";
    const char letter = data->priority >= 0 && data->priority < 8 ? kLetters[data->priority] : '?';
    char line[kMessageSize + 200];
    int length = snprintf(line, sizeof(line) - 1, "%c/%-8s(%5d): %s", letter, data->tag,
                          static_cast<int>(getpid()), message);
    if (length < 0) {
        return;
    }
    size_t end = length < static_cast<int>(sizeof(line) - 1) ? static_cast<size_t>(length)
                                                             : sizeof(line) - 2;
    while (end > 0 && (line[end - 1] == '\n' || line[end - 1] == '\r')) {
        --end;
    }
    line[end++] = '\n';
    writeToStderr(line, end);
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    const int savedErrno = errno;
    char message[kMessageSize];
    va_list args;
    va_start(args, fmt);
    vsnprintf(message, sizeof(message), fmt, args);
    va_end(args);
    errno = savedErrno;
    return log(prio, tag, message);
}

void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...) {
    char message[kMessageSize];
    if (fmt != nullptr) {
        va_list args;
        va_start(args, fmt);
        vsnprintf(message, sizeof(message), fmt, args);
        va_end(args);
    } else {
        snprintf(message, sizeof(message), "Assertion failed: %s", cond);
    }
    writeToStderr(message, strlen(message));
    writeToStderr("\n", 1);
    log(ANDROID_LOG_FATAL, tag, message);
    abort();
}
