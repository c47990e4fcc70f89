// Tuner frontends: the registry and the peer.
#include <thread>

#include "mw/frontend.h"
#include "tests/vm.h"

namespace {

using desk::bridge;
using desk::BridgeTest;
using desk::Pipeline;

using FrontendTest = BridgeTest;

TEST_F(FrontendTest, OneTunerFromRequireToClose) {
    const Pipeline pipeline;
    const std::string handle = std::to_string(pipeline.handle());
    bridge([&] { return x_native_frontend_require_tuner(pipeline.handle()); });
    EXPECT_EQ("ZytTvInnerFrontend#1.<init>(PipelineHandler(tv))\n"
              "ZytTvInnerFrontend#1.onSetNativeHandle(" + handle + ")\n"
              "ZytTvInnerFrontend#1.onOpenFrontend()", desk::takeCalls());
    bridge([&] { return x_native_frontend_close_tuner(pipeline.handle()); });
    EXPECT_EQ("ZytTvInnerFrontend#1.onCloseFrontend()", desk::takeCalls());
}

}  // namespace
