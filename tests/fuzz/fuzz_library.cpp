// Runs the oracle's cases that a fuzzer makes from bytes. To run a file again that the fuzzer
// wrote: build/fuzz/bin/fuzz_library -handle_segv=0 FILE

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tests/oracle.h"
#include "tests/support/fault_injection.h"

// The error stream. It stays open when the fuzzer closes the standard one.
static const int gReport = dup(STDERR_FILENO);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const jint loaded = [] {
        tests::startInterceptedVm({tests::kSmallHeap, tests::kCheckJni});
        return tests::loadInterceptedLibrary();
    }();
    const auto [expected, actual] = oracle::check(oracle::caseFrom({data, data + size}));
    if (loaded != JNI_VERSION_1_4 || expected != actual) {
        dprintf(gReport, "expected:\n%s\nactual:\n%s\n", expected.c_str(), actual.c_str());
        abort();
    }
    return 0;
}
