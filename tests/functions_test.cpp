// The functions and natives of the library, each a row of a table. What comes of one is written in
// functions.txt: of a plain call the lines that it logs, its calls of Java, the middleware's
// callbacks and its result; of failing ones what differs, with the causes. Every call that the
// function makes, of JNI, of the invocation interface and of the middleware's services, fails in
// turn, in each way in which it can.
//
// FUNCTIONS_TXT=tests/functions.txt build/host/bin/functions_test writes the file anew.

#include <android/log.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <thread>

#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/library_test.h"

extern "C" JavaVM* g_velmora_javaVM;

namespace {

using desk::Call;
using desk::Event;
using desk::Failure;
using Lines = std::vector<std::string>;

// --- The callbacks of the middleware ---

Lines gHeard;  // what they were given, a line each
int gTag;
constexpr int kListLength = 2;  // of the lists that Java reports

std::string told(int value) {
    return std::to_string(value);
}
std::string told(void* tag) {
    return tag == &gTag ? "tag" : "another tag";
}
template <typename Element>
std::string told(const Element* list) {
    EXPECT_EQ(1, desk::resourceCounts().at("elements")) << "released before the callback returned";
    return "[" + told(list[0]) + ", " + told(list[kListLength - 1]) + "]";
}
std::string told(FLT_EVT_CB_T* record) {
    return "record " + std::to_string(record->ui4_private0) + " " +
           std::to_string(record->ui4_private1);
}
std::string told(FLT_EVT_DATA_T* data) {
    std::string text = "kind " + told(data->e_kind);
    for (const int32_t value : data->ai4_arg) {
        text += " " + told(value);
    }
    return text;
}

// A callback for each event, so that none can take another's unnoticed.
template <Event event, typename Result, typename... Args>
Result on(uint32_t handle, Args... args) {
    std::string line =
        std::string("callback: ") + desk::methodOf(event) + "(" + std::to_string(handle);
    ((line += ", " + told(args)), ...);
    gHeard.push_back(line + ")");
    constexpr int kUnused = 77;  // must not reach Java
    return static_cast<Result>(kUnused);
}

// Registers all of them, or none.
void registerCallbacks(uint32_t h_pipeline, bool all) {
    FE_SCAN_CB_T scan = {};
    scan.pf_locked_nfy = on<Event::kLocked>;
    scan.pf_stopped_nfy = on<Event::kStopped>;
    scan.pf_progress_nfy = on<Event::kProgress>;
    scan.pf_freq_report_nfy = on<Event::kFrequencies>;
    scan.pf_symbol_rate_nfy = on<Event::kSymbolRates>;
    scan.pf_plp_id_nfy = on<Event::kPlpIds>;
    scan.pf_group_id_nfy = on<Event::kGroupIds>;
    scan.pf_stream_id_nfy = on<Event::kStreamIds>;
    scan.pf_dvbs_standard_nfy = on<Event::kDvbsStandard>;
    scan.pf_dvbt_standard_nfy = on<Event::kDvbtStandard>;
    scan.pf_hierarchy_nfy = on<Event::kHierarchy>;
    scan.pv_tag = &gTag;
    const flt_section_nfy_fct section = on<Event::kSection>;
    const flt_status_nfy_fct status = on<Event::kFilterStatus>;
    const fe_lnb_nfy_fct lnb = on<Event::kLnb>;
    const fe_lnb_diseqc_nfy_fct diseqc = on<Event::kDiseqc>;
    x_native_frontend_register_scan_callback(all ? &scan : nullptr);
    EXPECT_EQ(0, x_velmora_filter_register_section_callback(all ? section : nullptr));
    EXPECT_EQ(0, x_velmora_filter_register_filter_status_callback(all ? status : nullptr));
    x_native_frontend_require_tuner(h_pipeline);
    x_native_frontend_register_lnb_callback(h_pipeline, all ? lnb : nullptr);
    x_native_frontend_register_lnb_DiseqcMessage_callback(h_pipeline, all ? diseqc : nullptr);
    x_native_frontend_close_tuner(h_pipeline);
}

// --- The table ---

constexpr unsigned char kUntouched = 0xa5;
constexpr int kJavaValue = 5;  // what Java's methods return
constexpr int kBytesRead = 9;
constexpr size_t kShortestHandle = 6;  // as text: the services count from 0x1001

int gFaults;  // tried

struct Stage {
    uint32_t h_pipeline = 0;
    uint32_t hfilter = 0;
    uint32_t hthread = 0;
};
// What a function fills; a failing one must leave it alone.
alignas(8) unsigned char gOutput[256];

enum class Side { kFrontend, kFilter, kLoad };
using Step = std::function<void(Stage&)>;

// One row of the table, made by the steps below it.
struct Function {
    std::string name;
    Side side;
    std::function<int(Stage&)> call;
    Step prepare = [](Stage&) {};
    Step undo = [](Stage&) {};
    bool calledByJava = false;  // and so attached
    jint releaseMode = 0;       // of array elements
    bool written = true;        // in functions.txt; what the oracle says is not
    bool opens = false;         // something, and works on no handle but a pipeline

