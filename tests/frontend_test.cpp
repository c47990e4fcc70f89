// Tuner frontends: the peer's life.

#include "mw/frontend.h"

#include <thread>

#include "tests/library_test.h"

namespace {

using FrontendTest = desk::LibraryTest;

TEST_F(FrontendTest, CloseDuringATuneReturnsAtOnceAndTheTuneClosesTheObject) {
    const auto call = [&](int (*function)(unsigned int)) {
        return desk::callWatched([&] { return function(mPipeline->handle()); });
    };
    call(x_native_frontend_require_tuner);
    desk::scriptHold("onTune");
    std::thread tuning([&] {
        EXPECT_EQ(0, call([](unsigned int h_pipeline) {
                      MW_FESETTING_T settings = {};
                      settings.e_type = MW_FE_TYPE_ATSC;
                      return x_native_frontend_tune(h_pipeline, &settings);
                  }));
    });
    ASSERT_TRUE(desk::awaitHeld("onTune"));
    desk::takeCalls();
    call(x_native_frontend_close_tuner);
    EXPECT_EQ("", desk::takeCalls());
    EXPECT_EQ(-1, call(x_native_frontend_cancel_tuning));
    call(x_native_frontend_require_tuner);
    EXPECT_NE(std::string::npos, desk::takeCalls().find("#2.onOpenFrontend()"))
        << "a new tuner of the pipeline is another object";
    desk::scriptRelease("onTune");
    tuning.join();
    EXPECT_EQ("ZytTvInnerFrontend#1.onCloseFrontend()", desk::takeCalls());
    call(x_native_frontend_close_tuner);
}

}  // namespace
