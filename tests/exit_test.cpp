// The end of the process with tuners registered and filters open, in each way that a process with a
// virtual machine can end; exit_main.cpp is the program. A way ends with a status of its own.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/watch.h"

namespace {

uint32_t gTuners[3];  // their pipelines
constexpr int kFilters = 2;
constexpr int kAfterVm = 41;
constexpr int kFromJava = 42;
constexpr int kFromThread = 43;
constexpr int kFailed = 1;

uint32_t newPipeline() {
    return (new desk::Pipeline())->handle();  // open until the end
}

uint32_t openFilter(uint32_t pipeline) {
    FLT_EVT_CB_T event = {};
    uint32_t filter = 0;
    const desk::Watch watch;
    x_velmora_filter_open(pipeline, 1, 2, 4096, &filter, &event, nullptr);
    return filter;
}

void leaveAllOpen() {
    for (uint32_t& pipeline : gTuners) {
        pipeline = newPipeline();
        x_native_frontend_require_tuner(pipeline);
    }
    for (int i = 0; i < kFilters; ++i) {
        openFilter(newPipeline());
    }
}

[[noreturn]] void useTuner(uint32_t pipeline) {
    MW_FESETTING_T settings = {};
    settings.e_type = MW_FE_TYPE_ATSC;
    const desk::Watch watch;
    for (;;) {
        x_native_frontend_require_tuner(pipeline);
        x_native_frontend_tune(pipeline, &settings);
        x_native_frontend_close_tuner(pipeline);
    }
}

[[noreturn]] void useFilter(uint32_t pipeline) {
    int8_t buffer[16];
    const desk::Watch watch;
    for (;;) {
        const uint32_t filter = openFilter(pipeline);
        x_velmora_filter_read(filter, buffer, 0, sizeof(buffer));
        x_velmora_filter_close(filter);
    }
}

// Threads that go on until the process is gone; two each share a pipeline.
void keepBusy() {
    for (const uint32_t pipeline : {newPipeline(), newPipeline()}) {
        for (const auto work : {useTuner, useTuner, useFilter, useFilter}) {
            std::thread(work, pipeline).detach();
        }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
}

// The functions of a registered tuner fail without a virtual machine, and do not crash.
bool refusesWithoutVm(uint32_t pipeline) {
    MW_FESETTING_T settings = {};
    return x_native_frontend_tune(pipeline, &settings) == -1 &&
           x_native_frontend_lnb_get_tone(pipeline) == 0;
}

}  // namespace

// Runs when the library's static objects are gone.
extern "C" void reportEnd() {
    printf("peers left: %d\n", desk::liveRefBases());
    void* env = nullptr;
    if (desk::vm()->GetEnv(&env, JNI_VERSION_1_4) != JNI_OK &&
        desk::vm()->AttachCurrentThread(&env, nullptr) != JNI_OK) {
        printf("no Java environment\n");
        return;
    }
    const std::string closed = desk::fromJava(
        desk::callStatic("tests.ScriptedModel", "closedTuners", "()Ljava/lang/String;"));
    for (size_t i = 0; i < std::size(gTuners); ++i) {
        const bool found = closed.find(std::to_string(gTuners[i])) != std::string::npos;
        printf("tuner %zu %s\n", i + 1, found ? "closed" : "not closed");
    }
    // Threads that are still busy show here whether something that they use is gone.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
}

// Returns main's result, or does not return. In the ways "busy_..." middleware threads work
// meanwhile.
extern "C" int endProcess(const char* way) {
    desk::startWatchedVm({desk::kSmallHeap, desk::kCheckJni});
    if (desk::loadWatchedLibrary() != JNI_VERSION_1_4) {
        return kFailed;
    }
    desk::resetModel();
    leaveAllOpen();
    if (strncmp(way, "busy_", 5) == 0) {
        keepBusy();
        way += 5;
    }
    if (strcmp(way, "from_java") == 0) {
        desk::callStatic("java.lang.System", "exit", "(I)V", kFromJava);
    } else if (strcmp(way, "from_thread") == 0) {
        std::thread(exit, kFromThread).join();
    }
    return desk::vm()->DestroyJavaVM() == JNI_OK && refusesWithoutVm(gTuners[0]) ? kAfterVm
                                                                                 : kFailed;
}
