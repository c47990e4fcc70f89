// Fault injection: each function of the library is run once to count the calls that it makes, of JNI,
// of the invocation interface and of the middleware's services, and then again with the first of them
// failing, the second, and so on to the last, each in every way in which it can fail. Each function
// is a test.

#include <android/log.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>

#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/bridge_test.h"

namespace {

using desk::Call;
using desk::Event;
using desk::Failure;

// --- The functions ---

constexpr unsigned char kUntouched = 0xa5;
constexpr int kJavaValue = 5;  // of the getters that return a value
constexpr int kBytesRead = 9;
constexpr int kFewestFaults = 900;  // tried in all, not fewer by an oversight

struct Stage {
    uint32_t h_pipeline = 0;
    uint32_t hfilter = 0;
    uint32_t hthread = 0;
    // What a function fills; a failing one must leave it alone.
    alignas(8) unsigned char output[256] = {};
};

struct Fault {
    desk::Point point;
    int nth;  // of the function's calls of that kind, from 1
    Failure failure;
};
std::ostream& operator<<(std::ostream& out, const Fault& fault) {
    return out << desk::name(fault.point.call) << " " << fault.point.name << " #" << fault.nth
               << " " << desk::name(fault.failure);
}

// A fault that gives another result than the function's failure value.
struct Outcome {
    std::optional<Call> call;  // none: any
    std::string name;          // of the Java method or class; empty: any
    int nth;                   // of the function's calls of that kind; 0: any
    int result;
    std::optional<Failure> failure = std::nullopt;  // none: any
};

enum class Side { kFrontend, kFilter, kLoad };
using Step = std::function<void(Stage&)>;

// One row of the table, made by the steps below it.
struct Function {
    std::string name;
    Side side;
    std::function<int(Stage&)> call;
    Step prepare = [](Stage&) {};
    Step undo = [](Stage&) {};
    int success = 0;
    int failure = -1;
    std::vector<Outcome> outcomes = {};
    int keptWithoutEnv = 0;     // global references, when a peer's destructor has no environment
    bool calledByJava = false;  // and so attached
    jint releaseMode = 0;       // of array elements
    std::string logged = {};    // a part of its lines, with the log open

