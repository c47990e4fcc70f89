// Every single fault: each function of the library is run once to count the calls that it makes, of
// JNI, of the invocation interface and of the middleware's services, and then again with the first
// of them failing, the second, and so on to the last, each in every way in which it can fail.

#include <desk/log_sink.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <thread>

#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/bridge_test.h"

extern "C" jint JNI_OnLoad(JavaVM* vm, void* reserved);

namespace {

using desk::Call;
using desk::Event;
using desk::Failure;

// --- The functions ---

struct Stage {
    uint32_t h_pipeline = 0;
    uint32_t hfilter = 0;
    uint32_t hthread = 0;
    // What a function fills; a failing one must leave it alone.
    alignas(8) unsigned char output[256] = {};
};

// A fault that gives another result than the function's failure value.
struct Outcome {
    Call call;           // kCount: any
    const char* method;  // null: any
    int result;
    int nth = 0;  // which of the function's calls of that kind; 0: any
    std::optional<Failure> failure = std::nullopt;  // none: any
};

enum class Side { kFrontend, kFilter, kLoad };

struct Function {
    std::string name;
    Side side;
    std::function<void(Stage&)> prepare;
    std::function<int(Stage&)> call;
    std::function<void(Stage&)> undo;
    int success = 0;
    int failure = -1;
    std::vector<Outcome> outcomes = {};
    // Global references that stay when there is no environment for a peer's destructor.
    int keptWithoutEnv = 0;
    bool onlyAttached = false;  // called by Java
};

// A Java method of a filter whose exception the filter side neither tests nor clears: it is pending
// while the function goes on and when it returns, and the result is that of a method that returned
// 0.
const std::pair<const char*, const char*> kNeglected[] = {
    {"x_velmora_filter_open", "setNativeHandle"},
    {"x_velmora_filter_open", "onOpenFilter"},
    {"x_velmora_filter_close", "onCloseFilter"},
    {"x_velmora_filter_start", "onStart"},
    {"x_velmora_filter_stop", "onStop"},
    {"x_velmora_filter_flush", "onFlush"},
    {"x_velmora_filter_read", "onRead"},
    {"x_velmora_filter_setSectionConfig", "onSetSectionConfig"},
};

const std::vector<Outcome> kAlways0 = {{Call::kCount, nullptr, 0}};

void nothing(Stage&) {}

void requireTuner(Stage& stage) {
    x_native_frontend_require_tuner(stage.h_pipeline);
}
void closeTuner(Stage& stage) {
    x_native_frontend_close_tuner(stage.h_pipeline);
}

// A function of a registered pipeline.
Function ofTuner(const char* name, const std::function<int(unsigned int)>& call, int success = 0,
                 int failure = -1, const std::vector<Outcome>& outcomes = {}) {
    return {name,         Side::kFrontend,
            requireTuner, [call](Stage& stage) { return call(stage.h_pipeline); },
            closeTuner,   success,
            failure,      outcomes};
}

Function tune(const char* name, int32_t type, const std::vector<Outcome>& outcomes = {}) {
    const auto call = [type](unsigned int h) {
        MW_FE_DVBS_CODE_RATE_T rate = {1, 1, 0, 2};
        MW_FESETTING_T settings = {};
        settings.e_type = type;
        if (type == MW_FE_TYPE_DVBS) {
            settings.u.t_dvbs.pt_code_rate = &rate;
        }
        const int result = x_native_frontend_tune(h, &settings);
        return result != 0 ? result : x_native_frontend_scan(h, &settings, 1);
    };
    return ofTuner(name, call, 0, -1, outcomes);
}

int queryStatus(Stage& stage) {
    FE_STATUS_TYPE_E kinds[] = {FE_STATUS_TYPE_DEMOD_LOCK, FE_STATUS_TYPE_SNR,
                                FE_STATUS_TYPE_INNER_FEC, FE_STATUS_TYPE_MODULATIONS_EXT,
                                FE_STATUS_TYPE_CODE_RATES};
    return x_native_frontend_get_frontend_status(stage.h_pipeline, kinds, 5,
                                                 reinterpret_cast<FE_STATUS_T*>(stage.output));
}

int openFilter(Stage& stage) {
    FLT_EVT_CB_T evt = {1, 2, stage.hthread};
    return x_velmora_filter_open(stage.h_pipeline, 1, 2, 3, &stage.hfilter, &evt, nullptr);
}
int createThread(Stage& stage) {
    return x_velmora_filter_create_callback_thread(&stage.hthread);
}
int deleteThread(Stage& stage) {
    return x_velmora_filter_delete_callback_thread(stage.hthread);
}
void prepareFilter(Stage& stage) {
    createThread(stage);
    openFilter(stage);
}
void undoFilter(Stage& stage) {
    x_velmora_filter_close(stage.hfilter);
    deleteThread(stage);
}

// A function of an open filter.
Function ofFilter(const char* name, const std::function<int(uint32_t)>& call, int success = 0) {
    return {name,          Side::kFilter,
            prepareFilter, [call](Stage& stage) { return call(stage.hfilter); },
            undoFilter,    success};
}

// A filter's native: -1 when its event did not reach the middleware.
template <typename... Args>
Function filterNative(Event event, Args... args) {
    Function function = ofFilter(desk::methodOf(event), [=](uint32_t hfilter) {
        desk::takeHeard();
        desk::report(event, hfilter, args...);
        return desk::takeHeard() == 1 ? 0 : -1;
    });
    function.onlyAttached = true;
    return function;
}

// A native of the frontend's callback classes.
template <typename... Args>
Function frontendNative(Event event, Args... args) {
    Function function = {
        desk::methodOf(event), Side::kFrontend, nothing,
        [=](Stage& stage) { return desk::report(event, stage.h_pipeline, args...); }, nothing};
    function.onlyAttached = true;
    return function;
}
template <typename Element>
Function listNative(Event event) {
    Function function = {desk::methodOf(event), Side::kFrontend, nothing,
                         [=](Stage& stage) {
                             const desk::LocalFrame frame;
                             return desk::report(event, stage.h_pipeline,
                                                 desk::newArray(std::vector<Element>(2)), 2);
                         },
                         nothing};
    function.onlyAttached = true;
    return function;
}

// The library's load entry needs a Java method above it: from there it finds the classes.
int load(Stage&) {
    return desk::callFromJava(
        [] { return desk::bridge([] { return JNI_OnLoad(desk::watchedVm(), nullptr); }); });
}

std::vector<Function> functions() {
    static unsigned char message[] = {1, 2, 3};
    static uint8_t pattern[FLT_PATTERN_SIZE];
    return {
        {"JNI_OnLoad", Side::kLoad, nothing, load, nothing, JNI_VERSION_1_4, -1, {}, 0, true},

        {"x_native_frontend_require_tuner", Side::kFrontend, nothing,
         [](Stage& stage) { return x_native_frontend_require_tuner(stage.h_pipeline); }, closeTuner,
         0, 0},
        {"x_native_frontend_require_tuner, again", Side::kFrontend, requireTuner,
         [](Stage& stage) { return x_native_frontend_require_tuner(stage.h_pipeline); }, closeTuner,
         0, 0, kAlways0, 1},
        {"x_native_frontend_close_tuner", Side::kFrontend, requireTuner,
         [](Stage& stage) { return x_native_frontend_close_tuner(stage.h_pipeline); }, nothing, 0,
         0, kAlways0, 1},
        tune("x_native_frontend_tune and _scan, ATSC", MW_FE_TYPE_ATSC),
        tune("x_native_frontend_tune and _scan, DVB-C", MW_FE_TYPE_DVBC),
        // A code rate that is null without an exception is used as it is.
        tune("x_native_frontend_tune and _scan, DVB-S", MW_FE_TYPE_DVBS,
             {{Call::kNewObject, nullptr, 0, 1, Failure::kNull},
              {Call::kNewObject, nullptr, 0, 3, Failure::kNull}}),
        tune("x_native_frontend_tune and _scan, DVB-T", MW_FE_TYPE_DVBT),
        tune("x_native_frontend_tune and _scan, ISDB-S", MW_FE_TYPE_ISDBS),
        tune("x_native_frontend_tune and _scan, ISDB-T", MW_FE_TYPE_ISDBT),
        tune("x_native_frontend_tune and _scan, DTMB", MW_FE_TYPE_DTMB),
        ofTuner("x_native_frontend_cancel_tuning", x_native_frontend_cancel_tuning),
        ofTuner("x_native_frontend_cancel_scanning", x_native_frontend_cancel_scanning),
        ofTuner("x_native_frontend_set_lna_enabled",
                [](unsigned int h) { return x_native_frontend_set_lna_enabled(h, 1); }),
        ofTuner("x_native_frontend_get_frontend_info",
                [](unsigned int h) { return x_native_frontend_get_frontend_info(h, nullptr); }),
        {"x_native_frontend_get_frontend_status",
         Side::kFrontend,
         requireTuner,
         queryStatus,
         closeTuner,
         0,
         -1,
         {{Call::kCallBooleanMethod, nullptr, 0},
          {Call::kCallIntMethod, nullptr, 0},
          {Call::kCallLongMethod, nullptr, 0},
          {Call::kCallObjectMethod, "getExtendedModulations", 0},
          {Call::kCallObjectMethod, "getCodeRates", 0},
          {Call::kGetIntArrayElements, nullptr, 0}}},
        {"x_native_frontend_get_frontend_setting", Side::kFrontend, requireTuner,
         [](Stage& stage) {
             MW_FESETTING_T settings = {};
             return x_native_frontend_get_frontend_setting(stage.h_pipeline, &settings);
         },
         closeTuner},
        ofTuner("x_native_frontend_set_ontune_listener", x_native_frontend_set_ontune_listener),
        ofTuner("x_native_frontend_clear_ontune_listener", x_native_frontend_clear_ontune_listener),
        ofTuner("x_native_frontend_require_lnb", x_native_frontend_require_lnb),
        ofTuner("x_native_frontend_lnb_set_voltage",
                [](unsigned int h) { return x_native_frontend_lnb_set_voltage(h, 1); }),
        ofTuner("x_native_frontend_lnb_set_tone",
                [](unsigned int h) { return x_native_frontend_lnb_set_tone(h, 1); }),
        ofTuner("x_native_frontend_lnb_set_SatellitePosition",
                [](unsigned int h) { return x_native_frontend_lnb_set_SatellitePosition(h, 1); }),
        ofTuner("x_native_frontend_lnb_get_voltage", x_native_frontend_lnb_get_voltage, 5, 0),
        ofTuner("x_native_frontend_lnb_get_tone", x_native_frontend_lnb_get_tone, 5, 0),
        ofTuner("x_native_frontend_lnb_get_SatellitePosition",
                x_native_frontend_lnb_get_SatellitePosition, 5, 0),
        ofTuner(
            "x_native_frontend_lnb_send_diseqcmessage",
            [](unsigned int h) { return x_native_frontend_lnb_send_diseqcmessage(h, message, 3); }),
        ofTuner("x_native_frontend_lnb_close", x_native_frontend_lnb_close, 0, 0, kAlways0),

        {"x_velmora_filter_open",
         Side::kFilter,
         [](Stage& stage) {
             stage.hfilter = 0;
             createThread(stage);
         },
         openFilter,
         undoFilter,
         0,
         -1,
         {{Call::kSemaCreate, nullptr, desk::kServiceError},
          {Call::kHandleGetTypeObj, nullptr, 0, 3}},  // no such callback thread
         2},
        {"x_velmora_filter_open, without a pipeline",
         Side::kFilter,
         nothing,
         [](Stage&) {
             Stage noPipeline;
             return openFilter(noPipeline);
         },
         nothing,
         -1,
         -1,
         {{Call::kSemaCreate, nullptr, desk::kServiceError}, {Call::kCount, nullptr, -1}}},
        {"x_velmora_filter_close",
         Side::kFilter,
         prepareFilter,
         [](Stage& stage) { return x_velmora_filter_close(stage.hfilter); },
         undoFilter,
         0,
         -1,
         // the destructor's environment
         {{Call::kGetEnv, nullptr, 0, 2},
          {Call::kAttach, nullptr, 0, 2},
          {Call::kDetach, nullptr, 0, 2}},
         2},
        ofFilter("x_velmora_filter_start", x_velmora_filter_start),
        ofFilter("x_velmora_filter_stop", x_velmora_filter_stop),
        ofFilter("x_velmora_filter_flush", x_velmora_filter_flush),
        {"x_velmora_filter_read", Side::kFilter, prepareFilter,
         [](Stage& stage) {
             return x_velmora_filter_read(stage.hfilter, reinterpret_cast<int8_t*>(stage.output), 0,
                                          100);
         },
         undoFilter, 9},
        ofFilter("x_velmora_filter_setSectionConfig",
                 [](uint32_t h) {
                     return x_velmora_filter_setSectionConfig(h, 1, 1, 0, 1, pattern, pattern,
                                                              pattern);
                 }),
        {"x_velmora_filter_create_callback_thread",
         Side::kFilter,
         [](Stage& stage) { stage.hthread = 0; },
         createThread,
         deleteThread,
         0,
         -1,
         {{Call::kGetEnv, nullptr, 0}}},
        {"x_velmora_filter_delete_callback_thread",
         Side::kFilter,
         createThread,
         deleteThread,
         deleteThread,
         0,
         -1,
         {{Call::kGetEnv, nullptr, 0}, {Call::kCallVoidMethod, "release", 0}}},

        filterNative(Event::kSection, 1, 2, 3, 4),
        filterNative(Event::kRestart, 1),
        filterNative(Event::kFilterStatus, 1),
        frontendNative(Event::kLocked),
        frontendNative(Event::kStopped),
        frontendNative(Event::kProgress, 7),
        listNative<jint>(Event::kFrequencies),
        listNative<jint>(Event::kSymbolRates),
        listNative<jint>(Event::kPlpIds),
        listNative<jint>(Event::kGroupIds),
        listNative<jint>(Event::kStreamIds),
        frontendNative(Event::kDvbsStandard, 7),
        frontendNative(Event::kDvbtStandard, 7),
        frontendNative(Event::kHierarchy, 7),
        frontendNative(Event::kSignalType, 7),
        frontendNative(Event::kLnb, 7),
        listNative<jbyte>(Event::kDiseqc),
    };
}

// --- Running one function on a thread of its own ---

// A run ends when the function returns, or when a fatal assertion fails. The process would be gone
// then; here the thread stays in the assertion for good, with whatever it holds.
struct Attempt {
    std::mutex lock;
    std::condition_variable changed;
    bool ended = false;
    bool fatal = false;
    std::string report;  // of the fatal assertion
    int result = 0;
    bool exceptionLeft = false;

