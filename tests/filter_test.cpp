// Section filters: opens that fail, and what concurrency can break.

#include "mw/filter.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

#include "mw/basic_services.h"
#include "tests/support/library_test.h"

namespace {

using tests::callIntercepted;
using tests::Event;
using Lines = std::vector<std::string>;

bool has(const Lines& lines, const std::string& text) {
    return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
        return line.find(text) != std::string::npos;
    });
}

int start(uint32_t hfilter) {
    return callIntercepted([&] { return x_velmora_filter_start(hfilter); });
}
int close(uint32_t hfilter) {
    return callIntercepted([&] { return x_velmora_filter_close(hfilter); });
}
int deleteThread(uint32_t hthread) {
    return callIntercepted([&] { return x_velmora_filter_delete_callback_thread(hthread); });
}
int reportSection(uint32_t hfilter) {
    const tests::Attached attached;
    tests::report(Event::kSection, hfilter, {1, 2, 3, 4});
    return tests::takeHeard() == 0 ? -1 : 0;
}

class FilterTest : public tests::LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        tests::registerCountingCallbacks(mPipeline->handle());
        tests::setLogLevel("I");
    }
    int open(uint32_t* ph_filter) {
        FLT_EVT_CB_T evt = {};
        return callIntercepted([&] {
            return x_velmora_filter_open(mPipeline->handle(), 1, 2, 3, ph_filter, &evt, nullptr);
        });
    }
};

TEST_F(FilterTest, ReadCopiesWhatJavaGivesAndNeverMoreThanFits) {
    using Sizes = std::initializer_list<int64_t>;
    constexpr int64_t kMost = FLT_MAX_READ_SIZE;
    uint32_t h = 0;
    open(&h);
    tests::record();
    for (const int64_t size :
         Sizes{INT64_MIN, -1, 0, 1, 100, kMost - 1, kMost, kMost + 1, INT64_MAX}) {
        for (const int64_t given : Sizes{INT32_MIN, -1, 0, 1, 100, 101, kMost, kMost + 1}) {
            SCOPED_TRACE(std::to_string(given) + " of " + std::to_string(size));
            const int64_t wanted = std::min(size, kMost);
            const bool isTaken = given >= 1 && given <= wanted;
            // As long as the request and no longer, so that the sanitizers see an access beyond it.
            std::vector<int8_t> buffer(static_cast<size_t>(std::max<int64_t>(wanted, 1)));
            std::vector<int8_t> expected = buffer;
            for (size_t i = 0; isTaken && i < static_cast<size_t>(given); ++i) {
                expected[i] = static_cast<int8_t>(1 + i * 37 + i / 256);
            }
            tests::script("onRead", std::to_string(given));
            tests::takeLog();
            EXPECT_EQ(isTaken ? given : -1, callIntercepted([&] {
                          return x_velmora_filter_read(h, buffer.data(), -7000000000, size);
                      }));
            EXPECT_TRUE(
                has(tests::takeLog(), "ZytTvInnerFilter.onRead([4096 bytes], -7000000000, " +
                                          std::to_string(wanted) + ")"));
            EXPECT_EQ(expected, buffer);
        }
    }
    close(h);
}

// The second delete begins while the first is about to free the handle.
TEST_F(FilterTest, TwoDeletesOfOneCallbackThreadAtOnceReleaseItOnce) {
    uint32_t hthread = 0;
    EXPECT_EQ(0,
              callIntercepted([&] { return x_velmora_filter_create_callback_thread(&hthread); }));
    std::future<int> second;
    tests::atNext("handle_free", [&] {
        second = std::async(std::launch::async, deleteThread, hthread);
        second.wait_for(std::chrono::milliseconds(200));  // times out if a lock keeps it out
    });
    const int first = deleteThread(hthread);
    EXPECT_EQ(-1, first + second.get());
}

// A call that waits for a filter that is being opened, on this number of threads. Each call returns
// 0 if the filter served it, otherwise -1.
struct Waiter {
    const char* name;
    int (*wait)(uint32_t hfilter);
    size_t threads;
};
const Waiter kWaiters[] = {{"operation", start, 1},
                           {"close", close, 1},
                           {"event", reportSection, 1},
                           {"two events", reportSection, 2}};

// The handle that the next open will issue.
uint32_t nextHandle() {
    uint32_t probe = 0;
    handle_alloc(1, nullptr, nullptr, nullptr, &probe);
    handle_free(probe, 1);
    return probe + 1;
}