    Function within(Step before, Step after) {
        prepare = std::move(before);
        undo = std::move(after);
        return *this;
    }
    Function unwritten() {
        written = false;
        return *this;
    }
    Function opening() {
        opens = true;
        return *this;
    }
    Function fromJava(jint mode = 0) {
        calledByJava = true;
        releaseMode = mode;
        return *this;
    }
};

void PrintTo(const Function& function, std::ostream* out) {
    *out << function.name;
}

void nothing(Stage&) {}
void requireTuner(Stage& stage) {
    x_native_frontend_require_tuner(stage.h_pipeline);
}
void closeTuner(Stage& stage) {
    x_native_frontend_close_tuner(stage.h_pipeline);
}

// A function of a registered tuner.
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
    return result < 0 ? result : x_native_frontend_scan(h_pipeline, &settings, 1);
}

Function tuning(const char* system, int32_t type) {
    return ofTuner(std::string("tune_and_scan_") + system, tuneAndScan, type).unwritten();
}

int queryStatus(unsigned int h_pipeline) {
    FE_STATUS_TYPE_E kinds[] = {FE_STATUS_TYPE_DEMOD_LOCK, FE_STATUS_TYPE_SNR,
                                FE_STATUS_TYPE_INNER_FEC, FE_STATUS_TYPE_MODULATIONS_EXT,
                                FE_STATUS_TYPE_CODE_RATES};
    return x_native_frontend_get_frontend_status(h_pipeline, kinds, std::size(kinds),
                                                 reinterpret_cast<FE_STATUS_T*>(gOutput));
}

int openFilter(Stage& stage) {
    FLT_EVT_CB_T evt = {31, 32, stage.hthread};
    return x_velmora_filter_open(stage.h_pipeline, 1, 2, INT64_C(0x123456789a), &stage.hfilter,
                                 &evt, &gTag);
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
                        const size_t before = gHeard.size();
                        desk::report(event, stage.hfilter, args...);
                        return gHeard.size() == before + 1 ? 0 : -1;
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
                        const auto list = desk::newArray(std::vector<Element>{10, -20, 30});
                        return desk::report(event, stage.h_pipeline, list, kListLength);
                    }}
        .fromJava(JNI_ABORT);
}

// Refuses its arguments before it does anything.
Function refusal(const std::string& name, const std::function<int(Stage&)>& call) {
    return Function{name, Side::kFilter, call}.within(prepareFilter, undoFilter);
}

