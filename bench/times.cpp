// Times some calls on this machine, made by one thread, and by two with a tuner and a filter each.
// The arguments and the output are Google Benchmark's.

#include <benchmark/benchmark.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <optional>

#include "bench/calls.h"
#include "tests/support/device.h"

namespace {

const char* const kTimed[] = {
    "__halvorin_log_is_loggable",  // shares nothing
    "x_native_frontend_cancel_tuning",
    "x_native_frontend_tune DVB-S",
    "x_native_frontend_get_frontend_status 25",
    "x_native_frontend_get_frontend_setting DVB-T",
    "x_native_frontend_lnb_send_diseqcmessage",
    "x_native_frontend_require_tuner",
    "x_velmora_filter_open",
    "x_velmora_filter_start",
    "x_velmora_filter_read 4096",
};

// attached: else each call attaches its thread anew. One call does the work count times.
void add(const bench::Call& call, bool attached = true, int count = 1) {
    const auto work = [=](benchmark::State& state) {
        bench::tLane = state.thread_index();
        std::optional<tests::Attached> attachment(std::in_place);
        bench::answer(call.answer);
        if (!attached) {
            attachment.reset();
        }
        while (state.KeepRunningBatch(count)) {
            if (call.call() != call.result) {
                state.SkipWithError("the call failed");
            }
            call.after();
        }
    };
    // The shortest repetition is the one that the machine's other work disturbed least.
    benchmark::RegisterBenchmark(call.name.c_str(), work)
        ->UseRealTime()
        ->ThreadRange(1, 2)
        ->ComputeStatistics("min", [](const std::vector<double>& times) {
            return *std::min_element(times.begin(), times.end());
        });
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    // Java's compiler runs before what it compiles, not beside it, and collections are short.
    tests::startVm({"-Xbatch", "-XX:+UseSerialGC", "-Xmx256m", "-Xmn64m"},
                   {"platform", "tests", "bench"});
    tests::loadLibrary();
    signal(SIGINT, SIG_DFL);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    const std::vector<bench::Call> calls = bench::makeCalls();
    // Each run attaches the threads that it needs, this one too.
    tests::vm()->DetachCurrentThread();
    const auto named = [&](const std::string& name) {
        return *std::find_if(calls.begin(), calls.end(),
                             [&](const bench::Call& call) { return call.name == name; });
    };
    for (const char* name : kTimed) {
        add(named(name));
    }
    add({tests::methodOf(tests::Event::kSection), bench::reportSections}, true, bench::kSections);
    bench::Call unattached = named("x_native_frontend_cancel_tuning");
    unattached.name += ", unattached";
    add(unattached, false);
    benchmark::RunSpecifiedBenchmarks();
    fflush(stdout);
    _exit(0);  // the virtual machine is not taken down
}
