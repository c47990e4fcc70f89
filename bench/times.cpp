// Times some calls on this machine, three of them beside a limit, and what a second thread adds. The
// arguments and the output are Google Benchmark's.

#include <benchmark/benchmark.h>
#include <cutils/properties.h>
#include <unistd.h>
#include <utils/RefBase.h>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <optional>
#include <thread>

#include "bench/calls.h"
#include "mw/basic_services.h"
#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/host.h"

namespace {

const std::string kCancel = "x_native_frontend_cancel_tuning";
const std::string kStatus = "x_native_frontend_get_frontend_status 8";
const std::string kTimed[] = {
    kCancel,
    "x_native_frontend_tune DVB-S",
    kStatus,
    "x_native_frontend_get_frontend_setting DVB-T",
    "x_native_frontend_lnb_send_diseqcmessage",
    "x_native_frontend_require_tuner",
    "x_velmora_filter_open",
    "x_velmora_filter_read 4096",
};
constexpr int kSections = 1000;  // reported by one call of Java's loop

int64_t gSections;  // that reached the middleware
void onSection(uint32_t, FLT_EVT_CB_T*, FLT_EVT_DATA_T*, void*) {
    ++gSections;
}

// --- The limits ---
// Straight-line code for one case each: it gets the environment, makes the same Java calls, clears
// what they throw, deletes its references, asks the same services, takes one lock around each lookup,
// and reads a property twice for each log line. It checks nothing that goes right in these calls.

struct Peer : android::RefBase {
    jobject object = nullptr;
    uint32_t handle = 0;
    uint32_t semaphore = 0;
    FLT_EVT_CB_T event = {};
};

constexpr int kKindCount = 8;
constexpr jint kKinds[kKindCount] = {0, 1, 2, 3, 4, 5, 6, 7};  // the lock and seven numbers
const char* const kGetters[kKindCount] = {
    "isDemodLocked",     "getSnr",       "getBer", "getPer", "getPerBer", "getSignalQuality",
    "getSignalStrength", "getSymbolRate"};
constexpr jvalue kNoArguments[1] = {};

jmethodID gCancelTuning, gGetStatus, gGetters[kKindCount];
std::mutex gLock;
android::sp<Peer> gFrontend, gFilter;

void passLogLines(int count) {
    char value[PROPERTY_VALUE_MAX];
    for (int read = 0; read < 2 * count; ++read) {
        property_get("vendor.zyt.broadcast.log.level", value, "");
    }
}

android::sp<Peer> findFrontend() {
    const std::lock_guard<std::mutex> lock(gLock);
    return gFrontend;
}

Peer* findFilter(uint32_t handle) {
    uint16_t type = 0;
    void* filter = nullptr;
    handle_get_type_obj(handle, &type, &filter);
    return static_cast<Peer*>(filter);
}

void clearException(JNIEnv* env) {
    if (env->ExceptionCheck()) {
        env->ExceptionClear();
    }
}

int cancelTuningLimit() {
    const android::sp<Peer> frontend = findFrontend();
    passLogLines(1);
    JNIEnv* env = desk::env();
    const int result = env->CallIntMethodA(frontend->object, gCancelTuning, kNoArguments);
    clearException(env);
    return result;
}

int readStatusLimit() {
    jint status[kKindCount];
    const android::sp<Peer> frontend = findFrontend();
    passLogLines(1 + kKindCount);
    JNIEnv* env = desk::env();
    const jintArray request = env->NewIntArray(kKindCount);
    env->SetIntArrayRegion(request, 0, kKindCount, kKinds);
    jvalue argument;
    argument.l = request;
    const jobject object = env->CallObjectMethodA(frontend->object, gGetStatus, &argument);
    clearException(env);
    passLogLines(2 * kKindCount);
    status[0] = env->CallBooleanMethodA(object, gGetters[0], kNoArguments);
    clearException(env);
    for (int i = 1; i < kKindCount; ++i) {
        status[i] = env->CallIntMethodA(object, gGetters[i], kNoArguments);
        clearException(env);
    }
    benchmark::DoNotOptimize(status);
    env->DeleteLocalRef(object);
    env->DeleteLocalRef(request);
    return 0;
}

void JNICALL sectionLimit(JNIEnv*, jobject, jint handle, jint a, jint b, jint c, jint d) {
    const uint32_t hfilter = static_cast<uint32_t>(handle);
    uint32_t semaphore;
    {
        const std::lock_guard<std::mutex> lock(gLock);
        semaphore = findFilter(hfilter)->semaphore;
        x_sema_lock(semaphore, X_SEMA_OPTION_WAIT);
    }
    const android::sp<Peer> filter(findFilter(hfilter));
    x_sema_unlock(semaphore);
    FLT_EVT_DATA_T data = {{a, b, c, d}, FLT_EVT_KIND_SECTION};
    onSection(filter->handle, &filter->event, &data, nullptr);
}

void bindLimits() {
    JNIEnv* env = desk::env();
    const jclass frontend = desk::findClass(
        "com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFrontend");
    const jclass status = desk::findClass("android.media.tv.tuner.frontend.FrontendStatus");
    gCancelTuning = env->GetMethodID(frontend, "onCancelTuning", "()I");
    gGetStatus = env->GetMethodID(frontend, "onGetFrontendStatus",
                                  "([I)Landroid/media/tv/tuner/frontend/FrontendStatus;");
    for (int i = 0; i < kKindCount; ++i) {
        gGetters[i] = env->GetMethodID(status, kGetters[i], i == 0 ? "()Z" : "()I");
    }
    gFrontend = new Peer;
    gFrontend->object = env->NewGlobalRef(env->AllocObject(frontend));
    gFilter = new Peer;
    x_sema_create(&gFilter->semaphore, X_SEMA_TYPE_BINARY_HELD, 1);
    handle_alloc(HT_INNER_FILTER, gFilter.get(), nullptr, nullptr, &gFilter->handle);
    const JNINativeMethod native = {const_cast<char*>("nativeFilterSectionEvent"),
                                    const_cast<char*>("(IIIII)V"),
                                    reinterpret_cast<void*>(sectionLimit)};
    env->RegisterNatives(desk::findClass("bench.BenchDevice$Limit"), &native, 1);
}

// --- What is timed ---

// The shortest repetition is the one that the machine's other work disturbed least.
template <typename Work>
benchmark::internal::Benchmark* add(const std::string& name, const Work& work) {
    return benchmark::RegisterBenchmark(name.c_str(), work)
        ->ComputeStatistics("min", [](const std::vector<double>& times) {
            return *std::min_element(times.begin(), times.end());
        });
}

// unattached: on a thread that the virtual machine has never seen.
void timeCall(const bench::Call& call, bool unattached = false) {
    add(call.name + (unattached ? ", unattached" : ""), [=](benchmark::State& state) {
        bench::answer(call.answer);
        const auto work = [&] {
            for (auto _ : state) {
                if (call.call() != call.result) {
                    state.SkipWithError("the call failed");
                }
                call.after();
            }
        };
        unattached ? std::thread(work).join() : work();
    });
}

void timeSections(const std::string& name, bool toLimit, uint32_t filter) {
    add(name, [=](benchmark::State& state) {
        int64_t expected = gSections;
        while (state.KeepRunningBatch(kSections)) {
            desk::callStatic("bench.BenchDevice", "reportSections", toLimit, filter, kSections);
            expected += kSections;
        }
        if (gSections != expected) {
            state.SkipWithError("sections were lost");
        }
    });
}

// Each thread has a pipeline of its own.
void timeThreads(const std::string& name, const char* answer, int (*call)(uint32_t)) {
    const auto work = [=](benchmark::State& state) {
        std::optional<desk::Attached> attached;
        if (state.thread_index() == 0) {
            bench::answer(answer);
        } else {
            attached.emplace();
        }
        for (auto _ : state) {
            call(bench::gPipelines[state.thread_index()]);
        }
    };
    add("threads: " + name, work)->UseRealTime()->ThreadRange(1, 2);
}
}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    // Java's compiler runs before what it compiles, not beside it, and collections are short.
    desk::startVm({"-Xbatch", "-XX:+UseSerialGC", "-Xmx256m", "-Xmn64m"}, "bench");
    const bool loaded = desk::keepingInterrupt(desk::loadLibrary);
    if (benchmark::ReportUnrecognizedArguments(argc, argv) || !loaded) {
        return 1;
    }
    const std::vector<bench::Call> calls = bench::makeCalls();
    for (const std::string& name : kTimed) {
        const auto named = [&](const bench::Call& call) { return call.name == name; };
        timeCall(*std::find_if(calls.begin(), calls.end(), named));
    }
    const std::string section = desk::methodOf(desk::Event::kSection);
    x_velmora_filter_register_section_callback(onSection);
    bindLimits();
    timeCall({kCancel, [] { return x_native_frontend_cancel_tuning(bench::gPipelines[0]); }}, true);
    timeSections(section, false, bench::gFilter);
    timeCall({"limit: " + kCancel, cancelTuningLimit});
    timeCall({"limit: " + kStatus, readStatusLimit, 0, "status"});
    timeSections("limit: " + section, true, gFilter->handle);
    timeThreads("nothing shared", "nothing", [](uint32_t) { return passLogLines(10), 0; });
    timeThreads(kCancel, "nothing", x_native_frontend_cancel_tuning);
    timeThreads("x_native_frontend_tune DVB-T", "nothing", bench::tuneTerrestrial);
    timeThreads("x_native_frontend_get_frontend_status 25", "status",
                [](uint32_t pipeline) { return bench::readStatus(pipeline, 25); });
    benchmark::RunSpecifiedBenchmarks();
    fflush(stdout);
    _exit(0);  // the virtual machine is not taken down
}
