// The load, in a process where the library was not loaded before, and the log gate. functions.txt
// says how a load fails.

#include <cutils/properties.h>
#include <errno.h>
#include <signal.h>

#include "log/halvorin_log.h"
#include "tests/support/library_test.h"

extern "C" JavaVM* g_velmora_javaVM;

namespace {

TEST(LoadTest, PublishesTheVirtualMachineOnlyWhenItSucceeds) {
    tests::startInterceptedVm({tests::kSmallHeap, tests::kCheckJni});
    tests::failCall("GetEnv", 1, tests::kFails);
    EXPECT_EQ(-1, tests::loadInterceptedLibrary());
    tests::failCall("RegisterNatives", 3, tests::kFails);  // the last
    EXPECT_EQ(-1, tests::loadInterceptedLibrary());
    EXPECT_EQ(nullptr, g_velmora_javaVM);
    tests::loadLibrary();
    EXPECT_EQ(tests::vm(), g_velmora_javaVM);
    // SIGINT writes a log line and leaves errno alone.
    property_set("persist.vendor.zyt.broadcast.log.level", "E");
    tests::takeLog();
    errno = 1234;
    raise(SIGINT);
    EXPECT_EQ(1234, errno);
    EXPECT_EQ(std::vector<std::string>{"E ignore received signal 2"}, tests::takeLog());
}

TEST(LogGateTest, FirstLetterOfThePropertyDecides) {
    static constexpr char kProperty[] = "test.level";
    const struct {
        const char* value;
        const char* fallback;
        int lowest;  // the lowest level that passes the gate; 6: none
    } gates[] = {{"V", "", 1}, {"v", "", 1},    {"D", "", 2},  {"debug", "", 2},
                 {"i", "", 3}, {"W", "", 4},    {"E", "", 5},  {"error", "V", 5},
                 {"", "V", 1}, {"", "info", 3}, {"W", "V", 4}, {"?", "V", 6},
                 {"2", "", 6}, {" D", "", 6},   {"", "", 6},   {"", "x", 6}};
    for (const auto& gate : gates) {
        property_set(kProperty, gate.value);
        property_set("persist.test.level", gate.fallback);
        for (int level = 0; level <= 5; ++level) {
            EXPECT_EQ(level >= gate.lowest ? 1 : 0, __halvorin_log_is_loggable(level, kProperty))
                << gate.value << "|" << gate.fallback << " " << level;
        }
        EXPECT_EQ(1, __halvorin_log_is_loggable(0x7fffffff, kProperty));
    }
    EXPECT_EQ(0, __halvorin_log_is_loggable(5, nullptr));
    // The fake takes a property's first value from the environment.
    setenv("PROPERTY_start_level", "W", 1);
    EXPECT_EQ(1, __halvorin_log_is_loggable(4, "start.level"));
}

}  // namespace