// Returns when one of the waiting threads has asked for the semaphore, and a second one has had
// time to ask too.
void startWaiting(const Waiter& waiter, uint32_t hfilter, std::vector<std::future<int>>* waiting) {
    std::atomic<bool> asked{false};
    tests::atNext("x_sema_lock", [&] { asked = true; });
    while (waiting->size() < waiter.threads) {
        waiting->push_back(std::async(std::launch::async, waiter.wait, hfilter));
    }
    while (!asked) {
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

// The steps at which an open can fail while other threads can see its handle, and what it logs
// then. The first one succeeds.
struct Step {
    void (*prepare)();
    const char* line;
};
const Step kSteps[] = {
    {[] {}, "handle from sp"},
    {[] { tests::failCall("handle_get_type_obj", 1, tests::kFails); }, ", failed."},
    {[] { tests::failCall("handle_get_type_obj", 2, tests::kFails); }, ", fail: -17."},
    {[] { tests::failCall("NewByteArray", 1, tests::kFails); }, "mj_sectionarr failed."},
    {[] { tests::failCall("NewObjectA", 1, tests::kFails); }, "mObject failed."},
    {[] { tests::script("ZytTvInnerFilter.<init>", "throws"); }, "nativeOpen fail: -1"},
    {[] { tests::script("onOpenFilter", "3"); }, "nativeOpen fail: 3"},
};

// A call that waits for a filter that is being opened is served if the open succeeds. If the open
// fails, the call fails too, and nothing is freed twice. That holds even if the semaphore cannot be
// released, so that only its deletion wakes the waiting thread.
TEST_F(FilterTest, WaitersOfAnOpenAreServedOrFailWithIt) {
    const auto openWith = [&](const Step& step, const Waiter& waiter, bool released) {
        SCOPED_TRACE(std::string(step.line) + ", " + waiter.name);
        const bool fails = &step != kSteps;
        const tests::ResourceCounts before = tests::resourceCounts();
        const uint32_t visible = nextHandle();
        std::vector<std::future<int>> waiting;
        tests::resetModel();
        step.prepare();
        if (fails && !released) {
            tests::failCall("x_sema_unlock", 1, tests::kKeeps);
        }
        tests::atNext(step.line, [&] { startWaiting(waiter, visible, &waiting); });
        tests::takeLog();
        uint32_t h = 7;  // open writes it in any case
        EXPECT_EQ(fails ? -1 : 0, open(&h));
        EXPECT_EQ(waiter.threads, waiting.size());
        for (std::future<int>& result : waiting) {
            EXPECT_EQ(fails ? -1 : 0, result.get());
        }
        EXPECT_EQ(fails ? 0 : visible, h);
        EXPECT_EQ(fails && !released, has(tests::takeLog(), "fail! return i4_rc"));
        tests::recorded();  // removes all faults
        close(h);
        EXPECT_EQ(-1, start(visible));
        EXPECT_EQ("", tests::changesSince(before));
    };
    for (const Step& step : kSteps) {
        for (const Waiter& waiter : kWaiters) {
            openWith(step, waiter, true);
            openWith(step, waiter, false);
        }
    }
}

// An instance value that is not an address exists only where pointers are narrower than the value.
// The library never follows it, and still frees everything that belongs to the record.
TEST_F(FilterTest, InstanceThatIsNotAnAddressIsRefused) {
    if (sizeof(void*) != 4) {
        GTEST_SKIP() << "every 64-bit value is an address here";
    }
    constexpr int64_t kBeyond = INT64_C(1) << 32;
    EXPECT_EQ(-1, addInnerFilterReference(kBeyond));
    EXPECT_EQ(-1, subInnerFilterReference(kBeyond));
    uint32_t h = 0;
    EXPECT_EQ(0, open(&h));
    int64_t& kept = tests::instanceOf(h);
    const int64_t instance = kept;
    kept |= kBeyond;
    tests::record();
    tests::takeLog();
    EXPECT_EQ(-1, start(h));
    EXPECT_EQ(0, close(h));
    const Lines lines = tests::takeLog();
    EXPECT_EQ(5u, lines.size()) << "Java is not called";
    EXPECT_TRUE(has(lines, ">  filter.get: 0x"));
    EXPECT_TRUE(has(lines, "> subInnerFilterReferencefailed, filter.get: 0x"));
    callIntercepted([&] { return subInnerFilterReference(instance); });
}

}  // namespace
