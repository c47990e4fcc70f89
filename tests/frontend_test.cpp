// Tuner frontends: the registry, the peer's life, and the operations without a record.

#include "mw/frontend.h"

#include <desk/basic_faults.h>

#include <cstdio>
#include <cstring>
#include <thread>

#include "mw/filter.h"
#include "tests/bridge_test.h"

extern "C" JavaVM* g_velmora_javaVM;

namespace {

using desk::bridge;
using desk::BridgeTest;
using desk::Call;
using desk::Failure;
using desk::Pipeline;
using Lines = std::vector<std::string>;

constexpr unsigned int kNotRegistered = 0x7fffff00;

// A tuner that is required and closed through the library, watched.
class Tuner {
  public:
    explicit Tuner(const Pipeline& pipeline) : mHandle(pipeline.handle()) {
        bridge([&] { EXPECT_EQ(0, x_native_frontend_require_tuner(mHandle)); });
    }
    ~Tuner() {
        bridge([&] { EXPECT_EQ(0, x_native_frontend_close_tuner(mHandle)); });
    }
    Tuner(const Tuner&) = delete;
    Tuner& operator=(const Tuner&) = delete;

  private:
    uint32_t mHandle;
};

MW_FESETTING_T atscRequest() {
    MW_FESETTING_T settings = {};
    settings.e_type = MW_FE_TYPE_ATSC;
    settings.mFrequency = 473000000;
    settings.u.t_atsc.mModulation = 4;
    return settings;
}

unsigned char gMessage[] = {0xe0, 0x10, 0x38, 0xf0};

struct Operation {
    const char* name;
    int (*call)(unsigned int h_pipeline);
    const char* javaCall;  // on the pipeline's object
    int failure;  // without a registered pipeline, a Java object, an environment, or when Java
                  // throws
    const char* error;  // the error line for a Java result of 5; empty: none
    bool passesResult = true;
};

const Operation kOperations[] = {
    {"tune",
     [](unsigned int h) {
         MW_FESETTING_T settings = atscRequest();
         return x_native_frontend_tune(h, &settings);
     },
     "onTune(AtscFrontendSettings(frequency=473000000, modulation=4))", -1,
     "x_native_frontend_tune, native tune fail: 5."},
    {"scan",
     [](unsigned int h) {
         MW_FESETTING_T settings = atscRequest();
         return x_native_frontend_scan(h, &settings, 2);
     },
     "onScan(AtscFrontendSettings(frequency=473000000, modulation=4), 2)", -1,
     "x_native_frontend_scan, native scan fail: 5."},
    {"cancel tuning", [](unsigned int h) { return x_native_frontend_cancel_tuning(h); },
     "onCancelTuning()", -1, "x_native_frontend_cancel_tuning, native cancel tuning fail: 5."},
    {"cancel scanning", [](unsigned int h) { return x_native_frontend_cancel_scanning(h); },
     "onCancelScanning()", -1,
     "x_native_frontend_cancel_scanning, native cancel scanning fail: 5."},
    {"LNA", [](unsigned int h) { return x_native_frontend_set_lna_enabled(h, 2); },
     "onSetLnaEnabled(true)", -1, "x_native_frontend_set_lna_enabled, fail: 5."},
    {"require LNB", [](unsigned int h) { return x_native_frontend_require_lnb(h); }, "onOpenLnb()",
     -1, "x_native_frontend_require_lnb, ret fail: 5."},
    {"set voltage", [](unsigned int h) { return x_native_frontend_lnb_set_voltage(h, 13); },
     "onSetVoltage(13)", -1, "x_native_frontend_lnb_set_voltage, set voltage fail: 5, voltage:13."},
    {"set tone", [](unsigned int h) { return x_native_frontend_lnb_set_tone(h, 1); },
     "onSetTone(1)", -1, "x_native_frontend_lnb_set_tone, set tone fail: 5, tone:1."},
    {"set position",
     [](unsigned int h) { return x_native_frontend_lnb_set_SatellitePosition(h, -3); },
     "onSetSatellitePosition(-3)", -1,
     "x_native_frontend_lnb_set_SatellitePosition, set SatellitePosition fail: 5, position:-3."},
    {"get voltage", [](unsigned int h) { return x_native_frontend_lnb_get_voltage(h); },
     "onGetVoltage()", 0, "x_native_frontend_lnb_get_voltage, get voltage, voltage:5."},
    {"get tone", [](unsigned int h) { return x_native_frontend_lnb_get_tone(h); }, "onGetTone()", 0,
     "x_native_frontend_lnb_get_tone, get tone, tone:5."},
    {"get position", [](unsigned int h) { return x_native_frontend_lnb_get_SatellitePosition(h); },
     "onGetSatellitePosition()", 0,
     "x_native_frontend_lnb_get_SatellitePosition, get SatellitePosition, position:5."},
    {"DiSEqC",
     [](unsigned int h) { return x_native_frontend_lnb_send_diseqcmessage(h, gMessage, 4); },
     "onSendDiseqcMessage(byte[4]e01038f0)", -1, ""},
    {"close LNB", [](unsigned int h) { return x_native_frontend_lnb_close(h); }, "onLnbClose()", -1,
     "", false},
};

class FrontendTest : public BridgeTest {};

TEST_F(FrontendTest, TunerLivesFromRequireToClose) {
    const Pipeline pipeline;
    desk::setLogLevel("D");
    {
        const Tuner tuner(pipeline);
        EXPECT_EQ(
            "ZytTvInnerFrontend#1.<init>(PipelineHandler(tv))\n"
            "ZytTvInnerFrontend#1.onSetNativeHandle(" +
                std::to_string(pipeline.handle()) + ")\nZytTvInnerFrontend#1.onOpenFrontend()",
            desk::takeCalls());
        EXPECT_EQ(mCounts.globalRefs + 1, desk::resourceCounts().globalRefs);
    }
    EXPECT_EQ("ZytTvInnerFrontend#1.onCloseFrontend()", desk::takeCalls());
    EXPECT_EQ(0, x_native_frontend_close_tuner(pipeline.handle()));
    char text[40];
    snprintf(text, sizeof(text), "D require_tuner:%x\n", pipeline.handle());
    EXPECT_EQ(text, desk::takeLog()[0]);
}

TEST_F(FrontendTest, OperationsPassJavasResultAndReportFailures) {
    const Pipeline pipeline;
    const Tuner tuner(pipeline);
    desk::setLogLevel("E");
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        const std::string name(operation.javaCall, strcspn(operation.javaCall, "("));
        desk::takeCalls();
        desk::scriptReturns(name, 5);
        EXPECT_EQ(operation.passesResult ? 5 : 0,
                  bridge([&] { return operation.call(pipeline.handle()); }));
        EXPECT_EQ(std::string("ZytTvInnerFrontend#1.") + operation.javaCall, desk::takeCalls());
        const std::string error(operation.error);
        EXPECT_EQ(error.empty() ? Lines() : Lines{"E " + error}, desk::takeLog());
    }
}