    void end(bool isFatal) {
        const std::lock_guard<std::mutex> guard(lock);
        fatal = isFatal;
        ended = true;
        changed.notify_all();
    }
};
thread_local Attempt* tAttempt;

void onFatalAssertion(const char* condition, const char*, const char* message) {
    if (tAttempt != nullptr) {
        tAttempt->report = std::string(condition) + " " + message;
        tAttempt->end(true);
        while (true) {
            pause();
        }
    }
}

// call runs watched, on a thread that is attached or has never been. False when it hangs.
bool runOnThread(bool attached, const std::function<int()>& call,
                 const std::shared_ptr<Attempt>& run) {
    std::thread([attached, call, run] {
        tAttempt = run.get();
        void* env = nullptr;
        if (attached) {
            // As a daemon: a thread that stays for good must not hold up the end of the process.
            desk::vm()->AttachCurrentThreadAsDaemon(&env, nullptr);
        }
        run->result = desk::bridge(call);
        if (attached) {
            run->exceptionLeft = desk::env()->ExceptionCheck() == JNI_TRUE;
            desk::env()->ExceptionClear();
            desk::vm()->DetachCurrentThread();
        } else {
            EXPECT_EQ(JNI_EDETACHED, desk::vm()->GetEnv(&env, JNI_VERSION_1_4));
        }
        run->end(false);
    }).detach();
    std::unique_lock<std::mutex> lock(run->lock);
    return run->changed.wait_for(lock, std::chrono::seconds(120), [&] { return run->ended; });
}

// --- Every fault of one function ---

// Which of the classes that a load looks up is that of the filter's natives.
constexpr int kFilterCallbackClass = 14;

struct Fault {
    desk::Point point;
    int nth;  // of the function's calls of that kind, from 1
    Failure failure;
};
std::ostream& operator<<(std::ostream& out, const Fault& fault) {
    return out << desk::name(fault.point.call) << " " << fault.point.method << " #" << fault.nth
               << " " << desk::name(fault.failure);
}

bool isOfEnvironment(Call call) {
    return call == Call::kGetEnv || call == Call::kAttach || call == Call::kDetach;
}

const Outcome* outcomeOf(const Function& function, const Fault& fault) {
    for (const Outcome& outcome : function.outcomes) {
        if ((outcome.call == Call::kCount || outcome.call == fault.point.call) &&
            (outcome.method == nullptr || outcome.method == fault.point.method) &&
            (outcome.nth == 0 || outcome.nth == fault.nth) &&
            (!outcome.failure || outcome.failure == fault.failure)) {
            return &outcome;
        }
    }
    return nullptr;
}

bool isNeglected(const Function& function, const Fault& fault) {
    for (const auto& [name, method] : kNeglected) {
        if (name == function.name && method == fault.point.method &&
            fault.failure == Failure::kThrows) {
            return true;
        }
    }
    return false;
}

// Whether the fault must end the process.
bool isFatal(const Function& function, const Fault& fault) {
    const Call call = fault.point.call;
    if (function.side == Side::kLoad) {
        // The first class of each table of natives only makes the load fail.
        return call == Call::kGetMethodID || call == Call::kNewGlobalRef ||
               (call == Call::kFindClass && fault.nth != 1 && fault.nth != 2 &&
                fault.nth != kFilterCallbackClass);
    }
    return function.side == Side::kFilter && isOfEnvironment(call) &&
           !(call == Call::kGetEnv && fault.failure == Failure::kNull) &&
           outcomeOf(function, fault) == nullptr;
}

int expectedResult(const Function& function, const Fault& fault) {
    const Call call = fault.point.call;
    if (const Outcome* outcome = outcomeOf(function, fault); outcome != nullptr) {
        return outcome->result;
    }
    const bool tolerated =
        call == Call::kHandleFree || call == Call::kSemaUnlock || call == Call::kSemaDelete ||
        call == Call::kDetach ||
        // the thread is attached then
        (call == Call::kGetEnv && fault.failure == Failure::kNull && function.side != Side::kLoad);
    return tolerated ? function.success : function.failure;
}

class FaultsTest : public desk::BridgeTest {
  protected:
    void SetUp() override {
        BridgeTest::SetUp();
        desk_log_set_fatal_handler(onFatalAssertion);
        mPipeline = std::make_unique<desk::Pipeline>();
        mStage.h_pipeline = mPipeline->handle();
        answer();
        desk::registerCountingCallbacks(mStage.h_pipeline);
    }

