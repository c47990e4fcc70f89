// Tuner frontends: the life of a tuner. Scan and LNB events: what a registration changes.

#include "mw/frontend.h"

#include <malloc.h>

#include <atomic>
#include <thread>

#include "tests/support/library_test.h"

namespace {

using tests::Event;
using FrontendTest = tests::LibraryTest;

TEST_F(FrontendTest, CloseDuringATuneReturnsAtOnceAndTheTuneClosesTheObject) {
    const auto call = [&](int (*function)(unsigned int)) {
        return tests::callIntercepted([&] { return function(mPipeline->handle()); });
    };
    call(x_native_frontend_require_tuner);
    tests::record();
    tests::atNext("onTune", [&] {
        call(x_native_frontend_close_tuner);
        EXPECT_EQ(-1, call(x_native_frontend_cancel_tuning));
        call(x_native_frontend_require_tuner);
    });
    MW_FESETTING_T settings = {};
    settings.e_type = MW_FE_TYPE_ATSC;
    EXPECT_EQ(0, tests::callIntercepted(
                     [&] { return x_native_frontend_tune(mPipeline->handle(), &settings); }));
    const std::string handle = std::to_string(mPipeline->handle());
    const std::vector<std::string> expected = {
        "AtscFrontendSettings.<init>(0, 0)", "ZytTvInnerFrontend.onTune(AtscFrontendSettings)",
        // The pipeline's new tuner is another object.
        "ZytTvInnerFrontend.<init>(PipelineHandler)",
        "ZytTvInnerFrontend.onSetNativeHandle(" + handle + ")",
        "ZytTvInnerFrontend.onOpenFrontend()", "ZytTvInnerFrontend.onCloseFrontend()"};
    EXPECT_EQ(expected, tests::takeLog());
    call(x_native_frontend_close_tuner);
}

int gTags[2][1000];
int gMixed;  // events whose callback got a tag of the other callback

// Registers one of two callbacks, with each of its tags.
template <int which>
void registerEach() {
    for (int& tag : gTags[which]) {
        FE_SCAN_CB_T callbacks = {};
        callbacks.pf_locked_nfy = [](unsigned int, void* given) {
            gMixed += given < std::begin(gTags[which]) || given >= std::end(gTags[which]);
            return 0;
        };
        callbacks.pv_tag = &tag;
        x_native_frontend_register_scan_callback(&callbacks);
    }
}

TEST_F(FrontendTest, EveryEventGetsCallbackAndTagOfOneRegistrationWhileOthersRegister) {
    std::atomic<bool> stop(false);
    const auto repeat = [&](void (*registering)()) {
        while (!stop) {
            registering();
        }
    };
    registerEach<0>();
    std::thread one(repeat, registerEach<0>), other(repeat, registerEach<1>);
    for (int i = 0; i < 20000; ++i) {
        tests::report(Event::kLocked, 0, {});  // scan events need no frontend
    }
    stop = true;
    one.join();
    other.join();
    EXPECT_EQ(0, gMixed);
    const size_t taken = mallinfo2().uordblks;
    registerEach<0>();
    EXPECT_EQ(taken, mallinfo2().uordblks) << "a repeated registration takes memory";
}

}  // namespace
