// Ends the process while tuners are registered and filters and callback threads are open, in each
// way that a process with a virtual machine can end. exit_main.cpp is the program. Each way has its
// own exit status.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "mw/frontend.h"
#include "tests/functions.h"
#include "tests/support/fault_injection.h"

namespace {

enum Status { kFailed = 1, kAfterVm = 41, kFromJava, kFromThread };

// Its pipeline exists until the end.
tests::Fixture newFixture() {
    return {(new tests::Pipeline())->handle()};
}

// Runs the functions of tuners, or those of filters and callback threads, until the process ends.
[[noreturn]] void keepBusy(tests::Fixture fixture, bool ofTuner) {
    const tests::Intercepted intercepted;
    for (;;) {
        for (const tests::Function& function : tests::functions()) {
            if (function.takesHandle && !function.calledByJava && function.ofTuner() == ofTuner) {
                function.prepare(fixture);
                function.call(fixture);
                function.undo(fixture);
            }
        }
    }
}

uint32_t gLeftOpen[3];  // pipelines with a tuner and a filter

}  // namespace

// Runs when the library's static objects are gone.
extern "C" void reportEnd() {
    printf("peers left: %d\n", tests::liveRefBases());
    void* env = nullptr;
    if (tests::vm()->AttachCurrentThread(&env, nullptr) != JNI_OK) {
        printf("no Java environment\n");
        return;
    }
    const std::string closed = tests::fromJava(
        tests::callStatic("tests.ScriptedModel", "closedTuners", "()Ljava/lang/String;"));
    int count = 0;
    for (const uint32_t pipeline : gLeftOpen) {
        count += closed.find(std::to_string(pipeline)) != std::string::npos;
    }
    printf("tuners closed: %d\n", count);
    // Gives threads that are still busy the time to crash if something that they use is gone.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
}

// Returns main's result, or does not return. In the ways "busy_...", middleware threads keep
// working meanwhile, four on each of two pipelines.
extern "C" int endProcess(const char* name) {
    tests::startInterceptedVm({tests::kSmallHeap, tests::kCheckJni});
    tests::loadInterceptedLibrary();
    tests::resetModel();
    tests::Fixture left;
    for (uint32_t& pipeline : gLeftOpen) {
        left = newFixture();
        pipeline = left.h_pipeline;
        const tests::Intercepted intercepted;
        x_native_frontend_require_tuner(left.h_pipeline);
        tests::prepareFilter(left);
    }
    const std::string way = name;
    if (way.rfind("busy_", 0) == 0) {
        for (const tests::Fixture& fixture : {newFixture(), newFixture()}) {
            for (const bool ofTuner : {true, true, true, false}) {
                std::thread(keepBusy, fixture, ofTuner).detach();
            }
        }
        // Java is slow at first. Faults at the end show only while calls are frequent.
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    if (way.find("from_java") != std::string::npos) {
        tests::callStatic("java.lang.System", "exit", "(I)V", kFromJava);
    } else if (way.find("from_thread") != std::string::npos) {
        std::thread(exit, kFromThread).join();
    }
    tests::vm()->DestroyJavaVM();
    // Without a virtual machine, functions of a registered tuner fail; they do not crash.
    const bool refused = x_native_frontend_cancel_tuning(left.h_pipeline) == -1 &&
                         x_native_frontend_lnb_get_tone(left.h_pipeline) == 0;
    return refused ? kAfterVm : kFailed;
}