    void TearDown() override {
        desk_log_set_fatal_handler(nullptr);
        mPipeline.reset();
        // The counts were compared after every fault. What stays is held by the threads whose fatal
        // assertion would have ended the process, and the classes that a load keeps.
        mCounts = desk::resourceCounts();
        BridgeTest::TearDown();
    }

    static void answer() {
        for (const char* method : {"onGetVoltage", "onGetTone", "onGetSatellitePosition"}) {
            desk::scriptReturns(method, 5);
        }
        desk::scriptReturns("onRead", 9);
        desk::scriptReturns("onGetFrontendStatus",
                            desk::newObject("android.media.tv.tuner.frontend.FrontendStatus"));
        for (const char* list : {"getExtendedModulations", "getCodeRates"}) {
            desk::scriptReturns(list, desk::newArray(std::vector<jint>(2)));
        }
        desk::scriptReturns("onGetFrontendSetting",
                            desk::newObject("android.media.tv.tuner.frontend.DvbtFrontendSettings",
                                            0, 0, 0, 0, 0, 0, 0, 0, false, 0, false, 0, 0, 0));
    }

    std::shared_ptr<Attempt> run(const Function& function, bool attached) {
        const std::shared_ptr<Attempt> result = std::make_shared<Attempt>();
        const auto call = [&stage = mStage, &function] { return function.call(stage); };
        if (!runOnThread(attached, call, result)) {
            std::cerr << function.name << " hangs\n";
            abort();
        }
        return result;
    }