std::vector<Function> functions() {
    static unsigned char message[] = {0xe0, 0x10, 0x38};
    static uint8_t pattern[FLT_PATTERN_SIZE];
    const uint8_t flag = 1;
    static MW_FESETTING_T settings;
    return {
        Function{"JNI_OnLoad", Side::kLoad, [](Stage&) { return desk::loadWatchedLibrary(); }}
            .fromJava(),

        ofTuner("require_tuner", x_native_frontend_require_tuner)
            .within(nothing, closeTuner)
            .opening(),
        ofTuner("require_tuner_again", x_native_frontend_require_tuner).opening(),
        ofTuner("close_tuner", x_native_frontend_close_tuner).within(requireTuner, nothing),
        tuning("ATSC", MW_FE_TYPE_ATSC),
        tuning("DVBC", MW_FE_TYPE_DVBC),
        tuning("DVBS", MW_FE_TYPE_DVBS),
        tuning("DVBT", MW_FE_TYPE_DVBT),
        tuning("ISDBS", MW_FE_TYPE_ISDBS),
        tuning("ISDBT", MW_FE_TYPE_ISDBT),
        tuning("DTMB", MW_FE_TYPE_DTMB),
        ofTuner("cancel_tuning", x_native_frontend_cancel_tuning),
        ofTuner("cancel_scanning", x_native_frontend_cancel_scanning),
        ofTuner("set_lna_enabled", x_native_frontend_set_lna_enabled, 2),
        ofTuner("get_frontend_info", x_native_frontend_get_frontend_info, nullptr),
        ofTuner("get_frontend_status", queryStatus).unwritten(),
        ofTuner("get_frontend_setting", x_native_frontend_get_frontend_setting, &settings)
            .unwritten(),
        ofTuner("set_ontune_listener", x_native_frontend_set_ontune_listener),
        ofTuner("clear_ontune_listener", x_native_frontend_clear_ontune_listener),
        ofTuner("register_lnb_callback", x_native_frontend_register_lnb_callback, nullptr),
        ofTuner("register_lnb_DiseqcMessage_callback",
                x_native_frontend_register_lnb_DiseqcMessage_callback, nullptr),
        ofTuner("require_lnb", x_native_frontend_require_lnb),
        ofTuner("lnb_set_voltage", x_native_frontend_lnb_set_voltage, 13),
        ofTuner("lnb_set_tone", x_native_frontend_lnb_set_tone, 1),
        ofTuner("lnb_set_SatellitePosition", x_native_frontend_lnb_set_SatellitePosition, -3),
        ofTuner("lnb_get_voltage", x_native_frontend_lnb_get_voltage),
        ofTuner("lnb_get_tone", x_native_frontend_lnb_get_tone),
        ofTuner("lnb_get_SatellitePosition", x_native_frontend_lnb_get_SatellitePosition),
        ofTuner("lnb_send_diseqcmessage", x_native_frontend_lnb_send_diseqcmessage, message, 3),
        ofTuner("lnb_send_diseqcmessage_empty", x_native_frontend_lnb_send_diseqcmessage, nullptr,
                0),
        ofTuner("lnb_send_diseqcmessage_null", x_native_frontend_lnb_send_diseqcmessage, nullptr,
                1),
        ofTuner("lnb_send_diseqcmessage_of_negative_length",
                x_native_frontend_lnb_send_diseqcmessage, message, -1),
        ofTuner("lnb_close", x_native_frontend_lnb_close),

        Function{"x_velmora_filter_open", Side::kFilter, openFilter}
            .within(createThread, undoFilter)
            .opening(),
        Function{"x_velmora_filter_open_without_pipeline", Side::kFilter,
                 [](Stage& stage) {
                     Stage other;
                     other.h_pipeline = stage.hthread;
                     return openFilter(other);
                 }}
            .within(createThread, deleteThread)
            .opening(),
        refusal("x_velmora_filter_open_for_no_handle",
                [](Stage& stage) {
                    FLT_EVT_CB_T evt = {};
                    return x_velmora_filter_open(stage.h_pipeline, 1, 2, 3, nullptr, &evt, nullptr);
                }),
        refusal("x_velmora_filter_open_without_event_record",
                [](Stage& stage) {
                    uint32_t* hfilter = reinterpret_cast<uint32_t*>(gOutput);
                    return x_velmora_filter_open(stage.h_pipeline, 1, 2, 3, hfilter, nullptr,
                                                 nullptr);
                }),
        ofFilter("close", x_velmora_filter_close),
        ofFilter("start", x_velmora_filter_start),
        ofFilter("stop", x_velmora_filter_stop),
        ofFilter("flush", x_velmora_filter_flush),
        ofFilter("read", x_velmora_filter_read, reinterpret_cast<int8_t*>(gOutput), 0, 100),
        ofFilter("read_into_null", x_velmora_filter_read, nullptr, 0, 1),
        ofFilter("setSectionConfig", x_velmora_filter_setSectionConfig, 1, flag, flag, flag,
                 pattern, pattern, pattern),
        ofFilter("setSectionConfig_without_pattern", x_velmora_filter_setSectionConfig, 1, flag,
                 flag, flag, pattern, pattern, nullptr),
        Function{"x_velmora_filter_create_callback_thread", Side::kFilter, createThread}
            .within(nothing, deleteThread)
            .opening(),
        refusal("x_velmora_filter_create_callback_thread_for_no_handle",
                [](Stage&) { return x_velmora_filter_create_callback_thread(nullptr); }),
        Function{"x_velmora_filter_delete_callback_thread", Side::kFilter, deleteThread}.within(
            createThread, deleteThread),

        filterNative(Event::kSection, 1, -2, 3, 4),
        filterNative(Event::kRestart, 9),
        filterNative(Event::kFilterStatus, -6),
        frontendNative(Event::kLocked),
        frontendNative(Event::kStopped),
        frontendNative(Event::kProgress, -42),
        listNative<jint>(Event::kFrequencies),
        listNative<jint>(Event::kSymbolRates),
        listNative<jint>(Event::kPlpIds),
        listNative<jint>(Event::kGroupIds),
        listNative<jint>(Event::kStreamIds),
        frontendNative(Event::kDvbsStandard, -42),
        frontendNative(Event::kDvbtStandard, -42),
        frontendNative(Event::kHierarchy, -42),
        frontendNative(Event::kSignalType, -42),
        frontendNative(Event::kLnb, -42),
        listNative<jbyte>(Event::kDiseqc),
    };
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
        Attempt returned = {desk::callWatched(call), false, ""};
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

// --- What is written in functions.txt ---

// The text without what differs from run to run: handles have names, addresses and the numbers of
// source lines are gone, and the end of a line is seen.
std::string plain(const std::string& text, const Stage& stage) {
    static constexpr char kDigits[] = "0123456789abcdefx";
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const size_t end = isdigit(text[at]) ? text.find_first_not_of(kDigits, at) : at + 1;
        std::string word = text.substr(at, end - at);
        at += word.size();
        for (const auto& [handle, name] :
             {std::pair(stage.h_pipeline, "PIPELINE"), std::pair(stage.hfilter, "FILTER"),
              std::pair(stage.hthread, "THREAD")}) {
            char hex[16];
            snprintf(hex, sizeof(hex), "0x%x", handle);
            if (word == hex || word == hex + 2 || word == std::to_string(handle)) {
                word = handle != 0 ? name : word;
            }
        }
        if (word.rfind("0x", 0) == 0 && word.size() >= kShortestHandle && word != "0xffffffff") {
            word = "ADDRESS";
        }
        result += word == "\n" ? "\\n" : word;
    }
    if (result.rfind("I <", 0) == 0) {
        const size_t line = result.find(':');
        result.erase(line, result.find('>') - line);
    }
    return result.substr(0, result.find(" at :"));
}

