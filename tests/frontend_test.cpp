// Tuner frontends: the peer's life.

#include "mw/frontend.h"

#include "tests/library_test.h"

namespace {

using FrontendTest = desk::LibraryTest;

TEST_F(FrontendTest, CloseDuringATuneReturnsAtOnceAndTheTuneClosesTheObject) {
    const auto call = [&](int (*function)(unsigned int)) {
        return desk::callWatched([&] { return function(mPipeline->handle()); });
    };
    call(x_native_frontend_require_tuner);
    desk::record();
    desk::atNext("onTune", [&] {
        call(x_native_frontend_close_tuner);
        EXPECT_EQ(-1, call(x_native_frontend_cancel_tuning));
        call(x_native_frontend_require_tuner);
    });
    MW_FESETTING_T settings = {};
    settings.e_type = MW_FE_TYPE_ATSC;
    EXPECT_EQ(0, desk::callWatched(
                     [&] { return x_native_frontend_tune(mPipeline->handle(), &settings); }));
    const std::string handle = std::to_string(mPipeline->handle());
    const std::vector<std::string> expected = {
        "AtscFrontendSettings.<init>(0, 0)", "ZytTvInnerFrontend.onTune(AtscFrontendSettings)",
        // A new tuner of the pipeline is another object.
        "ZytTvInnerFrontend.<init>(PipelineHandler)",
        "ZytTvInnerFrontend.onSetNativeHandle(" + handle + ")",
        "ZytTvInnerFrontend.onOpenFrontend()", "ZytTvInnerFrontend.onCloseFrontend()"};
    EXPECT_EQ(expected, desk::takeLog());
    call(x_native_frontend_close_tuner);
}

}  // namespace
