// Checks that must never fail. If one does, the process ends, whatever the log level is.

#ifndef FATAL_ASSERT_H
#define FATAL_ASSERT_H

#include <android/log.h>

// What a fatal assertion of one side reports besides its condition: the tag of the side's log lines
// and the path of its source. The path is fixed from outside: it always names the side's file of
// entry points. The line is a line of the file that contains the check. For a missing Java class or
// method it is the line of its row or call, so that condition and line together tell what is
// missing.
struct FatalSite {
    const char* tag;
    const char* sourcePath;
};

// condition is the text of the check that failed, for example "!(status == (0))".
inline void fatalUnless(bool holds, const char* condition, const FatalSite& site, int line) {
    if (!holds) {
        __android_log_assert(condition, site.tag, "%s: FATAL Error at :%d", site.sourcePath, line);
    }
}

#endif  // FATAL_ASSERT_H