using Sections = std::map<std::string, std::string>;

// A section begins with a line "== name".
Sections readSections() {
    Sections sections;
    std::ifstream file(DESK_TESTS "/functions.txt");
    std::string name;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("== ", 0) == 0) {
            name = line.substr(3);
        } else {
            sections[name] += line + "\n";
        }
    }
    return sections;
}

void writeSections(const char* path, const Sections& sections) {
    std::ofstream file(path);
    for (const auto& [name, text] : sections) {
        file << "== " << name << "\n" << text;
    }
}

Sections gWritten;  // what the tests have seen

// --- The tests of one function ---

class FunctionsTest : public desk::LibraryTest, public testing::WithParamInterface<Function> {
  protected:
    static void TearDownTestSuite() {
        std::cout << "faults tried: " << gFaults << "\n";
        if (const char* path = getenv("FUNCTIONS_TXT"); path != nullptr) {
            writeSections(path, gWritten);
        }
    }

    void SetUp() override {
        LibraryTest::SetUp();
        mPipeline = std::make_unique<desk::Pipeline>();
        mStage.h_pipeline = mPipeline->handle();
        registerCallbacks(mStage.h_pipeline, true);
        desk::resetModel();  // which counts Java's objects from 1 again
        desk::scriptReturns("*", kJavaValue);
        desk::scriptReturns("onOpenFilter", 0);
        desk::scriptReturns("onRead", kBytesRead);
        desk::scriptReturns("onGetFrontendStatus",
                            desk::newObject("android.media.tv.tuner.frontend.FrontendStatus"));
        for (const char* list : {"getExtendedModulations", "getCodeRates"}) {
            desk::scriptReturns(list, desk::newArray(std::vector<jint>(2)));
        }
        desk::scriptReturns("onGetFrontendSetting",
                            desk::newObject("android.media.tv.tuner.frontend.DvbtFrontendSettings",
                                            0, 0, 0, 0, 0, 0, 0, 0, false, 0, false, 0, 0, 0));
        desk::takeReleases();
        desk::setLogLevel("V");
    }