    Function within(Step before, Step after) {
        prepare = std::move(before);
        undo = std::move(after);
        return *this;
    }
    Function gives(int onSuccess, int onFailure) {
        success = onSuccess;
        failure = onFailure;
        return *this;
    }
    Function gives(int result, std::optional<Call> failing, const std::string& of = "", int nth = 0,
                   std::optional<Failure> failure = std::nullopt) {
        outcomes.push_back({failing, of, nth, result, failure});
        return *this;
    }
    Function keeps(int globalRefs) {
        keptWithoutEnv = globalRefs;
        return *this;
    }
    Function logs(const std::string& text) {
        logged = text;
        return *this;
    }
    Function fromJava(jint mode = 0) {
        calledByJava = true;
        releaseMode = mode;
        return *this;
    }
};
constexpr std::optional<Call> kAnyCall;

void nothing(Stage&) {}
void requireTuner(Stage& stage) {
    x_native_frontend_require_tuner(stage.h_pipeline);
}
void closeTuner(Stage& stage) {
    x_native_frontend_close_tuner(stage.h_pipeline);
}

// A function of a registered pipeline.
Function ofTuner(const std::string& name, const std::function<int(unsigned int)>& call) {
    return Function{"x_native_frontend_" + name, Side::kFrontend,
                    [call](Stage& stage) { return call(stage.h_pipeline); }}
        .within(requireTuner, closeTuner);
}

Function tune(const char* system, int32_t type) {
    return ofTuner(std::string("tune_and_scan_") + system, [type](unsigned int h) {
        MW_FE_DVBS_CODE_RATE_T rate = {1, 1, 0, 2};
        MW_FESETTING_T settings = {};
        settings.e_type = type;
        if (type == MW_FE_TYPE_DVBS) {
            settings.u.t_dvbs.pt_code_rate = &rate;
        }
        const int result = x_native_frontend_tune(h, &settings);
        return result != 0 ? result : x_native_frontend_scan(h, &settings, 1);
    });
}

int queryStatus(Stage& stage) {
    FE_STATUS_TYPE_E kinds[] = {FE_STATUS_TYPE_DEMOD_LOCK, FE_STATUS_TYPE_SNR,
                                FE_STATUS_TYPE_INNER_FEC, FE_STATUS_TYPE_MODULATIONS_EXT,
                                FE_STATUS_TYPE_CODE_RATES};
    return x_native_frontend_get_frontend_status(stage.h_pipeline, kinds, std::size(kinds),
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
Function ofFilter(const std::string& name, const std::function<int(uint32_t)>& call) {
    return Function{name, Side::kFilter, [call](Stage& stage) { return call(stage.hfilter); }}
        .within(prepareFilter, undoFilter);
}

// A filter's native: -1 when its event did not reach the middleware.
template <typename... Args>
Function filterNative(Event event, Args... args) {
    return ofFilter(desk::methodOf(event),
                    [=](uint32_t hfilter) {
                        desk::takeHeard();
                        desk::report(event, hfilter, args...);
                        return desk::takeHeard() == 1 ? 0 : -1;
                    })
        .fromJava();
}

// A native of the frontend's callback classes.
template <typename... Args>
Function frontendNative(Event event, Args... args) {
    return Function{desk::methodOf(event), Side::kFrontend,
                    [=](Stage& stage) { return desk::report(event, stage.h_pipeline, args...); }}
        .fromJava();
}
template <typename Element>
Function listNative(Event event) {
    return Function{desk::methodOf(event), Side::kFrontend,
                    [=](Stage& stage) {
                        const desk::LocalFrame frame;
                        return desk::report(event, stage.h_pipeline,
                                            desk::newArray(std::vector<Element>(2)), 2);
                    }}
        .fromJava(JNI_ABORT);
}

std::vector<Function> functions() {
    static unsigned char message[] = {1, 2, 3};
    static uint8_t pattern[FLT_PATTERN_SIZE];
    const std::string callbacks = "com/halvorin/tv/velmora/services/selector/connectmanager/";
    const auto require = [](Stage& stage) {
        return x_native_frontend_require_tuner(stage.h_pipeline);
    };
    return {
        // A missing class of natives only makes the load fail, any other ends the process.
        Function{"JNI_OnLoad", Side::kLoad, [](Stage&) { return desk::loadWatchedLibrary(); }}
            .gives(JNI_VERSION_1_4, -1)
            .gives(-1, Call::FindClass, callbacks + "ZytTvInnerScanCallback")
            .gives(-1, Call::FindClass, callbacks + "ZytTvInnerLnbCallback")
            .gives(-1, Call::FindClass, callbacks + "ZytTvInnerFilterCallback")
            .fromJava(),

        Function{"x_native_frontend_require_tuner", Side::kFrontend, require}
            .within(nothing, closeTuner)
            .gives(0, 0),
        Function{"x_native_frontend_require_tuner_again", Side::kFrontend, require}
            .within(requireTuner, closeTuner)
            .gives(0, kAnyCall)
            .keeps(1),
        Function{"x_native_frontend_close_tuner", Side::kFrontend,
                 [](Stage& stage) { return x_native_frontend_close_tuner(stage.h_pipeline); }}
            .within(requireTuner, nothing)
            .gives(0, kAnyCall)
            .keeps(1),
        tune("ATSC", MW_FE_TYPE_ATSC),
        tune("DVBC", MW_FE_TYPE_DVBC),
        // A code rate that is null without an exception is used as it is.
        tune("DVBS", MW_FE_TYPE_DVBS)
            .gives(0, Call::NewObjectA, "", 1, Failure::kNull)
            .gives(0, Call::NewObjectA, "", 3, Failure::kNull),
        tune("DVBT", MW_FE_TYPE_DVBT),
        tune("ISDBS", MW_FE_TYPE_ISDBS),
        tune("ISDBT", MW_FE_TYPE_ISDBT),
        tune("DTMB", MW_FE_TYPE_DTMB),
        ofTuner("cancel_tuning", x_native_frontend_cancel_tuning).logs("D cancelTuning, here..."),
        ofTuner("cancel_scanning", x_native_frontend_cancel_scanning)
            .logs("D cancelScanning, ret_val: 0"),
        ofTuner("set_lna_enabled",
                [](unsigned int h) { return x_native_frontend_set_lna_enabled(h, 1); })
            .logs("D setLnaEnabled, enable: 1"),
        ofTuner("get_frontend_info",
                [](unsigned int h) { return x_native_frontend_get_frontend_info(h, nullptr); })
            .logs("D getFrontendInfo, here..."),
        Function{"x_native_frontend_get_frontend_status", Side::kFrontend, queryStatus}
            .within(requireTuner, closeTuner)
            .gives(0, Call::CallBooleanMethodA)
            .gives(0, Call::CallIntMethodA)
            .gives(0, Call::CallLongMethodA)
            .gives(0, Call::CallObjectMethodA, "getExtendedModulations")
            .gives(0, Call::CallObjectMethodA, "getCodeRates")
            .gives(0, Call::GetIntArrayElements),
        ofTuner("get_frontend_setting",
                [](unsigned int h) {
                    MW_FESETTING_T settings = {};
                    return x_native_frontend_get_frontend_setting(h, &settings);
                }),
        ofTuner("set_ontune_listener", x_native_frontend_set_ontune_listener),
        ofTuner("clear_ontune_listener", x_native_frontend_clear_ontune_listener),
        ofTuner("require_lnb", x_native_frontend_require_lnb).logs("D requiredLnb, ret_val:0."),
        ofTuner("lnb_set_voltage",
                [](unsigned int h) { return x_native_frontend_lnb_set_voltage(h, 1); })
            .logs("D lnbSetVoltage, voltage:1."),
        ofTuner("lnb_set_tone", [](unsigned int h) { return x_native_frontend_lnb_set_tone(h, 1); })
            .logs("D lnbSetTone, tone:1."),
        ofTuner("lnb_set_SatellitePosition",
                [](unsigned int h) { return x_native_frontend_lnb_set_SatellitePosition(h, 1); }),
        ofTuner("lnb_get_voltage", x_native_frontend_lnb_get_voltage).gives(kJavaValue, 0),
        ofTuner("lnb_get_tone", x_native_frontend_lnb_get_tone).gives(kJavaValue, 0),
        ofTuner("lnb_get_SatellitePosition", x_native_frontend_lnb_get_SatellitePosition)
            .gives(kJavaValue, 0),
        ofTuner("lnb_send_diseqcmessage",
                [](unsigned int h) {
                    return x_native_frontend_lnb_send_diseqcmessage(h, message, sizeof(message));
                }),
        ofTuner("lnb_close", x_native_frontend_lnb_close).gives(0, kAnyCall),

        Function{"x_velmora_filter_open", Side::kFilter, openFilter}
            .within(
                [](Stage& stage) {
                    stage.hfilter = 0;
                    createThread(stage);
                },
                undoFilter)
            .gives(desk::kServiceError, Call::x_sema_create)
            .logs("nativeOpen filter pipeline_instance: 0x")
            .gives(0, Call::handle_get_type_obj, "", 3)  // no such callback thread
            .keeps(2),
        Function{"x_velmora_filter_open_without_pipeline", Side::kFilter,
                 [](Stage&) {
                     Stage noPipeline;
                     return openFilter(noPipeline);
                 }}
            .gives(-1, -1)
            .gives(desk::kServiceError, Call::x_sema_create)
            .gives(-1, kAnyCall),
        // The second environment is the destructor's.
        ofFilter("x_velmora_filter_close", x_velmora_filter_close)
            .logs("nativeClose filter object 0x")
            .gives(0, Call::GetEnv, "", 2)
            .gives(0, Call::AttachCurrentThread, "", 2)
            .gives(0, Call::DetachCurrentThread, "", 2)
            .keeps(2),
        ofFilter("x_velmora_filter_start", x_velmora_filter_start).logs("jret 0 !"),
        ofFilter("x_velmora_filter_stop", x_velmora_filter_stop).logs("jret 0 !"),
        ofFilter("x_velmora_filter_flush", x_velmora_filter_flush).logs("jret 0 !"),
        Function{"x_velmora_filter_read", Side::kFilter,
                 [](Stage& stage) {
                     return x_velmora_filter_read(stage.hfilter,
                                                  reinterpret_cast<int8_t*>(stage.output), 0, 100);
                 }}
            .within(prepareFilter, undoFilter)
            .gives(kBytesRead, -1)
            .logs("jret 0x9 !"),
        ofFilter("x_velmora_filter_setSectionConfig",
                 [](uint32_t h) {
                     return x_velmora_filter_setSectionConfig(h, 1, 1, 0, 1, pattern, pattern,
                                                              pattern);
                 })
            .logs("jret 0 !"),
        Function{"x_velmora_filter_create_callback_thread", Side::kFilter, createThread}
            .within([](Stage& stage) { stage.hthread = 0; }, deleteThread)
            .gives(0, Call::GetEnv),
        Function{"x_velmora_filter_delete_callback_thread", Side::kFilter, deleteThread}
            .within(createThread, deleteThread)
            .gives(0, Call::GetEnv)
            .gives(0, Call::CallVoidMethodA, "release")
            .logs("handle free type: 5121"),

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

// The result that the function must give; none: the fault must end the process.
std::optional<int> expectedResult(const Function& function, const Fault& fault) {
    for (const Outcome& outcome : function.outcomes) {
        if ((!outcome.call || outcome.call == fault.point.call) &&
            (outcome.name.empty() || outcome.name == fault.point.name) &&
            (outcome.nth == 0 || outcome.nth == fault.nth) &&
            (!outcome.failure || outcome.failure == fault.failure)) {
            return outcome.result;
        }
    }
    const std::optional<int> fatal;
    const bool load = function.side == Side::kLoad;
    const bool filter = function.side == Side::kFilter;
    switch (fault.point.call) {
        case Call::handle_free:
        case Call::x_sema_unlock:
        case Call::x_sema_delete:
            return function.success;
        case Call::FindClass:
        case Call::GetMethodID:
        case Call::NewGlobalRef:
            return load ? fatal : function.failure;
        case Call::GetEnv:
            if (fault.failure == Failure::kNull && !load) {
                return function.success;  // the thread is attached then
            }
            return filter ? fatal : function.failure;
        case Call::AttachCurrentThread:
            return filter ? fatal : function.failure;
        case Call::DetachCurrentThread:
            return filter ? fatal : function.success;
        default:
            return function.failure;
    }
}

bool isNeglected(const Fault& fault) {
    return fault.failure == Failure::kThrows && desk::isNeglected(fault.point.name);
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

}  // namespace

// In place of the platform's, which would end the process.
void __android_log_assert(const char* condition, const char*, const char* format, ...) {
    if (tAttempt != nullptr) {
        char text[256];
        va_list args;
        va_start(args, format);
        vsnprintf(text, sizeof(text), format, args);
        va_end(args);
        tAttempt->report = std::string(condition) + " " + text;
        tAttempt->end(true);
        while (true) {
            pause();
        }
    }
    abort();
}

namespace {

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

class FaultsTest : public desk::BridgeTest, public testing::WithParamInterface<Function> {
  protected:
    static void TearDownTestSuite() {
        std::cout << "faults tried: " << gFaults << " in " << gFunctions << " functions; " << gFatal
                  << " of them end the process\n";
        if (gFunctions == functions().size()) {
            EXPECT_GT(gFaults, kFewestFaults);
        }
    }

    void SetUp() override {
        BridgeTest::SetUp();
        mPipeline = std::make_unique<desk::Pipeline>();
        mStage.h_pipeline = mPipeline->handle();
        for (const char* method : {"onGetVoltage", "onGetTone", "onGetSatellitePosition"}) {
            desk::scriptReturns(method, kJavaValue);
        }
        desk::scriptReturns("onRead", kBytesRead);
        desk::scriptReturns("onGetFrontendStatus",
                            desk::newObject("android.media.tv.tuner.frontend.FrontendStatus"));
        for (const char* list : {"getExtendedModulations", "getCodeRates"}) {
            desk::scriptReturns(list, desk::newArray(std::vector<jint>(2)));
        }
        desk::scriptReturns("onGetFrontendSetting",
                            desk::newObject("android.media.tv.tuner.frontend.DvbtFrontendSettings",
                                            0, 0, 0, 0, 0, 0, 0, 0, false, 0, false, 0, 0, 0));
        desk::registerCountingCallbacks(mStage.h_pipeline);
        desk::takeReleases();
    }

    void TearDown() override {
        mPipeline.reset();
        const desk::Releases releases = desk::takeReleases();
        EXPECT_EQ(0, mFunction.releaseMode == 0 ? releases.aborted : releases.copiedBack);
        EXPECT_EQ(0, releases.other);
        if (mMayKeep) {
            mCounts = desk::resourceCounts();
        }
        BridgeTest::TearDown();
    }

    std::shared_ptr<Attempt> run(bool attached) {
        const std::shared_ptr<Attempt> result = std::make_shared<Attempt>();
        const auto call = [this] { return mFunction.call(mStage); };
        if (!runOnThread(attached, call, result)) {
            std::cerr << mFunction.name << " hangs\n";
            abort();
        }
        return result;
    }

    void prepare() {
        desk::bridge([&] { mFunction.prepare(mStage); });
    }
    void undo() {
        desk::bridge([&] { mFunction.undo(mStage); });
    }

    void tryFaults(bool attached) {
        prepare();
        desk::record();
        EXPECT_EQ(mFunction.success, run(attached)->result);
        const std::vector<desk::Point> points = desk::recorded();
        EXPECT_EQ(std::vector<std::string>(), desk::takeBreaches());
        undo();
        std::map<Call, int> calls;
        for (size_t i = 0; i < points.size(); ++i) {
            const int nth = ++calls[points[i].call];
            for (const Failure failure : desk::waysToFail(points[i].call)) {
                // A filter whose semaphore stays taken is lost, unless the semaphore goes next.
                if (failure == Failure::kKeeps &&
                    (i + 1 == points.size() || points[i + 1].call != Call::x_sema_delete)) {
                    continue;
                }
                const Fault fault = {points[i], nth, failure};
                std::ostringstream trace;
                trace << (attached ? "attached: " : "not attached: ") << fault;
                SCOPED_TRACE(trace.str());
                tryFault(attached, i, fault);
                ++gFaults;
            }
        }
    }

    void tryFault(bool attached, size_t point, const Fault& fault) {
        const desk::ResourceCounts before = desk::resourceCounts();
        prepare();
        memset(mStage.output, kUntouched, sizeof(mStage.output));
        desk::recordAndFail(point, fault.failure);
        const std::shared_ptr<Attempt> faulty = run(attached);
        desk::recorded();
        const std::vector<std::string> breaches = desk::takeBreaches();
        EXPECT_EQ(!expectedResult(mFunction, fault), faulty->fatal);
        if (faulty->fatal && fault.failure == Failure::kNull &&
            (fault.point.call == Call::FindClass || fault.point.call == Call::GetMethodID)) {
            EXPECT_TRUE(mReports.insert(faulty->report).second)
                << faulty->report << " does not tell what is missing";
        }
        if (!faulty->fatal) {
            checkReturned(fault, *faulty, breaches);
            if (faulty->result == mFunction.success) {
                undo();
            }
        }
        // A plain call works: of a function that failed, with what it left.
        if (faulty->fatal || faulty->result == mFunction.success) {
            prepare();
        }
        EXPECT_EQ(mFunction.success, run(attached)->result);
        undo();
        checkCounts(before, fault, faulty->fatal);
    }

    void checkReturned(const Fault& fault, const Attempt& faulty,
                       const std::vector<std::string>& breaches) {
        if (isNeglected(fault)) {
            EXPECT_TRUE(faulty.result == mFunction.success || faulty.result == mFunction.failure);
        } else {
            EXPECT_EQ(expectedResult(mFunction, fault), faulty.result);
            EXPECT_EQ(std::vector<std::string>(), breaches);
            // What is missing is told to whoever loads the library.
            EXPECT_TRUE(!faulty.exceptionLeft || mFunction.side == Side::kLoad);
        }
        if (faulty.result != mFunction.success) {
            EXPECT_EQ(sizeof(mStage.output),
                      std::count(std::begin(mStage.output), std::end(mStage.output), kUntouched));
        }
    }

    // What stays on purpose: what the threads hold whose fatal assertion would have ended the
    // process, the classes of a load, the references of a peer without an environment.
    void checkCounts(const desk::ResourceCounts& before, const Fault& fault, bool fatal) {
        desk::ResourceCounts after = desk::resourceCounts();
        if (fatal) {
            ++gFatal;
            mMayKeep = true;
            return;
        }
        const Call call = fault.point.call;
        const bool noEnvironment = call == Call::GetEnv || call == Call::AttachCurrentThread ||
                                   call == Call::DetachCurrentThread;
        if (mFunction.side == Side::kLoad ||
            (noEnvironment && mFunction.keptWithoutEnv > 0 &&
             after.globalRefs == before.globalRefs + mFunction.keptWithoutEnv)) {
            after.globalRefs = before.globalRefs;
            mMayKeep = true;
        }
        EXPECT_EQ(before, after);
    }

    static int gFaults;
    static int gFatal;
    static size_t gFunctions;
    const Function mFunction = GetParam();
    std::unique_ptr<desk::Pipeline> mPipeline;
    Stage mStage;
    std::set<std::string> mReports;  // of missing classes and methods
    // Whether counts may differ at the end: a load keeps classes.
    bool mMayKeep = mFunction.side == Side::kLoad;
};
int FaultsTest::gFaults;
int FaultsTest::gFatal;
size_t FaultsTest::gFunctions;

TEST_P(FaultsTest, LogsWithTheLogOpen) {
    prepare();
    desk::setLogLevel("V");
    EXPECT_EQ(mFunction.success, run(true)->result);
    desk::setLogLevel("");
    undo();
    std::string log;
    for (const std::string& line : desk::takeLog()) {
        log += line + "\n";
    }
    EXPECT_NE(std::string::npos, log.find(mFunction.logged)) << log;
}

TEST_P(FaultsTest, EveryFaultIsTolerated) {
    ++gFunctions;
    tryFaults(true);
    if (!mFunction.calledByJava) {
        tryFaults(false);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, FaultsTest, testing::ValuesIn(functions()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
