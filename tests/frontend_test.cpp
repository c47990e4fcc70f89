// Tuner frontends: the peer's life.

#include "mw/frontend.h"

#include <thread>

#include "tests/library_test.h"

namespace {

using desk::callWatched;

class FrontendTest : public desk::LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        mPipeline.emplace();
    }
    void TearDown() override {
        mPipeline.reset();
        LibraryTest::TearDown();
    }

    int require() { return onPipeline(x_native_frontend_require_tuner); }
    int close() { return onPipeline(x_native_frontend_close_tuner); }
    int cancel() { return onPipeline(x_native_frontend_cancel_tuning); }
    int onPipeline(int (*call)(unsigned int)) {
        return callWatched([&] { return call(mPipeline->handle()); });
    }

    std::optional<desk::Pipeline> mPipeline;
};

TEST_F(FrontendTest, ExceptionsWhileOpeningLeaveThePeerBound) {
    for (const char* method : {"onSetNativeHandle", "onOpenFrontend", "onCloseFrontend"}) {
        desk::script(method, "throws");
    }
    require();
    EXPECT_EQ(mCounts[desk::kGlobalRefs] + 1, desk::resourceCounts()[desk::kGlobalRefs]);
    EXPECT_EQ(0, cancel());
    close();
}

TEST_F(FrontendTest, CloseDuringATuneReturnsAtOnceAndTheTuneClosesTheObject) {
    require();
    desk::scriptHold("onTune");
    std::thread tuning([&] {
        MW_FESETTING_T settings = {};
        settings.e_type = MW_FE_TYPE_ATSC;
        EXPECT_EQ(
            0, callWatched([&] { return x_native_frontend_tune(mPipeline->handle(), &settings); }));
    });
    ASSERT_TRUE(desk::awaitHeld("onTune"));
    desk::takeCalls();
    close();
    EXPECT_EQ("", desk::takeCalls());
    EXPECT_EQ(-1, cancel());
    require();
    EXPECT_NE(std::string::npos, desk::takeCalls().find("#2.onOpenFrontend()"))
        << "a new tuner of the pipeline is another object";
    desk::scriptRelease("onTune");
    tuning.join();
    EXPECT_EQ("ZytTvInnerFrontend#1.onCloseFrontend()", desk::takeCalls());
    close();
}

}  // namespace
