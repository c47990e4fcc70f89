// How the filter side logs and reports fatal assertions.

#ifndef FILTER_LOG_H
#define FILTER_LOG_H

#include "log/halvorin_log.h"
#include "services/jni/connectmanager/pipeline/core/fatal_assert.h"

constexpr FatalSite kFilterSite = {
    "ZytTvInnerFilter_JNI",
    "services/jni/connectmanager/pipeline/com_halvorin_tv_velmora_native_ZytTvInnerFilter.cpp"};

// The side's tag when a line of that level may be printed, else null. It is not inline: the address
// of the tag in every line would make the library 1.4 KB larger.
const char* filterTag(int level);

// Logs a line at INFO. Its format begins with "<%s:%4d>": the function that logs, and the source
// line.
#define FILTER_LOG_AS(function, format, ...) \
    HALVORIN_LOG(::halvorin::kLogInfo, filterTag, format, function, __LINE__, ##__VA_ARGS__)
#define FILTER_LOG(...) FILTER_LOG_AS(__func__, __VA_ARGS__)

#endif  // FILTER_LOG_H
