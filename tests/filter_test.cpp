// Section filters: opens that fail, and what concurrency can break.

#include "mw/filter.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <numeric>
#include <thread>

#include "mw/basic_services.h"
#include "tests/library_test.h"

namespace {

using desk::callWatched;
using desk::Event;
using desk::Failure;
using Lines = std::vector<std::string>;

constexpr uint32_t kUnwritten = 7;  // what a handle holds before the call

int start(uint32_t hfilter) {
    return callWatched([&] { return x_velmora_filter_start(hfilter); });
}
int close(uint32_t hfilter) {
    return callWatched([&] { return x_velmora_filter_close(hfilter); });
}
int deleteThread(uint32_t hthread) {
    return callWatched([&] { return x_velmora_filter_delete_callback_thread(hthread); });
}
int reportSection(uint32_t hfilter) {
    const desk::Attached attached;
    desk::report(Event::kSection, hfilter, 1, 2, 3, 4);
    return desk::takeHeard() == 0 ? -1 : 0;
}

class FilterTest : public desk::LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        desk::registerCountingCallbacks(mPipeline->handle());
        desk::takeCalls();
    }
    int open(uint32_t* ph_filter) {
        FLT_EVT_CB_T evt = {};
        return callWatched([&] {
            return x_velmora_filter_open(mPipeline->handle(), 1, 2, 3, ph_filter, &evt, nullptr);
        });
    }
};

TEST_F(FilterTest, SectionConfigHandsOnFlagsAsBooleansAndPatternsAsTheyAre) {
    uint32_t h = 0;
    open(&h);
    desk::record();
    uint8_t patterns[3 * FLT_PATTERN_SIZE];
    std::iota(std::begin(patterns), std::end(patterns), 80);
    for (const uint8_t flag : std::initializer_list<uint8_t>{0, 1, 2, 255}) {
        desk::takeLog();
        callWatched([&] {
            return x_velmora_filter_setSectionConfig(h, -7, flag, 1, 0, patterns, patterns + 16,
                                                     patterns + 32);
        });
        callWatched([&] {
            return x_velmora_filter_setSectionConfig(h, 7, 0, flag, flag, patterns, patterns,
                                                     patterns);
        });
        const Lines log = desk::takeLog();
        const std::string text = flag == 0 ? "0" : "1";
        EXPECT_EQ(
            "ZytTvInnerFilter.onSetSectionConfig(-7, " + text +
                ", 1, 0, "
                "[80, 81, 82, 83, 84, 85, 86, 87, 88, 89, 90, 91, 92, 93, 94, 95], "
                "[96, 97, 98, 99, 100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111], "
                "[112, 113, 114, 115, 116, 117, 118, 119, 120, 121, 122, 123, 124, 125, 126, 127])",
            log.at(0));
        EXPECT_EQ(0u, log.at(1).find("ZytTvInnerFilter.onSetSectionConfig(7, 0, " + text + ", " +
                                     text + ", [80, "));
    }
    close(h);
}

TEST_F(FilterTest, ReadCopiesWhatJavaHasWithinEveryBound) {
    uint32_t h = 0;
    open(&h);
    desk::record();
    constexpr int64_t kMost = FLT_MAX_READ_SIZE;
    for (const int64_t size : {INT64_MIN, INT64_C(-1), INT64_C(0), INT64_C(1), INT64_C(100),
                               kMost - 1, kMost, kMost + 1, INT64_MAX}) {
        for (const int64_t given : {int64_t{INT32_MIN}, INT64_C(-1), INT64_C(0), INT64_C(1),
                                    INT64_C(100), INT64_C(101), kMost, kMost + 1}) {
            SCOPED_TRACE(std::to_string(given) + " of " + std::to_string(size));
            const int64_t wanted = std::min(size, kMost);
            const int64_t copied = given < 1 || given > wanted ? 0 : given;
            desk::script("onRead", std::to_string(given));
            desk::takeLog();
            // No longer than what is wanted, so that the sanitizers see an access beyond it.
            std::vector<int8_t> buffer(static_cast<size_t>(std::max<int64_t>(wanted, 1)), 0);
            EXPECT_EQ(copied == 0 ? -1 : copied, callWatched([&] {
                          return x_velmora_filter_read(h, buffer.data(), -7000000000, size);
                      }));
            EXPECT_EQ("ZytTvInnerFilter.onRead([4096 bytes], -7000000000, " +
                          std::to_string(wanted) + ")",
                      desk::takeLog().at(0));
            for (size_t i = 0; i < buffer.size(); ++i) {
                const bool isRead = static_cast<int64_t>(i) < copied;
                ASSERT_EQ(isRead ? static_cast<int8_t>(1 + i * 37 + i / 256) : 0, buffer[i]) << i;
            }
        }
    }
    close(h);
}

