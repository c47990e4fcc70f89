// Measures every crossing against its floor, and prints one table.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include "bench/floor.h"
#include "bench/host.h"
#include "bench/measure.h"
#include "bench/rows.h"
#include "log/halvorin_log.h"
#include "mw/frontend.h"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

struct Options {
    const char* json = nullptr;
    bool quick = false;
    bool deskProperties = false;
};

struct Report {
    std::string name;
    std::string thread;
    double target;
    Comparison result;
    unsigned long lines;  // log lines that one call passes
    bool met() const { return result.ratio <= target; }
};

std::vector<Report> gReports;
std::vector<std::string> gAllocating;  // rows that allocate more than the gate does
int gFailures;                         // rows whose two sides do not do the same

// Library and floor must succeed and do the same. Counts the log lines of one call and what the
// library allocates besides them.
unsigned long check(const Row& row) {
    startCounting();
    const Demands start = demands();
    int result = row.bridge(1);
    const Demands middle = demands();
    result -= row.floor(1);
    const Demands end = demands();
    stopCounting();
    const Demands bridge = middle - start;
    const Demands floor = end - middle;
    if (result != 0 || !bridge.sameCalls(floor)) {
        fprintf(stderr,
                "%s: library and floor differ: results by %d, Java calls %lu and %lu, service "
                "calls %lu and %lu, property reads %lu and %lu\n",
                row.name.c_str(), result, bridge.javaCalls, floor.javaCalls, bridge.serviceCalls,
                floor.serviceCalls, bridge.propertyReads, floor.propertyReads);
        ++gFailures;
    }
    const unsigned long lines = bridge.propertyReads / 2;
    if (bridge.libraryAllocations != lines) {
        gAllocating.push_back(row.name + ": " + std::to_string(bridge.libraryAllocations - lines));
    }
    return lines;
}

// Runs work on a thread of the row's kind: the calling one is attached.
template <typename Work>
void onThread(Thread kind, const Work& work) {
    if (kind == Thread::kUnattached) {
        std::thread(work).join();
    } else {
        work();
    }
}

// A row's measurement, which the benchmark library runs several times until it is long enough.
class Measurement {
  public:
    Measurement(Row row, double warmUpSeconds)
        : mRow(std::move(row)), mWarmUpSeconds(warmUpSeconds) {}

    void run(benchmark::State& state) {
        mRow.prepare();
        if (mBatch == 0) {
            mLines = mRow.thread == Thread::kUnattached ? 0 : check(mRow);
            onThread(mRow.thread,
                     [&] { mBatch = warmUp(mRow.bridge, mRow.floor, mWarmUpSeconds); });
        }
        std::vector<Round> rounds;
        onThread(mRow.thread, [&] {
            for (auto _ : state) {
                const Round round = measureRound(mRow.bridge, mRow.floor, mBatch);
                rounds.push_back(round);
                state.SetIterationTime((round.bridge + round.floor) * 2 * mBatch * 1e-9);
            }
        });
        Comparison result = compare(rounds);
        // A disturbed row is measured again, and the steadiest measurement counts.
        for (int again = 0; again < 2 && rounds.size() >= 100 && result.spread > 0.03; ++again) {
            onThread(mRow.thread, [&] {
                for (Round& round : rounds) {
                    round = measureRound(mRow.bridge, mRow.floor, mBatch);
                }
            });
            const Comparison repeated = compare(rounds);
            if (repeated.spread < result.spread) {
                result = repeated;
            }
        }
        state.counters["bridge_ns"] = result.bridge;
        state.counters["floor_ns"] = result.floor;
        state.counters["ratio"] = result.ratio;
        state.counters["spread"] = result.spread;
        state.counters["target"] = mRow.target;
        state.counters["lines"] = static_cast<double>(mLines);
        state.SetLabel(name(mRow.thread));
    }

  private:
    Row mRow;
    double mWarmUpSeconds;
    int mBatch = 0;
    unsigned long mLines = 0;
};

