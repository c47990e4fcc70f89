// Calls each function of the table in tests/functions.h plainly, and then with one fault at a time:
// every call that it makes of JNI, of the invocation interface and of the middleware's services
// fails in turn, in each way in which it can. The results are compared with docs/functions.txt.

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
#include <regex>
#include <thread>

#include "mw/basic_services.h"
#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/functions_txt.h"
#include "tests/support/library_test.h"

extern "C" JavaVM* g_velmora_javaVM;

namespace {

using tests::Fixture;
using tests::Function;
using tests::Lines;
using tests::Point;

constexpr unsigned char kUntouched = 0xa5;

#define WRITTEN PROJECT_FOLDER "/docs/functions.txt"
#define SEEN BUILD_FOLDER "/functions.txt"
constexpr char kRemedy[] = "If the change is intended: cp '" SEEN "' '" WRITTEN "'\n";

// --- Running one function on a thread of its own ---

// A run ends when the function returns or a fatal assertion fails. The assertion would end the
// process. Here the thread stays in it for good, with everything that it holds.
struct Attempt : tests::Outcome {
    bool exceptionLeft = false;
    std::vector<Point> calls;
};
thread_local std::promise<Attempt>* tAttempt;

}  // namespace

// Replaces the platform's function, which would end the process.
void __android_log_assert(const char* condition, const char*, const char* format, ...) {
    char text[256];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    if (tAttempt != nullptr) {
        tests::addToLog(std::string(condition) + " " + text);
        tAttempt->set_value({});
        while (true) {
            pause();
        }
    }
    fprintf(stderr, "%s %s\n", condition, text);
    abort();
}

namespace {

// Runs the call, intercepted, on a new thread that is attached or not.
Attempt runOnThread(bool attached, const std::function<int()>& call) {
    std::promise<Attempt> promise;
    std::future<Attempt> run = promise.get_future();
    std::thread([attached, call, promise = std::move(promise)]() mutable {
        tAttempt = &promise;
        void* env = nullptr;
        if (attached) {
            // As a daemon, because a thread that stays for good must not block the end of the
            // process.
            tests::vm()->AttachCurrentThreadAsDaemon(&env, nullptr);
        }
        Attempt returned;
        returned.result = tests::callIntercepted(call);
        if (attached) {
            returned.exceptionLeft = tests::env()->ExceptionCheck() == JNI_TRUE;
            tests::env()->ExceptionClear();
            tests::vm()->DetachCurrentThread();
        } else {
            EXPECT_EQ(JNI_EDETACHED, tests::vm()->GetEnv(&env, JNI_VERSION_1_4));
        }
        promise.set_value(returned);
    }).detach();
    return run.get();
}

// --- Calls ---

bool isJava(const Point& call) {
    return call.call == "NewObjectA" || call.call.rfind("Call", 0) == 0;
}
// The name of the i'th call in functions.txt. A Java method has its own name.
std::string nameOf(const std::vector<Point>& calls, size_t i) {
    const auto nameOf = [](const Point& call) {
        return isJava(call) && call.of != "<init>" ? call.of
               : isJava(call) || call.of.empty()   ? call.call
                                                   : call.call + " " + call.of;
    };
    const std::string name = nameOf(calls[i]);
    const auto before = std::count_if(calls.begin(), calls.begin() + static_cast<ptrdiff_t>(i),
                                      [&](const Point& call) { return nameOf(call) == name; });
    return before == 0 ? name : name + " #" + std::to_string(before + 1);
}

// A failing open must release what it has in this order.
void checkGivenBack(const Attempt& failed, size_t failing) {
    const std::string order = "handle_free x_mem_free x_sema_unlock x_sema_delete";
    std::vector<size_t> steps;
    for (size_t i = failing + 1; i < failed.calls.size(); ++i) {
        const size_t step = order.find(failed.calls[i].call);
        if (step != std::string::npos) {
            steps.push_back(step);
        }
    }
    EXPECT_TRUE(std::is_sorted(steps.begin(), steps.end()));
}

// --- The test of one row ---

int gFaults;                                   // the faults tried so far
std::map<std::string, std::string> gSections;  // those of the rows that ran

const std::string& written() {
    static std::ifstream file(WRITTEN);
    static const std::string text{std::istreambuf_iterator<char>(file), {}};
    return text;
}

// The section in docs/functions.txt; empty when there is none.
std::string writtenSection(const std::string& name) {
    const size_t before = written().find("\n== " + name + ": ");
    const size_t end = written().find("\n== ", before + 1);
    return before == std::string::npos ? "" : written().substr(before + 1, end - before);
}

class FunctionsTest : public tests::LibraryTest, public testing::WithParamInterface<Function> {
  protected:
    // Writes the file anew. Sections of rows that did not run are copied.
    static void TearDownTestSuite() {
        std::cout << "faults tried: " << gFaults << std::endl;
        std::string text = written().substr(0, written().find("== JNI_OnLoad"));  // the legend
        for (const Function& row : tests::functions()) {
            const auto seen = gSections.find(row.name);
            text += seen != gSections.end() ? seen->second : writtenSection(row.name);
        }
        std::ofstream(SEEN) << text;
        if (system("diff -u '" WRITTEN "' '" SEEN "'") != 0) {
            ADD_FAILURE() << "docs/functions.txt differs from what was seen, as shown above.\n"
                          << kRemedy;
        }
    }

