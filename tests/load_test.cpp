// Loading: the order of registration, its failures, the log gate and SIGINT. Each test loads the
// library in a process of its own, forked before there is a virtual machine.

#include <cutils/properties.h>
#include <errno.h>
#include <signal.h>
#include <unistd.h>

#include <cstdarg>
#include <cstring>

#include "log/halvorin_log.h"
#include "tests/bridge_test.h"

extern "C" JavaVM* g_velmora_javaVM;

// The platform's own does not tell the condition when there is a format, as here.
void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...) {
    fprintf(stderr, "F/%s %s: ", tag, cond);
    va_list args;
    va_start(args, fmt);
    vfprintf(stderr, fmt, args);
    va_end(args);
    abort();
}

namespace {

using desk::Call;
using Lines = std::vector<std::string>;

// Exits with 0 when every expectation of the body held.
#define IN_A_PROCESS(...)                                              \
    EXPECT_EXIT(                                                       \
        {                                                              \
            desk::startWatchedVm({desk::kSmallHeap, desk::kCheckJni}); \
            desk::setLogLevel("E");                                    \
            (__VA_ARGS__)();                                           \
            fflush(stdout);                                            \
            _exit(testing::Test::HasFailure() ? 1 : 0);                \
        },                                                             \
        testing::ExitedWithCode(0), "")

TEST(LoadTest, LoadsOnceEverythingIsFound) {
    IN_A_PROCESS([] {
        desk::setLogLevel("I");
        EXPECT_EQ(nullptr, g_velmora_javaVM);
        EXPECT_TRUE(desk::loadLibrary());
        EXPECT_EQ(desk::vm(), g_velmora_javaVM);
        const Lines log = desk::takeLog();
        ASSERT_EQ(2u, log.size());
        EXPECT_NE(std::string::npos,
                  log[0].find("<com_halvorin_tv_velmora_innerfilter_native_init:"));
        EXPECT_NE(std::string::npos, log[0].find("> innerfilter_native_init success.\n"));
        EXPECT_NE(std::string::npos,
                  log[1].find("> filter_callback_thread_native_init success.\n"));
        // A SIGINT is a log line, and leaves errno alone.
        errno = 1234;
        raise(SIGINT);
        EXPECT_EQ(1234, errno);
        EXPECT_EQ(Lines{"E ignore received signal 2"}, desk::takeLog());
    });
}

TEST(LoadTest, FailsWhenThereIsNoEnvironment) {
    IN_A_PROCESS([] {
        desk::failCall(Call::GetEnv, 1, desk::Failure::kNull);
        EXPECT_EQ(-1, desk::loadWatchedLibrary());
        EXPECT_EQ(Lines{"E ERROR: GetEnv failed"}, desk::takeLog());
        EXPECT_EQ(nullptr, g_velmora_javaVM);
    });
}

TEST(LoadTest, FailsWhenNativesAreRefused) {
    IN_A_PROCESS([] {
        const std::string package = "com/halvorin/tv/velmora/services/selector/connectmanager/";
        const std::string frontend = "E ERROR: inner frontend native registration failed";
        const struct {
            std::string clazz;
            const char* firstNative;
            Lines log;
        } refusals[] = {{package + "ZytTvInnerScanCallback",
                         "notifyScanOnLocked",
                         {"E Failed to register resource scan callback native methods", frontend}},
                        {package + "ZytTvInnerLnbCallback",
                         "notifyLnbEvent",
                         {"E Failed to register lnb callback native methods", frontend}},
                        {package + "ZytTvInnerFilterCallback",
                         "nativeFilterSectionEvent",
                         {"E ERROR: inner filter native registration failed"}}};
        const auto expectFailure = [](const std::string& first, Lines lines) {
            EXPECT_EQ(-1, desk::loadWatchedLibrary());
            EXPECT_EQ(nullptr, g_velmora_javaVM);
            lines.insert(lines.begin(), "E registerNativeMethods cannot " + first);
            EXPECT_EQ(lines, desk::takeLog());
        };
        for (const auto& [clazz, firstNative, log] : refusals) {
            desk::failLookup(Call::FindClass, clazz);
            expectFailure("find class return false, class: " + clazz, log);
            desk::failLookup(Call::RegisterNatives, firstNative);
            expectFailure("register methods return false", log);
        }
    });
}

// What the library calls and cannot find ends the process, with the name of what is missing.
TEST(LoadTest, MissingClassOrMethodIsFatal) {
    const std::string services = "com/halvorin/tv/velmora/services/selector/connectmanager/";
    const struct {
        Call lookup;
        std::string name;
        const char* report;
    } cases[] = {
        {Call::FindClass, "android/media/tv/tuner/frontend/FrontendStatus",
         "F/ZYT_MW .*!\\(clazz.get\\(\\) != __null\\): services/jni/connectmanager/pipeline/"
         "com_halvorin_tv_velmora_native_ZytTvInnerFrontend.cpp: FATAL Error at :[0-9]+"},
        {Call::FindClass, services + "ZytTvInnerFilter",
         "F/ZytTvInnerFilter_JNI.*!\\(clazz.get\\(\\) != __null\\): "
         "services/jni/connectmanager/pipeline/"
         "com_halvorin_tv_velmora_native_ZytTvInnerFilter.cpp: "
         "FATAL Error at :[0-9]+"},
        {Call::GetMethodID, "onLnbClose", "!\\(gFields.onLnbCloseID != __null\\)"},
        {Call::GetMethodID, "setEndFrequency", "!\\(gConfigFields.setEndFrequencyID != __null\\)"},
        {Call::GetMethodID, "onRead", "!\\(android::gFields.onReadId != __null\\)"},
        {Call::GetMethodID, "release", "!\\(android::gCallbackThreadFields.release != __null\\)"},
    };
    for (const auto& missing : cases) {
        SCOPED_TRACE(missing.name);
        EXPECT_EXIT(
            {
                desk::startWatchedVm({desk::kSmallHeap, desk::kCheckJni});
                signal(SIGABRT, SIG_DFL);
                desk::failLookup(missing.lookup, missing.name);
                desk::loadWatchedLibrary();
                _exit(0);
            },
            testing::KilledBySignal(SIGABRT), missing.report);
    }
}

TEST(LogGateTest, FirstLetterOfThePropertyDecides) {
    static constexpr char kProperty[] = "test.level";
    static constexpr char kFallback[] = "persist.test.level";
    struct Case {
        const char* value;
        const char* fallback;
        int lowest;  // gate level let through; 6: none
    };
    const Case cases[] = {{"V", "", 1}, {"v", "", 1},    {"D", "", 2},  {"debug", "", 2},
                          {"i", "", 3}, {"W", "", 4},    {"E", "", 5},  {"error", "V", 5},
                          {"", "V", 1}, {"", "info", 3}, {"W", "V", 4}, {"?", "V", 6},
                          {"2", "", 6}, {" D", "", 6},   {"", "", 6},   {"", "x", 6}};
    for (const Case& gate : cases) {
        property_set(kProperty, gate.value);
        property_set(kFallback, gate.fallback);
        for (int level = 0; level <= 5; ++level) {
            EXPECT_EQ(level >= gate.lowest ? 1 : 0, __halvorin_log_is_loggable(level, kProperty))
                << gate.value << "|" << gate.fallback << " " << level;
        }
        EXPECT_EQ(1, __halvorin_log_is_loggable(0x7fffffff, kProperty));
    }
    EXPECT_EQ(0, __halvorin_log_is_loggable(5, nullptr));
}

}  // namespace