// Whether a thread of this process waits for something.
bool sleeps(pid_t thread) {
    std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(stat, text);
    const size_t name = text.rfind(") ");
    return name != std::string::npos && text[name + 2] == 'S';
}

// The second delete begins while the first is inside handle_free. The first goes on when the second
// waits because it is kept out, or has looked the handle up as well.
TEST_F(FilterTest, DeletesOfOneCallbackThreadThatMeetReleaseItOnce) {
    static uint32_t hthread;
    static std::thread second;
    static std::atomic<pid_t> secondId;
    static int secondResult;
    EXPECT_EQ(0, callWatched([&] { return x_velmora_filter_create_callback_thread(&hthread); }));
    desk::takeCalls();
    desk::atNextCall("handle_free", [] {
        const unsigned long lookups = desk::callsOf("handle_get_type_obj");
        second = std::thread([] {
            secondId = static_cast<pid_t>(syscall(SYS_gettid));
            secondResult = deleteThread(hthread);
        });
        while (secondId == 0 ||
               (!sleeps(secondId) && desk::callsOf("handle_get_type_obj") == lookups)) {
            std::this_thread::yield();
        }
    });
    const int firstResult = deleteThread(hthread);
    second.join();
    EXPECT_EQ(-1, firstResult + secondResult);
    EXPECT_EQ("ZytTvInnerFilterCallbackThread#1.release()", desk::takeCalls());
}

// Who may wait for a filter that is being opened; each returns 0 when the filter served it, -1 when
// not, and 1 when it served one of two.
struct Waiter {
    const char* name;
    int (*wait)(uint32_t hfilter);
};
const Waiter kWaiters[] = {
    {"operation", start},
    {"close", close},
    {"event", reportSection},
    {"two events",
     [](uint32_t hfilter) {
         int other = 0;
         std::thread thread([&] { other = reportSection(hfilter); });
         const int own = reportSection(hfilter);
         thread.join();
         return own == other ? own : 1;
     }},
};

// The handle that an open is about to issue.
uint32_t nextHandle() {
    uint32_t probe = 0;
    handle_alloc(1, nullptr, nullptr, nullptr, &probe);
    handle_free(probe, 1);
    return probe + 1;
}

// Starts a waiter and returns when it has asked for the semaphore, and a second thread of it has had
// the time to ask too.
std::thread startWaiter(const Waiter& waiter, uint32_t hfilter, int* result) {
    const unsigned long locks = desk::callsOf("x_sema_lock");
    std::thread thread([=] { *result = waiter.wait(hfilter); });
    while (desk::callsOf("x_sema_lock") == locks) {
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));  // for a second one
    return thread;
}

// The steps at which an open fails with its handle visible to others, and what it logs then; the first
// succeeds.
struct Step {
    const char* name;
    void (*prepare)();
    const char* line;
};
const Step kSteps[] = {
    {"none", [] {}, "handle from sp"},
    {"read back", [] { desk::failCall("handle_get_type_obj", 1, Failure::kNull); }, ", failed."},
    {"pipeline", [] { desk::failCall("handle_get_type_obj", 2, Failure::kNull); }, ", fail: -17."},
    {"array", [] { desk::failCall("NewByteArray", 1, Failure::kNull); }, "mj_sectionarr failed."},
    {"object", [] { desk::failCall("NewObjectA", 1, Failure::kNull); }, "mObject failed."},
    {"constructor throws", [] { desk::script("ZytTvInnerFilter.<init>", "throws"); },
     "nativeOpen fail: -1"},
    {"refused", [] { desk::script("onOpenFilter", "3"); }, "nativeOpen fail: 3"},
};