    void SetUp() override {
        LibraryTest::SetUp();
        mFixture.h_pipeline = mPipeline->handle();
        tests::gListener = [](const std::string& event) {
            const int held = tests::resourceCounts()["elements"];
            tests::addToLog("callback: " + event + (held != 0 ? " while an array is held" : ""));
        };
        tests::registerCountingCallbacks(mFixture.h_pipeline);
        tests::scriptAnswers(tests::kJavaValue);
        tests::setLogLevel("V");
    }

    void TearDown() override {
        mCounts = tests::resourceCounts();  // the counts of each run were already compared
        LibraryTest::TearDown();
    }

    void take(const tests::Step& step) {
        tests::callIntercepted([&] { step(mFixture); });
    }

    // Notes an outcome that differs from the plain one.
    void note(const std::string& what, const char* way, bool attached, const Attempt& attempt) {
        const Attempt& plain = mPlain[attached];
        if (attempt.result != plain.result || attempt.lines != plain.lines) {
            mSection.note(what, way, attached, attempt);
        }
    }

    // Runs the function. If failing is given, the call with that index fails.
    Attempt run(bool attached, std::optional<size_t> failing = {}, tests::Failure failure = {}) {
        tests::takeLog();
        tests::record();
        if (failing) {
            tests::failCall("", *failing + 1, failure);
        }
        const uint32_t before = mFixture.hfilter;
        Attempt run = runOnThread(attached, [this] { return mFunction.call(mFixture); });
        run.calls = tests::recorded();
        if (mFixture.hfilter != before) {
            tests::addToLog("handle: " + std::to_string(mFixture.hfilter));
        }
        for (const Point& call : run.calls) {
            // Arrays that Java passed are only read, so nothing is copied back. The library's own
            // are written.
            EXPECT_TRUE(call.call.rfind("Release", 0) != 0 ||
                        call.mode == (mFunction.calledByJava ? JNI_ABORT : 0));
        }
        for (const std::string& line : tests::takeLog()) {
            run.lines.push_back(tests::normalized(line, mFixture));
        }
        return run;
    }
    Attempt runPlain(bool attached) {
        const tests::ResourceCounts before = tests::resourceCounts();
        take(mFunction.prepare);
        const Attempt plain = run(attached);
        take(mFunction.undo);
        EXPECT_EQ("", mFunction.isLoad() ? "" : tests::changesSince(before));
        return plain;
    }

