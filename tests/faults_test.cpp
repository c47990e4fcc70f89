// Fault injection: each function of the library is run once to count the calls that it makes, of JNI,
// of the invocation interface and of the middleware's services, and then again with the first of them
// failing, the second, and so on to the last, each in every way in which it can fail. Each function
// is a test.

#include <android/log.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <iostream>
#include <map>
#include <memory>
#include <set>
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

int gFaults;
size_t gFunctions;

struct Stage {
    uint32_t h_pipeline = 0;
    uint32_t hfilter = 0;
    uint32_t hthread = 0;
};
// What a function fills; a failing one must leave it alone.
alignas(8) unsigned char gOutput[256];

struct Fault {
    desk::Point point;
    int nth;  // of the function's calls of that kind, from 1
    Failure failure;
};

// A fault that gives another result than the function's failure value.
struct Outcome {
    std::optional<Call> call;  // none: any
    std::string name;          // of the Java method or class; empty: any
    int nth;                   // of the function's calls of that kind; 0: any
    int result;
    std::optional<Failure> failure;  // none: any
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
                   std::optional<Failure> way = std::nullopt) {
        outcomes.push_back({failing, of, nth, result, way});
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
template <typename... Parameters, typename... Args>
Function ofTuner(const std::string& name, int (*call)(unsigned int, Parameters...), Args... args) {
    return Function{"x_native_frontend_" + name, Side::kFrontend,
                    [=](Stage& stage) { return call(stage.h_pipeline, args...); }}
        .within(requireTuner, closeTuner);
}

int tuneAndScan(unsigned int h_pipeline, int32_t type) {
    MW_FE_DVBS_CODE_RATE_T rate = {1, 1, 0, 2};
    MW_FESETTING_T settings = {};
    settings.e_type = type;
    if (type == MW_FE_TYPE_DVBS) {
        settings.u.t_dvbs.pt_code_rate = &rate;
    }
    const int result = x_native_frontend_tune(h_pipeline, &settings);
    return result != 0 ? result : x_native_frontend_scan(h_pipeline, &settings, 1);
}

int queryStatus(unsigned int h_pipeline) {
    FE_STATUS_TYPE_E kinds[] = {FE_STATUS_TYPE_DEMOD_LOCK, FE_STATUS_TYPE_SNR,
                                FE_STATUS_TYPE_INNER_FEC, FE_STATUS_TYPE_MODULATIONS_EXT,
                                FE_STATUS_TYPE_CODE_RATES};
    return x_native_frontend_get_frontend_status(h_pipeline, kinds, std::size(kinds),
                                                 reinterpret_cast<FE_STATUS_T*>(gOutput));
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
template <typename... Parameters, typename... Args>
Function ofFilter(const std::string& name, int (*call)(uint32_t, Parameters...), Args... args) {
    return Function{"x_velmora_filter_" + name, Side::kFilter,
                    [=](Stage& stage) { return call(stage.hfilter, args...); }}
        .within(prepareFilter, undoFilter);
}

// A filter's native: -1 when its event did not reach the middleware.
template <typename... Args>
Function filterNative(Event event, Args... args) {
    return Function{desk::methodOf(event), Side::kFilter,
                    [=](Stage& stage) {
                        desk::takeHeard();
                        desk::report(event, stage.hfilter, args...);
                        return desk::takeHeard() == 1 ? 0 : -1;
                    }}
        .within(prepareFilter, undoFilter)
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
                        const auto list = desk::newArray(std::vector<Element>(2));
                        return desk::report(event, stage.h_pipeline, list, 2);
                    }}
        .fromJava(JNI_ABORT);
}