TEST_F(FrontendTest, OperationsFailWithoutPipeline) {
    const Pipeline pipeline;
    desk::setLogLevel("D");
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        EXPECT_EQ(operation.failure, operation.call(kNotRegistered)) << "not registered";
        EXPECT_EQ(Lines(), desk::takeLog());
    }
    EXPECT_EQ(-1, x_native_frontend_get_frontend_info(kNotRegistered, nullptr));
    EXPECT_EQ(-1, x_native_frontend_set_ontune_listener(kNotRegistered));
    EXPECT_EQ(-1, x_native_frontend_clear_ontune_listener(kNotRegistered));

    const Tuner tuner(pipeline);
    EXPECT_EQ(0, x_native_frontend_get_frontend_info(pipeline.handle(), nullptr));
    EXPECT_EQ(0, x_native_frontend_set_ontune_listener(pipeline.handle()));
    EXPECT_EQ(0, x_native_frontend_clear_ontune_listener(pipeline.handle()));
}

// Every way in which a peer can come out of its construction without a Java object.
TEST_F(FrontendTest, UnboundPeerIsRegisteredAndCallsNothing) {
    struct Case {
        const char* name;
        void (*prepare)(Pipeline&);
        const char* error;
    };
    static constexpr char kObject[] =
        "E JNativeInnerFrontend, nativeOpen, constructor mObject failed.";
    const Case cases[] = {
        {"no such handle", [](Pipeline&) { desk_fail_call(DESK_HANDLE_GET_OBJ, 1, 7); },
         "E JNativeInnerFrontend, handle_get_obj fail, pipeline handle: 0x"},
        {"empty handle",
         [](Pipeline&) { desk_fail_call(DESK_HANDLE_GET_OBJ, 1, DESK_ANSWER_EMPTY); },
         "E JNativeInnerFrontend, handle_get_obj fail, pipeline handle: 0x"},
        {"collected", [](Pipeline& pipeline) { pipeline.collect(); },
         "E JNativeInnerFrontend, pipeline maybe already release."},
        {"constructor throws", [](Pipeline&) { desk::scriptThrows("ZytTvInnerFrontend.<init>"); },
         kObject},
        {"no object", [](Pipeline&) { desk::failCall(Call::NewObjectA, 1, Failure::kNull); },
         kObject},
        {"no global reference",
         [](Pipeline&) { desk::failCall(Call::NewGlobalRef, 1, Failure::kNull); }, kObject},
        {"no environment", [](Pipeline&) { desk::failEvery(Call::GetEnv, Failure::kEmpty); }, ""},
    };
    for (const Case& unbound : cases) {
        SCOPED_TRACE(unbound.name);
        Pipeline pipeline;
        desk::setLogLevel("");
        unbound.prepare(pipeline);
        desk::takeLog();
        desk::setLogLevel("E");
        const Tuner tuner(pipeline);
        desk::failNothing();
        const Lines log = desk::takeLog();
        ASSERT_EQ(*unbound.error == '\0' ? 0u : 1u, log.size());
        EXPECT_EQ(0u, log.empty() ? 0 : log[0].find(unbound.error));
        desk::takeCalls();
        for (const Operation& operation : kOperations) {
            const int result = bridge([&] { return operation.call(pipeline.handle()); });
            EXPECT_EQ(operation.passesResult ? operation.failure : 0, result) << operation.name;
        }
        EXPECT_EQ("", desk::takeCalls());
        desk::scriptReturns("ZytTvInnerFrontend.<init>", nullptr);
    }
}