    // Stops in each Java method while a second thread takes every mutex of the library.
    void expectNoLockInJava() {
        for (const Point& javaCall : mPlain[true].calls) {
            if (!isJava(javaCall)) {
                continue;
            }
            take(mFunction.prepare);
            std::future<void> other;
            tests::record();
            tests::atNext("." + javaCall.of + "(", [&] {
                other = std::async(std::launch::async, [] {
                    x_native_frontend_close_tuner(0);
                    x_velmora_filter_start(0);
                    x_velmora_filter_delete_callback_thread(0);
                });
                EXPECT_TRUE(other.wait_for(std::chrono::seconds(5)) == std::future_status::ready)
                    << "the library holds a lock while Java runs " << javaCall.of;
            });
            runOnThread(true, [this] { return mFunction.call(mFixture); });
            tests::recorded();
            ASSERT_TRUE(other.valid()) << javaCall.of;
            other.wait();
            take(mFunction.undo);
        }
    }

    void tryFaults(bool attached) {
        const std::vector<Point>& calls = mPlain[attached].calls;
        for (size_t i = 0; i < calls.size(); ++i) {
            for (const auto& [failure, fails] :
                 {std::pair(tests::kFails, " fails"), std::pair(tests::kThrows, " throws"),
                  std::pair(tests::kEmpty, " gives nothing"),
                  std::pair(tests::kKeeps, " does not release")}) {
                // A filter whose semaphore stays taken is lost, unless the semaphore is deleted
                // next.
                const bool isLost = failure == tests::kKeeps &&
                                    (i + 1 == calls.size() || calls[i + 1].call != "x_sema_delete");
                if ((calls[i].ways & failure) == 0 || isLost) {
                    continue;
                }
                const std::string what = nameOf(calls, i);
                SCOPED_TRACE((attached ? "attached: " : "not attached: ") + what + fails);
                note(what, fails, attached, tryFault(attached, i, failure));
                ++gFaults;
            }
        }
    }

    Attempt tryFault(bool attached, size_t failing, tests::Failure failure) {
        const Attempt& plain = mPlain[attached];
        const Point& call = plain.calls[failing];
        const bool throws = failure == tests::kThrows;
        const tests::ResourceCounts before = tests::resourceCounts();
        take(mFunction.prepare);
        memset(mFixture.output, kUntouched, sizeof(mFixture.output));
        Attempt failed = run(attached, failing, failure);
        const bool fatal = !failed.result;
        const bool succeeded = failed.result == plain.result;
        // The failing call must be the same as in the plain run.
        failed.calls.resize(std::max(failed.calls.size(), failing + 1));
        EXPECT_EQ(nameOf(plain.calls, failing), nameOf(failed.calls, failing));
        if (mFunction.name.rfind("x_velmora_filter_open", 0) == 0) {
            checkGivenBack(failed, failing);
        }
        if (!fatal && !(throws && call.isNeglected)) {
            // A load leaves the exception to the program that loads the library. All other
            // functions describe it in the log.
            const bool load = mFunction.isLoad();
            const auto describes = [](const Point& p) { return p.call == "ExceptionDescribe"; };
            EXPECT_EQ(throws && load, failed.exceptionLeft);
            // A refused end frequency is not a failure, so its exception is only cleared.
            EXPECT_EQ(throws && !load && call.of != "setEndFrequency",
                      std::any_of(failed.calls.begin(), failed.calls.end(), describes));
        }
        if (!fatal && !succeeded) {
            EXPECT_EQ(sizeof(mFixture.output), std::count(std::begin(mFixture.output),
                                                          std::end(mFixture.output), kUntouched));
        }
        // A plain call must still work. After a failure it uses what the failed call left.
        if (succeeded) {
            take(mFunction.undo);
        }
        if (succeeded || fatal) {
            take(mFunction.prepare);
        }
        EXPECT_EQ(plain.result, run(attached).result);
        take(mFunction.undo);
        checkCounts(before, &failed);
        return failed;
    }

    // A load keeps its classes. A peer without a Java environment keeps its references, which is
    // noted. After a fatal assertion nothing is compared, because the thread still holds
    // everything.
    void checkCounts(tests::ResourceCounts before, Attempt* attempt) {
        const int kept = tests::resourceCounts()[tests::kGlobalRefs] - before[tests::kGlobalRefs];
        before[tests::kGlobalRefs] += kept;
        if (attempt->result) {
            if (kept != 0 && !mFunction.isLoad()) {
                attempt->lines.push_back("global references kept: " + std::to_string(kept));
            }
            EXPECT_EQ("", tests::changesSince(before));
        }
    }

