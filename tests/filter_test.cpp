// Section filters: opens that fail, and what concurrency can break.

#include "mw/filter.h"

#include <android/log.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cinttypes>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <mutex>
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
        mPipeline = std::make_unique<desk::Pipeline>();
        desk::registerCountingCallbacks(mPipeline->handle());
        desk::takeCalls();
    }
    void TearDown() override {
        mPipeline.reset();
        LibraryTest::TearDown();
    }

    int open(uint32_t* ph_filter) {
        FLT_EVT_CB_T evt = {};
        return callWatched([&] {
            return x_velmora_filter_open(mPipeline->handle(), 1, 2, 3, ph_filter, &evt, nullptr);
        });
    }

    std::unique_ptr<desk::Pipeline> mPipeline;
};

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

// The steps at which an open can fail. From the handle on it is visible to others, and logs before
// it gives up.
struct FailingStep {
    const char* name;
    void (*prepare)();
    uint32_t handle;   // afterwards: kUnwritten when it must not be written
    const char* line;  // logged with the handle visible; null: the handle never is
    // The services that it then calls to give back what it has, in order.
    const char* givenBack = "handle_free x_mem_free x_sema_unlock x_sema_delete";
};
const FailingStep kFailingSteps[] = {
    {"semaphore", [] { desk::failCall("x_sema_create", 1, Failure::kNull); }, kUnwritten, nullptr,
     ""},
    {"record", [] { desk::failCall("x_mem_alloc", 1, Failure::kNull); }, kUnwritten, nullptr,
     "x_sema_unlock x_sema_delete"},
    {"handle", [] { desk::failCall("handle_alloc", 1, Failure::kNull); }, 0, nullptr,
     "x_mem_free x_sema_unlock x_sema_delete"},
    {"read back", [] { desk::failCall("handle_get_type_obj", 1, Failure::kNull); }, 0, ", failed."},
    {"pipeline", [] { desk::failCall("handle_get_type_obj", 2, Failure::kNull); }, 0,
     ", fail: -17."},
    {"array", [] { desk::failCall("NewByteArray", 1, Failure::kNull); }, 0,
     "mj_sectionarr failed."},
    {"array reference", [] { desk::failCall("NewGlobalRef", 1, Failure::kNull); }, 0,
     "mj_sectionarr failed."},
    {"object", [] { desk::failCall("NewObjectA", 1, Failure::kNull); }, 0, "mObject failed."},
    {"constructor throws", [] { desk::scriptThrows("ZytTvInnerFilter.<init>"); }, 0,
     "nativeOpen fail: -1"},
    {"refused",
     [] {
         desk::scriptReturns("ZytTvInnerFilter.<init>", nullptr);
         desk::scriptReturns("onOpenFilter", 3);
     },
     0, "nativeOpen fail: 3"},
};

std::string givenBack(const std::vector<desk::Point>& calls) {
    std::string names;
    for (const desk::Point& point : calls) {
        for (const char* call : {"handle_free", "x_mem_free", "x_sema_unlock", "x_sema_delete"}) {
            names += point.call == call ? std::string(names.empty() ? "" : " ") + call : "";
        }
    }
    return names;
}

TEST_F(FilterTest, FailedOpenGivesEverythingBack) {
    for (const FailingStep& step : kFailingSteps) {
        SCOPED_TRACE(step.name);
        const desk::ResourceCounts before = desk::resourceCounts();
        step.prepare();
        uint32_t h = kUnwritten;
        desk::record();
        EXPECT_NE(0, open(&h));
        EXPECT_EQ(step.givenBack, givenBack(desk::recorded()));
        EXPECT_EQ(step.handle, h);
        desk::failNothing();
        EXPECT_EQ("", desk::changesSince(before));
        EXPECT_EQ(std::string::npos, desk::takeCalls().find("onCloseFilter"));
    }
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

TEST_F(FilterTest, WaitersOfASuccessfulOpenAreServed) {
    for (const Waiter& waiter : kWaiters) {
        SCOPED_TRACE(waiter.name);
        desk::scriptHold("onOpenFilter");
        const uint32_t visible = nextHandle();
        uint32_t h = kUnwritten;
        std::thread opening([&] { EXPECT_EQ(0, open(&h)); });
        ASSERT_TRUE(desk::awaitHeld("onOpenFilter"));
        int result = 9;
        std::thread waiting = startWaiter(waiter, visible, &result);
        desk::scriptRelease("onOpenFilter");
        waiting.join();
        opening.join();
        EXPECT_EQ(visible, h);
        EXPECT_EQ(0, result);
        close(h);
    }
}

// A log line at which the thread that logs it stays until it is let go.
std::mutex gHoldLock;
std::condition_variable gHoldChanged;
const char* gHoldAt;
bool gHeld;
bool gUsedDeletedSemaphore;

void holdAtLine(const __android_logger_data*, const char* text) {
    std::unique_lock<std::mutex> lock(gHoldLock);
    gUsedDeletedSemaphore |= strstr(text, "fail! return i4_rc") != nullptr;
    if (gHoldAt != nullptr && strstr(text, gHoldAt) != nullptr) {
        gHeld = true;
        gHoldChanged.notify_all();
        gHoldChanged.wait(lock, [] { return gHoldAt == nullptr; });
    }
}

// An open that fails with its handle visible lets who waits for it fail too, and frees nothing
// twice; also when the semaphore cannot be released and only its deletion wakes the waiter.
class FailedOpenTest : public FilterTest, public testing::WithParamInterface<bool> {};
INSTANTIATE_TEST_SUITE_P(SemaphoreIsReleased, FailedOpenTest, testing::Bool());

TEST_P(FailedOpenTest, WaitersFail) {
    const bool released = GetParam();
    for (const FailingStep& step : kFailingSteps) {
        for (const Waiter& waiter : kWaiters) {
            if (step.line == nullptr) {
                continue;
            }
            SCOPED_TRACE(std::string(step.name) + ", " + waiter.name);
            const desk::ResourceCounts before = desk::resourceCounts();
            const uint32_t visible = nextHandle();
            gHoldAt = step.line;
            gHeld = false;
            gUsedDeletedSemaphore = false;
            __android_log_set_logger(holdAtLine);
            desk::setLogLevel("I");
            step.prepare();
            if (!released) {
                desk::failCall("x_sema_unlock", 1, Failure::kKeeps);
            }
            uint32_t h = kUnwritten;
            std::thread opening([&] { EXPECT_EQ(-1, open(&h)); });
            {
                std::unique_lock<std::mutex> lock(gHoldLock);
                gHoldChanged.wait(lock, [] { return gHeld; });
            }
            int result = 9;
            std::thread waiting = startWaiter(waiter, visible, &result);
            {
                const std::lock_guard<std::mutex> lock(gHoldLock);
                gHoldAt = nullptr;
                gHoldChanged.notify_all();
            }
            waiting.join();
            opening.join();
            EXPECT_EQ(-1, result);
            EXPECT_EQ(0u, h);
            EXPECT_EQ(!released, gUsedDeletedSemaphore);
            EXPECT_EQ(-1, start(visible));
            desk::setLogLevel("");
            desk::keepLog();
            desk::failNothing();
            EXPECT_EQ("", desk::changesSince(before));
            EXPECT_EQ(std::string::npos, desk::takeCalls().find("onStart"));
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