// Before JNI_OnLoad has published the virtual machine, nothing calls it.
TEST_F(FrontendTest, WithoutAVirtualMachineEveryOperationFails) {
    const Pipeline pipeline;
    const Tuner tuner(pipeline);
    desk::takeCalls();
    JavaVM* vm = g_velmora_javaVM;
    g_velmora_javaVM = nullptr;
    desk::record();
    for (const Operation& operation : kOperations) {
        const int result = bridge([&] { return operation.call(pipeline.handle()); });
        EXPECT_EQ(operation.passesResult ? operation.failure : 0, result) << operation.name;
    }
    uint32_t hthread = 7;
    EXPECT_EQ(-1, bridge([&] { return x_velmora_filter_create_callback_thread(&hthread); }));
    EXPECT_EQ(7u, hthread);
    EXPECT_EQ(0u, desk::recorded().size());
    g_velmora_javaVM = vm;
    EXPECT_EQ("", desk::takeCalls());
}

TEST_F(FrontendTest, ExceptionsWhileOpeningLeaveThePeerBound) {
    const Pipeline pipeline;
    desk::scriptThrows("onSetNativeHandle");
    desk::scriptThrows("onOpenFrontend");
    desk::scriptThrows("onCloseFrontend");
    const Tuner tuner(pipeline);
    EXPECT_EQ(mCounts.globalRefs + 1, desk::resourceCounts().globalRefs);
    EXPECT_EQ(0, bridge([&] { return x_native_frontend_cancel_tuning(pipeline.handle()); }));
}

TEST_F(FrontendTest, SecondRequireKeepsTheFirstObject) {
    const Pipeline pipeline;
    const Tuner tuner(pipeline);
    desk::takeCalls();
    bridge([&] { return x_native_frontend_require_tuner(pipeline.handle()); });
    const std::string calls = desk::takeCalls();
    EXPECT_NE(std::string::npos,
              calls.find("#2.onOpenFrontend()\nZytTvInnerFrontend#2.onCloseFrontend()"));
    bridge([&] { return x_native_frontend_cancel_tuning(pipeline.handle()); });
    EXPECT_EQ("ZytTvInnerFrontend#1.onCancelTuning()", desk::takeCalls());
}

TEST_F(FrontendTest, CloseDuringATuneReturnsAtOnceAndTheTuneClosesTheObject) {
    const Pipeline pipeline;
    bridge([&] { return x_native_frontend_require_tuner(pipeline.handle()); });
    desk::scriptHold("onTune");
    std::thread tuning([&] {
        EXPECT_EQ(0, bridge([&] {
                      MW_FESETTING_T settings = atscRequest();
                      return x_native_frontend_tune(pipeline.handle(), &settings);
                  }));
    });
    ASSERT_TRUE(desk::awaitHeld("onTune"));
    desk::takeCalls();
    bridge([&] { return x_native_frontend_close_tuner(pipeline.handle()); });
    EXPECT_EQ("", desk::takeCalls());
    EXPECT_EQ(-1, x_native_frontend_cancel_tuning(pipeline.handle()));
    // A new tuner of the pipeline is another object.
    bridge([&] { return x_native_frontend_require_tuner(pipeline.handle()); });
    EXPECT_NE(std::string::npos, desk::takeCalls().find("#2.onOpenFrontend()"));
    desk::scriptRelease("onTune");
    tuning.join();
    EXPECT_EQ("ZytTvInnerFrontend#1.onCloseFrontend()", desk::takeCalls());
    bridge([&] { return x_native_frontend_close_tuner(pipeline.handle()); });
}

TEST_F(FrontendTest, BadDiseqcMessagesAreRefused) {
    const Pipeline pipeline;
    const Tuner tuner(pipeline);
    desk::takeCalls();
    const uint32_t h = pipeline.handle();
    EXPECT_EQ(-1,
              bridge([&] { return x_native_frontend_lnb_send_diseqcmessage(h, gMessage, -1); }));
    EXPECT_EQ(-1, bridge([&] { return x_native_frontend_lnb_send_diseqcmessage(h, nullptr, 1); }));
    EXPECT_EQ("", desk::takeCalls());
    EXPECT_EQ(0, bridge([&] { return x_native_frontend_lnb_send_diseqcmessage(h, nullptr, 0); }));
    EXPECT_EQ("ZytTvInnerFrontend#1.onSendDiseqcMessage(byte[0])", desk::takeCalls());
}

}  // namespace
