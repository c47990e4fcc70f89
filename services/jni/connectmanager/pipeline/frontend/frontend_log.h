// How the frontend side logs and reports fatal assertions.

#ifndef FRONTEND_LOG_H
#define FRONTEND_LOG_H

#include "log/halvorin_log.h"
#include "services/jni/connectmanager/pipeline/core/fatal_assert.h"

constexpr FatalSite kFrontendSite = {
    "ZYT_MW",
    "services/jni/connectmanager/pipeline/com_halvorin_tv_velmora_native_ZytTvInnerFrontend.cpp"};

// Like filterTag of the filter side.
const char* frontendTag(int level);

#define LOG_DEBUG(...) HALVORIN_LOG(::halvorin::kLogDebug, frontendTag, __VA_ARGS__)
#define LOG_INFO(...) HALVORIN_LOG(::halvorin::kLogInfo, frontendTag, __VA_ARGS__)
#define LOG_ERROR(...) HALVORIN_LOG(::halvorin::kLogError, frontendTag, __VA_ARGS__)

#endif  // FRONTEND_LOG_H