    void TearDown() override {
        desk::setLogLevel("");
        mPipeline.reset();
        const desk::Releases releases = desk::takeReleases();
        EXPECT_EQ(0, mFunction.releaseMode == 0 ? releases.aborted : releases.copiedBack);
        EXPECT_EQ(0, releases.other);
        mCounts = desk::resourceCounts();  // each test has compared them
        LibraryTest::TearDown();
    }

    Attempt run(bool attached) {
        gHeard.clear();
        desk::takeCalls();
        desk::takeLog();
        return runOnThread(attached, [this] { return mFunction.call(mStage); });
    }
    void take(const Step& step) {
        desk::callWatched([&] { step(mStage); });
    }

    // What the last run has done.
    Lines trace(int result) {
        Lines lines = desk::takeLog();
        std::istringstream calls(desk::takeCalls());
        for (std::string call; std::getline(calls, call);) {
            lines.push_back("Java: " + call);
        }
        lines.insert(lines.end(), gHeard.begin(), gHeard.end());
        lines.push_back("result " + std::to_string(result));
        for (std::string& line : lines) {
            line = plain(line, mStage);
        }
        return lines;
    }
    void expectWritten(const std::string& section, const Lines& lines) {
        static Sections expected = readSections();
        std::string text;
        for (const std::string& line : lines) {
            text += line + "\n";
        }
        EXPECT_EQ(expected[section], text)
            << "If it is meant: FUNCTIONS_TXT=tests/functions.txt build/host/bin/functions_test";
        gWritten[section] = text;
    }
    // Notes the cause of what a failing run logged and returned. What a plain run logs is left out.
    void note(const std::string& cause, const Attempt& attempt) {
        Lines lines = desk::takeLog();
        lines.push_back(attempt.fatal.empty() ? "result " + std::to_string(attempt.result)
                                              : "F " + attempt.fatal);
        for (const std::string& line : lines) {
            const std::string text = plain(line, mStage);
            if (mUsual.count(text) == 0) {
                mCauses[text].insert(cause);
            }
        }
    }

