// Makes every call of tests/functions.h between two calls of mark(). So bench/instructions finds in
// the emulator's trace what the library executed in between. For each call this program prints its
// name, its thread, and how often the library allocated. Each call except the load is made twice,
// and the second line counts. Rows whose arguments are refused are left out: they do no work.

#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "tests/functions.h"
#include "tests/support/fault_injection.h"

namespace {

uintptr_t gStart, gEnd;  // where the library is
int gAllocations;        // by the library

__attribute__((noinline)) void mark() {
    asm volatile("");
}

void findLibrary() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("libhalvorin_velmora_pipeline.so") != std::string::npos) {
            uintptr_t* const first = gStart == 0 ? &gStart : &gEnd;
            sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR, first, &gEnd);
        }
    }
}

// True when the library did what it should.
bool make(const tests::Function& row, tests::Fixture* fixture) {
    row.prepare(*fixture);
    tests::takeHeard();
    gAllocations = 0;
    mark();
    const int result = row.call(*fixture);
    mark();
    printf("%s\t%s\t%d\n", row.name.c_str(), row.calledByJava ? "java" : "attached", gAllocations);
    // A filter's native methods return nothing.
    const bool good =
        result >= 0 && (!row.calledByJava || !row.takesHandle || tests::takeHeard() == 1);
    if (!good) {
        fprintf(stderr, "%s failed: %d\n", row.name.c_str(), result);
    }
    row.undo(*fixture);
    return good;
}

}  // namespace

extern "C" void* __libc_malloc(size_t size);
static void* counted(size_t size, const void* caller) {
    const auto address = reinterpret_cast<uintptr_t>(caller);
    gAllocations += address >= gStart && address < gEnd;
    return __libc_malloc(size);
}
// These two replace those of all libraries.
extern "C" void* malloc(size_t size) {
    return counted(size, __builtin_return_address(0));
}
void* operator new(size_t size) {
    return counted(size, __builtin_return_address(0));
}

// --where prints where the library starts and ends, and where mark() is. A run takes that line as
// its argument. It refuses a line with other addresses, because then nothing would be counted.
int main(int argc, char** argv) {
    findLibrary();
    constexpr uintptr_t kThumb = 1;
    char addresses[100];
    snprintf(addresses, sizeof(addresses), "%" PRIxPTR " %" PRIxPTR " %" PRIxPTR, gStart, gEnd,
             reinterpret_cast<uintptr_t>(mark) & ~kThumb);
    if (argc == 2 && strcmp(argv[1], "--where") == 0) {
        puts(addresses);
        return 0;
    }
    if (argc != 2 || strcmp(argv[1], addresses) != 0) {
        fprintf(stderr, "The addresses are %s\n", addresses);
        return 1;
    }
    tests::startInterceptedVm({tests::kSmallHeap, "-Xint"});
    tests::resetModel();
    const tests::Pipeline pipeline;
    tests::Fixture fixture = {pipeline.handle()};
    bool good = true;
    for (const auto* rows : {&tests::functions(), &tests::measuredOnly()}) {
        for (const tests::Function& row : *rows) {
            for (int repetition = row.isLoad() ? 1 : 0; repetition < 2 && !row.refuses;
                 ++repetition) {
                const tests::LocalFrame frame;
                tests::scriptAnswers(0);
                if (!row.isLoad()) {
                    tests::registerCountingCallbacks(fixture.h_pipeline);
                }
                good = make(row, &fixture) && good;
            }
        }
    }
    fflush(stdout);
    _exit(good ? 0 : 1);  // without destroying the virtual machine
}