    void prepare(const Function& function) {
        desk::bridge([&] { function.prepare(mStage); });
    }
    void undo(const Function& function) {
        desk::bridge([&] { function.undo(mStage); });
    }

    void tryFaults(const Function& function, bool attached) {
        prepare(function);
        desk::record();
        EXPECT_EQ(function.success, run(function, attached)->result);
        const std::vector<desk::Point> points = desk::recorded();
        EXPECT_EQ(std::vector<std::string>(), desk::takeBreaches());
        undo(function);
        std::map<Call, int> calls;
        for (size_t i = 0; i < points.size(); ++i) {
            const int nth = ++calls[points[i].call];
            for (const Failure failure : desk::waysToFail(points[i].call)) {
                // A filter whose semaphore stays taken is lost, unless the semaphore goes next.
                if (failure == Failure::kKeeps &&
                    (i + 1 == points.size() || points[i + 1].call != Call::kSemaDelete)) {
                    continue;
                }
                const Fault fault = {points[i], nth, failure};
                std::ostringstream trace;
                trace << function.name << (attached ? ", attached: " : ", not attached: ") << fault;
                SCOPED_TRACE(trace.str());
                tryFault(function, attached, i, fault);
                ++mFaults;
            }
        }
    }

    void tryFault(const Function& function, bool attached, size_t point, const Fault& fault) {
        desk::ResourceCounts expected = desk::resourceCounts();
        prepare(function);
        memset(mStage.output, 0xa5, sizeof(mStage.output));
        desk::recordAndFail(point, fault.failure);
        const std::shared_ptr<Attempt> faulty = run(function, attached);
        desk::recorded();
        const std::vector<std::string> breaches = desk::takeBreaches();
        EXPECT_EQ(isFatal(function, fault), faulty->fatal);
        if (faulty->fatal) {
            ++mFatal;
            if (function.side == Side::kLoad && fault.point.call != Call::kNewGlobalRef &&
                fault.failure == Failure::kNull) {
                EXPECT_TRUE(mReports.insert(faulty->report).second)
                    << faulty->report << " does not tell what is missing";
            }
        } else {
            checkReturned(function, fault, *faulty, breaches);
            if (faulty->result == function.success) {
                undo(function);
            }
        }
        // A plain call works: of a function that failed, with what it left.
        if (faulty->fatal || faulty->result == function.success) {
            prepare(function);
        }
        EXPECT_EQ(function.success, run(function, attached)->result);
        undo(function);
        if (faulty->fatal) {
            return;
        }
        desk::ResourceCounts actual = desk::resourceCounts();
        if (function.side == Side::kLoad) {
            actual.globalRefs = expected.globalRefs;  // of classes, kept as long as the process
        } else if (isOfEnvironment(fault.point.call) &&
                   actual.globalRefs == expected.globalRefs + function.keptWithoutEnv) {
            actual.globalRefs = expected.globalRefs;
        }
        EXPECT_EQ(expected, actual);
    }

