// Section filters: open to close, what concurrency can break, and events.

#include "mw/filter.h"

#include <desk/basic_faults.h>
#include <desk/log_sink.h>

#include <atomic>
#include <cinttypes>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>

#include "mw/basic_services.h"
#include "tests/bridge_test.h"

namespace {

using desk::bridge;
using desk::Call;
using desk::Event;
using desk::Failure;
using Lines = std::vector<std::string>;

Lines gHeard;
std::mutex gHeardLock;

void hear(const std::string& line) {
    const std::lock_guard<std::mutex> lock(gHeardLock);
    gHeard.push_back(line);
}

bool heardNothing() {
    const std::lock_guard<std::mutex> lock(gHeardLock);
    return gHeard.empty();
}

void onSection(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, FLT_EVT_DATA_T* pt_data, void* pv_tag) {
    std::string line = "section " + std::to_string(hfilter) + " " +
                       std::to_string(pt_evt->ui4_private0) + " " + std::to_string(pt_data->e_kind);
    for (const int32_t arg : pt_data->ai4_arg) {
        line += " " + std::to_string(arg);
    }
    hear(line + (pv_tag == &gHeard ? " tag" : ""));
}

void onStatus(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, int32_t status, void* pv_tag) {
    hear("status " + std::to_string(hfilter) + " " + std::to_string(pt_evt->ui4_private1) + " " +
         std::to_string(status) + (pv_tag == &gHeard ? " tag" : ""));
}

class FilterTest : public desk::BridgeTest {
  protected:
    void SetUp() override {
        BridgeTest::SetUp();
        gHeard.clear();
        x_velmora_filter_register_section_callback(onSection);
        x_velmora_filter_register_filter_status_callback(onStatus);
        mPipeline = std::make_unique<desk::Pipeline>();
    }
    void TearDown() override {
        mPipeline.reset();
        x_velmora_filter_register_section_callback(nullptr);
        x_velmora_filter_register_filter_status_callback(nullptr);
        BridgeTest::TearDown();
    }

    int open(uint32_t* ph_filter, uint32_t h_cb_thread = 0) {
        FLT_EVT_CB_T evt = {31, 32, h_cb_thread};
        return bridge([&] {
            return x_velmora_filter_open(mPipeline->handle(), 1, 2, INT64_C(0x123456789a),
                                         ph_filter, &evt, &gHeard);
        });
    }

    uint32_t opened() {
        uint32_t hfilter = 0;
        EXPECT_EQ(0, open(&hfilter));
        desk::takeCalls();
        return hfilter;
    }

    static int close(uint32_t hfilter) {
        return bridge([&] { return x_velmora_filter_close(hfilter); });
    }

    static int start(uint32_t hfilter) {
        return bridge([&] { return x_velmora_filter_start(hfilter); });
    }

