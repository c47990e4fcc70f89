// Load: middleware threads work filters and tuners at random, over few handles, while Java threads
// report events for the same handles, for closed ones and for ones that never were.
//
//   stress [--seconds N] [--seed N] [--plant leak|race]
//
// What each thread does follows from the seed. Checked while running: every result is one that the
// state of its handle allows (exactly one where only one thread may close it); every event carries
// the tag and the record of the filter that was opened with its handle; none comes that was reported
// after the close had returned; a Java object gets no call before its open, after its close, or, a
// filter, while another runs. Checked at the end: the resource counts.

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <thread>

#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/watch.h"

namespace {

using desk::Event;

constexpr int kMiddlewareThreads = 3;
constexpr int kJavaThreads = 2;
constexpr unsigned kSharedFilters = 4;
constexpr unsigned kSharedPipelines = 2;
constexpr uint32_t kNoHandle = 0x7fffff00;
constexpr int kRefusedType = 9;  // Java's open fails
constexpr unsigned kHangSeconds = 120;

[[noreturn]] void fault(const std::string& what) {
    std::cerr << "stress: " << what << "\n";
    _Exit(1);
}

void check(bool holds, const char* what, int64_t a = 0, int64_t b = 0) {
    if (!holds) {
        fault(std::string(what) + " (" + std::to_string(a) + ", " + std::to_string(b) + ")");
    }
}

// A result must be the one that Java gave; -1 too when others may close what it was asked of.
void expect(const char* what, int result, int expected, bool shared) {
    check(result == expected || (shared && result == -1), what, result, expected);
}

thread_local std::mt19937 tRandom;

uint32_t pick(uint32_t choices) {
    return static_cast<uint32_t>(tRandom()) % choices;
}
template <typename T>
T oneOf(std::initializer_list<T> choices) {
    return choices.begin()[pick(static_cast<uint32_t>(choices.size()))];
}

std::atomic<uint64_t> gOperations;
std::atomic<uint64_t> gEvents;
std::atomic<bool> gStop;

std::string gPlant;
int gPlanted;
char* volatile gLost;

// A fault of this program, where it uses the library: in the callbacks, on Java threads.
void plant() {
    if (gPlant == "leak") {
        gLost = new char[16];
        gLost = nullptr;
    } else if (gPlant == "race") {
        ++gPlanted;
    }
}

// --- Filters as the middleware knows them ---

// The tag of one opened filter.
struct Opened {
    uint32_t handle;  // written by the library; 0 when the open failed
    FLT_EVT_CB_T evt;
    std::atomic<uint64_t> closedAt;
};
// A tag is used again only after so many opens that no event of its last filter can still come.
constexpr uint32_t kTags = 1 << 17;
Opened gTags[kTags];
std::atomic<uint32_t> gOpens{1};
std::atomic<uint64_t> gClock{1};
// The latest opened, perhaps closed by now; the first tag is of no filter.
std::atomic<Opened*> gSharedFilters[kSharedFilters] = {{gTags}, {gTags}, {gTags}, {gTags}};

Opened& openFilter(uint32_t h_pipeline) {
    Opened& opened = gTags[gOpens++ % kTags];
    opened.handle = 0;
    opened.closedAt = 0;
    const bool refused = pick(16) == 0;
    uint32_t hthread = 0;
    check(x_velmora_filter_create_callback_thread(&hthread) == 0, "create callback thread");
    FLT_EVT_CB_T evt = {pick(UINT32_MAX), pick(UINT32_MAX), pick(4) == 0 ? hthread : 0};
    opened.evt = evt;
    const int result = x_velmora_filter_open(h_pipeline, refused ? kRefusedType : 1, 2, 3,
                                             &opened.handle, &evt, &opened);
    check(x_velmora_filter_delete_callback_thread(hthread) == 0, "delete callback thread");
    check(x_velmora_filter_delete_callback_thread(hthread) == -1, "deleted twice");
    check(result == (refused ? -1 : 0) && (opened.handle == 0) == refused, "open", result);
    return opened;
}

int closeFilter(Opened& opened) {
    const int result = x_velmora_filter_close(opened.handle);
    expect("close", result, 0, true);
    if (result == 0) {
        check(opened.closedAt.exchange(++gClock) == 0, "closed twice", opened.handle);
    }
    return result;
}

// What comes of each follows from the handle: another filter's object would answer otherwise.
void useFilter(uint32_t handle, bool shared) {
    const int low = static_cast<int>(handle & 0xff);
    uint8_t pattern[FLT_PATTERN_SIZE] = {};
    int8_t buffer[0x100];
    const int operation = static_cast<int>(pick(5));
    const int result = operation == 0   ? x_velmora_filter_start(handle)
                       : operation == 1 ? x_velmora_filter_stop(handle)
                       : operation == 2 ? x_velmora_filter_flush(handle)
                       : operation == 3 ? x_velmora_filter_setSectionConfig(
                                              handle, 1, 1, 0, 1, pattern, pattern, pattern)
                                        : x_velmora_filter_read(handle, buffer, 0, sizeof(buffer));
    expect("filter", result, operation == 4 ? 1 + low : operation * 0x100 + low, shared);
}

// --- Tuners ---

void useTuner(uint32_t pipeline, bool shared) {
    MW_FESETTING_T settings = {};
    settings.e_type = oneOf<int32_t>({MW_FE_TYPE_ATSC, MW_FE_TYPE_DVBT});
    settings.mFrequency = static_cast<int32_t>(pick(4096));
    FE_STATUS_TYPE_E kinds[] = {FE_STATUS_TYPE_SNR, FE_STATUS_TYPE_CODE_RATES};
    FE_STATUS_T status = {};
    unsigned char message[] = {1, 2, 3};
    switch (pick(5)) {
        case 0:
            expect("tune", x_native_frontend_tune(pipeline, &settings), settings.mFrequency,
                   shared);
            expect("scan", x_native_frontend_scan(pipeline, &settings, 100),
                   settings.mFrequency + 100, shared);
            break;
        case 1:
            expect("status", x_native_frontend_get_frontend_status(pipeline, kinds, 2, &status), 0,
                   shared);
            break;
        case 2:
            expect("readback", x_native_frontend_get_frontend_setting(pipeline, &settings), 0,
                   shared);
            break;
        case 3:
            expect("DiSEqC", x_native_frontend_lnb_send_diseqcmessage(pipeline, message, 3), 3,
                   shared);
            expect("LNB voltage", x_native_frontend_lnb_set_voltage(pipeline, 17), 18, shared);
            expect("cancel", x_native_frontend_cancel_tuning(pipeline), 0, shared);
            break;
        default:
            x_native_frontend_close_tuner(pipeline);
            check(shared || x_native_frontend_cancel_tuning(pipeline) == -1, "cancel after close");
            if (!shared || pick(2) == 0) {
                x_native_frontend_require_tuner(pipeline);
            }
    }
}

// --- Events ---

// What a Java thread is reporting just now: its callback runs on the same thread.
struct Report {
    uint64_t at;
    uint32_t handle;
    int32_t values[4];
};
thread_local Report tReport;

void checkFilterEvent(uint32_t hfilter, const FLT_EVT_CB_T* pt_evt, void* pv_tag) {
    const Opened* opened = static_cast<Opened*>(pv_tag);
    check(hfilter == tReport.handle && opened->handle == hfilter, "event of another filter",
          hfilter, opened->handle);
    check(memcmp(pt_evt, &opened->evt, sizeof(*pt_evt)) == 0, "event record", hfilter);
    const uint64_t closedAt = opened->closedAt;
    check(closedAt == 0 || tReport.at < closedAt, "event reported after the close had returned",
          hfilter);
    plant();
    // The middleware may work the filter from here.
    if (pick(8) == 0) {
        useFilter(hfilter, true);
    }
}

void onSection(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, FLT_EVT_DATA_T* pt_data, void* pv_tag) {
    check(memcmp(pt_data->ai4_arg, tReport.values, sizeof(tReport.values)) == 0, "event data",
          pt_data->ai4_arg[0], tReport.values[0]);
    checkFilterEvent(hfilter, pt_evt, pv_tag);
}

void onStatus(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, int32_t status, void* pv_tag) {
    check(status == tReport.values[0], "filter status", status);
    checkFilterEvent(hfilter, pt_evt, pv_tag);
}

void reportFilterEvent(uint32_t handle) {
    const jint value = static_cast<jint>(pick(UINT32_MAX));
    const Event event = oneOf({Event::kSection, Event::kRestart, Event::kFilterStatus});
    if (event == Event::kSection) {
        tReport = {++gClock, handle, {value, 2, -3, 4}};
        desk::report(event, handle, value, 2, -3, 4);
    } else {
        tReport = {++gClock, handle, {value}};
        desk::report(event, handle, value);
    }
}

// Every one of these reaches the middleware, whatever the pipeline.
void reportFrontendEvent(uint32_t handle) {
    const desk::LocalFrame frame;
    const jint value = static_cast<jint>(pick(64)) + 1;
    const std::vector<jint> numbers(static_cast<size_t>(value), value);
    const Event event = oneOf({Event::kLocked, Event::kProgress, Event::kLnb, Event::kFrequencies,
                               Event::kStreamIds, Event::kDiseqc});
    const jint result =
        event == Event::kLocked                             ? desk::report(event, handle)
        : event == Event::kProgress || event == Event::kLnb ? desk::report(event, handle, value)
        : event == Event::kDiseqc
            ? desk::report(event, handle, desk::newArray(std::vector<jbyte>(numbers.size())), value)
            : desk::report(event, handle, desk::newArray(numbers), value);
    check(result == 0 && desk::takeHeard() == 1, "frontend event not delivered", result);
}

// --- Threads ---

struct Pipelines {
    desk::Pipeline shared[kSharedPipelines];
    desk::Pipeline own[kMiddlewareThreads];
};

// The first is attached for life, as another component of the device may have done, the others for
// each call only.
void middlewareThread(const Pipelines& pipelines, int index, unsigned seed) {
    tRandom.seed(seed * 1000 + static_cast<unsigned>(index));
    std::optional<desk::Attached> attachment;
    if (index == 0) {
        attachment.emplace();
    }
    const desk::Watch watch;
    const uint32_t own = pipelines.own[index].handle();
    x_native_frontend_require_tuner(own);
    Opened* filter = gTags;
    const auto closeOwn = [&] {
        check(closeFilter(*filter) == (filter->handle == 0 ? -1 : 0), "close of an own filter");
        check(x_velmora_filter_start(filter->handle) == -1, "start after close");
    };
    while (!gStop) {
        std::atomic<Opened*>& slot = gSharedFilters[pick(kSharedFilters)];
        switch (pick(8)) {
            case 0:
                closeOwn();
                filter = &openFilter(own);
                break;
            case 1:
                closeFilter(*slot.exchange(&openFilter(own)));
                break;
            case 2:
                closeFilter(*slot);
                break;
            case 3:
                useFilter(slot.load()->handle, true);
                break;
            case 4:
                useTuner(own, false);
                break;
            case 5:
                useTuner(pipelines.shared[pick(kSharedPipelines)].handle(), true);
                break;
            default:
                useFilter(filter->handle, filter->handle == 0);
        }
        ++gOperations;
    }
    closeOwn();
    x_native_frontend_close_tuner(own);
}

void javaThread(const Pipelines& pipelines, int index, unsigned seed) {
    tRandom.seed(seed * 1000 + 500 + static_cast<unsigned>(index));
    const desk::Attached attached;
    while (!gStop) {
        if (pick(2) == 0) {
            const uint32_t latest = gSharedFilters[pick(kSharedFilters)].load()->handle;
            reportFilterEvent(oneOf({latest, latest, latest, latest - 1, 0u, kNoHandle}));
        } else {
            const uint32_t pipeline = pipelines.shared[pick(kSharedPipelines)].handle();
            reportFrontendEvent(oneOf({pipeline, pipeline, pipeline, kNoHandle}));
        }
        ++gEvents;
    }
}

// Returns when everything is closed.
void runThreads(const Pipelines& pipelines, unsigned seconds, unsigned seed) {
    alarm(seconds + kHangSeconds);  // ends the process when a thread hangs
    std::vector<std::thread> threads;
    for (int i = 0; i < kMiddlewareThreads; ++i) {
        threads.emplace_back(middlewareThread, std::cref(pipelines), i, seed);
    }
    for (int i = 0; i < kJavaThreads; ++i) {
        threads.emplace_back(javaThread, std::cref(pipelines), i, seed);
    }
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    gStop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    const desk::Watch watch;
    for (const desk::Pipeline& pipeline : pipelines.shared) {
        x_native_frontend_close_tuner(pipeline.handle());
    }
    for (const std::atomic<Opened*>& filter : gSharedFilters) {
        closeFilter(*filter);
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::map<std::string, std::string> options = {
        {"--seconds", "10"}, {"--seed", "1"}, {"--plant", ""}};
    for (int i = 1; i < argc; i += 2) {
        if (options.count(argv[i]) == 0 || i + 1 == argc) {
            fault("usage: stress [--seconds N] [--seed N] [--plant leak|race]");
        }
        options[argv[i]] = argv[i + 1];
    }
    const unsigned seconds = static_cast<unsigned>(std::stoul(options["--seconds"]));
    const unsigned seed = static_cast<unsigned>(std::stoul(options["--seed"]));
    gPlant = options["--plant"];

    desk::startWatchedVm({desk::kSmallHeap});
    check(desk::loadWatchedLibrary() == JNI_VERSION_1_4, "load");
    signal(SIGINT, SIG_DFL);
    desk::callStatic("tests.StressModel", "install", "()V");

    const desk::ResourceCounts before = desk::resourceCounts();
    {
        const Pipelines pipelines;
        desk::registerCountingCallbacks(pipelines.shared[0].handle());
        x_velmora_filter_register_section_callback(onSection);
        x_velmora_filter_register_filter_status_callback(onStatus);
        runThreads(pipelines, seconds, seed);
    }
    const std::string wrong =
        desk::fromJava(desk::callStatic("tests.StressModel", "fault", "()Ljava/lang/String;"));
    const std::string left = desk::changesSince(before);
    check(wrong.empty(), wrong.c_str());
    check(left.empty(), ("left: " + left).c_str());
    check(desk::takeComplaints().empty(), "the virtual machine complained");
    std::cout << "seed " << seed << ", " << seconds << " s: " << gOperations << " operations, "
              << gEvents << " events\n";
    desk::stopVm();
    return 0;
}
