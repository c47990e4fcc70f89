// What is measured: every function that the library exports and every native that it registers,
// several times where its work depends on the arguments.

#ifndef BENCH_CALLS_H
#define BENCH_CALLS_H

#include <cstdint>
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

// Makes the pipelines and filters that the calls work on. The library is loaded.
std::vector<Call> makeCalls();

void answer(const std::string& what);  // what the Java device answers from now on

extern uint32_t gPipelines[2];  // have a tuner
extern uint32_t gFilter;        // is open
int tuneTerrestrial(uint32_t h_pipeline);
int readStatus(uint32_t h_pipeline, int kinds);

}  // namespace bench

#endif  // BENCH_CALLS_H
