// Scan and LNB events: what a registration changes, and the lists that Java reports.

#include <atomic>
#include <cstdlib>
#include <new>
#include <thread>

#include "mw/frontend.h"
#include "tests/library_test.h"

namespace {

using desk::Event;

constexpr uint32_t kNoPipeline = 0x99;  // of no frontend: events serve every pipeline
constexpr int32_t kNotCalled = -1;

thread_local int gNews;  // on this thread

int32_t gCount;  // of the elements that a callback was given

int onList(unsigned int, const int32_t*, int32_t count, void*) {
    gCount = count;
    return 0;
}
int onDiseqc(unsigned int, const int8_t*, int32_t length) {
    gCount = length;
    return 0;
}

class EventsTest : public desk::LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        FE_SCAN_CB_T callbacks = {};
        callbacks.pf_freq_report_nfy = callbacks.pf_symbol_rate_nfy = callbacks.pf_plp_id_nfy =
            callbacks.pf_group_id_nfy = callbacks.pf_stream_id_nfy = onList;
        x_native_frontend_register_scan_callback(&callbacks);
        desk::callWatched([&] { return x_native_frontend_require_tuner(mPipeline->handle()); });
        registerDiseqc(mPipeline->handle(), onDiseqc);
    }
    void TearDown() override {
        x_native_frontend_register_scan_callback(nullptr);
        EXPECT_EQ(0, registerDiseqc(mPipeline->handle(), nullptr));
        desk::callWatched([&] { return x_native_frontend_close_tuner(mPipeline->handle()); });
        LibraryTest::TearDown();
    }

    static int registerDiseqc(uint32_t h_pipeline, fe_lnb_diseqc_nfy_fct pf_nfy) {
        return x_native_frontend_register_lnb_DiseqcMessage_callback(h_pipeline, pf_nfy);
    }

    // Reports a list with a length; the number of elements that the callback was given.
    template <typename Array>
    static int32_t given(Event event, Array list, jint length) {
        gCount = kNotCalled;
        const jint result = desk::report(event, kNoPipeline, list, length);
        EXPECT_EQ(gCount == kNotCalled ? -1 : 0, result);
        return gCount;
    }

    template <typename Element>
    static void checkList(Event event, int32_t givenOfLengthZero) {
        SCOPED_TRACE(desk::methodOf(event));
        const auto list = desk::newArray(std::vector<Element>{10, 20, 30});
        const auto empty = desk::newArray(std::vector<Element>());
        EXPECT_EQ(3, given(event, list, 3));
        EXPECT_EQ(3, given(event, list, 9)) << "longer than the array";
        EXPECT_EQ(givenOfLengthZero, given(event, list, 0));
        desk::setLogLevel("E");
        desk::takeLog();
        EXPECT_EQ(kNotCalled, given(event, list, -1));
        EXPECT_EQ(kNotCalled, given(event, decltype(list)(), 3));
        EXPECT_EQ(kNotCalled, given(event, empty, 3));
        EXPECT_EQ(3u, desk::takeLog().size());
        desk::setLogLevel("");
    }
};

TEST_F(EventsTest, ListsAreCutToTheirArrayAndBadOnesAreRefused) {
    for (const Event event : {Event::kFrequencies, Event::kSymbolRates, Event::kPlpIds,
                              Event::kGroupIds, Event::kStreamIds}) {
        checkList<jint>(event, kNotCalled);
    }
    checkList<jbyte>(Event::kDiseqc, 0);
}

TEST_F(EventsTest, RegistrationOfNoTunerChangesNothing) {
    const desk::Pipeline other;
    desk::registerCountingCallbacks(other.handle());
    EXPECT_EQ(-1, x_native_frontend_register_lnb_callback(kNoPipeline, nullptr));
    EXPECT_EQ(-1, registerDiseqc(kNoPipeline, nullptr));
    desk::takeHeard();
    EXPECT_EQ(0, desk::report(Event::kLnb, kNoPipeline, 1));
    EXPECT_EQ(0,
              desk::report(Event::kDiseqc, kNoPipeline, desk::newArray(std::vector<jbyte>{1}), 1));
    EXPECT_EQ(2, desk::takeHeard());
}

TEST_F(EventsTest, CallbackIsLoggedBeforeTheBytesAreTaken) {
    desk::failCall("GetByteArrayElements", 1, desk::Failure::kThrows);
    desk::setLogLevel("I");
    EXPECT_EQ(kNotCalled, given(Event::kDiseqc, desk::newArray(std::vector<jbyte>{1}), 1));
    const std::vector<std::string> log = desk::takeLog();
    ASSERT_EQ(3u, log.size());
    EXPECT_NE(std::string::npos, log[1].find("_onDiseqcMessage, callback: 0x"));
}

int gMixed;  // callbacks that were given another registration's tag

// Registers a callback that knows its own tag.
template <int which>
void registerWithTag() {
    static int tag;
    FE_SCAN_CB_T callbacks = {};
    callbacks.pf_locked_nfy = [](unsigned int, void* given) { return gMixed += given != &tag; };
    callbacks.pv_tag = &tag;
    x_native_frontend_register_scan_callback(&callbacks);
}

TEST_F(EventsTest, EventDuringRegistrationsGetsCallbackAndTagOfOne) {
    std::atomic<bool> stop(false);
    std::thread others[2];
    for (std::thread& other : others) {
        other = std::thread([&] {
            while (!stop) {
                registerWithTag<1>();
                registerWithTag<2>();
            }
        });
    }
    for (int i = 0; i < 20000; ++i) {
        desk::report(Event::kLocked, kNoPipeline);
    }
    stop = true;
    for (std::thread& other : others) {
        other.join();
    }
    EXPECT_EQ(0, std::exchange(gMixed, 0));
}

TEST_F(EventsTest, OnlyADifferentRegistrationTakesMemoryAndTwoThatMeetAreBothKept) {
    constexpr int kTags = 1000;
    static int tags[2][kTags];
    const auto registerEach = [](int of) {
        for (int& tag : tags[of]) {
            FE_SCAN_CB_T callbacks = {};
            callbacks.pv_tag = &tag;
            x_native_frontend_register_scan_callback(&callbacks);
        }
    };
    const int before = gNews;
    std::thread other(registerEach, 1);
    registerEach(0);
    const int after = gNews;
    other.join();
    EXPECT_GE(after - before, kTags);  // and some for the thread
    registerEach(0);
    registerEach(1);
    x_native_frontend_register_scan_callback(nullptr);
    EXPECT_EQ(after, gNews);
}

}  // namespace

// Stands before everybody's, the library's too.
void* operator new(size_t size) {
    ++gNews;
    if (void* memory = malloc(size))
        return memory;
    abort();
}
void operator delete(void* memory) noexcept {
    free(memory);
}
void operator delete(void* memory, size_t) noexcept {
    free(memory);
}
