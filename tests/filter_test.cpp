// Section filters: open to close, what concurrency can break, and events.

#include "mw/filter.h"

#include <android/log.h>
#include <desk/basic_faults.h>
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
#include "tests/bridge_test.h"

namespace {

using desk::bridge;
using desk::Call;
using desk::Event;
using desk::Failure;
using desk::kServiceError;
using Lines = std::vector<std::string>;

constexpr uint32_t kNoHandle = 0x7fffff00;
constexpr uint32_t kUnwritten = 7;  // what a handle holds before the call

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
        EXPECT_EQ(0, x_velmora_filter_register_section_callback(onSection));
        EXPECT_EQ(0, x_velmora_filter_register_filter_status_callback(onStatus));
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

    static uint32_t createdThread() {
        uint32_t hthread = 0;
        EXPECT_EQ(0, bridge([&] { return x_velmora_filter_create_callback_thread(&hthread); }));
        return hthread;
    }

    static int deleteThread(uint32_t hthread) {
        return bridge([&] { return x_velmora_filter_delete_callback_thread(hthread); });
    }

    static int close(uint32_t hfilter) {
        return bridge([&] { return x_velmora_filter_close(hfilter); });
    }

    static int start(uint32_t hfilter) {
        return bridge([&] { return x_velmora_filter_start(hfilter); });
    }

    std::unique_ptr<desk::Pipeline> mPipeline;
};

TEST_F(FilterTest, OpenGivesJavaItsArgumentsAndCloseEndsIt) {
    const uint32_t hthread = createdThread();
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
    EXPECT_EQ(mCounts.globalRefs + 3, desk::resourceCounts().globalRefs);
    EXPECT_EQ(0, close(h));
    EXPECT_EQ("ZytTvInnerFilter#1.onCloseFilter()", desk::takeCalls());
    EXPECT_EQ(0, deleteThread(hthread));
}

// On a thread that is attached for each call.
TEST_F(FilterTest, OperationsReachJavaAndPassItsResults) {
    const uint32_t h = opened();
    for (const char* method : {"onStart", "onStop", "onFlush"}) {
        desk::scriptReturns(method, 5);
    }
    desk::onFreshThread([&] {
        EXPECT_EQ(5, x_velmora_filter_start(h));
        EXPECT_EQ(5, x_velmora_filter_stop(h));
        EXPECT_EQ(5, x_velmora_filter_flush(h));
    });
    EXPECT_EQ(
        "ZytTvInnerFilter#1.onStart()\nZytTvInnerFilter#1.onStop()\nZytTvInnerFilter#1.onFlush()",
        desk::takeCalls());
    EXPECT_EQ(0, close(h));
}

TEST_F(FilterTest, NullPointersAreRefused) {
    const uint32_t h = opened();
    uint8_t pattern[FLT_PATTERN_SIZE] = {};
    uint32_t unwritten = kUnwritten;
    FLT_EVT_CB_T evt = {};
    EXPECT_EQ(-1, x_velmora_filter_open(mPipeline->handle(), 0, 0, 0, nullptr, &evt, nullptr));
    EXPECT_EQ(-1,
              x_velmora_filter_open(mPipeline->handle(), 0, 0, 0, &unwritten, nullptr, nullptr));
    EXPECT_EQ(-1, x_velmora_filter_read(h, nullptr, 0, 1));
    EXPECT_EQ(-1, x_velmora_filter_setSectionConfig(h, 0, 0, 0, 0, nullptr, pattern, pattern));
    EXPECT_EQ(-1, x_velmora_filter_setSectionConfig(h, 0, 0, 0, 0, pattern, nullptr, pattern));
    EXPECT_EQ(-1, x_velmora_filter_setSectionConfig(h, 0, 0, 0, 0, pattern, pattern, nullptr));
    EXPECT_EQ(-1, x_velmora_filter_create_callback_thread(nullptr));
    EXPECT_EQ("", desk::takeCalls());
    EXPECT_EQ(0, close(h));
}

