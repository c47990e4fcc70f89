// Times some rows of tests/functions.h on this machine: called by one thread, and by two threads
// that have a pipeline each. The arguments and the output are those of Google Benchmark.

#include <benchmark/benchmark.h>
#include <cutils/properties.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <optional>

#include "tests/functions.h"
#include "tests/support/device.h"

// Replaces the fake, which blocks signals and so takes longer than a whole call. Here every
// property is unset, which closes the log gate.
extern "C" int property_get(const char*, char* value, const char*) {
    value[0] = '\0';
    return 0;
}

namespace {

enum Timed {
    kCall,
    kUnattached,  // each call attaches its thread anew
    kWhole,       // the call cannot be repeated, so its preparation and undoing are timed too
};
constexpr struct {
    const char* row;
    Timed timed;
} kTimed[] = {
    {"__halvorin_log_is_loggable", kCall},  // shares nothing
    {"x_native_frontend_cancel_tuning", kCall},
    {"x_native_frontend_cancel_tuning", kUnattached},
    {"x_native_frontend_tune (DVB-S)", kCall},
    {"x_native_frontend_get_frontend_status (all kinds)", kCall},
    {"x_native_frontend_get_frontend_setting (DVB-T)", kCall},
    {"x_native_frontend_lnb_send_diseqcmessage", kCall},
    {"x_native_frontend_close_tuner", kWhole},
    {"x_velmora_filter_open", kWhole},
    {"x_velmora_filter_start", kCall},
    {"x_velmora_filter_read (4096 bytes)", kCall},
};

// One call of the row does the timed work count times.
void add(const tests::Function& row, Timed timed, const tests::Pipeline* pipelines, int count = 1) {
    const auto work = [=](benchmark::State& state) {
        tests::Fixture fixture = {pipelines[state.thread_index()].handle()};
        std::optional<tests::Attached> attachment(std::in_place);
        const auto prepare = [&] { row.prepare(fixture); };
        prepare();
        if (timed == kUnattached) {
            attachment.reset();
        }
        while (state.KeepRunningBatch(count)) {
            if (row.call(fixture) < 0) {
                state.SkipWithError("the call failed");
            }
            if (timed == kWhole) {
                row.undo(fixture);
                prepare();
            }
        }
        row.undo(fixture);
    };
    const char* const notes[] = {"", ", unattached", ", whole"};
    // Other work on the machine disturbs the shortest repetition least.
    benchmark::RegisterBenchmark((row.name + notes[timed]).c_str(), work)
        ->UseRealTime()
        ->ThreadRange(1, 2)
        ->ComputeStatistics("min", [](const std::vector<double>& times) {
            return *std::min_element(times.begin(), times.end());
        });
}

// Unlike the rows, this loop is compiled Java: it adds little to the time of the calls.
constexpr int kSections = 1000;
int reportSections(tests::Fixture& fixture) {
    tests::takeHeard();
    tests::callStatic("bench.BenchDevice", "reportSections", "(II)V", fixture.hfilter, kSections);
    return tests::takeHeard() == kSections ? 0 : -1;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    // Java does not compile in the background, and its collections are short.
    tests::startVm({"-Xbatch", "-XX:+UseSerialGC", "-Xmx256m", "-Xmn64m"},
                   {"platform", "tests", "bench"});
    tests::loadLibrary();
    signal(SIGINT, SIG_DFL);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    tests::callStatic("bench.BenchDevice", "install", "()V");
    static const tests::Pipeline pipelines[2];
    tests::registerCountingCallbacks(pipelines[0].handle());
    // Each run attaches the threads that it needs, including this one.
    tests::vm()->DetachCurrentThread();
    for (const auto& [name, timed] : kTimed) {
        for (const auto* rows : {&tests::functions(), &tests::measuredOnly()}) {
            for (const tests::Function& row : *rows) {
                if (row.name == name) {
                    add(row, timed, pipelines);
                }
            }
        }
    }
    add({tests::methodOf(tests::Event::kSection), reportSections, tests::prepareFilter,
         tests::undoFilter},
        kCall, pipelines, kSections);
    benchmark::RunSpecifiedBenchmarks();
    fflush(stdout);
    _exit(0);  // without destroying the virtual machine
}
