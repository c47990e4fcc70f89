// Scan and LNB events: from Java to the callbacks that the middleware registered.

#include <atomic>
#include <cstdio>
#include <thread>

#include "mw/frontend.h"
#include "tests/bridge_test.h"

namespace {

using desk::Call;
using desk::Event;
using desk::Failure;
using Lines = std::vector<std::string>;

constexpr uint32_t kPipeline = 0x99;  // of no frontend: events serve every pipeline
constexpr int kValue = -42;

// What the callbacks were given, a line each.
Lines gHeard;
int gTag;

void heard(const std::string& what, unsigned int pipeline, const std::string& rest, void* pv_tag) {
    gHeard.push_back(what + " " + std::to_string(pipeline) + rest +
                     (pv_tag == &gTag ? " tag" : ""));
}

// A callback for each slot, so that none can take another's event unnoticed.
template <Event event>
int onEvent(unsigned int pipeline, void* pv_tag) {
    heard(desk::methodOf(event), pipeline, "", pv_tag);
    return 77;
}

template <Event event>
int onValue(unsigned int pipeline, int32_t value, void* pv_tag) {
    heard(desk::methodOf(event), pipeline, " " + std::to_string(value), pv_tag);
    return 77;
}

template <Event event>
int onList(unsigned int pipeline, const int32_t* values, int32_t count, void* pv_tag) {
    std::string rest;
    for (int32_t i = 0; i < count; ++i) {
        rest += " " + std::to_string(values[i]);
    }
    heard(desk::methodOf(event), pipeline, rest, pv_tag);
    EXPECT_EQ(-1, desk::releaseMode()) << "released before the callback returned";
    const_cast<int32_t*>(values)[0] = -1;  // must not reach Java
    return 77;
}

int onLnb(unsigned int pipeline, int32_t type) {
    heard("lnb", pipeline, " " + std::to_string(type), nullptr);
    return 77;
}

int onDiseqc(unsigned int pipeline, const int8_t* message, int32_t length) {
    std::string rest;
    for (int32_t i = 0; i < length; ++i) {
        rest += " " + std::to_string(message[i]);
    }
    EXPECT_EQ(-1, desk::releaseMode()) << "released before the callback returned";
    heard("diseqc", pipeline, rest, nullptr);
    return 77;
}

constexpr char kPrefix[] = "com_halvorin_tv_velmora_scan_callback_";

struct ScanEvent {
    Event event;
    const char* function;  // after the prefix
    const char* missing;   // the error line when no callback is registered
    const char* array;     // the error line for a bad array; null: no list event
};

const ScanEvent kEvents[] = {
    {Event::kLocked, "locked", "scan callback locked notify", nullptr},
    {Event::kStopped, "stopped", "scan callback stopped notify", nullptr},
    {Event::kProgress, "on_progress", "scan callback progress notify", nullptr},
    {Event::kFrequencies, "on_freq_reported", "scan callback freq reported notify", "freq"},
    {Event::kSymbolRates, "symbol_rates", "scan callback symbol rate notify", "rate"},
    {Event::kPlpIds, "plpids", "scan callback plp id notify", "plpid"},
    {Event::kGroupIds, "groupids", "scan callback group id notify", "groupid"},
    {Event::kStreamIds, "input_stream_id", "scan callback stream id notify", "streamid"},
    {Event::kDvbsStandard, "dvbs_standard", "scan dvbs standard", nullptr},
    {Event::kDvbtStandard, "dvbt_standard", "scan dvbt standard", nullptr},
    {Event::kHierarchy, "hierarchy", "scan hierarchy", nullptr},
};

class EventsTest : public desk::BridgeTest {
  protected:
    void SetUp() override {
        BridgeTest::SetUp();
        gHeard.clear();
        desk::releaseMode();
        desk::setLogLevel("E");
    }
    void TearDown() override {
        x_native_frontend_register_scan_callback(nullptr);
        BridgeTest::TearDown();
    }

    static void registerAll() {
        FE_SCAN_CB_T callbacks = {};
        callbacks.pf_locked_nfy = onEvent<Event::kLocked>;
        callbacks.pf_stopped_nfy = onEvent<Event::kStopped>;
        callbacks.pf_progress_nfy = onValue<Event::kProgress>;
        callbacks.pf_freq_report_nfy = onList<Event::kFrequencies>;
        callbacks.pf_symbol_rate_nfy = onList<Event::kSymbolRates>;
        callbacks.pf_plp_id_nfy = onList<Event::kPlpIds>;
        callbacks.pf_group_id_nfy = onList<Event::kGroupIds>;
        callbacks.pf_stream_id_nfy = onList<Event::kStreamIds>;
        callbacks.pf_dvbs_standard_nfy = onValue<Event::kDvbsStandard>;
        callbacks.pf_dvbt_standard_nfy = onValue<Event::kDvbtStandard>;
        callbacks.pf_hierarchy_nfy = onValue<Event::kHierarchy>;
        callbacks.pv_tag = &gTag;
        x_native_frontend_register_scan_callback(&callbacks);
    }