    // Every call of the function fails once, in each way.
    void tryFaults(bool attached) {
        take(mFunction.prepare);
        desk::record();
        mPlainResult = run(attached).result;
        const std::vector<desk::Point> points = desk::recorded();
        EXPECT_EQ(std::vector<std::string>(), desk::takeBreaches());
        for (const std::string& line : desk::takeLog()) {
            mUsual.insert(plain(line, mStage));
        }
        take(mFunction.undo);
        std::map<std::string, int> calls;
        for (size_t i = 0; i < points.size(); ++i) {
            // The cause shows a class without its package.
            const std::string& of = points[i].name;
            std::string call = desk::name(points[i].call);
            call += (of.empty() ? "" : " ") + of.substr(of.rfind('/') + 1);
            const int nth = ++calls[call];
            call += nth == 1 ? "" : " #" + std::to_string(nth);
            for (const Failure failure : desk::waysToFail(points[i].call)) {
                // A filter whose semaphore stays taken is lost, unless the semaphore goes next.
                if (failure == Failure::kKeeps &&
                    (i + 1 == points.size() || points[i + 1].call != Call::x_sema_delete)) {
                    continue;
                }
                const std::string cause = call + " " + desk::name(failure);
                SCOPED_TRACE((attached ? "attached: " : "not attached: ") + cause);
                tryFault(attached, i, of, failure, cause);
                ++gFaults;
            }
        }
    }