// Who waits for a filter that is being opened is served when the open ends well. Otherwise it fails too,
// and nothing is freed twice, also when the semaphore cannot be released and only its deletion wakes it.
TEST_F(FilterTest, WaitersOfAnOpenAreServedOrFailWithIt) {
    for (const Step& step : kSteps) {
        for (const Waiter& waiter : kWaiters) {
            for (const bool released : {true, false}) {
                SCOPED_TRACE(std::string(step.name) + ", " + waiter.name);
                const bool fails = &step != kSteps;
                const desk::ResourceCounts before = desk::resourceCounts();
                const uint32_t visible = nextHandle();
                int result = 9;
                std::thread waiting;
                desk::resetModel();
                step.prepare();
                if (fails && !released) {
                    desk::failCall("x_sema_unlock", 1, Failure::kKeeps);
                }
                desk::atNextLine(step.line,
                                 [&] { waiting = startWaiter(waiter, visible, &result); });
                desk::setLogLevel("I");
                desk::takeLog();
                uint32_t h = kUnwritten;
                EXPECT_EQ(fails ? -1 : 0, open(&h));
                waiting.join();
                EXPECT_EQ(fails ? -1 : 0, result);
                EXPECT_EQ(fails ? 0 : visible, h);
                const Lines log = desk::takeLog();
                EXPECT_EQ(fails && !released, std::any_of(log.begin(), log.end(), [](auto& line) {
                              return line.find("fail! return i4_rc") != std::string::npos;
                          }));
                desk::setLogLevel("");
                desk::failNothing();
                close(h);
                EXPECT_EQ(-1, start(visible));
                EXPECT_EQ("", desk::changesSince(before));
            }
        }
    }
}

// An instance that is no address: only where pointers are narrower. What is behind it is never
// looked at, and everything that is the record's is given back.
TEST_F(FilterTest, InstanceThatIsNoAddressIsRefused) {
    EXPECT_EQ(0, addInnerFilterReference(0));
    EXPECT_EQ(0, subInnerFilterReference(0));
    if (sizeof(void*) != 4) {
        GTEST_SKIP() << "every 64-bit value is an address here";
    }
    EXPECT_EQ(-1, addInnerFilterReference(INT64_C(0x100000000)));
    EXPECT_EQ(-1, subInnerFilterReference(INT64_C(0x100000000)));
    uint32_t h = 0;
    EXPECT_EQ(0, open(&h));
    desk::takeCalls();
    uint16_t type = 0;
    void* record = nullptr;
    EXPECT_EQ(0, handle_get_type_obj(h, &type, &record));
    constexpr size_t kInstanceOffset = 8;
    int64_t* field = reinterpret_cast<int64_t*>(static_cast<char*>(record) + kInstanceOffset);
    const int64_t instance = *field;
    *field |= INT64_C(1) << 32;
    EXPECT_EQ(-1, start(h));
    desk::setLogLevel("I");
    desk::takeLog();
    EXPECT_EQ(0, close(h));
    const Lines lines = desk::takeLog();
    desk::setLogLevel("");
    char shown[80];
    snprintf(shown, sizeof(shown), "filter.get: 0x%" PRIx64 ", instance: 0x%" PRIx64 ",failed.",
             instance & UINT32_MAX, instance | INT64_C(1) << 32);
    ASSERT_EQ(4u, lines.size());
    EXPECT_NE(std::string::npos, lines[1].find(std::string(">  ") + shown));
    EXPECT_NE(std::string::npos,
              lines[2].find(std::string("> subInnerFilterReferencefailed, ") + shown + "\n"));
    EXPECT_EQ("", desk::takeCalls());
    callWatched([&] { return subInnerFilterReference(instance); });
}

}  // namespace
