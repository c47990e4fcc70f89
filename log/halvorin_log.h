// The log gate, and how a log line passes it.
//
// Every line of the library asks the gate first, and the gate reads the level each time. So a
// change of the property takes effect with the next line. Without the property nothing is logged.

#ifndef HALVORIN_LOG_H
#define HALVORIN_LOG_H

#include <android/log.h>

// Returns 1 when the property lets a message of a gate level (1 verbose to 5 error) through, else
// 0. The first letter of the property (V, D, I, W or E, in either case) is the lowest level that
// passes; with any other value nothing passes. If the property is empty, the property with
// "persist." before its name decides. Any thread may call it. It does not block. It allocates
// memory when it has to read the second property.
extern "C" __attribute__((visibility("default"))) int __halvorin_log_is_loggable(
    int level, const char* propertyName);

namespace halvorin {

// Gate levels. The platform's priority of a line is its gate level plus one.
constexpr int kLogDebug = 2;
constexpr int kLogInfo = 3;
constexpr int kLogError = 5;

// The gate of the library's own lines: returns the tag when a line of that level may be printed,
// else null. It allocates nothing, so a signal handler may call it.
const char* tagIfLoggable(int level, const char* tag);

}  // namespace halvorin

// Prints a line. tagOf(level) returns the line's tag, or null when the gate is closed. It is a
// macro so that the arguments are not evaluated when nothing is printed. Each side of the library
// has its own macros on top of it.
#define HALVORIN_LOG(level, tagOf, ...)                               \
    do {                                                              \
        if (const char* const lineTag = tagOf(level))                 \
            __android_log_print((level) + 1, (lineTag), __VA_ARGS__); \
    } while (false)

#endif  // HALVORIN_LOG_H
