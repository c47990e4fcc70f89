// The log gate, and how a log line passes it.
//
// Every line of the library asks the gate first, and the gate reads the level anew each time: a
// change of the property takes effect with the next line, and an unset property silences
// everything.

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

// Gate levels; the platform's priority of a line is one above.
constexpr int kLogDebug = 2;
constexpr int kLogInfo = 3;
constexpr int kLogError = 5;

// The gate of the library's own lines: the tag when a line of that level may be printed, else null. It
// allocates nothing, so a signal handler may ask it too.
const char* tagIfLoggable(int level, const char* tag);

}  // namespace halvorin

// Prints a line whose tag a function gives: tagOf(level) is the tag, or null when the gate is closed. A
// macro, so that the arguments of a line that is not printed are not evaluated. Each side of the library
// has macros of its own on top of it.
#define HALVORIN_LOG(level, tagOf, ...)                               \
    do {                                                              \
        if (const char* const lineTag = tagOf(level))                 \
            __android_log_print((level) + 1, (lineTag), __VA_ARGS__); \
    } while (false)

#endif  // HALVORIN_LOG_H
