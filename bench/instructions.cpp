// Makes every call between two calls of mark(), so that bench/instructions finds in the emulator's
// trace what the library executed in between, and prints its name and its thread. Each is made twice,
// of which the second counts; only the load is not repeated.

#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "bench/calls.h"
#include "tests/support/device.h"

namespace {

__attribute__((noinline)) void mark() {
    asm volatile("");
}

// True when the library did what it should.
bool make(const bench::Call& call) {
    call.before();
    printf("%s\t%s\n", call.name.c_str(), call.thread.c_str());
    mark();
    const int result = call.call();
    mark();
    call.after();
    if (result != call.result) {
        fprintf(stderr, "%s: %d, not %d\n", call.name.c_str(), result, call.result);
    }
    return result == call.result;
}

}  // namespace

// --where tells where the library starts and ends, and where mark() is. A run is given that line and
// refuses another than its own, for which nothing would be counted.
int main(int argc, char** argv) {
    uintptr_t start = 0, end = 0;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("libhalvorin_velmora_pipeline.so") != std::string::npos) {
            uintptr_t* const first = start == 0 ? &start : &end;
            sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR, first, &end);
        }
    }
    constexpr uintptr_t kThumb = 1;
    char addresses[100];
    snprintf(addresses, sizeof(addresses), "%" PRIxPTR " %" PRIxPTR " %" PRIxPTR, start, end,
             reinterpret_cast<uintptr_t>(mark) & ~kThumb);
    if (argc == 2 && strcmp(argv[1], "--where") == 0) {
        puts(addresses);
        return 0;
    }
    if (argc != 2 || strcmp(argv[1], addresses) != 0) {
        fprintf(stderr, "The addresses are %s\n", addresses);
        return 1;
    }
    tests::startVm({tests::kSmallHeap, "-Xint"}, {"platform", "tests", "bench"});
    const auto load = [] { return tests::loadLibrary(), 0; };
    bool good = make({"JNI_OnLoad", load, 0, "", [] {}, [] {}, "java"});
    for (const bench::Call& call : bench::makeCalls()) {
        bench::answer(call.answer);
        good = make(call) && make(call) && good;
    }
    fflush(stdout);
    _exit(good ? 0 : 1);  // the virtual machine is not taken down
}
