// The oracle's cases, from the bytes that a fuzzer finds. To run one again that it found:
// build/fuzz/bin/fuzz_library -handle_segv=0 FILE

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "mw/frontend.h"
#include "tests/oracle.h"
#include "tests/watch.h"

namespace {

FILE* gReport;  // the error stream, also when the fuzzer has closed it for everybody else
desk::Pipeline* gPipeline;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    gReport = fdopen(dup(STDERR_FILENO), "w");
    desk::startWatchedVm({desk::kSmallHeap, desk::kCheckJni});
    if (!desk::loadWatchedLibrary()) {
        abort();
    }
    gPipeline = new desk::Pipeline();
    oracle::listen();
    desk::callWatched([] { return x_native_frontend_require_tuner(gPipeline->handle()); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const oracle::Bytes bytes(data, data + size);
    const oracle::Outcome outcome = oracle::check(gPipeline->handle(), oracle::caseFrom({bytes}));
    if (outcome.expected != outcome.actual) {
        fprintf(gReport, "expected:\n%s\n\nactual:\n%s\n", outcome.expected.c_str(),
                outcome.actual.c_str());
        fflush(gReport);
        abort();
    }
    return 0;
}
