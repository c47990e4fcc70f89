// The stress test: middleware threads call the functions of tests/functions.h at random, on few
// handles, while Java threads report events for the same handles, for closed ones and for ones that
// never existed.
//
//   stress [--seconds N] [--seed N] [--plant 1]
//
// The seed decides what each thread does. While it runs, it checks that
//   - the state of the handle allows each result; where only one thread may close the handle, only
//     one result is right;
//   - every event of a filter has the reported values, and the tag and the record of that filter;
//   - no event arrives that was reported after the close had returned;
//   - no Java object gets a call before its open or after its close, and no filter gets one while
//     another runs.
// At the end it checks the resource counts.

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <string_view>
#include <thread>

#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/functions.h"
#include "tests/support/fault_injection.h"

namespace {

using tests::Fixture;

constexpr unsigned kMiddlewareThreads = 3;
constexpr unsigned kJavaThreads = 2;
constexpr unsigned kPlaces = 3;

unsigned long gSeconds = 10;
unsigned long gSeed = 1;
unsigned long gPlant;
std::atomic<uint64_t> gOperations;
std::atomic<uint64_t> gEvents;
std::atomic<bool> gStop;
char* volatile gPlanted;

template <typename... What>
void check(bool holds, const What&... what) {
    if (!holds) {
        ((std::cerr << "stress: ") << ... << what) << "\n";
        _Exit(1);
    }
}

thread_local std::mt19937 tRandom;

uint32_t pick(size_t choices) {
    return static_cast<uint32_t>(tRandom() % choices);
}

// --- Filters as the middleware knows them ---

// The tag of one opened filter.
struct Opened {
    uint32_t handle;  // the library writes it; 0 when the open failed
    FLT_EVT_CB_T evt;
    std::atomic<uint64_t> closedAt;
};
// A tag is reused only after so many opens that no event of its last filter can still arrive. The
// first tag belongs to no filter.
Opened gTags[1 << 17];
std::atomic<uint32_t> gOpens{1};
std::atomic<uint64_t> gClock{1};

Opened* openFilter(uint32_t h_pipeline, bool refused = false) {
    Opened& opened = gTags[gOpens++ % std::size(gTags)];
    opened.handle = 0;
    opened.closedAt = 0;
    uint32_t hthread = 0;
    check(x_velmora_filter_create_callback_thread(&hthread) == 0, "create callback thread");
    opened.evt = {pick(UINT32_MAX), pick(UINT32_MAX), pick(2) == 0 ? hthread : 0};
    const int type = refused ? 9 : 1;  // see StressModel
    const int result =
        x_velmora_filter_open(h_pipeline, type, 2, 3, &opened.handle, &opened.evt, &opened);
    check(result == (refused ? -1 : 0) && (opened.handle == 0) == refused, "open: ", result);
    check(x_velmora_filter_delete_callback_thread(hthread) == 0 &&
              x_velmora_filter_delete_callback_thread(hthread) == -1,
          "delete callback thread");
    return &opened;
}

bool closeFilter(Opened* opened) {
    const bool closed = x_velmora_filter_close(opened->handle) == 0;
    check(!closed || opened->closedAt.exchange(++gClock) == 0, "closed twice: ", opened->handle);
    return closed;
}

// --- Functions and events ---

// What the calling thread runs: since when, on which handles, and what an event's callback
// received, as a number like those of StressModel. The callback runs on the thread that reports the
// event.
thread_local uint64_t tSince;
thread_local const Fixture* tFixture;
thread_local int tTold;

// Returns the result without the part that shows the handle.
int run(const tests::Function& function, Fixture* fixture) {
    tSince = ++gClock;
    tFixture = fixture;
    tTold = 0;
    const int result = function.call(*fixture) + tTold;
    const uint32_t handle = function.ofTuner() ? fixture->h_pipeline : fixture->hfilter;
    return result > 0 ? result - static_cast<int>(handle % 8) : result;
}

// The results of a function.
struct Row {
    const tests::Function* function;
    int result;
    int failure;  // with a handle that is not open
};
// [0]: those of tuners, [1]: those of filters.
std::vector<Row> gCalls[2];
std::vector<Row> gReports[2];

// Runs each row alone and keeps its results. Functions that open and close are left out, because
// the threads call them directly. So are functions that would remove the events' callbacks.
void learn(uint32_t h_pipeline) {
    const tests::Intercepted intercepted;
    x_native_frontend_require_tuner(h_pipeline);
    Opened* filter = openFilter(h_pipeline);
    Fixture open = {h_pipeline, filter->handle};
    Fixture none;
    for (const tests::Function& function : tests::functions()) {
        const auto has = [&](const char* word) {
            return function.name.find(word) != std::string::npos;
        };
        if (!has("JNI") && !has("log") && !has("register") && !has("tuner") &&
            !has("filter_open") && !has("filter_close") && !has("callback_thread") &&
            !has("Reference")) {
            const bool ofFilter = has("filter") || has("Filter");
            (function.calledByJava ? gReports : gCalls)[ofFilter].push_back(
                {&function, run(function, &open), run(function, &none)});
        }
    }
    check(closeFilter(filter), "close");
    x_native_frontend_close_tuner(h_pipeline);
}

// A shared handle may be open or closed.
enum class Are { kOpen, kClosed, kShared };

void runAny(const std::vector<Row>* rows, Fixture* fixture, Are handles) {
    // Mostly those of filters, because their calls and events wait for each other.
    const std::vector<Row>& some = rows[pick(4) != 0];
    const Row& row = some[pick(some.size())];
    const int result = run(*row.function, fixture);
    check((handles != Are::kClosed && result == row.result) ||
              (handles != Are::kOpen && result == row.failure),
          row.function->name, ": ", result, ", expected ", row.result);
}

void onEvent(uint32_t hfilter, const FLT_EVT_CB_T& evt, const FLT_EVT_DATA_T& data, void* pv_tag) {
    const Opened& opened = *static_cast<Opened*>(pv_tag);
    check(hfilter == tFixture->hfilter && hfilter == opened.handle, "event of ", hfilter, ", not ",
          tFixture->hfilter, ", with the tag of ", opened.handle);
    check(memcmp(&evt, &opened.evt, sizeof(evt)) == 0, "event record of ", hfilter);
    const uint64_t closedAt = opened.closedAt;
    check(closedAt == 0 || tSince < closedAt, "event after the close of ", hfilter);
    // A planted fault, in this program and not in the library: a race that loses memory.
    if (gPlant != 0) {
        gPlanted = new char[16];
    }
    // The middleware may call functions from here.
    if (pick(8) == 0) {
        Fixture fixture = *tFixture;
        runAny(gCalls, &fixture, Are::kShared);
    }
    const std::string_view bytes(reinterpret_cast<const char*>(&data), sizeof(data));
    tTold =
        static_cast<int>(8 + 8 * (std::hash<std::string_view>()(bytes) & 0xfffff) + hfilter % 8);
}
void onSection(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, FLT_EVT_DATA_T* pt_data, void* pv_tag) {
    onEvent(hfilter, *pt_evt, *pt_data, pv_tag);
}
void onStatus(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, int32_t status, void* pv_tag) {
    onEvent(hfilter, *pt_evt, {{status}, -1}, pv_tag);
}

// --- Threads ---

// What all threads share. The filter is the last one opened here; it may be closed by now.
struct Place {
    tests::Pipeline pipeline;
    std::atomic<Opened*> filter{gTags};
    Fixture fixture() const { return {pipeline.handle(), filter.load()->handle}; }
};

// Opens and closes a tuner and a filter of its own. In between it uses them and the shared ones.
void middlewareThread(Place* places, uint32_t h_pipeline) {
    const tests::Intercepted intercepted;
    while (!gStop) {
        x_native_frontend_require_tuner(h_pipeline);
        Opened* filter = openFilter(h_pipeline);
        Fixture own = {h_pipeline, filter->handle};
        for (uint32_t left = pick(16); left != 0; --left, ++gOperations) {
            Place& place = places[pick(kPlaces)];
            Fixture shared = place.fixture();
            const uint32_t choice = pick(8);
            if (choice == 0) {
                closeFilter(place.filter.exchange(openFilter(shared.h_pipeline, pick(8) == 0)));
            } else if (choice == 1) {
                closeFilter(place.filter);
            } else if (choice == 2) {
                (pick(2) == 0 ? x_native_frontend_require_tuner
                              : x_native_frontend_close_tuner)(shared.h_pipeline);
            } else if (choice < 5) {
                runAny(gCalls, &shared, Are::kShared);
            } else {
                runAny(gCalls, &own, Are::kOpen);
            }
        }
        check(closeFilter(filter), "close of an own filter");
        x_native_frontend_close_tuner(h_pipeline);
        runAny(gCalls, &own, Are::kClosed);
    }
}

void javaThread(const Place* places) {
    for (; !gStop; ++gEvents) {
        Fixture fixture = places[pick(kPlaces)].fixture();
        // Half of them for a handle nearby: that of a thread's own filter, of one that is just
        // being opened, of a closed one, or of none.
        fixture.hfilter += pick(2) == 0 ? pick(8) - 4 : 0;
        runAny(gReports, &fixture, Are::kShared);
    }
}

// Returns when everything is closed.
void runThreads(Place* places, const tests::Pipeline* own) {
    alarm(static_cast<unsigned>(gSeconds) + 120);  // ends the process when a thread hangs
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < kMiddlewareThreads + kJavaThreads; ++i) {
        threads.emplace_back([=] {
            tRandom.seed(gSeed * 1000 + i);
            const bool isJava = i >= kMiddlewareThreads;
            // On a device, a middleware thread may be attached for its whole life. Here one is.
            const auto attached = isJava || i == 0 ? std::make_unique<tests::Attached>() : nullptr;
            isJava ? javaThread(places) : middlewareThread(places, own[i].handle());
        });
    }
    std::this_thread::sleep_for(std::chrono::seconds(gSeconds));
    gStop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    const tests::Intercepted intercepted;
    for (unsigned i = 0; i < kPlaces; ++i) {
        x_native_frontend_close_tuner(places[i].pipeline.handle());
        closeFilter(places[i].filter);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::map<std::string, unsigned long*> options = {
        {"--seconds", &gSeconds}, {"--seed", &gSeed}, {"--plant", &gPlant}};
    for (int i = 1; i < argc; i += 2) {
        check(options.count(argv[i]) != 0 && i + 1 < argc,
              "usage: stress [--seconds N] [--seed N] [--plant 1]");
        *options.at(argv[i]) = std::stoul(argv[i + 1]);
    }
    tests::startInterceptedVm({tests::kSmallHeap});
    check(tests::loadInterceptedLibrary() == JNI_VERSION_1_4, "load");
    signal(SIGINT, SIG_DFL);
    tests::callStatic("tests.StressModel", "install", "()V");

    const tests::ResourceCounts before = tests::resourceCounts();
    {
        Place places[kPlaces];
        const tests::Pipeline own[kMiddlewareThreads];
        tests::registerCountingCallbacks(own[0].handle());
        x_velmora_filter_register_section_callback(onSection);
        x_velmora_filter_register_filter_status_callback(onStatus);
        learn(own[0].handle());
        runThreads(places, own);
    }
    tests::callStatic("tests.StressModel", "checkAllClosed", "()V");
    check(tests::changesSince(before).empty(), "left: ", tests::changesSince(before));
    check(tests::takeComplaints().empty(), "the virtual machine complained");
    std::cout << "seed " << gSeed << ", " << gSeconds << " s: " << gOperations << " operations, "
              << gEvents << " events\n";
    tests::stopVm();
}