void print(const Report& report) {
    printf("%-32s %-10s %5lu %10.0f %10.0f %6.3f %6.3f   %4.2f  %s\n", report.name.c_str(),
           report.thread.c_str(), report.lines, report.result.bridge, report.result.floor,
           report.result.ratio, report.result.spread, report.target,
           report.met() ? "met" : "MISSED");
    fflush(stdout);
}

void add(Report report) {
    print(report);
    gReports.push_back(std::move(report));
}

class TableReporter : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override {
        printf("%-32s %-10s %5s %10s %10s %6s %6s %6s\n", "crossing", "thread", "lines",
               "bridge ns", "floor ns", "ratio", "spread", "target");
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const auto counter = [&](const char* key) { return run.counters.at(key).value; };
            add({run.run_name.function_name,
                 run.report_label,
                 counter("target"),
                 {counter("bridge_ns"), counter("floor_ns"), counter("ratio"), counter("spread")},
                 static_cast<unsigned long>(counter("lines"))});
        }
    }
};

// --- What is measured besides the table ---

// One pipeline's calls while a thousand are registered, against the same with two.
void measureRegistry(bool quick) {
    std::vector<uint32_t> others(998);
    for (uint32_t& other : others) {
        other = makePipeline();
    }
    const Batch call = [](int count) {
        int result = 0;
        for (int i = 0; i < count; ++i) {
            result |= x_native_frontend_cancel_tuning(secondPipeline());
        }
        return result;
    };
    const int batch = warmUp(call, call, 0.2);
    std::vector<Round> rounds;
    for (int i = 0; i < (quick ? 10 : 40); ++i) {
        std::vector<double> full, single;
        const auto take = [&](std::vector<double>* times) {
            for (int repeat = 0; repeat < 50; ++repeat) {
                times->push_back(measureRound(call, call, batch).bridge);
            }
        };
        take(&single);
        for (const uint32_t other : others) {
            x_native_frontend_require_tuner(other);
        }
        take(&full);
        for (const uint32_t other : others) {
            x_native_frontend_close_tuner(other);
        }
        rounds.push_back({median(std::move(full)), median(std::move(single))});
    }
    add({"registry of 1000, as against 2", name(Thread::kAttached), kRegistryTarget,
         compare(rounds), 0});
}

// Calls per second of so many threads, each attached and with a pipeline of its own.
double callsPerSecond(int threads, int (*call)(uint32_t pipeline)) {
    std::atomic<int> ready{0};
    std::atomic<bool> go{false};
    std::atomic<bool> stop{false};
    std::atomic<long> calls{0};
    std::vector<std::thread> workers;
    for (int i = 0; i < threads; ++i) {
        workers.emplace_back([&, i] {
            const Attached attached;
            const uint32_t pipeline = i == 0 ? firstPipeline() : secondPipeline();
            ++ready;
            while (!go) {
            }
            long done = 0;
            while (!stop) {
                for (int j = 0; j < 20; ++j) {
                    call(pipeline);
                }
                done += 20;
            }
            calls += done;
        });
    }
    while (ready != threads) {
        std::this_thread::yield();
    }
    const Clock::time_point start = Clock::now();
    go = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(8));
    stop = true;
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    for (std::thread& worker : workers) {
        worker.join();
    }
    return static_cast<double>(calls) / seconds;
}

int onlyGate(uint32_t) {
    floors::gate();
    return 0;
}