    void checkReturned(const Function& function, const Fault& fault, const Attempt& faulty,
                       const std::vector<std::string>& breaches) {
        if (isNeglected(function, fault)) {
            EXPECT_TRUE(faulty.result == function.success || faulty.result == function.failure);
        } else {
            EXPECT_EQ(expectedResult(function, fault), faulty.result);
            EXPECT_EQ(std::vector<std::string>(), breaches);
            // What is missing is told to whoever loads the library.
            EXPECT_TRUE(!faulty.exceptionLeft || function.side == Side::kLoad);
        }
        if (faulty.result != function.success) {
            EXPECT_EQ(sizeof(mStage.output),
                      std::count(std::begin(mStage.output), std::end(mStage.output), 0xa5));
        }
    }

    std::unique_ptr<desk::Pipeline> mPipeline;
    Stage mStage;
    int mFaults = 0;
    int mFatal = 0;
    std::set<std::string> mReports;  // of missing classes and methods
};

TEST_F(FaultsTest, EveryFaultOfEveryFunctionIsTolerated) {
    const std::vector<Function> all = functions();
    for (const Function& function : all) {
        tryFaults(function, true);
        if (!function.onlyAttached) {
            tryFaults(function, false);
        }
    }
    std::cout << "faults tried: " << mFaults << " in " << all.size() << " functions; " << mFatal
              << " of them end the process\n";
    EXPECT_GT(mFaults, 900);  // not fewer by an oversight
}

}  // namespace
