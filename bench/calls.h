// What is measured: every function that the library exports and every native that it registers,
// several times where its work depends on the arguments.

#ifndef BENCH_CALLS_H
#define BENCH_CALLS_H

#include <functional>
#include <string>
#include <vector>

namespace bench {

struct Call {
    std::string name;
    std::function<int()> call;
    int result = 0;                        // of a call that did all its work
    std::string answer = "nothing";        // of the Java device, see BenchDevice.answer
    std::function<void()> before = [] {};  // each call
    std::function<void()> after = [] {};
    std::string thread = "attached";  // or "java" for what Java calls
};

// Which of two tuners, filters and so on the calls of this thread work on.
extern thread_local int tLane;

// Makes what the calls work on. The library is loaded.
std::vector<Call> makeCalls();
// Java's compiled loop, unlike the calls, takes no longer than what it calls: it reports this many
// sections of the thread's filter.
constexpr int kSections = 1000;
int reportSections();

void answer(const std::string& what);  // what the Java device answers from now on

}  // namespace bench

#endif  // BENCH_CALLS_H