    // Java's array {10, 20, 30}.
    static jintArray list() { return desk::newArray(std::vector<jint>{10, 20, 30}); }

    static jint report(const ScanEvent& event, jintArray values, jint length) {
        if (event.array != nullptr) {
            return desk::report(event.event, kPipeline, values, length);
        }
        return event.event <= Event::kStopped ? desk::report(event.event, kPipeline)
                                              : desk::report(event.event, kPipeline, kValue);
    }
};

TEST_F(EventsTest, ScanEventsReachTheirCallback) {
    registerAll();
    for (const ScanEvent& event : kEvents) {
        SCOPED_TRACE(event.function);
        const jintArray values = list();
        gHeard.clear();
        EXPECT_EQ(0, report(event, values, 2));
        const std::string rest = event.array != nullptr           ? " 10 20"
                                 : event.event <= Event::kStopped ? ""
                                                                  : " -42";
        EXPECT_EQ(Lines{std::string(desk::methodOf(event.event)) + " 153" + rest + " tag"}, gHeard);
        if (event.array != nullptr) {
            EXPECT_EQ(JNI_ABORT, desk::releaseMode());
            EXPECT_EQ(0, report(event, values, 9)) << "longer than the array";
            EXPECT_EQ(JNI_ABORT, desk::releaseMode());
            EXPECT_EQ(std::string(desk::methodOf(event.event)) + " 153 10 20 30 tag",
                      gHeard.back());
        }
    }
    EXPECT_EQ(Lines(), desk::takeLog());
    desk::setLogLevel("I");
    EXPECT_EQ(0, desk::report(Event::kSignalType, kPipeline, 5));
    EXPECT_EQ(Lines{std::string("I ") + kPrefix + "signal_type, pipeline: 0x99, signal_type: 5"},
              desk::takeLog());
    report(kEvents[3], list(), 3);
    const Lines log = desk::takeLog();
    ASSERT_EQ(2u, log.size());
    EXPECT_EQ(std::string("I ") + kPrefix + "on_freq_reported, pipeline: 0x99, len = 3", log[0]);
    EXPECT_NE(std::string::npos, log[1].find("handle: 0x99, freq = 10, length:3."));
}

TEST_F(EventsTest, ScanEventsWithoutCallbackAreRefused) {
    registerAll();
    FE_SCAN_CB_T onlyLocked = {};
    onlyLocked.pf_locked_nfy = onEvent<Event::kLocked>;
    x_native_frontend_register_scan_callback(&onlyLocked);
    for (const ScanEvent& event : kEvents) {
        EXPECT_EQ(event.event == Event::kLocked ? 0 : -1, report(event, nullptr, 0))
            << event.function;
    }
    desk::takeLog();
    x_native_frontend_register_scan_callback(nullptr);
    for (const ScanEvent& event : kEvents) {
        SCOPED_TRACE(event.function);
        EXPECT_EQ(-1, report(event, nullptr, 0));
        EXPECT_EQ(Lines{std::string("E ") + kPrefix + event.function + ", " + event.missing +
                        " is null."},
                  desk::takeLog());
    }
    EXPECT_EQ(Lines{"notifyScanOnLocked 153"}, gHeard);
}

// Two registrations take turns while events arrive: no callback ever gets the other's tag.
TEST_F(EventsTest, CallbackAndTagAreOfOneRegistration) {
    static std::atomic<int> mixed;
    static std::atomic<int> delivered;
    static int tags[2];
    mixed = delivered = 0;
    FE_SCAN_CB_T records[2] = {};
    records[0].pf_locked_nfy = [](unsigned int, void* pv_tag) {
        ++delivered;
        return mixed += pv_tag != &tags[0];
    };
    records[1].pf_locked_nfy = [](unsigned int, void* pv_tag) {
        ++delivered;
        return mixed += pv_tag != &tags[1];
    };
    records[0].pv_tag = &tags[0];
    records[1].pv_tag = &tags[1];
    x_native_frontend_register_scan_callback(&records[0]);
    std::atomic<bool> stop(false);
    std::thread registering([&] {
        for (size_t i = 0; !stop; ++i) {
            x_native_frontend_register_scan_callback(&records[i % 2]);
        }
    });
    for (int i = 0; i < 20000; ++i) {
        report(kEvents[0], nullptr, 0);
    }
    stop = true;
    registering.join();
    EXPECT_EQ(20000, delivered);
    EXPECT_EQ(0, mixed);
}

TEST_F(EventsTest, BadListsAreRefused) {
    registerAll();
    const jintArray empty = desk::newArray(std::vector<jint>());
    for (const ScanEvent& event : kEvents) {
        if (event.array == nullptr) {
            continue;
        }
        SCOPED_TRACE(event.function);
        desk::takeLog();
        const jintArray values = list();
        EXPECT_EQ(-1, report(event, nullptr, 3));
        EXPECT_EQ(-1, report(event, values, 0));
        EXPECT_EQ(-1, report(event, values, -1));
        EXPECT_EQ(-1, report(event, empty, 3));
        for (const Failure failure : {Failure::kNull, Failure::kThrows}) {
            desk::failCall(Call::kGetIntArrayElements, 1, failure);
            EXPECT_EQ(-1, report(event, values, 3));
        }
        EXPECT_EQ(Lines(6, std::string("E ") + kPrefix + event.function + ", " + event.array +
                               " Array is null."),
                  desk::takeLog());
    }
    EXPECT_EQ(Lines(), gHeard);
}

TEST_F(EventsTest, LnbEventsServeEveryPipelineAndTheLatestRegistration) {
    const desk::Pipeline pipeline;
    const uint32_t h = pipeline.handle();
    desk::bridge([&] { return x_native_frontend_require_tuner(h); });
    const jbyteArray message = desk::newArray(std::vector<jbyte>{-32, 16, 56, 1});
    const auto lnb = [](jint type) { return desk::report(Event::kLnb, kPipeline, type); };
    const auto diseqc = [](jbyteArray array, jint length) {
        return desk::report(Event::kDiseqc, kPipeline, array, length);
    };
    EXPECT_EQ(-1, lnb(1));
    EXPECT_EQ(-1, diseqc(nullptr, 4));
    EXPECT_EQ(
        (Lines{"E com_halvorin_tv_velmora_lnb_event_notify, lnb notify is null.",
               "E com_halvorin_tv_velmora_lnb_onDiseqcMessage, gLnbOnDiseqcMessageFct is null."}),
        desk::takeLog());

    EXPECT_EQ(0, x_native_frontend_register_lnb_callback(h, onLnb));
    EXPECT_EQ(0, x_native_frontend_register_lnb_DiseqcMessage_callback(h, onDiseqc));
    EXPECT_EQ(-1, x_native_frontend_register_lnb_callback(h + 1000, nullptr));
    EXPECT_EQ(-1, x_native_frontend_register_lnb_DiseqcMessage_callback(h + 1000, nullptr));
    EXPECT_EQ(0, lnb(-7));
    for (const jint length : {4, 2, 5, 0}) {
        EXPECT_EQ(0, diseqc(message, length));
        EXPECT_EQ(JNI_ABORT, desk::releaseMode());
    }
    EXPECT_EQ((Lines{"lnb 153 -7", "diseqc 153 -32 16 56 1", "diseqc 153 -32 16",
                     "diseqc 153 -32 16 56 1", "diseqc 153"}),
              gHeard);
    EXPECT_EQ(-1, diseqc(nullptr, 4));
    EXPECT_EQ(-1, diseqc(message, -1));
    EXPECT_EQ(-1, diseqc(desk::newArray(std::vector<jbyte>()), 1));
    EXPECT_EQ(Lines(3, "E com_halvorin_tv_velmora_lnb_onDiseqcMessage, message Array is null."),
              desk::takeLog());
    // The callback is told before the bytes are taken, also when they cannot be had.
    desk::setLogLevel("I");
    desk::failCall(Call::kGetByteArrayElements, 1, Failure::kThrows);
    EXPECT_EQ(-1, diseqc(message, 4));
    char callback[128];
    snprintf(callback, sizeof(callback),
             "I com_halvorin_tv_velmora_lnb_onDiseqcMessage, callback: %p, handle: 0x99",
             reinterpret_cast<void*>(onDiseqc));
    EXPECT_EQ(
        (Lines{"I com_halvorin_tv_velmora_lnb_onDiseqcMessage, pipeline: 0x99, msgLength: 4",
               callback, "E com_halvorin_tv_velmora_lnb_onDiseqcMessage, message Array is null."}),
        desk::takeLog());
    desk::setLogLevel("E");
    EXPECT_EQ(5u, gHeard.size());
    x_native_frontend_register_lnb_callback(h, nullptr);
    x_native_frontend_register_lnb_DiseqcMessage_callback(h, nullptr);
    EXPECT_EQ(-1, lnb(1));
    desk::bridge([&] { return x_native_frontend_close_tuner(h); });
}

}  // namespace