// What a second thread adds. A round counts only if the machine had a second core to give just
// before and after it, for calls of the gate, of which threads share nothing.
void measureTwoThreads(bool quick) {
    constexpr double kTarget = 1.8;
    constexpr double kWholeCore = 1.75;
    constexpr size_t kEnough = 5;
    const auto gain = [](int (*call)(uint32_t pipeline)) {
        const double one = callsPerSecond(1, call);
        return callsPerSecond(2, call) / one;
    };
    struct Side {
        const char* name;
        int (*call)(uint32_t pipeline);
        bool floor;
        std::vector<double> gains;
    } sides[] = {{"cancel tuning", x_native_frontend_cancel_tuning, false, {}},
                 {"cancel tuning, floor", floors::cancelTuning, true, {}},
                 {"the same, no lock", floors::cancelTuningUnguarded, true, {}},
                 {"tune DVB-T", tuneTerrestrial, false, {}},
                 {"status, 25 kinds", askStatus, false, {}}};
    for (const Side& side : sides) {
        const Batch batch = [&](int count) {
            for (int i = 0; i < count; ++i) {
                side.call(firstPipeline());
            }
            return 0;
        };
        warmUp(batch, batch, 0.5);
    }
    const Clock::time_point start = Clock::now();
    const std::chrono::seconds limit(quick ? 3 : 25);
    double before = gain(onlyGate);
    while (Clock::now() - start < limit) {
        for (Side& side : sides) {
            const double gained = gain(side.call);
            const double after = gain(onlyGate);
            if (before >= kWholeCore && after >= kWholeCore) {
                side.gains.push_back(gained);
            }
            before = after;
        }
    }
    printf("Two threads on two pipelines, times one thread's calls (target %.1f):\n", kTarget);
    for (const Side& side : sides) {
        if (side.gains.size() < kEnough) {
            printf("  %-24s the machine had no second core to give (%zu rounds)\n", side.name,
                   side.gains.size());
            continue;
        }
        const double result = median(side.gains);
        const char* verdict = result >= kTarget ? "met" : "MISSED";
        printf("  %-24s %.2f  %s\n", side.name, result, side.floor ? "" : verdict);
    }
}

// That cost grows in a line: the times of several sizes, taken in turn, and how well a line describes
// them.
void measureGrowth(const char* what, const std::vector<int>& sizes, Batch (*of)(int), bool quick) {
    std::vector<Batch> batches;
    std::vector<int> counts;
    for (const int size : sizes) {
        batches.push_back(of(size));
        counts.push_back(warmUp(batches.back(), batches.back(), 0.1));
    }
    std::vector<std::vector<double>> times(sizes.size());
    for (int round = 0; round < (quick ? 100 : 1000); ++round) {
        for (size_t i = 0; i < sizes.size(); ++i) {
            times[i].push_back(measureRound(batches[i], batches[i], counts[i]).bridge);
        }
    }
    std::vector<double> x(sizes.begin(), sizes.end());
    std::vector<double> y;
    for (std::vector<double>& ofSize : times) {
        y.push_back(median(std::move(ofSize)));
    }
    const Line line = fitLine(x, y);
    printf("Growth with %s (%d to %d): %.2f ns each, %.0f ns besides, fit of the line %.4f: %s\n",
           what, sizes.front(), sizes.back(), line.perUnit, line.atZero, line.fit,
           line.fit >= 0.99 ? "met" : "MISSED");
}

void printGate() {
    const Batch library = [](int count) {
        int result = 0;
        for (int i = 0; i < count; ++i) {
            result |= __halvorin_log_is_loggable(halvorin::kLogInfo, halvorin::kLogLevelProperty);
        }
        return result;
    };
    const Batch floor = [](int count) {
        for (int i = 0; i < count; ++i) {
            floors::gate();
        }
        return 0;
    };
    const auto cost = [&](bool deskProperties) {
        useDeskProperties(deskProperties);
        const int count = warmUp(library, floor, 0.05);
        std::vector<Round> rounds;
        for (int i = 0; i < 1000; ++i) {
            rounds.push_back(measureRound(library, floor, count));
        }
        return compare(rounds);
    };
    const Comparison desk = cost(true);
    const Comparison gate = cost(false);
    printf(
        "The gate of a log line that is not printed: %.0f ns, its floor %.0f; with the desk's own "
        "property service %.0f and %.0f.\n",
        gate.bridge, gate.floor, desk.bridge, desk.floor);
    for (const Thread thread : {Thread::kAttached, Thread::kJava}) {
        std::vector<double> shares;
        for (const Report& report : gReports) {
            if (report.thread == name(thread) && report.lines > 0) {
                shares.push_back(static_cast<double>(report.lines) * gate.floor /
                                 report.result.floor);
            }
        }
        if (!shares.empty()) {
            printf("Its share of the floor of calls that pass lines, %s: %.0f %% (median).\n",
                   name(thread), 100 * median(shares));
        }
    }
}