    // Notes what comes of a cause. The step makes the cause, and its second run ends it.
    void tryWith(
        const std::string& cause, const std::function<void()>& step = [] {}) {
        const tests::ResourceCounts before = tests::resourceCounts();
        take(mFunction.prepare);
        step();
        Attempt attempt = run(true);
        step();
        if (attempt.result) {
            take(mFunction.undo);
        }
        checkCounts(before, &attempt);
        note(cause, "", true, attempt);
    }

    void tryWrongHandles() {
        const Fixture before = mFixture;
        take(tests::prepareFilter);
        const Fixture open = mFixture;
        mFixture = {open.hthread, open.h_pipeline, open.hfilter};
        note("handle of something else", "", true, run(true));
        mFixture = open;
        take(tests::undoFilter);
        mFixture.h_pipeline = 0x7fffff00;
        note("closed handle", "", true, run(true));
        mFixture = before;
    }

    const Function mFunction = GetParam();
    Fixture mFixture;
    Attempt mPlain[2];  // [false]: on a thread that is not attached, [true]: on one that is
    tests::Section mSection;
};

TEST_P(FunctionsTest, MatchesItsSection) {
    mPlain[true] = runPlain(true);
    expectNoLockInJava();
    if (HasFailure()) {
        return;  // what follows could wait for the lock forever
    }
    mSection = tests::Section(mPlain[true]);
    tryFaults(true);
    if (mFunction.calledByJava && !mFunction.isLoad()) {
        tryWith("no callback", [this, registers = true]() mutable {
            registers = !registers;
            tests::registerCountingCallbacks(mFixture.h_pipeline, registers);
        });
        for (const auto& [cause, elements, length] :
             {std::tuple("length 1", 3, 1), std::tuple("length 0", 3, 0),
              std::tuple("length -1", 3, -1), std::tuple("length beyond the array", 3, 9),
              std::tuple("null array", -1, 3), std::tuple("empty array", 0, 3)}) {
            mFixture.elements = elements;
            mFixture.length = length;
            tryWith(cause);
        }
    } else if (!mFunction.calledByJava) {
        mPlain[false] = runPlain(false);
        if (mPlain[false].lines != mPlain[true].lines) {
            mSection.note("thread that is not attached", "", false, mPlain[false]);
        }
        tryFaults(false);
        if (mFunction.ofTuner()) {
            tests::failCall("NewObjectA", 1, tests::kFails);
            tryWith("tuner without a Java object");
            for (const char* getter : {"getInnerFec", "getExtendedModulations", "getCodeRates"}) {
                tests::script(getter, "nothing");
            }
            tryWith("kinds not reported");
        }
        // Until the load has ended, the library knows no virtual machine.
        tryWith("no virtual machine", [vm = static_cast<JavaVM*>(nullptr)]() mutable {
            std::swap(vm, g_velmora_javaVM);
        });
    }
    if (mFunction.takesHandle) {
        tryWrongHandles();
    }
    if (mFunction.name == "x_velmora_filter_open") {
        uint32_t null = 0;
        handle_alloc(HT_PIPELINE, nullptr, nullptr, nullptr, &null);
        tryWith("pipeline without an object", [&] { std::swap(mFixture.h_pipeline, null); });
        handle_free(null, 1);
    }
    const std::string& seen = gSections[mFunction.name] = mSection.text(mFunction.name);
    const std::string listed = writtenSection(mFunction.name);
    if (seen != listed) {
        ADD_FAILURE() << "docs/functions.txt: " << tests::firstDifference(listed, seen) << kRemedy;
    }
}

INSTANTIATE_TEST_SUITE_P(Of, FunctionsTest, testing::ValuesIn(tests::functions()),
                         [](const auto& info) {
                             return std::regex_replace(info.param.name, std::regex("\\W"), "_");
                         });

}  // namespace
