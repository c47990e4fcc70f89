#include "bench/calls.h"

#include <cutils/properties.h>

#include "log/halvorin_log.h"
#include "mw/basic_services.h"
#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/host.h"

// In front of the development machine's own, which blocks signals and so takes longer than a whole
// call: every property is unset, which closes the log gate.
extern "C" int property_get(const char*, char* value, const char*) {
    value[0] = '\0';
    return 0;
}

namespace bench {

uint32_t gPipelines[2];
uint32_t gFilter;

namespace {

constexpr int kListLength = 64;
constexpr int kErrorLevel = 5;  // of the log

uint32_t& gPipeline = gPipelines[0];
uint32_t gSpare;   // a pipeline without a tuner
uint32_t gHandle;  // of a filter or callback thread that a call makes
int64_t gPeer;     // address of the open filter's peer
MW_FESETTING_T gSettings[MW_FE_TYPE_DTMB + 1], gReadback;
int8_t gBuffer[FLT_MAX_READ_SIZE];
uint8_t gPattern[FLT_PATTERN_SIZE];
unsigned char gDiseqc[] = {0xe0, 0x10, 0x38, 0xf0, 0x01, 0x02};
FLT_EVT_CB_T gEvent;
FE_SCAN_CB_T gScan;

// By MW_FE_TYPE_E; those that the library refuses have no name.
const char* const kSystems[] = {"",      "",       "ATSC", "",       "DVB-C", "DVB-S",
                                "DVB-T", "ISDB-S", "",     "ISDB-T", "DTMB"};

// clang-format off
#define DO(function, ...) [] { return function(__VA_ARGS__); }
#define CALL(function, ...) {#function, DO(function, __VA_ARGS__)}
#define GET(function) {#function, DO(function, gPipeline), 3, "3"}
// Two calls of which the second undoes what the first does.
#define PAIR(function, argument, inverse, itsArgument) \
    {#function, DO(function, argument), 0, "nothing", [] {}, DO(inverse, itsArgument)}, \
    {#inverse, DO(inverse, itsArgument), 0, "nothing", DO(function, argument)}
// clang-format on

// As the function of that name, with the arguments that are the same for each call.
int x_velmora_filter_open(uint32_t* ph_filter) {
    return ::x_velmora_filter_open(gPipeline, 1, 2, 65536, ph_filter, &gEvent, nullptr);
}

std::vector<Call> plainCalls() {
    return {
        CALL(x_native_frontend_cancel_tuning, gPipeline),
        CALL(x_native_frontend_cancel_scanning, gPipeline),
        CALL(x_native_frontend_set_lna_enabled, gPipeline, 1),
        CALL(x_native_frontend_get_frontend_info, gPipeline, nullptr),
        CALL(x_native_frontend_set_ontune_listener, gPipeline),
        CALL(x_native_frontend_clear_ontune_listener, gPipeline),
        CALL(x_native_frontend_require_lnb, gPipeline),
        CALL(x_native_frontend_lnb_set_voltage, gPipeline, 1),
        CALL(x_native_frontend_lnb_set_tone, gPipeline, 1),
        CALL(x_native_frontend_lnb_set_SatellitePosition, gPipeline, 1),
        GET(x_native_frontend_lnb_get_voltage),
        GET(x_native_frontend_lnb_get_tone),
        GET(x_native_frontend_lnb_get_SatellitePosition),
        CALL(x_native_frontend_lnb_send_diseqcmessage, gPipeline, gDiseqc, sizeof(gDiseqc)),
        CALL(x_native_frontend_lnb_close, gPipeline),
        PAIR(x_velmora_filter_open, &gHandle, x_velmora_filter_close, gHandle),
        CALL(x_velmora_filter_start, gFilter),
        CALL(x_velmora_filter_stop, gFilter),
        CALL(x_velmora_filter_flush, gFilter),
        CALL(x_velmora_filter_setSectionConfig, gFilter, 1, 1, 0, 1, gPattern, gPattern, gPattern),
        PAIR(x_velmora_filter_create_callback_thread, &gHandle,
             x_velmora_filter_delete_callback_thread, gHandle),
        PAIR(addInnerFilterReference, gPeer, subInnerFilterReference, gPeer),
        CALL(__halvorin_log_is_loggable, kErrorLevel, "vendor.zyt.broadcast.log.level"),
        {"x_native_frontend_register_scan_callback",
         [] { return x_native_frontend_register_scan_callback(&gScan), 0; }},
        CALL(x_native_frontend_register_lnb_callback, gPipeline, nullptr),
        CALL(x_native_frontend_register_lnb_DiseqcMessage_callback, gPipeline, nullptr),
        CALL(x_velmora_filter_register_section_callback, nullptr),
        CALL(x_velmora_filter_register_filter_status_callback, nullptr),
        PAIR(x_native_frontend_require_tuner, gSpare, x_native_frontend_close_tuner, gSpare),
    };
}

std::vector<Call> callsWithRecords() {
    std::vector<Call> calls;
    for (int type = MW_FE_TYPE_ATSC; type <= MW_FE_TYPE_DTMB; ++type) {
        const std::string system = kSystems[type];
        MW_FESETTING_T* settings = &gSettings[type];
        if (!system.empty()) {
            calls.push_back({"x_native_frontend_tune " + system,
                             [=] { return x_native_frontend_tune(gPipeline, settings); }});
            calls.push_back({"x_native_frontend_scan " + system,
                             [=] { return x_native_frontend_scan(gPipeline, settings, 1); }});
        }
    }
    for (const int kinds : {1, 8, 25}) {
        calls.push_back({"x_native_frontend_get_frontend_status " + std::to_string(kinds),
                         [=] { return readStatus(gPipeline, kinds); }, 0, "status"});
    }
    for (const char* system : {"DVB-S", "DVB-T", "DTMB"}) {
        calls.push_back({std::string("x_native_frontend_get_frontend_setting ") + system,
                         DO(x_native_frontend_get_frontend_setting, gPipeline, &gReadback), 0,
                         system});
    }
    for (const int size : {188, FLT_MAX_READ_SIZE}) {
        const std::string text = std::to_string(size);
        calls.push_back({"x_velmora_filter_read " + text,
                         [=] { return x_velmora_filter_read(gFilter, gBuffer, 0, size); }, size,
                         text});
    }
    return calls;
}

std::vector<Call> events() {
    using desk::Event;
    std::vector<Call> calls;
    for (int number = 0; number <= static_cast<int>(Event::kFilterStatus); ++number) {
        const Event event = static_cast<Event>(number);
        desk::JavaValues arguments = {desk::toJava(event >= Event::kSection ? gFilter : gPipeline)};
        if (event >= Event::kFrequencies && event <= Event::kStreamIds) {
            arguments.push_back(desk::toJava(desk::newArray(std::vector<jint>(kListLength))));
        } else if (event == Event::kDiseqc) {
            arguments.push_back(desk::toJava(desk::newArray(std::vector<jbyte>(kListLength))));
        }
        if (event > Event::kStopped) {
            arguments.resize(event == Event::kSection ? 5 : arguments.size() + 1,
                             desk::toJava(kListLength));
        }
        const int heard = event == Event::kSignalType ? 0 : 1;
        const auto report = [=] {
            desk::takeHeard();
            const int result = desk::reportEvent(event, arguments);
            return desk::takeHeard() == heard ? result : -1;
        };
        calls.push_back({desk::methodOf(event), report, 0, "nothing", [] {}, [] {}, "java"});
    }
    return calls;
}

}  // namespace

std::vector<Call> makeCalls() {
    static MW_FE_DVBS_CODE_RATE_T codeRate = {8, 0, 1, 1000};
    for (int type = MW_FE_TYPE_ATSC; type <= MW_FE_TYPE_DTMB; ++type) {
        gSettings[type].e_type = static_cast<MW_FE_TYPE_E>(type);
        gSettings[type].mFrequency = 474000000;
    }
    gSettings[MW_FE_TYPE_DVBS].mFrequency = 1236;
    gSettings[MW_FE_TYPE_DVBS].u.t_dvbs.pt_code_rate = &codeRate;

    answer("nothing");
    static const desk::Pipeline pipelines[2], spare;
    gSpare = spare.handle();
    desk::registerCountingCallbacks(gSpare);
    for (int i : {0, 1}) {
        gPipelines[i] = pipelines[i].handle();
        x_native_frontend_require_tuner(gPipelines[i]);
    }
    x_velmora_filter_open(&gFilter);
    // What the handle service keeps for a filter: its semaphore and its peer's address.
    struct {
        uint32_t semaphore;
        int64_t peer;
    }* record = nullptr;
    handle_get_obj(gFilter, reinterpret_cast<void**>(&record));
    gPeer = record->peer;

    std::vector<Call> calls;
    // The plain calls clear the callbacks that the events go to.
    for (const auto& part : {events(), callsWithRecords(), plainCalls()}) {
        calls.insert(calls.end(), part.begin(), part.end());
    }
    return calls;
}

void answer(const std::string& what) {
    desk::callStatic("bench.BenchDevice", "answer", what);
}

int tuneTerrestrial(uint32_t h_pipeline) {
    return x_native_frontend_tune(h_pipeline, &gSettings[MW_FE_TYPE_DVBT]);
}

int readStatus(uint32_t h_pipeline, int kinds) {
    // All that there are.
    static int32_t types[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,
                              13, 14, 15, 17, 18, 19, 20, 22, 24, 25, 29, 33};
    static thread_local FE_STATUS_T status;
    return x_native_frontend_get_frontend_status(h_pipeline,
                                                 reinterpret_cast<FE_STATUS_TYPE_E*>(types),
                                                 static_cast<unsigned char>(kinds), &status);
}

}  // namespace bench
