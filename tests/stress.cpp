// Load: middleware threads work filters and tuners at random, over few handles, while Java threads
// report events for the same handles, for closed ones and for ones that never were.
//
//   stress [--seconds N] [--seed N] [--plant leak|race]
//
// What each thread does follows from the seed. Checked while running: every result is one that the
// state of its handle allows (exactly one where only one thread may close it); every event carries
// the tag and the record of the filter that was opened with its handle; none comes that was reported
// after the close had returned; a Java object gets no call before its open, after its close, or, a
// filter, while another runs. Checked at the end: the resource
// counts.

#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <thread>
#include <unordered_map>

#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/watch.h"

namespace {

using desk::Event;

constexpr int kMiddlewareThreads = 3;
constexpr int kJavaThreads = 2;
constexpr int kSharedFilters = 4;
constexpr int kSharedPipelines = 2;
constexpr int kStallSeconds = 120;

[[noreturn]] __attribute__((format(printf, 1, 2))) void fault(const char* format, ...) {
    va_list args;
    va_start(args, format);
    fputs("stress: ", stderr);
    vfprintf(stderr, format, args);
    fputc('\n', stderr);
    va_end(args);
    _Exit(1);
}

void check(bool holds, const char* what, int64_t a = 0, int64_t b = 0) {
    if (!holds) {
        fault("%s (%" PRId64 ", %" PRId64 ")", what, a, b);
    }
}

// --- Filters as the middleware knows them ---

// One opened filter: its tag.
struct Opened {
    static constexpr uint32_t kMagic = 0x0f117e12;
    uint32_t magic = kMagic;
    uint32_t handle = 0;  // written by the library
    FLT_EVT_CB_T evt = {};
    std::atomic<uint64_t> closedAt{0};
};

std::atomic<uint64_t> gClock{1};
// When the event was reported that a Java thread is delivering; idle: never.
constexpr uint64_t kIdle = UINT64_MAX;
std::atomic<uint64_t> gReporting[kJavaThreads];

std::mutex gOpenedLock;
std::unordered_map<uint32_t, Opened*> gOpened;
// Closed filters whose events may still be on their way, or should show if they come.
std::deque<Opened*> gClosed;

std::atomic<uint64_t> gOperations;
std::atomic<uint64_t> gEvents;
std::atomic<uint64_t> gDelivered;
std::atomic<bool> gStop;

enum class Plant { kNothing, kLeak, kRace };
Plant gPlant = Plant::kNothing;
int gPlanted;
char* volatile gLost;

// A fault of this program, where it uses the library: on middleware threads and, in the callbacks,
// on Java threads.
void plant() {
    if (gPlant == Plant::kLeak) {
        gLost = new char[16];
        gLost = nullptr;
    } else if (gPlant == Plant::kRace) {
        ++gPlanted;
    }
}

void forgetLongClosed() {
    uint64_t oldest = kIdle;
    for (const std::atomic<uint64_t>& reporting : gReporting) {
        oldest = std::min(oldest, reporting.load());
    }
    while (gClosed.size() > 1000 && gClosed.front()->closedAt < oldest) {
        delete gClosed.front();
        gClosed.pop_front();
    }
}

// Returns the handle; 0 when Java refused.
uint32_t openFilter(uint32_t h_pipeline, std::mt19937& random) {
    Opened* opened = new Opened();
    const int mainType = random() % 16 == 0 ? 9 : 1;  // 9: refused
    uint32_t hthread = 0;
    if (random() % 4 == 0) {
        check(x_velmora_filter_create_callback_thread(&hthread) == 0, "create callback thread");
    }
    opened->evt = {static_cast<uint32_t>(random()), static_cast<uint32_t>(random()), hthread};
    FLT_EVT_CB_T evt = opened->evt;
    const int result =
        x_velmora_filter_open(h_pipeline, mainType, 2, 3, &opened->handle, &evt, opened);
    if (hthread != 0) {
        check(x_velmora_filter_delete_callback_thread(hthread) == 0, "delete callback thread");
        check(x_velmora_filter_delete_callback_thread(hthread) == -1, "deleted twice");
    }
    check(result == (mainType == 9 ? -1 : 0), "open", result);
    const uint32_t handle = opened->handle;
    const std::lock_guard<std::mutex> lock(gOpenedLock);
    if (result != 0) {
        check(handle == 0, "handle of a failed open", handle);
        opened->closedAt = ++gClock;
        gClosed.push_back(opened);
        return 0;
    }
    gOpened[handle] = opened;
    return handle;
}

int closeFilter(uint32_t handle) {
    const int result = x_velmora_filter_close(handle);
    check(result == 0 || result == -1, "close", result);
    if (result == 0) {
        const std::lock_guard<std::mutex> lock(gOpenedLock);
        const auto entry = gOpened.find(handle);
        check(entry != gOpened.end(), "closed twice", handle);
        entry->second->closedAt = ++gClock;
        gClosed.push_back(entry->second);
        gOpened.erase(entry);
        forgetLongClosed();
    }
    return result;
}

std::atomic<uint32_t> gSharedFilters[kSharedFilters];  // the latest handle; open or closed

// A result must be the one that Java gave; -1 too when others may close what it was asked of.
void expect(const char* what, int result, int expected, bool shared) {
    if (result != expected && !(shared && result == -1)) {
        fault("%s: result %d, expected %d", what, result, expected);
    }
}

void readSection(uint32_t handle, bool shared, std::mt19937& random) {
    int8_t buffer[4097];
    const int64_t size = static_cast<int64_t>(random() % 5000);
    const int64_t position = random();
    const int available = static_cast<int>(position % 4200) - 50;
    const int64_t most = size > FLT_MAX_READ_SIZE ? FLT_MAX_READ_SIZE : size;
    const int expected = available >= 1 && available <= most ? available : -1;
    memset(buffer, 0x55, sizeof(buffer));
    const int result = x_velmora_filter_read(handle, buffer, position, size);
    expect("read", result, expected, shared);
    for (int i = 0; i < result; ++i) {
        check(buffer[i] == static_cast<int8_t>(handle + static_cast<uint32_t>(i)), "byte read", i);
    }
    check(buffer[result > 0 ? result : 0] == 0x55, "byte after those read", result);
}

void useFilter(uint32_t handle, bool shared, std::mt19937& random) {
    const int low = static_cast<int>(handle & 0xff);
    switch (random() % 5) {
        case 0:
            expect("start", x_velmora_filter_start(handle), low, shared);
            break;
        case 1:
            expect("stop", x_velmora_filter_stop(handle), 0x100 + low, shared);
            break;
        case 2:
            expect("flush", x_velmora_filter_flush(handle), 0x200 + low, shared);
            break;
        case 3: {
            uint8_t pattern[FLT_PATTERN_SIZE];
            const uint8_t last = static_cast<uint8_t>(random() % 128);
            memset(pattern, last, sizeof(pattern));
            const int value = static_cast<int>(random() % 10000);
            expect("configure",
                   x_velmora_filter_setSectionConfig(handle, value, 1, 0, 1, pattern, pattern,
                                                     pattern),
                   value ^ last, shared);
            break;
        }
        default:
            readSection(handle, shared, random);
    }
}

// --- Tuners ---

void useTuner(uint32_t pipeline, bool shared, std::mt19937& random) {
    switch (random() % 8) {
        case 0: {
            MW_FESETTING_T settings = {};
            settings.e_type = random() % 2 == 0 ? MW_FE_TYPE_ATSC : MW_FE_TYPE_DVBT;
            settings.mFrequency = static_cast<int32_t>(random() % 4096);
            const int tuned =
                settings.mFrequency == 666 ? -1 : settings.mFrequency & 0x3f;  // 666: throws
            expect("tune", x_native_frontend_tune(pipeline, &settings), tuned, shared);
            expect("scan", x_native_frontend_scan(pipeline, &settings, 100),
                   tuned == -1 ? -1 : tuned + 100, shared);
            break;
        }
        case 1: {
            FE_STATUS_TYPE_E kinds[] = {FE_STATUS_TYPE_SNR, FE_STATUS_TYPE_DEMOD_LOCK,
                                        FE_STATUS_TYPE_CODE_RATES};
            FE_STATUS_T status = {};
            const int result = x_native_frontend_get_frontend_status(pipeline, kinds, 3, &status);
            expect("status", result, 0, shared);
            if (result == 0) {
                check(status.mSnr == 77 && status.mIsDemodLocked == 1 &&
                          status.mCodeRatesLen == 3 && status.mCodeRates[2] == 3,
                      "status record", status.mSnr, status.mCodeRatesLen);
            }
            kinds[0] = FE_STATUS_TYPE_ROLL_OFF;
            expect("status without an object",
                   x_native_frontend_get_frontend_status(pipeline, kinds, 1, &status), -1, shared);
            break;
        }
        case 2: {
            MW_FESETTING_T settings = {};
            const int result = x_native_frontend_get_frontend_setting(pipeline, &settings);
            expect("readback", result, 0, shared);
            check(result != 0 || (settings.e_type == MW_FE_TYPE_DTMB &&
                                  settings.mFrequency == 9000 && settings.u.t_dtmb.mBandwidth == 6),
                  "settings read back", settings.e_type, settings.mFrequency);
            break;
        }
        case 3: {
            unsigned char message[] = {1, 2, 3};
            expect("DiSEqC", x_native_frontend_lnb_send_diseqcmessage(pipeline, message, 3), 3,
                   shared);
            expect("LNB voltage", x_native_frontend_lnb_set_voltage(pipeline, 17), 18, shared);
            const int tone = x_native_frontend_lnb_get_tone(pipeline);
            check(tone == 13 || (shared && tone == 0), "LNB tone", tone);
            break;
        }
        case 4:
            expect("cancel", x_native_frontend_cancel_tuning(pipeline), 0, shared);
            break;
        case 5:
            expect("LNA", x_native_frontend_set_lna_enabled(pipeline, 1), 0, shared);
            break;
        case 6:
            x_native_frontend_require_tuner(pipeline);
            break;
        default:
            x_native_frontend_close_tuner(pipeline);
            if (!shared) {
                check(x_native_frontend_cancel_tuning(pipeline) == -1, "cancel after close");
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
    bool delivered;
    std::mt19937* random;
};
thread_local Report tReport;
int gScanTag;

void checkFilterEvent(uint32_t hfilter, const FLT_EVT_CB_T* pt_evt, void* pv_tag) {
    const Opened* opened = static_cast<Opened*>(pv_tag);
    check(opened->magic == Opened::kMagic, "tag", opened->magic);
    check(hfilter == tReport.handle && opened->handle == hfilter, "event of another filter",
          hfilter, opened->handle);
    check(memcmp(pt_evt, &opened->evt, sizeof(*pt_evt)) == 0, "event record", hfilter);
    const uint64_t closedAt = opened->closedAt;
    check(closedAt == 0 || tReport.at < closedAt, "event reported after the close had returned",
          hfilter);
    tReport.delivered = true;
    ++gDelivered;
    plant();
    // The middleware may work the filter from here.
    if ((*tReport.random)() % 8 == 0) {
        useFilter(hfilter, true, *tReport.random);
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

int onScan(unsigned int pipeline, void* pv_tag) {
    check(pipeline == tReport.handle && pv_tag == &gScanTag, "scan event", pipeline);
    tReport.delivered = true;
    return 0;
}

int onScanValue(unsigned int pipeline, int32_t value, void* pv_tag) {
    check(value == tReport.values[0], "scan value", value);
    return onScan(pipeline, pv_tag);
}

int onScanList(unsigned int pipeline, const int32_t* values, int32_t count, void* pv_tag) {
    check(count == tReport.values[0], "scan list", count);
    for (int32_t i = 0; i < count; ++i) {
        check(values[i] == 0, "scan list's value", values[i]);
    }
    return onScan(pipeline, pv_tag);
}

int onLnb(unsigned int pipeline, int32_t type) {
    return onScanValue(pipeline, type, &gScanTag);
}

int onDiseqc(unsigned int pipeline, const int8_t*, int32_t length) {
    check(length == tReport.values[0], "DiSEqC length", length);
    return onScan(pipeline, &gScanTag);
}

void reportFilterEvent(uint32_t handle, std::mt19937& random) {
    const jint value = static_cast<jint>(random());
    tReport.values[0] = value;
    switch (random() % 3) {
        case 0:
            tReport.values[1] = 2;
            tReport.values[2] = -3;
            tReport.values[3] = 4;
            desk::report(Event::kSection, handle, value, 2, -3, 4);
            break;
        case 1:
            desk::report(Event::kRestart, handle, value);
            break;
        default:
            desk::report(Event::kFilterStatus, handle, value);
    }
}

// Every one of these reaches the middleware, whatever the pipeline.
void reportFrontendEvent(uint32_t handle, std::mt19937& random) {
    const desk::LocalFrame frame;
    const jint value = static_cast<jint>(random() % 64) + 1;
    tReport.values[0] = value;
    jint result = 0;
    switch (random() % 6) {
        case 0:
            result = desk::report(Event::kLocked, handle);
            break;
        case 1:
            result = desk::report(Event::kStopped, handle);
            break;
        case 2:
            result = desk::report(Event::kProgress, handle, value);
            break;
        case 3: {
            static constexpr Event kLists[] = {Event::kFrequencies, Event::kSymbolRates,
                                               Event::kPlpIds, Event::kGroupIds, Event::kStreamIds};
            const auto list = desk::newArray(std::vector<jint>(static_cast<size_t>(value)));
            result = desk::report(kLists[random() % std::size(kLists)], handle, list, value);
            break;
        }
        case 4:
            result = desk::report(Event::kLnb, handle, value);
            break;
        default:
            result =
                desk::report(Event::kDiseqc, handle,
                             desk::newArray(std::vector<jbyte>(static_cast<size_t>(value))), value);
    }
    check(result == 0 && tReport.delivered, "frontend event not delivered", result);
}

// --- Threads ---

struct Pipelines {
    std::vector<std::unique_ptr<desk::Pipeline>> shared;
    std::vector<std::unique_ptr<desk::Pipeline>> own;
};

// Attached for life, as another component of the device may have done, or for each call only.
void middlewareThread(const Pipelines& pipelines, int index, unsigned seed, bool attached) {
    std::mt19937 random(seed * 1000 + static_cast<unsigned>(index));
    std::optional<desk::Attached> attachment;
    if (attached) {
        attachment.emplace();
    }
    const desk::Watch watch;
    const uint32_t own = pipelines.own[static_cast<size_t>(index)]->handle();
    x_native_frontend_require_tuner(own);
    uint32_t filter = 0;
    while (!gStop) {
        const uint32_t pipeline = pipelines.shared[random() % kSharedPipelines]->handle();
        std::atomic<uint32_t>& slot = gSharedFilters[random() % kSharedFilters];
        switch (random() % 8) {
            case 0:
                if (filter == 0) {
                    filter = openFilter(own, random);
                } else {
                    check(closeFilter(filter) == 0, "close of an own filter", filter);
                    check(x_velmora_filter_start(filter) == -1, "start after close", filter);
                    filter = 0;
                }
                break;
            case 1: {
                const uint32_t before = slot.exchange(openFilter(own, random));
                closeFilter(before);
                break;
            }
            case 2:
                closeFilter(slot);
                break;
            case 3:
                useFilter(slot, true, random);
                break;
            case 4:
                useTuner(own, false, random);
                break;
            case 5:
                useTuner(pipeline, true, random);
                break;
            default:
                if (filter != 0) {
                    useFilter(filter, false, random);
                }
        }
        ++gOperations;
    }
    if (filter != 0) {
        check(closeFilter(filter) == 0, "last close", filter);
    }
    x_native_frontend_close_tuner(own);
}

void javaThread(const Pipelines& pipelines, int index, unsigned seed) {
    std::mt19937 random(seed * 1000 + 500 + static_cast<unsigned>(index));
    const desk::Attached attached;
    std::atomic<uint64_t>& reporting = gReporting[index];
    while (!gStop) {
        reporting = gClock.load();
        tReport = {++gClock, 0, {}, false, &random};
        if (random() % 2 == 0) {
            const uint32_t latest = gSharedFilters[random() % kSharedFilters];
            const uint32_t handles[] = {latest, latest, latest, latest - 1, 0, 0x7fffff00};
            tReport.handle = handles[random() % std::size(handles)];
            reportFilterEvent(tReport.handle, random);
        } else {
            tReport.handle = random() % 4 == 0
                                 ? 0x7fffff00
                                 : pipelines.shared[random() % kSharedPipelines]->handle();
            reportFrontendEvent(tReport.handle, random);
        }
        reporting = kIdle;
        ++gEvents;
    }
}

void registerCallbacks(uint32_t h_pipeline) {
    x_velmora_filter_register_section_callback(onSection);
    x_velmora_filter_register_filter_status_callback(onStatus);
    FE_SCAN_CB_T scan = {};
    scan.pf_locked_nfy = scan.pf_stopped_nfy = onScan;
    scan.pf_progress_nfy = onScanValue;
    scan.pf_freq_report_nfy = scan.pf_symbol_rate_nfy = scan.pf_plp_id_nfy = scan.pf_group_id_nfy =
        scan.pf_stream_id_nfy = onScanList;
    scan.pv_tag = &gScanTag;
    x_native_frontend_register_scan_callback(&scan);
    desk::bridge([=] { return x_native_frontend_require_tuner(h_pipeline); });
    x_native_frontend_register_lnb_callback(h_pipeline, onLnb);
    x_native_frontend_register_lnb_DiseqcMessage_callback(h_pipeline, onDiseqc);
    desk::bridge([=] { return x_native_frontend_close_tuner(h_pipeline); });
}

// Lets the threads run; a thread that hangs ends the process.
void watchOver(int seconds) {
    uint64_t operations = 0;
    uint64_t events = 0;
    int stalled = 0;
    for (int second = 0; second < seconds; ++second) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        stalled = gOperations == operations || gEvents == events ? stalled + 1 : 0;
        operations = gOperations;
        events = gEvents;
        check(stalled < kStallSeconds, "no progress", static_cast<int64_t>(operations),
              static_cast<int64_t>(events));
    }
    gStop = true;
}

struct Options {
    int seconds = 10;
    unsigned seed = 1;
};

Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; i += 2) {
        const std::string name = argv[i];
        const std::string value = i + 1 < argc ? argv[i + 1] : "";
        const int number = atoi(value.c_str());
        if (name == "--seconds" && number > 0) {
            options.seconds = number;
        } else if (name == "--seed" && number > 0) {
            options.seed = static_cast<unsigned>(number);
        } else if (name == "--plant" && (value == "leak" || value == "race")) {
            gPlant = value == "leak" ? Plant::kLeak : Plant::kRace;
        } else {
            fault("usage: stress [--seconds N] [--seed N] [--plant leak|race]");
        }
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parse(argc, argv);
    desk::startWatchedVm({desk::kSmallHeap});
    check(desk::loadWatchedLibrary(), "load");
    desk::callStatic("tests.StressModel", "install");

    const desk::ResourceCounts before = desk::resourceCounts();
    Pipelines pipelines;
    for (int i = 0; i < kSharedPipelines; ++i) {
        pipelines.shared.push_back(std::make_unique<desk::Pipeline>());
    }
    registerCallbacks(pipelines.shared[0]->handle());
    for (std::atomic<uint64_t>& reporting : gReporting) {
        reporting = kIdle;
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < kMiddlewareThreads; ++i) {
        pipelines.own.push_back(std::make_unique<desk::Pipeline>());
    }
    for (int i = 0; i < kMiddlewareThreads; ++i) {
        threads.emplace_back(middlewareThread, std::cref(pipelines), i, options.seed, i == 0);
    }
    for (int i = 0; i < kJavaThreads; ++i) {
        threads.emplace_back(javaThread, std::cref(pipelines), i, options.seed);
    }
    watchOver(options.seconds);
    for (std::thread& thread : threads) {
        thread.join();
    }
    desk::bridge([&] {
        for (const auto& pipeline : pipelines.shared) {
            x_native_frontend_close_tuner(pipeline->handle());
        }
        for (const std::atomic<uint32_t>& filter : gSharedFilters) {
            closeFilter(filter);
        }
        return 0;
    });
    pipelines = {};
    check(gOpened.empty(), "filters left open", static_cast<int64_t>(gOpened.size()));
    const std::string wrong = desk::callStatic<std::string>("tests.StressModel", "fault");
    if (!wrong.empty()) {
        fault("%s", wrong.c_str());
    }
    if (!(desk::resourceCounts() == before)) {
        std::cerr << "before: " << before << "\nafter:  " << desk::resourceCounts() << "\n";
        fault("resources were left");
    }
    for (const Opened* opened : gClosed) {
        delete opened;
    }
    const uint64_t seconds = static_cast<uint64_t>(options.seconds);
    printf("seed %u, %d s: %" PRIu64 " operations (%" PRIu64 "/s), %" PRIu64 " events (%" PRIu64
           "/s), of them %" PRIu64
           " delivered to filters\n"
           "checked: results, read bytes and records of every operation; handle, tag, record and "
           "data of every event; calls of every Java object; the resource counts\n",
           options.seed, options.seconds, gOperations.load(), gOperations / seconds, gEvents.load(),
           gEvents / seconds, gDelivered.load());
    desk::stopVm();
    return 0;
}
