// The platform's log, as the bridge uses it; on a desk it writes to standard error.
#ifndef ANDROID_LOG_H
#define ANDROID_LOG_H

#ifdef __cplusplus
extern "C" {
#endif

enum {
    ANDROID_LOG_VERBOSE = 2,
    ANDROID_LOG_DEBUG = 3,
    ANDROID_LOG_INFO = 4,
    ANDROID_LOG_WARN = 5,
    ANDROID_LOG_ERROR = 6,
    ANDROID_LOG_FATAL = 7
};

// Writes one line in logcat's brief form, "D/TAG     ( 1234): message". Any thread and a signal
// handler may call it: it allocates nothing.
int __android_log_print(int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4), visibility("default")));

// Writes the condition and the message, and ends the process.
void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...)
    __attribute__((noreturn, format(printf, 3, 4), visibility("default")));

#ifdef __cplusplus
}
#endif

#endif  // ANDROID_LOG_H