void printAllocations() {
    printf("Allocations of the library besides the gate's, per call: none");
    const char* separator = " but in ";
    for (const std::string& row : gAllocating) {
        printf("%s%s", separator, row.c_str());
        separator = ", ";
    }
    printf("\n");
}

bool writeJson(const char* path) {
    std::ofstream out(path);
    out << "[\n";
    for (size_t i = 0; i < gReports.size(); ++i) {
        const Report& report = gReports[i];
        char line[400];
        snprintf(
            line, sizeof(line),
            "  {\"name\": \"%s\", \"thread\": \"%s\", \"bridge_ns\": %.1f, \"floor_ns\": %.1f, "
            "\"ratio\": %.4f, \"spread\": %.4f, \"target\": %.2f, \"met\": %s}%s\n",
            report.name.c_str(), report.thread.c_str(), report.result.bridge, report.result.floor,
            report.result.ratio, report.result.spread, report.target,
            report.met() ? "true" : "false", i + 1 < gReports.size() ? "," : "");
        out << line;
    }
    out << "]\n";
    out.close();
    if (!out) {
        fprintf(stderr, "%s: cannot be written\n", path);
    }
    return static_cast<bool>(out);
}

int run(const Options& options) {
    startVm();
    useDeskProperties(options.deskProperties);
    std::vector<Measurement> measurements;
    std::vector<Row> rows = makeRows();
    measurements.reserve(rows.size());
    for (Row& row : rows) {
        measurements.emplace_back(row, options.quick ? 0.05 : 0.25);
        Measurement& measurement = measurements.back();
        benchmark::RegisterBenchmark(row.name.c_str(),
                                     [&](benchmark::State& state) { measurement.run(state); })
            ->UseManualTime()
            ->MinTime(options.quick ? 0.05 : 0.4);
    }
    TableReporter reporter;
    const size_t ran = benchmark::RunSpecifiedBenchmarks(&reporter);
    if (ran == rows.size() || ran == 0) {
        answerNothing();
        measureRegistry(options.quick);
        printf("\n");
        answerStatusObject();
        measureTwoThreads(options.quick);
        measureGrowth("status kinds", {1, 2, 4, 8, 16, 25, 34}, statusOfKinds, options.quick);
        measureGrowth("list elements", {1, 512, 1024, 2048, 4096, 8192}, listOfElements,
                      options.quick);
    }
    printAllocations();
    printGate();
    const auto missed =
        std::count_if(gReports.begin(), gReports.end(), [](const Report& r) { return !r.met(); });
    printf("%zu ratios, %td targets missed\n", gReports.size(), missed);
    for (const Report& report : gReports) {
        if (!report.met()) {
            printf("  missed: %s, %s: %.3f (target %.2f, spread %.3f)\n", report.name.c_str(),
                   report.thread.c_str(), report.result.ratio, report.target, report.result.spread);
        }
    }
    const bool written = options.json == nullptr || writeJson(options.json);
    return gFailures == 0 && written ? 0 : 1;
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::Options options;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--json") == 0 && i + 1 < argc) {
            options.json = argv[++i];
        } else if (strcmp(argv[i], "--quick") == 0) {
            options.quick = true;
        } else if (strcmp(argv[i], "--desk-properties") == 0) {
            options.deskProperties = true;
        } else {
            fprintf(stderr,
                    "%s: not an option; there are --json FILE, --quick, --desk-properties (read "
                    "properties through the desk's service) and those of the benchmark library\n",
                    argv[i]);
            return 1;
        }
    }
    const int status = bench::run(options);
    fflush(stdout);
    _exit(status);  // the virtual machine is not taken down
}