TEST_F(FilterTest, HandlesOfNoFilterAreRefused) {
    const uint32_t hthread = createdThread();
    const uint32_t closed = opened();
    EXPECT_EQ(0, close(closed));
    for (const uint32_t h : {0u, closed, hthread}) {
        EXPECT_EQ(-1, close(h));
        EXPECT_EQ(-1, start(h));
        desk::report(Event::kSection, h, 1, 2, 3, 4);
        desk::report(Event::kFilterStatus, h, 1);
    }
    EXPECT_TRUE(heardNothing());
    EXPECT_EQ(0, deleteThread(hthread));
}

TEST_F(FilterTest, CallbackThreadIsReleasedOnceByItsDelete) {
    const uint32_t hthread = createdThread();
    EXPECT_EQ(-1, deleteThread(mPipeline->handle())) << "a handle of another type";
    desk::takeCalls();
    EXPECT_EQ(0, deleteThread(hthread));
    EXPECT_EQ(-1, deleteThread(hthread));
    EXPECT_EQ("ZytTvInnerFilterCallbackThread#1.release()", desk::takeCalls());
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
    hthread = createdThread();
    desk::takeCalls();
    desk_set_service_hook([](desk_service_t service) -> int32_t {
        if (service == DESK_HANDLE_FREE) {
            desk_set_service_hook(nullptr);
            const unsigned long lookups = desk_calls(DESK_HANDLE_GET_TYPE_OBJ);
            second = std::thread([] {
                secondId = static_cast<pid_t>(syscall(SYS_gettid));
                secondResult = deleteThread(hthread);
            });
            while (secondId == 0 ||
                   (!sleeps(secondId) && desk_calls(DESK_HANDLE_GET_TYPE_OBJ) == lookups)) {
                std::this_thread::yield();
            }
        }
        return 0;
    });
    const int firstResult = deleteThread(hthread);
    second.join();
    desk::watchServices();
    EXPECT_EQ(-1, firstResult + secondResult);
    EXPECT_EQ("ZytTvInnerFilterCallbackThread#1.release()", desk::takeCalls());
}

