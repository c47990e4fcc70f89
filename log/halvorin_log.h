// The log gate, and the log lines that pass it.
//
// Every line of the library asks the gate first, and the gate reads the level anew each time: a
// change of the property takes effect with the next line, and an unset property silences
// everything.
//
// A source defines LOG_TAG and uses LOG_DEBUG, LOG_INFO and LOG_ERROR. They are macros so that the
// arguments of a line that is not printed are not evaluated.

#ifndef HALVORIN_LOG_H
#define HALVORIN_LOG_H

#include <android/log.h>

// 1 when a message of a gate level (1 verbose to 5 error) may be printed under the property, else
// 0. The property's first letter (V, D, I, W, E in either case) is the lowest level let through;
// when the property is empty, the one with "persist." in front of its name decides; anything else
// lets nothing through. Any thread may call it. It does not block; it allocates when it has to read
// the second property.
extern "C" __attribute__((visibility("default"))) int __halvorin_log_is_loggable(
    int level, const char* propertyName);

namespace halvorin {

constexpr char kLogLevelProperty[] = "vendor.zyt.broadcast.log.level";

// Gate levels; the platform's priority of a line is one above.
constexpr int kLogDebug = 2;
constexpr int kLogInfo = 3;
constexpr int kLogError = 5;

// The gate for kLogLevelProperty.
bool isLoggable(int level);

// The same without the allocation: for signal handlers.
bool isLoggableInSignalHandler(int level);

}  // namespace halvorin

#define HALVORIN_LOG(level, tag, ...)                             \
    do {                                                          \
        if (::halvorin::isLoggable(level))                        \
            __android_log_print((level) + 1, (tag), __VA_ARGS__); \
    } while (false)

#define LOG_DEBUG(...) HALVORIN_LOG(::halvorin::kLogDebug, LOG_TAG, __VA_ARGS__)
#define LOG_INFO(...) HALVORIN_LOG(::halvorin::kLogInfo, LOG_TAG, __VA_ARGS__)
#define LOG_ERROR(...) HALVORIN_LOG(::halvorin::kLogError, LOG_TAG, __VA_ARGS__)

#endif  // HALVORIN_LOG_H