    void tryFault(bool attached, size_t point, const std::string& javaMethod, Failure failure,
                  const std::string& cause) {
        const desk::ResourceCounts before = desk::resourceCounts();
        take(mFunction.prepare);
        memset(gOutput, kUntouched, sizeof(gOutput));
        desk::recordAndFail(point, failure);
        const Attempt faulty = run(attached);
        const std::vector<desk::Point> calls = desk::recorded();
        const std::vector<std::string> breaches = desk::takeBreaches();
        note(cause, faulty);
        const bool fatal = !faulty.fatal.empty();
        const bool succeeded = !fatal && faulty.result == mPlainResult;
        const bool throws = failure == Failure::kThrows;
        if (!fatal && !(throws && desk::isNeglected(javaMethod))) {
            EXPECT_EQ(std::vector<std::string>(), breaches);
            // What is missing is told to whoever loads the library; elsewhere the log shows it.
            const bool load = mFunction.side == Side::kLoad;
            const bool described = std::any_of(calls.begin(), calls.end(), [](const auto& call) {
                return call.call == Call::ExceptionDescribe;
            });
            EXPECT_EQ(throws && load, faulty.exceptionLeft);
            EXPECT_EQ(throws && !load, described);
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
        EXPECT_EQ(mPlainResult, run(attached).result);
        take(mFunction.undo);
        if (!fatal) {
            checkCounts(before, cause);
        }
    }

    // A load keeps its classes. A peer without an environment keeps its references, which is noted.
    // What a thread holds whose fatal assertion would have ended the process is not looked at.
    void checkCounts(const desk::ResourceCounts& before, const std::string& cause) {
        desk::ResourceCounts after = desk::resourceCounts();
        const int kept = after[desk::kGlobalRefs] - before.at(desk::kGlobalRefs);
        if (kept != 0 && mFunction.side != Side::kLoad) {
            mCauses["global references kept: " + std::to_string(kept)].insert(cause);
        }
        after[desk::kGlobalRefs] -= kept;
        EXPECT_EQ(before, after);
    }

    // A peer may have no Java object, and there is no virtual machine before the load has ended.
    void tryWithoutJava() {
        if (mFunction.side == Side::kFrontend && !mFunction.opens) {
            desk::failCall(Call::NewObjectA, 1, Failure::kNull);
            take(mFunction.prepare);
            desk::failNothing();
            note("no Java object", run(true));
            EXPECT_EQ("", desk::takeCalls());
            take(mFunction.undo);
        }
        take(mFunction.prepare);
        JavaVM* vm = std::exchange(g_velmora_javaVM, nullptr);
        const Attempt attempt = run(true);
        g_velmora_javaVM = vm;
        note("no virtual machine", attempt);
        if (attempt.fatal.empty()) {
            take(mFunction.undo);
        }
    }

    void tryWithoutACallback() {
        registerCallbacks(mStage.h_pipeline, false);
        take(mFunction.prepare);
        note("no callback", run(true));
        take(mFunction.undo);
    }

    void tryWrongHandles() {
        const Stage before = mStage;
        take(prepareFilter);
        const Stage open = mStage;
        const Stage wrong = {open.hthread, open.hthread, open.h_pipeline};
        tryHandles("handle of something else", wrong);
        mStage = open;
        take(undoFilter);
        tryHandles("closed handle", open);
        mStage = before;
    }
    void tryHandles(const char* cause, const Stage& handles) {
        mStage = handles;
        note(cause, run(true));
        EXPECT_EQ("", desk::takeCalls());
    }

    const Function mFunction = GetParam();
    std::unique_ptr<desk::Pipeline> mPipeline;
    Stage mStage;
    int mPlainResult = 0;
    std::set<std::string> mUsual;  // what a plain run logs
    std::map<std::string, std::set<std::string>> mCauses;
};

TEST_P(FunctionsTest, DoesWhatIsWritten) {
    const desk::ResourceCounts before = desk::resourceCounts();
    take(mFunction.prepare);
    const int result = run(true).result;
    if (mFunction.written) {
        expectWritten(mFunction.name, trace(result));
    }
    take(mFunction.undo);
    EXPECT_TRUE(mFunction.side == Side::kLoad || desk::resourceCounts() == before);
}

bool gLockHeldInJava = false;  // and so what follows may wait for ever

TEST_P(FunctionsTest, HoldsNoLockInJava) {
    take(mFunction.prepare);
    desk::record();
    run(true);
    std::set<std::string> methods;
    for (const desk::Point& point : desk::recorded()) {
        if (point.call >= Call::NewObjectA && point.call <= Call::CallObjectMethodA) {
            methods.insert(point.name);
        }
    }
    take(mFunction.undo);
    for (const std::string& method : methods) {
        take(mFunction.prepare);
        desk::scriptHold(method);
        const auto call = std::async(std::launch::async, [this] {
            return runOnThread(true, [this] { return mFunction.call(mStage); });
        });
        ASSERT_TRUE(desk::awaitHeld(method));
        const auto other = std::async(std::launch::async, [] {
            x_native_frontend_close_tuner(0);  // takes every mutex of the registry
            x_velmora_filter_start(0);
            x_velmora_filter_delete_callback_thread(0);
        });
        if (other.wait_for(std::chrono::seconds(5)) != std::future_status::ready) {
            gLockHeldInJava = true;
            ADD_FAILURE() << "a lock of the library is held while Java runs " << method;
        }
        desk::scriptRelease(method);
        call.wait();
        other.wait();
        take(mFunction.undo);
    }
}

TEST_P(FunctionsTest, FailsAsIsWritten) {
    if (gLockHeldInJava) {
        GTEST_SKIP();
    }
    tryFaults(true);
    if (!mFunction.calledByJava) {
        tryFaults(false);
        tryWithoutJava();
    } else if (mFunction.side != Side::kLoad) {
        tryWithoutACallback();
    }
    if (mFunction.side != Side::kLoad && !mFunction.opens) {
        tryWrongHandles();
    }
    Lines lines;
    for (const auto& [text, causes] : mCauses) {
        lines.push_back(text);
        for (const std::string& cause : causes) {
            lines.back() += (cause == *causes.begin() ? "  <- " : ", ") + cause;
        }
    }
    expectWritten(mFunction.name + ", failing", lines);
}

INSTANTIATE_TEST_SUITE_P(Of, FunctionsTest, testing::ValuesIn(functions()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