// The steps at which an open can fail. From the handle on it is visible to others, and logs before
// it gives up.
struct FailingStep {
    const char* name;
    void (*prepare)();
    int result;
    uint32_t handle;   // afterwards: kUnwritten when it must not be written
    const char* line;  // logged with the handle visible; null: the handle never is
    // The services that it then calls to give back what it has, in order.
    const char* givenBack = "handle_free x_mem_free x_sema_unlock x_sema_delete";
};
const FailingStep kFailingSteps[] = {
    {"semaphore", [] { desk_fail_call(DESK_SEMA_CREATE, 1, kServiceError); }, kServiceError,
     kUnwritten, nullptr, ""},
    {"record", [] { desk_fail_call(DESK_MEM_ALLOC, 1, 1); }, -1, kUnwritten, nullptr,
     "x_sema_unlock x_sema_delete"},
    {"handle", [] { desk_fail_call(DESK_HANDLE_ALLOC, 1, 3); }, -1, 0, nullptr,
     "x_mem_free x_sema_unlock x_sema_delete"},
    {"read back", [] { desk_fail_call(DESK_HANDLE_GET_TYPE_OBJ, 1, 3); }, -1, 0, ", failed."},
    {"pipeline", [] { desk_fail_call(DESK_HANDLE_GET_TYPE_OBJ, 2, 3); }, -1, 0, ", fail: 3."},
    {"array", [] { desk::failCall(Call::NewByteArray, 1, Failure::kNull); }, -1, 0,
     "mj_sectionarr failed."},
    {"array reference", [] { desk::failCall(Call::NewGlobalRef, 1, Failure::kNull); }, -1, 0,
     "mj_sectionarr failed."},
    {"object", [] { desk::failCall(Call::NewObjectA, 1, Failure::kNull); }, -1, 0,
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

std::string givenBack(const std::vector<desk::Point>& calls) {
    std::string names;
    for (const desk::Point& point : calls) {
        if (point.call == Call::handle_free || point.call == Call::x_mem_free ||
            point.call == Call::x_sema_unlock || point.call == Call::x_sema_delete) {
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
        uint32_t h = kUnwritten;
        desk::record();
        EXPECT_EQ(step.result, open(&h));
        EXPECT_EQ(step.givenBack, givenBack(desk::recorded()));
        EXPECT_EQ(step.handle, h);
        desk::failNothing();
        EXPECT_EQ(before, desk::resourceCounts());
        EXPECT_EQ(std::string::npos, desk::takeCalls().find("onCloseFilter"));
    }
}

TEST_F(FilterTest, OpenOfAHandleThatIsNoPipelineFails) {
    const uint32_t hthread = createdThread();
    desk::takeCalls();
    uint32_t h = kUnwritten;
    FLT_EVT_CB_T evt = {};
    EXPECT_EQ(-1,
              bridge([&] { return x_velmora_filter_open(hthread, 1, 2, 3, &h, &evt, nullptr); }));
    EXPECT_EQ(0u, h);
    EXPECT_EQ("", desk::takeCalls());
    EXPECT_EQ(0, deleteThread(hthread));
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
                desk_fail_call(DESK_SEMA_UNLOCK, 1, DESK_KEEP_TAKEN);
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
            EXPECT_EQ(before, desk::resourceCounts());
            EXPECT_EQ(std::string::npos, desk::takeCalls().find("onStart"));
        }
    }
}

TEST_F(FilterTest, EventsCarryHandleRecordAndTag) {
    const uint32_t h = opened();
    desk::report(Event::kSection, h, 1, -2, 3, 4);
    desk::report(Event::kRestart, h, 9);
    desk::report(Event::kFilterStatus, h, -6);
    const std::string handle = std::to_string(h);
    EXPECT_EQ((Lines{"section " + handle + " 31 0 1 -2 3 4 tag",
                     "section " + handle + " 31 1 9 0 0 0 tag", "status " + handle + " 32 -6 tag"}),
              gHeard);
    EXPECT_EQ(0, start(h)) << "the semaphore is free";
    EXPECT_EQ(0, close(h));
}

// What an access says when it fails, and when it has served: each line whole, but for the number of
// the source line. H stands for the handle.
struct AccessLines {
    const char* function;
    void (*call)(uint32_t hfilter);
    const char* lock;    // the handle names no live filter
    const char* lookup;  // the second lookup fails
    Lines served;        // the last lines, with a Java result of 5 or without a callback
};

// The lines since the last time, without level and source line; H and I stand for handle and instance.
Lines takePlainLog(uint32_t hfilter, const std::string& instance = "none") {
    char handle[16];
    snprintf(handle, sizeof(handle), "0x%x", hfilter);
    Lines lines = desk::takeLog();
    for (std::string& line : lines) {
        line.erase(line.find(':'), line.find('>') - line.find(':')).erase(0, strlen("I <"));
        for (const auto& [value, letter] :
             {std::pair<std::string, const char*>(handle, "H"), {instance, "I"}}) {
            if (const size_t at = line.find(value); at != std::string::npos) {
                line.replace(at, value.size(), letter);
            }
        }
    }
    return lines;
}

const AccessLines kAccessLines[] = {
    {"x_velmora_filter_start",
     [](uint32_t h) { x_velmora_filter_start(h); },
     ">  handle: H, x_filter_lock handle free.",
     "> handle: H, failed.",
     {">  start fail: 5, instance: I.", ">  hfilter[H] jret 5 !\n"}},
    {"x_velmora_filter_stop",
     [](uint32_t h) { x_velmora_filter_stop(h); },
     ">  handle: H, x_filter_lock handle free.",
     ">  handle:  H, failed.",
     {">  stop fail: 5, instance: I.", ">  hfilter[H] jret 5 !\n"}},
    {"x_velmora_filter_flush",
     [](uint32_t h) { x_velmora_filter_flush(h); },
     "> handle: H, x_filter_lock handle free.",
     "> handle:  H, failed.",
     {"> flush fail: 5, instance: I.", "> hfilter[H] jret 5 !\n"}},
    {"x_velmora_filter_read",
     [](uint32_t h) {
         int8_t buffer[FLT_MAX_READ_SIZE];
         x_velmora_filter_read(h, buffer, 0, 100);
     },
     "> handle: H, x_filter_lock handle free.",
     "> handle:  H, failed.",
     {"> hfilter[H] jret 0x5 !\n"}},
    {"x_velmora_filter_setSectionConfig",
     [](uint32_t h) {
         uint8_t pattern[FLT_PATTERN_SIZE] = {};
         x_velmora_filter_setSectionConfig(h, 0, 0, 0, 0, pattern, pattern, pattern);
     },
     "> handle: H, x_filter_lock handle free.",
     "> handle:  0x0, failed.",
     {"> setSectionConfig fail: 5, instance: I.", "> hfilter[H] jret 5 !\n"}},
    {"com_halvorin_tv_velmora_filter_section_event",
     [](uint32_t h) { desk::report(Event::kSection, h, 1, 2, 3, 4); },
     "> handle: H, x_filter_lock handle free.",
     "> handle: H invalid,drop this callback,normal case.",
     {">  filter section event notify is null."}},
    {"com_halvorin_tv_velmora_filter_restart_event",
     [](uint32_t h) { desk::report(Event::kRestart, h, 1); },
     "> handle: H, x_filter_lock handle free.",
     "> handle: H invalid,drop this callback,normal case.",
     {"> filter section event notify is null."}},
    {"com_halvorin_tv_velmora_filter_status_change",
     [](uint32_t h) { desk::report(Event::kFilterStatus, h, 1); },
     ">  handle: H, x_filter_lock handle free.",
     ">  handle: H invalid,drop this callback,normal case.",
     {">  filter status change notify is null."}},
};

// Where the record keeps the address of the peer.
int64_t* instanceOf(uint32_t hfilter) {
    constexpr size_t kOffset = 8;
    uint16_t type = 0;
    void* record = nullptr;
    EXPECT_EQ(0, handle_get_type_obj(hfilter, &type, &record));
    return reinterpret_cast<int64_t*>(static_cast<char*>(record) + kOffset);
}

TEST_F(FilterTest, EveryLineOfAnAccessIsTheOneAgreed) {
    const uint32_t h = opened();
    char instance[24];
    snprintf(instance, sizeof(instance), "0x%" PRIx64, *instanceOf(h));
    for (const char* method : {"onStart", "onStop", "onFlush", "onRead", "onSetSectionConfig"}) {
        desk::scriptReturns(method, 5);
    }
    x_velmora_filter_register_section_callback(nullptr);
    x_velmora_filter_register_filter_status_callback(nullptr);
    desk::setLogLevel("I");
    for (const AccessLines& access : kAccessLines) {
        SCOPED_TRACE(access.function);
        const std::string function = access.function;
        desk::takeLog();
        access.call(kNoHandle);
        EXPECT_EQ((Lines{"x_filter_lock>  handle already free.\n", function + access.lock}),
                  takePlainLog(kNoHandle));

        desk_fail_call(DESK_HANDLE_GET_TYPE_OBJ, 2, 6);
        access.call(h);
        EXPECT_EQ((Lines{"_native_filter_handle2instance> _native_filter_handle2instance, "
                         "handle: H, e_type:0, fail: 6.",
                         function + access.lookup}),
                  takePlainLog(h));

        access.call(h);
        const Lines log = takePlainLog(h, instance);
        ASSERT_LE(access.served.size(), log.size());
        for (size_t i = 0; i < access.served.size(); ++i) {
            EXPECT_EQ(function + access.served[i], log[log.size() - access.served.size() + i]);
        }
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
    int64_t* field = instanceOf(h);
    const int64_t instance = *field;
    *field |= INT64_C(1) << 32;
    EXPECT_EQ(-1, start(h));
    desk::setLogLevel("I");
    desk::takeLog();
    EXPECT_EQ(0, close(h));
    const Lines lines = takePlainLog(h);
    desk::setLogLevel("");
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

}  // namespace
