// Loading: the order of registration, its failures, the log gate and SIGINT. Each test loads the
// library in a process of its own, forked before there is a virtual machine.

#include <cutils/properties.h>
#include <errno.h>
#include <signal.h>
#include <unistd.h>

#include <cstring>

#include "log/halvorin_log.h"
#include "tests/bridge_test.h"

extern "C" {
jint JNI_OnLoad(JavaVM* vm, void* reserved);
extern JavaVM* g_velmora_javaVM;
}

namespace {

using desk::Call;
using Lines = std::vector<std::string>;

// Exits with 0 when every expectation of the body held.
#define IN_A_PROCESS(body)                                             \
    EXPECT_EXIT(                                                       \
        {                                                              \
            desk::startWatchedVm({desk::kSmallHeap, desk::kCheckJni}); \
            desk::setLogLevel("E");                                    \
            body();                                                    \
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
        desk::failCall(Call::kGetEnv, 1, desk::Failure::kNull);
        EXPECT_EQ(-1, desk::bridge([] { return JNI_OnLoad(desk::watchedVm(), nullptr); }));
        EXPECT_EQ(Lines{"E ERROR: GetEnv failed"}, desk::takeLog());
        EXPECT_EQ(nullptr, g_velmora_javaVM);
    });
}

struct Refusal {
    const char* missingClass;  // of the callback class, after the package
    const char* firstNative;   // of the table that is refused
    Lines log;
};

// A load that fails: which table is refused, by a missing class or a refused registration, and what
// is said.
void refused(const Refusal& refusal) {
    const std::string package = "com/halvorin/tv/velmora/services/selector/connectmanager/";
    for (const bool missing : {true, false}) {
        if (missing) {
            desk::failLookup(Call::kFindClass, package + refusal.missingClass);
        } else {
            desk::failLookup(Call::kRegisterNatives, refusal.firstNative);
        }
        EXPECT_FALSE(desk::loadLibrary());
        desk::failNothing();
        EXPECT_EQ(nullptr, g_velmora_javaVM);
        Lines expected = {
            missing ? "E registerNativeMethods cannot find class return false, class: " + package +
                          refusal.missingClass
                    : "E registerNativeMethods cannot register methods return false"};
        expected.insert(expected.end(), refusal.log.begin(), refusal.log.end());
        EXPECT_EQ(expected, desk::takeLog());
    }
}

TEST(LoadTest, FailsWhenScanNativesAreRefused) {
    IN_A_PROCESS([] {
        refused({"ZytTvInnerScanCallback",
                 "notifyScanOnLocked",
                 {"E Failed to register resource scan callback native methods",
                  "E ERROR: inner frontend native registration failed"}});
    });
}

TEST(LoadTest, FailsWhenLnbNativesAreRefused) {
    IN_A_PROCESS([] {
        refused({"ZytTvInnerLnbCallback",
                 "notifyLnbEvent",
                 {"E Failed to register lnb callback native methods",
                  "E ERROR: inner frontend native registration failed"}});
    });
}

TEST(LoadTest, FailsWhenFilterNativesAreRefused) {
    IN_A_PROCESS([] {
        refused({"ZytTvInnerFilterCallback",
                 "nativeFilterSectionEvent",
                 {"E ERROR: inner filter native registration failed"}});
    });
}

// What the library calls and cannot find ends the process, with the name of what is missing.
TEST(LoadTest, MissingClassOrMethodIsFatal) {
    const std::string services = "com/halvorin/tv/velmora/services/selector/connectmanager/";
    const std::string tuner = "android/media/tv/tuner/frontend/";
    struct Missing {
        Call lookup;
        std::string name;
        const char* report;
    };
    static constexpr char kFrontend[] =
        "F/ZYT_MW .*!\\(clazz.get\\(\\) != __null\\): "
        "services/jni/connectmanager/pipeline/"
        "com_halvorin_tv_velmora_native_ZytTvInnerFrontend.cpp: "
        "FATAL Error at :[0-9]+";
    static constexpr char kFilter[] =
        "F/ZytTvInnerFilter_JNI.*!\\(clazz.get\\(\\) != __null\\): "
        "services/jni/connectmanager/pipeline/com_halvorin_tv_velmora_native_ZytTvInnerFilter.cpp: "
        "FATAL Error at :[0-9]+";
    const Missing cases[] = {
        {Call::kFindClass, services + "ZytTvInnerFrontend", kFrontend},
        {Call::kFindClass, tuner + "AtscFrontendSettings", kFrontend},
        {Call::kFindClass, tuner + "FrontendStatus", kFrontend},
        {Call::kFindClass, services + "ZytTvInnerFilter", kFilter},
        {Call::kFindClass, services + "ZytTvInnerFilterCallbackThread", kFilter},
        {Call::kGetMethodID, "onLnbClose", "!\\(gFields.onLnbCloseID != __null\\)"},
        {Call::kGetMethodID, "setEndFrequency", "!\\(gConfigFields.setEndFrequencyID != __null\\)"},
        {Call::kGetMethodID, "getCodeRates", "!\\(gFrontendFields.getCodeRatesID != __null\\)"},
        {Call::kGetMethodID, "onRead", "!\\(android::gFields.onReadId != __null\\)"},
        {Call::kGetMethodID, "release", "!\\(android::gCallbackThreadFields.release != __null\\)"},
    };
    for (const Missing& missing : cases) {
        SCOPED_TRACE(missing.name);
        EXPECT_EXIT(
            {
                signal(SIGABRT, SIG_DFL);
                desk::startWatchedVm({desk::kSmallHeap, desk::kCheckJni});
                signal(SIGABRT, SIG_DFL);
                desk::failLookup(missing.lookup, missing.name);
                desk::loadLibrary();
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