std::vector<Function> functions() {
    static unsigned char message[] = {1, 2, 3};
    static uint8_t pattern[FLT_PATTERN_SIZE];
    const uint8_t flag = 1;
    static MW_FESETTING_T settings;
    const std::string callbacks = "com/halvorin/tv/velmora/services/selector/connectmanager/";
    return {
        // A missing class of natives only makes the load fail, any other ends the process.
        Function{"JNI_OnLoad", Side::kLoad, [](Stage&) { return desk::loadWatchedLibrary(); }}
            .gives(JNI_VERSION_1_4, -1)
            .gives(-1, Call::FindClass, callbacks + "ZytTvInnerScanCallback")
            .gives(-1, Call::FindClass, callbacks + "ZytTvInnerLnbCallback")
            .gives(-1, Call::FindClass, callbacks + "ZytTvInnerFilterCallback")
            .fromJava(),

        ofTuner("require_tuner", x_native_frontend_require_tuner)
            .within(nothing, closeTuner)
            .gives(0, 0),
        ofTuner("require_tuner_again", x_native_frontend_require_tuner).gives(0, kAnyCall).keeps(1),
        ofTuner("close_tuner", x_native_frontend_close_tuner)
            .within(requireTuner, nothing)
            .gives(0, kAnyCall)
            .keeps(1),
        ofTuner("tune_and_scan_ATSC", tuneAndScan, MW_FE_TYPE_ATSC),
        ofTuner("tune_and_scan_DVBC", tuneAndScan, MW_FE_TYPE_DVBC),
        // A code rate that is null without an exception is used as it is.
        ofTuner("tune_and_scan_DVBS", tuneAndScan, MW_FE_TYPE_DVBS)
            .gives(0, Call::NewObjectA, "", 1, Failure::kNull)
            .gives(0, Call::NewObjectA, "", 3, Failure::kNull),
        ofTuner("tune_and_scan_DVBT", tuneAndScan, MW_FE_TYPE_DVBT),
        ofTuner("tune_and_scan_ISDBS", tuneAndScan, MW_FE_TYPE_ISDBS),
        ofTuner("tune_and_scan_ISDBT", tuneAndScan, MW_FE_TYPE_ISDBT),
        ofTuner("tune_and_scan_DTMB", tuneAndScan, MW_FE_TYPE_DTMB),
        ofTuner("cancel_tuning", x_native_frontend_cancel_tuning).logs("D cancelTuning, here..."),
        ofTuner("cancel_scanning", x_native_frontend_cancel_scanning)
            .logs("D cancelScanning, ret_val: 0"),
        ofTuner("set_lna_enabled", x_native_frontend_set_lna_enabled, 1)
            .logs("D setLnaEnabled, enable: 1"),
        ofTuner("get_frontend_info", x_native_frontend_get_frontend_info, nullptr)
            .logs("D getFrontendInfo, here..."),
        ofTuner("get_frontend_status", queryStatus)
            .gives(0, Call::CallBooleanMethodA)
            .gives(0, Call::CallIntMethodA)
            .gives(0, Call::CallLongMethodA)
            .gives(0, Call::CallObjectMethodA, "getExtendedModulations")
            .gives(0, Call::CallObjectMethodA, "getCodeRates")
            .gives(0, Call::GetIntArrayElements),
        ofTuner("get_frontend_setting", x_native_frontend_get_frontend_setting, &settings),
        ofTuner("set_ontune_listener", x_native_frontend_set_ontune_listener),
        ofTuner("clear_ontune_listener", x_native_frontend_clear_ontune_listener),
        ofTuner("require_lnb", x_native_frontend_require_lnb).logs("D requiredLnb, ret_val:0."),
        ofTuner("lnb_set_voltage", x_native_frontend_lnb_set_voltage, 1)
            .logs("D lnbSetVoltage, voltage:1."),
        ofTuner("lnb_set_tone", x_native_frontend_lnb_set_tone, 1).logs("D lnbSetTone, tone:1."),
        ofTuner("lnb_set_SatellitePosition", x_native_frontend_lnb_set_SatellitePosition, 1),
        ofTuner("lnb_get_voltage", x_native_frontend_lnb_get_voltage).gives(kJavaValue, 0),
        ofTuner("lnb_get_tone", x_native_frontend_lnb_get_tone).gives(kJavaValue, 0),
        ofTuner("lnb_get_SatellitePosition", x_native_frontend_lnb_get_SatellitePosition)
            .gives(kJavaValue, 0),
        ofTuner("lnb_send_diseqcmessage", x_native_frontend_lnb_send_diseqcmessage, message, 3),
        ofTuner("lnb_close", x_native_frontend_lnb_close).gives(0, kAnyCall),

        Function{"x_velmora_filter_open", Side::kFilter, openFilter}
            .within(createThread, undoFilter)
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
        ofFilter("close", x_velmora_filter_close)
            .logs("nativeClose filter object 0x")
            .gives(0, Call::GetEnv, "", 2)
            .gives(0, Call::AttachCurrentThread, "", 2)
            .gives(0, Call::DetachCurrentThread, "", 2)
            .keeps(2),
        ofFilter("start", x_velmora_filter_start),
        ofFilter("stop", x_velmora_filter_stop),
        ofFilter("flush", x_velmora_filter_flush),
        ofFilter("read", x_velmora_filter_read, reinterpret_cast<int8_t*>(gOutput), 0, 100)
            .gives(kBytesRead, -1),
        ofFilter("setSectionConfig", x_velmora_filter_setSectionConfig, 1, flag, flag, flag,
                 pattern, pattern, pattern),
        Function{"x_velmora_filter_create_callback_thread", Side::kFilter, createThread}
            .within(nothing, deleteThread)
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
            [[fallthrough]];
        case Call::AttachCurrentThread:
            return filter ? fatal : function.failure;
        case Call::DetachCurrentThread:
            return filter ? fatal : function.success;
        default:
            return function.failure;
    }
}

