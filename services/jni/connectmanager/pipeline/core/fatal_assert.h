// Checks that must never fail. One that does ends the process, whatever the log level.

#ifndef FATAL_ASSERT_H
#define FATAL_ASSERT_H

#include <android/log.h>

// What a side's fatal assertions report besides their condition: the tag of its log lines and the
// path of its source. The path is prescribed: it is that of the side's entry point, whichever file
// the check stands in. The line is the check's own; for a missing Java class or method it is that of
// the row in its table, so that condition and line together tell which one is missing.
struct FatalSite {
    const char* tag;
    const char* sourcePath;
};

// condition is the text of the check as it failed, for example "!(status == (0))".
inline void fatalUnless(bool holds, const char* condition, const FatalSite& site, int line) {
    if (!holds) {
        __android_log_assert(condition, site.tag, "%s: FATAL Error at :%d", site.sourcePath, line);
    }
}

#endif  // FATAL_ASSERT_H
