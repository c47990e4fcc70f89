// Scan and LNB events: from Java to the callbacks that the middleware registered.

#include <atomic>
#include <memory>
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
    EXPECT_EQ(0, desk::takeReleases().aborted) << "released before the callback returned";
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
    EXPECT_EQ(0, desk::takeReleases().aborted) << "released before the callback returned";
    heard("diseqc", pipeline, rest, nullptr);
    return 77;
}

constexpr char kPrefix[] = "com_halvorin_tv_velmora_scan_callback_";

struct ScanEvent {
    Event event;
    const char* function;   // after the prefix
    const char* given;      // what the callback gets, but for the tag
    const char* reported;   // the end of the first line
    const char* delivered;  // the end of the line before the callback
    const char* missing;    // the error line when no callback is registered
    const char* array;      // the error line for a bad array; null: no list event
};

const ScanEvent kEvents[] = {
    {Event::kLocked, "locked", "", "", "", "scan callback locked notify", nullptr},
    {Event::kStopped, "stopped", "", "", "", "scan callback stopped notify", nullptr},
    {Event::kProgress, "on_progress", " -42", ", percent: -42", "", "scan callback progress notify",
     nullptr},
    {Event::kFrequencies, "on_freq_reported", " 10 20", ", len = 2", ", freq = 10, length:3.",
     "scan callback freq reported notify", "freq"},
    {Event::kSymbolRates, "symbol_rates", " 10 20", ", len = 2", ", symbol_rate = 10, length:3.",
     "scan callback symbol rate notify", "rate"},
    {Event::kPlpIds, "plpids", " 10 20", "", "", "scan callback plp id notify", "plpid"},
    {Event::kGroupIds, "groupids", " 10 20", "", "", "scan callback group id notify", "groupid"},
    {Event::kStreamIds, "input_stream_id", " 10 20", "", "", "scan callback stream id notify",
     "streamid"},
    {Event::kDvbsStandard, "dvbs_standard", " -42", ", standard: -42", "", "scan dvbs standard",
     nullptr},
    {Event::kDvbtStandard, "dvbt_standard", " -42", ", standard: -42", "", "scan dvbt standard",
     nullptr},
    {Event::kHierarchy, "hierarchy", " -42", ", hierarchy: -42", "", "scan hierarchy", nullptr},
};

class EventsTest : public desk::BridgeTest {
  protected:
    void SetUp() override {
        BridgeTest::SetUp();
        gHeard.clear();
        desk::takeReleases();
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
    desk::setLogLevel("I");
    for (const ScanEvent& event : kEvents) {
        SCOPED_TRACE(event.function);
        const std::string method = desk::methodOf(event.event);
        const std::string line = std::string("I ") + kPrefix + event.function;
        gHeard.clear();
        EXPECT_EQ(0, report(event, list(), 2));
        EXPECT_EQ(Lines{method + " 153" + event.given + " tag"}, gHeard);
        const Lines log = desk::takeLog();
        ASSERT_EQ(2u, log.size());
        EXPECT_EQ(line + ", pipeline: 0x99" + event.reported, log[0]);
        EXPECT_EQ(line + ", callback: ", log[1].substr(0, line.size() + 12));
        EXPECT_EQ(std::string(", handle: 0x99") + event.delivered,
                  log[1].substr(log[1].rfind(", handle")));
        if (event.array != nullptr) {
            EXPECT_EQ(1, desk::takeReleases().aborted);
            EXPECT_EQ(0, report(event, list(), 9)) << "longer than the array";
            EXPECT_EQ(1, desk::takeReleases().aborted);
            EXPECT_EQ(method + " 153 10 20 30 tag", gHeard.back());
            desk::takeLog();
        }
    }
}

TEST_F(EventsTest, SignalTypeIsOnlyLogged) {
    desk::setLogLevel("I");
    EXPECT_EQ(0, desk::report(Event::kSignalType, kPipeline, 5));
    EXPECT_EQ(Lines{std::string("I ") + kPrefix + "signal_type, pipeline: 0x99, signal_type: 5"},
              desk::takeLog());
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
    static int tags[2];
    mixed = 0;
    FE_SCAN_CB_T records[2] = {};
    records[0].pf_locked_nfy = [](unsigned int, void* tag) { return mixed += tag != &tags[0]; };
    records[1].pf_locked_nfy = [](unsigned int, void* tag) { return mixed += tag != &tags[1]; };
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
        EXPECT_EQ(0, report(kEvents[0], nullptr, 0));
    }
    stop = true;
    registering.join();
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
            desk::failCall(Call::GetIntArrayElements, 1, failure);
            EXPECT_EQ(-1, report(event, values, 3));
        }
        EXPECT_EQ(Lines(6, std::string("E ") + kPrefix + event.function + ", " + event.array +
                               " Array is null."),
                  desk::takeLog());
    }
    EXPECT_EQ(Lines(), gHeard);
}

