// Checks that must never fail. One that does ends the process, whatever the log level.

#ifndef FATAL_ASSERT_H
#define FATAL_ASSERT_H

#include <android/log.h>

// What a fatal assertion reports besides its condition: the tag and the path of the bridge's source.
// The path is prescribed and the same for the whole side, whichever file the check stands in. The
// line is that of the check; for a Java class or method it is that of its row in a table. Condition
// and line together name what is missing.
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