// --- Running one function on a thread of its own ---

// A run ends when the function returns, or when a fatal assertion fails. The process would be gone
// then; here the thread stays in the assertion for good, with whatever it holds.
struct Attempt {
    int result;
    bool exceptionLeft;
    std::string fatal;  // what the assertion said; empty: none failed
};
thread_local std::promise<Attempt>* tAttempt;

}  // namespace

// In place of the platform's, which would end the process.
void __android_log_assert(const char* condition, const char*, const char* format, ...) {
    if (tAttempt != nullptr) {
        char text[256];
        va_list args;
        va_start(args, format);
        vsnprintf(text, sizeof(text), format, args);
        va_end(args);
        tAttempt->set_value({0, false, std::string(condition) + " " + text});
        while (true) {
            pause();
        }
    }
    abort();
}

namespace {

// call runs watched, on a thread that is attached or has never been.
Attempt runOnThread(bool attached, const std::function<int()>& call) {
    std::promise<Attempt> promise;
    std::future<Attempt> attempt = promise.get_future();
    std::thread([attached, call, promise = std::move(promise)]() mutable {
        tAttempt = &promise;
        void* env = nullptr;
        if (attached) {
            // As a daemon: a thread that stays for good must not hold up the end of the process.
            desk::vm()->AttachCurrentThreadAsDaemon(&env, nullptr);
        }
        Attempt returned = {desk::bridge(call), false, ""};
        if (attached) {
            returned.exceptionLeft = desk::env()->ExceptionCheck() == JNI_TRUE;
            desk::env()->ExceptionClear();
            desk::vm()->DetachCurrentThread();
        } else {
            EXPECT_EQ(JNI_EDETACHED, desk::vm()->GetEnv(&env, JNI_VERSION_1_4));
        }
        promise.set_value(returned);
    }).detach();
    return attempt.get();
}

// --- Every fault of one function ---

class FaultsTest : public desk::BridgeTest, public testing::WithParamInterface<Function> {
  protected:
    static void TearDownTestSuite() {
        std::cout << "faults tried: " << gFaults << " in " << gFunctions << " functions\n";
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
        mCounts = desk::resourceCounts();  // each test has compared them
        BridgeTest::TearDown();
    }

    Attempt run(bool attached) {
        return runOnThread(attached, [this] { return mFunction.call(mStage); });
    }
    void take(const Step& step) {
        desk::bridge([&] { step(mStage); });
    }