// With a registered tuner, by which the LNB callbacks are registered and cleared.
class LnbEventsTest : public EventsTest {
  protected:
    void SetUp() override {
        EventsTest::SetUp();
        mPipeline = std::make_unique<desk::Pipeline>();
        mHandle = mPipeline->handle();
        desk::bridge([&] { return x_native_frontend_require_tuner(mHandle); });
        EXPECT_EQ(0, x_native_frontend_register_lnb_callback(mHandle, onLnb));
        EXPECT_EQ(0, x_native_frontend_register_lnb_DiseqcMessage_callback(mHandle, onDiseqc));
    }
    void TearDown() override {
        clear();
        desk::bridge([&] { return x_native_frontend_close_tuner(mHandle); });
        mPipeline.reset();
        EventsTest::TearDown();
    }

    void clear() {
        EXPECT_EQ(0, x_native_frontend_register_lnb_callback(mHandle, nullptr));
        EXPECT_EQ(0, x_native_frontend_register_lnb_DiseqcMessage_callback(mHandle, nullptr));
    }
    static jint lnb(jint type) { return desk::report(Event::kLnb, kPipeline, type); }
    static jint diseqc(jbyteArray array, jint length) {
        return desk::report(Event::kDiseqc, kPipeline, array, length);
    }
    static jbyteArray message() { return desk::newArray(std::vector<jbyte>{-32, 16, 56, 1}); }

    std::unique_ptr<desk::Pipeline> mPipeline;
    uint32_t mHandle = 0;
};

TEST_F(LnbEventsTest, EveryPipelineIsServed) {
    EXPECT_EQ(0, lnb(-7));
    for (const jint length : {4, 2, 5, 0}) {
        EXPECT_EQ(0, diseqc(message(), length));
        EXPECT_EQ(1, desk::takeReleases().aborted);
    }
    EXPECT_EQ((Lines{"lnb 153 -7", "diseqc 153 -32 16 56 1", "diseqc 153 -32 16",
                     "diseqc 153 -32 16 56 1", "diseqc 153"}),
              gHeard);
}

TEST_F(LnbEventsTest, EventsWithoutCallbackAreRefused) {
    clear();
    EXPECT_EQ(-1, lnb(1));
    EXPECT_EQ(-1, diseqc(nullptr, 4));
    EXPECT_EQ(
        (Lines{"E com_halvorin_tv_velmora_lnb_event_notify, lnb notify is null.",
               "E com_halvorin_tv_velmora_lnb_onDiseqcMessage, gLnbOnDiseqcMessageFct is null."}),
        desk::takeLog());
}

TEST_F(LnbEventsTest, RegistrationOfNoTunerChangesNothing) {
    const uint32_t none = mHandle + 1000;
    EXPECT_EQ(-1, x_native_frontend_register_lnb_callback(none, nullptr));
    EXPECT_EQ(-1, x_native_frontend_register_lnb_DiseqcMessage_callback(none, nullptr));
    EXPECT_EQ(0, lnb(1));
    EXPECT_EQ(0, diseqc(message(), 1));
}

TEST_F(LnbEventsTest, BadMessagesAreRefused) {
    EXPECT_EQ(-1, diseqc(nullptr, 4));
    EXPECT_EQ(-1, diseqc(message(), -1));
    EXPECT_EQ(-1, diseqc(desk::newArray(std::vector<jbyte>()), 1));
    EXPECT_EQ(Lines(3, "E com_halvorin_tv_velmora_lnb_onDiseqcMessage, message Array is null."),
              desk::takeLog());
    EXPECT_EQ(Lines(), gHeard);
}

TEST_F(LnbEventsTest, CallbackIsLoggedBeforeTheBytesAreTaken) {
    desk::setLogLevel("I");
    desk::failCall(Call::GetByteArrayElements, 1, Failure::kThrows);
    EXPECT_EQ(-1, diseqc(message(), 4));
    const Lines log = desk::takeLog();
    ASSERT_EQ(3u, log.size());
    EXPECT_EQ("I com_halvorin_tv_velmora_lnb_onDiseqcMessage, pipeline: 0x99, msgLength: 4",
              log[0]);
    EXPECT_NE(std::string::npos, log[1].find("_onDiseqcMessage, callback: 0x"));
    EXPECT_EQ("E com_halvorin_tv_velmora_lnb_onDiseqcMessage, message Array is null.", log[2]);
    EXPECT_EQ(Lines(), gHeard);
}

}  // namespace