    std::unique_ptr<desk::Pipeline> mPipeline;
    uint8_t mPattern[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
};

TEST_F(FilterTest, OperationsReachJavaAndPassItsResults) {
    uint32_t hthread = 0;
    ASSERT_EQ(0, bridge([&] { return x_velmora_filter_create_callback_thread(&hthread); }));
    uint32_t h = 0;
    ASSERT_EQ(0, open(&h, hthread));
    EXPECT_EQ(
        "ZytTvInnerFilterCallbackThread#1.<init>()\n"
        "ZytTvInnerFilter#1.<init>(PipelineHandler(tv))\n"
        "ZytTvInnerFilter#1.setNativeHandle(" +
            std::to_string(h) +
            ")\n"
            "ZytTvInnerFilter#1.onOpenFilter(1, 2, 78187493530, ZytTvInnerFilterCallbackThread#1)",
        desk::takeCalls());
    EXPECT_EQ(3, desk::resourceCounts().globalRefs);
    for (const int result : {0, 5}) {
        for (const char* method : {"onStart", "onStop", "onFlush", "onSetSectionConfig"}) {
            desk::scriptReturns(method, result);
        }
        // On a thread that is attached for each call.
        desk::onFreshThread([&] {
            EXPECT_EQ(result, x_velmora_filter_start(h));
            EXPECT_EQ(result, x_velmora_filter_stop(h));
            EXPECT_EQ(result, x_velmora_filter_flush(h));
            EXPECT_EQ(result, x_velmora_filter_setSectionConfig(h, -9, 1, 0, 1, mPattern,
                                                                mPattern + 0, mPattern));
        });
        EXPECT_EQ(
            "ZytTvInnerFilter#1.onStart()\nZytTvInnerFilter#1.onStop()\n"
            "ZytTvInnerFilter#1.onFlush()\nZytTvInnerFilter#1.onSetSectionConfig(-9, true, "
            "false, true, byte[16]0102030405060708090a0b0c0d0e0f10, "
            "byte[16]0102030405060708090a0b0c0d0e0f10, "
            "byte[16]0102030405060708090a0b0c0d0e0f10)",
            desk::takeCalls());
    }
    EXPECT_EQ(0, close(h));
    EXPECT_EQ("ZytTvInnerFilter#1.onCloseFilter()", desk::takeCalls());
    desk::setLogLevel("I");
    EXPECT_EQ(-1, close(h));
    EXPECT_EQ(-1, start(h));
    EXPECT_EQ(-1, start(hthread)) << "a handle of another type";
    EXPECT_EQ(-1,
              bridge([&] { return x_velmora_filter_delete_callback_thread(mPipeline->handle()); }));
    desk::setLogLevel("");
    int deletions[2] = {};
    const auto deleteThread = [&](int i) {
        deletions[i] = bridge([&] { return x_velmora_filter_delete_callback_thread(hthread); });
    };
    std::thread other(deleteThread, 1);
    deleteThread(0);
    other.join();
    EXPECT_EQ(-1, deletions[0] + deletions[1]) << "one of two deletes at once";
    deleteThread(0);
    EXPECT_EQ(-1, deletions[0]) << "deleted in a row";
    EXPECT_EQ("ZytTvInnerFilterCallbackThread#1.release()", desk::takeCalls());
    EXPECT_EQ(-1, x_velmora_filter_create_callback_thread(nullptr));
    desk::scriptThrows("ZytTvInnerFilterCallbackThread.<init>");
    EXPECT_EQ(-1, bridge([&] { return x_velmora_filter_create_callback_thread(&hthread); }));
}

TEST_F(FilterTest, ReadCopiesWhatJavaHasWithinEveryBound) {
    const uint32_t h = opened();
    std::vector<jbyte> bytes(4096);
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<jbyte>(i * 7);
    }
    desk::scriptSection(bytes);
    struct Case {
        int64_t size;
        int result;
        int64_t asked;
        int copied;  // -1: nothing
    };
    const Case cases[] = {{1, 1, 1, 1},
                          {1, 2, 1, -1},
                          {4096, 4096, 4096, 4096},
                          {4096, 4097, 4096, -1},
                          {4097, 4096, 4096, 4096},
                          {10000, 4096, 4096, 4096},
                          {10000, 5000, 4096, -1},
                          {100, 200, 100, -1},
                          {100, 100, 100, 100},
                          {100, 0, 100, -1},
                          {100, -5, 100, -1},
                          {0, 1, 0, -1},
                          {-1, 1, -1, -1},
                          {INT64_MIN, 5, INT64_MIN, -1},
                          {INT64_MAX, 5, 4096, 5}};
    for (const Case& read : cases) {
        SCOPED_TRACE(std::to_string(read.size) + " " + std::to_string(read.result));
        desk::scriptReturns("onRead", read.result);
        std::vector<int8_t> buffer(4097, 0x55);
        std::vector<int8_t> expected = buffer;
        if (read.copied > 0) {
            memcpy(expected.data(), bytes.data(), static_cast<size_t>(read.copied));
        }
        EXPECT_EQ(read.copied, bridge([&] {
                      return x_velmora_filter_read(h, buffer.data(), INT64_C(-7000000000),
                                                   read.size);
                  }));
        EXPECT_EQ(expected, buffer);
        EXPECT_EQ("ZytTvInnerFilter#1.onRead(byte[4096], -7000000000, " +
                      std::to_string(read.asked) + ")",
                  desk::takeCalls());
    }
    EXPECT_EQ(-1, x_velmora_filter_read(h, nullptr, 0, 1));
    EXPECT_EQ(-1, x_velmora_filter_setSectionConfig(h, 0, 0, 0, 0, mPattern, nullptr, mPattern));
    EXPECT_EQ("", desk::takeCalls());
    EXPECT_EQ(0, close(h));
}

// The steps at which an open can fail. From the handle on it is visible to others, and logs before
// it gives up.
struct FailingStep {
    const char* name;
    void (*prepare)();
    int result;
    uint32_t handle;   // afterwards: 7 when it must not be written
    const char* line;  // logged with the handle visible; null: the handle never is
};
const FailingStep kFailingSteps[] = {
    {"semaphore", [] { desk_fail_call(DESK_SEMA_CREATE, 1, 17); }, 17, 7, nullptr},
    {"record", [] { desk_fail_call(DESK_MEM_ALLOC, 1, 1); }, -1, 7, nullptr},
    {"handle", [] { desk_fail_call(DESK_HANDLE_ALLOC, 1, 3); }, -1, 0, nullptr},
    {"read back", [] { desk_fail_call(DESK_HANDLE_GET_TYPE_OBJ, 1, 3); }, -1, 0, ", failed."},
    {"pipeline", [] { desk_fail_call(DESK_HANDLE_GET_TYPE_OBJ, 2, 3); }, -1, 0, ", fail: 3."},
    {"array", [] { desk::failCall(Call::kNewByteArray, 1, Failure::kNull); }, -1, 0,
     "mj_sectionarr failed."},
    {"array reference", [] { desk::failCall(Call::kNewGlobalRef, 1, Failure::kNull); }, -1, 0,
     "mj_sectionarr failed."},
    {"object", [] { desk::failCall(Call::kNewObject, 1, Failure::kNull); }, -1, 0,
     "mObject failed."},
    {"constructor throws", [] { desk::scriptThrows("ZytTvInnerFilter.<init>"); }, -1, 0,
     "nativeOpen fail: -1"},
    {"refused",
     [] {
         desk::scriptReturns("ZytTvInnerFilter.<init>", nullptr);
         desk::scriptReturns("onOpenFilter", 3);
     },
     -1, 0, "nativeOpen fail: 3"},
};

// The services that a failing open calls to give back what it has, in order.
std::string givenBack(const std::vector<desk::Point>& calls) {
    std::string names;
    for (const desk::Point& point : calls) {
        if (point.call >= Call::kHandleFree && point.call != Call::kSemaCreate &&
            point.call != Call::kMemAlloc) {
            names += std::string(names.empty() ? "" : " ") + desk::name(point.call);
        }
    }
    return names;
}

TEST_F(FilterTest, FailedOpenGivesEverythingBack) {
    for (const FailingStep& step : kFailingSteps) {
        SCOPED_TRACE(step.name);
        const desk::ResourceCounts before = desk::resourceCounts();
        step.prepare();
        uint32_t h = 7;
        desk::record();
        EXPECT_EQ(step.result, open(&h));
        const std::string name = step.name;
        EXPECT_EQ(name == "semaphore" ? ""
                  : name == "record"  ? "x_sema_unlock x_sema_delete"
                  : name == "handle"  ? "x_mem_free x_sema_unlock x_sema_delete"
                                      : "handle_free x_mem_free x_sema_unlock x_sema_delete",
                  givenBack(desk::recorded()));
        EXPECT_EQ(step.handle, h);
        desk::failNothing();
        EXPECT_EQ(before, desk::resourceCounts());
        EXPECT_EQ(std::string::npos, desk::takeCalls().find("onCloseFilter"));
    }
    uint32_t h = 7;
    FLT_EVT_CB_T evt = {};
    EXPECT_EQ(-1, x_velmora_filter_open(mPipeline->handle(), 0, 0, 0, nullptr, &evt, nullptr));
    EXPECT_EQ(-1, x_velmora_filter_open(mPipeline->handle(), 0, 0, 0, &h, nullptr, nullptr));
}

// Who may wait for a filter that is being opened; each returns 0 when the filter served it, else
// -1.
struct Waiter {
    const char* name;
    int (*wait)(uint32_t hfilter);
};
const Waiter kWaiters[] = {
    {"operation", [](uint32_t h) { return bridge([=] { return x_velmora_filter_start(h); }); }},
    {"close", [](uint32_t h) { return bridge([=] { return x_velmora_filter_close(h); }); }},
    {"event",
     [](uint32_t h) {
         const desk::Attached attached;
         desk::report(Event::kSection, h, 1, 2, 3, 4);
         return heardNothing() ? -1 : 0;
     }},
};

// The handle that an open is about to issue.
uint32_t nextHandle() {
    uint32_t probe = 0;
    handle_alloc(1, nullptr, nullptr, nullptr, &probe);
    handle_free(probe, 1);
    return probe + 1;
}

// Starts a waiter and returns when it has asked for the semaphore.
std::thread startWaiter(const Waiter& waiter, uint32_t hfilter, int* result) {
    const unsigned long locks = desk_calls(DESK_SEMA_LOCK);
    std::thread thread([=] { *result = waiter.wait(hfilter); });
    while (desk_calls(DESK_SEMA_LOCK) == locks) {
        std::this_thread::yield();
    }
    return thread;
}

TEST_F(FilterTest, WaitersOfASuccessfulOpenAreServed) {
    for (const Waiter& waiter : kWaiters) {
        SCOPED_TRACE(waiter.name);
        gHeard.clear();
        desk::scriptHold("onOpenFilter");
        const uint32_t visible = nextHandle();
        uint32_t h = 7;
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

void holdAtLine(int, const char*, const char* text) {
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
TEST_F(FilterTest, WaitersOfAFailedOpenFail) {
    for (const FailingStep& step : kFailingSteps) {
        for (int i = 0; i < 6; ++i) {
            const Waiter& waiter = kWaiters[i / 2];
            const bool releases = i % 2 == 0;
            if (step.line == nullptr) {
                continue;
            }
            SCOPED_TRACE(std::string(step.name) + ", " + waiter.name +
                         (releases ? "" : ", not released"));
            const desk::ResourceCounts before = desk::resourceCounts();
            const uint32_t visible = nextHandle();
            gHoldAt = step.line;
            gHeld = false;
            gUsedDeletedSemaphore = false;
            desk_log_set_sink(holdAtLine);
            desk::setLogLevel("I");
            step.prepare();
            if (!releases) {
                desk_fail_call(DESK_SEMA_UNLOCK, 1, DESK_KEEP_TAKEN);
            }
            uint32_t h = 7;
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
            EXPECT_EQ(!releases, gUsedDeletedSemaphore);
            EXPECT_EQ(-1, start(visible));
            desk::setLogLevel("");
            desk::keepLog();
            desk::failNothing();
            EXPECT_EQ(before, desk::resourceCounts());
            EXPECT_EQ(std::string::npos, desk::takeCalls().find("onStart"));
        }
    }
}

TEST_F(FilterTest, EventWaitsForTheOperationOfItsFilter) {
    const uint32_t h = opened();
    desk::scriptHold("onStart");
    std::thread starting([&] { EXPECT_EQ(0, start(h)); });
    ASSERT_TRUE(desk::awaitHeld("onStart"));
    int result = 9;
    std::thread reporting = startWaiter(kWaiters[2], h, &result);
    EXPECT_TRUE(heardNothing());
    desk::scriptRelease("onStart");
    starting.join();
    reporting.join();
    EXPECT_EQ(0, result);
    EXPECT_EQ(0, close(h));
}

TEST_F(FilterTest, EventsCarryHandleRecordAndTag) {
    const uint32_t h = opened();
    const std::string handle = std::to_string(h);
    desk::report(Event::kSection, h, 1, -2, 3, 4);
    desk::report(Event::kRestart, h, 9);
    desk::report(Event::kFilterStatus, h, -6);
    desk::report(Event::kSection, 0, 1, 2, 3, 4);
    desk::report(Event::kFilterStatus, 0x7fffff00, 1);
    x_velmora_filter_register_filter_status_callback(nullptr);
    desk::setLogLevel("I");
    desk::takeLog();
    desk::report(Event::kFilterStatus, h, 1);
    EXPECT_NE(std::string::npos,
              desk::takeLog()[0].find(">  filter status change notify is null."));
    desk::setLogLevel("");
    EXPECT_EQ(0, start(h)) << "the semaphore is free";
    EXPECT_EQ(0, close(h));
    desk::report(Event::kSection, h, 1, 2, 3, 4);
    EXPECT_EQ((Lines{"section " + handle + " 31 0 1 -2 3 4 tag",
                     "section " + handle + " 31 1 9 0 0 0 tag", "status " + handle + " 32 -6 tag"}),
              gHeard);
}

TEST_F(FilterTest, CloseWaitsForTheOperationAndTheSecondCloseFails) {
    const uint32_t h = opened();
    desk::scriptHold("onStart");
    std::thread starting([&] { EXPECT_EQ(0, start(h)); });
    ASSERT_TRUE(desk::awaitHeld("onStart"));
    int results[2];
    std::thread closing[] = {std::thread([&] { results[0] = close(h); }),
                             std::thread([&] { results[1] = close(h); })};
    desk::scriptRelease("onStart");
    starting.join();
    closing[0].join();
    closing[1].join();
    EXPECT_EQ(-1, results[0] + results[1]);
    EXPECT_EQ("ZytTvInnerFilter#1.onStart()\nZytTvInnerFilter#1.onCloseFilter()",
              desk::takeCalls());
}

// What an access says when it fails, and when it has served: each line whole, but for the number of
// the source line. H stands for the handle.
struct AccessLines {
    const char* function;
    void (*call)(uint32_t hfilter);
    const char* lock;    // the handle names no live filter
    const char* lookup;  // the second lookup fails
    const char* failed;  // the last lines, with a Java result of 5
};

void stripLineNumbers(Lines* lines, uint32_t hfilter) {
    char handle[16];
    snprintf(handle, sizeof(handle), "0x%x", hfilter);
    for (std::string& line : *lines) {
        const size_t colon = line.find(':');
        const size_t end = line.find('>');
        if (line.compare(0, 3, "I <") == 0 && colon < end) {
            line = line.substr(3, colon - 3) + line.substr(end);
        }
        const size_t at = line.find(handle);
        if (at != std::string::npos) {
            line.replace(at, strlen(handle), "H");
        }
    }
}

const AccessLines kAccessLines[] = {
    {"x_velmora_filter_start", [](uint32_t h) { x_velmora_filter_start(h); },
     ">  handle: H, x_filter_lock handle free.", "> handle: H, failed.",
     ">  start fail: 5, instance: I.|>  hfilter[H] jret 5 !\n"},
    {"x_velmora_filter_stop", [](uint32_t h) { x_velmora_filter_stop(h); },
     ">  handle: H, x_filter_lock handle free.", ">  handle:  H, failed.",
     ">  stop fail: 5, instance: I.|>  hfilter[H] jret 5 !\n"},
    {"x_velmora_filter_flush", [](uint32_t h) { x_velmora_filter_flush(h); },
     "> handle: H, x_filter_lock handle free.", "> handle:  H, failed.",
     "> flush fail: 5, instance: I.|> hfilter[H] jret 5 !\n"},
    {"x_velmora_filter_read",
     [](uint32_t h) {
         int8_t buffer[FLT_MAX_READ_SIZE];
         x_velmora_filter_read(h, buffer, 0, 100);
     },
     "> handle: H, x_filter_lock handle free.", "> handle:  H, failed.",
     "> hfilter[H] jret 0x5 !\n"},
    {"x_velmora_filter_setSectionConfig",
     [](uint32_t h) {
         uint8_t pattern[FLT_PATTERN_SIZE] = {};
         x_velmora_filter_setSectionConfig(h, 0, 0, 0, 0, pattern, pattern, pattern);
     },
     "> handle: H, x_filter_lock handle free.", "> handle:  0x0, failed.",
     "> setSectionConfig fail: 5, instance: I.|> hfilter[H] jret 5 !\n"},
    {"com_halvorin_tv_velmora_filter_section_event",
     [](uint32_t h) { desk::report(Event::kSection, h, 1, 2, 3, 4); },
     "> handle: H, x_filter_lock handle free.",
     "> handle: H invalid,drop this callback,normal case.",
     ">  filter section event notify is null."},
    {"com_halvorin_tv_velmora_filter_restart_event",
     [](uint32_t h) { desk::report(Event::kRestart, h, 1); },
     "> handle: H, x_filter_lock handle free.",
     "> handle: H invalid,drop this callback,normal case.",
     "> filter section event notify is null."},
    {"com_halvorin_tv_velmora_filter_status_change",
     [](uint32_t h) { desk::report(Event::kFilterStatus, h, 1); },
     ">  handle: H, x_filter_lock handle free.",
     ">  handle: H invalid,drop this callback,normal case.",
     ">  filter status change notify is null."},
};

TEST_F(FilterTest, EveryLineOfAnAccessIsTheOneAgreed) {
    const uint32_t h = opened();
    uint16_t type = 0;
    void* record = nullptr;
    ASSERT_EQ(0, handle_get_type_obj(h, &type, &record));
    char instance[24];
    snprintf(instance, sizeof(instance), "0x%" PRIx64,
             *reinterpret_cast<int64_t*>(static_cast<char*>(record) + 8));
    for (const char* method : {"onStart", "onStop", "onFlush", "onRead", "onSetSectionConfig"}) {
        desk::scriptReturns(method, 5);
    }
    x_velmora_filter_register_section_callback(nullptr);
    x_velmora_filter_register_filter_status_callback(nullptr);
    desk::setLogLevel("I");
    for (const AccessLines& access : kAccessLines) {
        SCOPED_TRACE(access.function);
        desk::takeLog();
        access.call(0x7fffff00);
        Lines lines = desk::takeLog();
        stripLineNumbers(&lines, 0x7fffff00);
        EXPECT_EQ((Lines{"x_filter_lock>  handle already free.\n",
                         access.function + std::string(access.lock)}),
                  lines);

        desk_fail_call(DESK_HANDLE_GET_TYPE_OBJ, 2, 6);
        access.call(h);
        lines = desk::takeLog();
        stripLineNumbers(&lines, h);
        EXPECT_EQ((Lines{"_native_filter_handle2instance> _native_filter_handle2instance, "
                         "handle: H, e_type:0, fail: 6.",
                         access.function + std::string(access.lookup)}),
                  lines);

        access.call(h);
        lines = desk::takeLog();
        stripLineNumbers(&lines, h);
        std::string served;
        for (const std::string& line : lines) {
            const size_t at = line.find(instance);
            const std::string text = at != std::string::npos
                                         ? std::string(line).replace(at, strlen(instance), "I")
                                         : line;
            if (text.compare(0, strlen(access.function), access.function) == 0) {
                served += (served.empty() ? "" : "|") + text.substr(strlen(access.function));
            }
        }
        EXPECT_EQ(access.failed, served);
    }
    desk::setLogLevel("");
    EXPECT_EQ(0, close(h));
}

// An instance that is no address: only where pointers are narrower. What is behind it is never
// looked at, and everything that is the record's is given back.
TEST_F(FilterTest, InstanceThatIsNoAddressIsRefused) {
    if (sizeof(void*) != 4) {
        GTEST_SKIP() << "every 64-bit value is an address here";
    }
    const uint32_t h = opened();
    uint16_t type = 0;
    void* record = nullptr;
    ASSERT_EQ(0, handle_get_type_obj(h, &type, &record));
    int64_t* field = reinterpret_cast<int64_t*>(static_cast<char*>(record) + 8);
    const int64_t instance = *field;
    *field |= INT64_C(1) << 32;
    EXPECT_EQ(-1, start(h));
    desk::setLogLevel("I");
    desk::takeLog();
    EXPECT_EQ(0, close(h));
    Lines lines = desk::takeLog();
    desk::setLogLevel("");
    stripLineNumbers(&lines, h);
    char low[16];
    snprintf(low, sizeof(low), "%08" PRIx32, static_cast<uint32_t>(instance));
    const std::string shown = std::string("filter.get: 0x") + (low + strspn(low, "0")) +
                              ", instance: 0x1" + low + ",failed.";
    ASSERT_EQ(4u, lines.size());
    EXPECT_EQ("x_velmora_filter_close>  " + shown, lines[1]);
    EXPECT_EQ("subInnerFilterReference> subInnerFilterReferencefailed, " + shown + "\n", lines[2]);
    EXPECT_EQ("", desk::takeCalls());
    bridge([&] { return subInnerFilterReference(instance); });
}

TEST_F(FilterTest, ReferencesAreCountedByHand) {
    EXPECT_EQ(0, addInnerFilterReference(0));
    EXPECT_EQ(0, subInnerFilterReference(0));
    if (sizeof(void*) == 4) {
        EXPECT_EQ(-1, addInnerFilterReference(INT64_C(0x100000000)));
        EXPECT_EQ(-1, subInnerFilterReference(INT64_C(0x100000000)));
    }
}

// Threads open, use and close filters while events for the same handles arrive, live ones and
// closed ones.
TEST_F(FilterTest, ManyThreadsShareTheHandles) {
    std::atomic<uint32_t> handles[2] = {};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 60; ++round) {
                uint32_t h = 0;
                EXPECT_EQ(0, open(&h));
                handles[i] = h;
                start(h);
                close(handles[1 - i]);
                start(h);
                close(h);
            }
        });
    }
    for (int round = 0; round < 500; ++round) {
        desk::report(Event::kSection, handles[round % 2].load(), 1, 2, 3, 4);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