    void tryFaults(bool attached) {
        take(mFunction.prepare);
        desk::record();
        EXPECT_EQ(mFunction.success, run(attached).result);
        const std::vector<desk::Point> points = desk::recorded();
        EXPECT_EQ(std::vector<std::string>(), desk::takeBreaches());
        take(mFunction.undo);
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
                SCOPED_TRACE(testing::Message()
                             << (attached ? "attached: " : "not attached: ")
                             << desk::name(fault.point.call) << " " << fault.point.name << " #"
                             << fault.nth << " " << desk::name(fault.failure));
                tryFault(attached, i, fault);
                ++gFaults;
            }
        }
    }

    void tryFault(bool attached, size_t point, const Fault& fault) {
        const desk::ResourceCounts before = desk::resourceCounts();
        take(mFunction.prepare);
        memset(gOutput, kUntouched, sizeof(gOutput));
        desk::recordAndFail(point, fault.failure);
        const Attempt faulty = run(attached);
        desk::recorded();
        const std::vector<std::string> breaches = desk::takeBreaches();
        const bool fatal = !faulty.fatal.empty();
        const bool succeeded = !fatal && faulty.result == mFunction.success;
        EXPECT_EQ(!expectedResult(mFunction, fault), fatal);
        if (fatal) {
            const bool lookup =
                fault.point.call == Call::FindClass || fault.point.call == Call::GetMethodID;
            EXPECT_TRUE(!lookup || fault.failure != Failure::kNull ||
                        mReports.insert(faulty.fatal).second)
                << faulty.fatal << " does not tell what is missing";
        } else if (fault.failure == Failure::kThrows && desk::isNeglected(fault.point.name)) {
            EXPECT_TRUE(succeeded || faulty.result == mFunction.failure);
        } else {
            EXPECT_EQ(expectedResult(mFunction, fault), faulty.result);
            EXPECT_EQ(std::vector<std::string>(), breaches);
            // What is missing is told to whoever loads the library.
            EXPECT_TRUE(!faulty.exceptionLeft || mFunction.side == Side::kLoad);
        }
        if (!fatal && !succeeded) {
            EXPECT_EQ(sizeof(gOutput),
                      std::count(std::begin(gOutput), std::end(gOutput), kUntouched));
        }
        // A plain call works: of a function that failed, with what it left.
        if (succeeded) {
            take(mFunction.undo);
        }
        if (succeeded || fatal) {
            take(mFunction.prepare);
        }
        EXPECT_EQ(mFunction.success, run(attached).result);
        take(mFunction.undo);
        if (!fatal) {
            checkCounts(before, fault);
        }
    }

    // What stays on purpose: the classes of a load, the references of a peer without an environment.
    // What a thread holds whose fatal assertion would have ended the process is not looked at.
    void checkCounts(const desk::ResourceCounts& before, const Fault& fault) {
        desk::ResourceCounts after = desk::resourceCounts();
        const Call call = fault.point.call;
        const bool noEnvironment = call == Call::GetEnv || call == Call::AttachCurrentThread ||
                                   call == Call::DetachCurrentThread;
        if (mFunction.side == Side::kLoad ||
            (noEnvironment && after.globalRefs == before.globalRefs + mFunction.keptWithoutEnv)) {
            after.globalRefs = before.globalRefs;
        }
        EXPECT_EQ(before, after);
    }

    const Function mFunction = GetParam();
    std::unique_ptr<desk::Pipeline> mPipeline;
    Stage mStage;
    std::set<std::string> mReports;  // of missing classes and methods
};

TEST_P(FaultsTest, LogsWithTheLogOpen) {
    const desk::ResourceCounts before = desk::resourceCounts();
    take(mFunction.prepare);
    desk::setLogLevel("V");
    EXPECT_EQ(mFunction.success, run(true).result);
    desk::setLogLevel("");
    take(mFunction.undo);
    EXPECT_TRUE(mFunction.side == Side::kLoad || desk::resourceCounts() == before);
    const std::string log = testing::PrintToString(desk::takeLog());
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
