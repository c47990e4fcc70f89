#include "bench/calls.h"

#include <cutils/properties.h>

#include "log/halvorin_log.h"
#include "mw/basic_services.h"
#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/support/device.h"

// In front of the development machine's own, which blocks signals and so takes longer than a whole
// call: every property is unset, which closes the log gate.
extern "C" int property_get(const char*, char* value, const char*) {
    value[0] = '\0';
    return 0;
}

namespace bench {

thread_local int tLane = 0;

namespace {

constexpr int kListLength = 64;
constexpr int kErrorLevel = 5;  // of the log

FLT_EVT_CB_T gEvent;

struct Lane {
    tests::Pipeline tuned, spare;  // with a tuner and without
    uint32_t filter = 0;           // is open
    int64_t peer = 0;              // the address of its peer
    uint32_t handle = 0;           // of the filter or callback thread that a call makes
    FE_STATUS_T status = {};
    MW_FESETTING_T readback = {};
    int8_t buffer[FLT_MAX_READ_SIZE] = {};

    Lane() {
        x_native_frontend_require_tuner(tuned.handle());
        x_velmora_filter_open(tuned.handle(), 1, 2, 65536, &filter, &gEvent, nullptr);
        // What the handle service keeps for a filter: its semaphore and its peer's address.
        struct {
            uint32_t semaphore;
            int64_t peer;
        }* record = nullptr;
        handle_get_obj(filter, reinterpret_cast<void**>(&record));
        peer = record->peer;
    }
};

Lane& lane() {
    static Lane lanes[2];
    return lanes[tLane];
}
uint32_t pipeline() {
    return lane().tuned.handle();
}
uint32_t spare() {
    return lane().spare.handle();
}

// clang-format off
#define DO(function, ...) [] { return function(__VA_ARGS__); }
#define CALL(function, ...) {#function, DO(function, __VA_ARGS__)}
#define GET(function) {#function, DO(function, pipeline()), 3, "3"}
// Two calls of which the second undoes what the first does.
#define PAIR(function, argument, inverse, itsArgument) \
    {#function, DO(function, argument), 0, "nothing", [] {}, DO(inverse, itsArgument)}, \
    {#inverse, DO(inverse, itsArgument), 0, "nothing", DO(function, argument)}
// clang-format on

// As the function of that name, with the arguments that are the same for each call.
int x_velmora_filter_open(uint32_t* ph_filter) {
    return ::x_velmora_filter_open(pipeline(), 1, 2, 65536, ph_filter, &gEvent, nullptr);
}

std::vector<Call> plainCalls() {
    static uint8_t pattern[FLT_PATTERN_SIZE];
    static unsigned char diseqc[] = {0xe0, 0x10, 0x38, 0xf0, 0x01, 0x02};
    static FE_SCAN_CB_T scan;
    return {
        CALL(x_native_frontend_cancel_tuning, pipeline()),
        CALL(x_native_frontend_cancel_scanning, pipeline()),
        CALL(x_native_frontend_set_lna_enabled, pipeline(), 1),
        CALL(x_native_frontend_get_frontend_info, pipeline(), nullptr),
        CALL(x_native_frontend_set_ontune_listener, pipeline()),
        CALL(x_native_frontend_clear_ontune_listener, pipeline()),
        CALL(x_native_frontend_require_lnb, pipeline()),
        CALL(x_native_frontend_lnb_set_voltage, pipeline(), 1),
        CALL(x_native_frontend_lnb_set_tone, pipeline(), 1),
        CALL(x_native_frontend_lnb_set_SatellitePosition, pipeline(), 1),
        GET(x_native_frontend_lnb_get_voltage),
        GET(x_native_frontend_lnb_get_tone),
        GET(x_native_frontend_lnb_get_SatellitePosition),
        CALL(x_native_frontend_lnb_send_diseqcmessage, pipeline(), diseqc, sizeof(diseqc)),
        CALL(x_native_frontend_lnb_close, pipeline()),
        PAIR(x_velmora_filter_open, &lane().handle, x_velmora_filter_close, lane().handle),
        CALL(x_velmora_filter_start, lane().filter),
        CALL(x_velmora_filter_stop, lane().filter),
        CALL(x_velmora_filter_flush, lane().filter),
        CALL(x_velmora_filter_setSectionConfig, lane().filter, 1, 1, 0, 1, pattern, pattern,
             pattern),
        PAIR(x_velmora_filter_create_callback_thread, &lane().handle,
             x_velmora_filter_delete_callback_thread, lane().handle),
        PAIR(addInnerFilterReference, lane().peer, subInnerFilterReference, lane().peer),
        CALL(__halvorin_log_is_loggable, kErrorLevel, "vendor.zyt.broadcast.log.level"),
        {"x_native_frontend_register_scan_callback",
         [] { return x_native_frontend_register_scan_callback(&scan), 0; }},
        CALL(x_native_frontend_register_lnb_callback, pipeline(), nullptr),
        CALL(x_native_frontend_register_lnb_DiseqcMessage_callback, pipeline(), nullptr),
        CALL(x_velmora_filter_register_section_callback, nullptr),
        CALL(x_velmora_filter_register_filter_status_callback, nullptr),
        PAIR(x_native_frontend_require_tuner, spare(), x_native_frontend_close_tuner, spare()),
    };
}

std::vector<Call> callsWithRecords() {
    static MW_FE_DVBS_CODE_RATE_T codeRate = {8, 0, 1, 1000};
    // All that there are.
    static int32_t kinds[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,
                              13, 14, 15, 17, 18, 19, 20, 22, 24, 25, 29, 33};
    const std::pair<MW_FE_TYPE_E, const char*> systems[] = {
        {MW_FE_TYPE_ATSC, "ATSC"},  {MW_FE_TYPE_DVBC, "DVB-C"},   {MW_FE_TYPE_DVBS, "DVB-S"},
        {MW_FE_TYPE_DVBT, "DVB-T"}, {MW_FE_TYPE_ISDBS, "ISDB-S"}, {MW_FE_TYPE_ISDBT, "ISDB-T"},
        {MW_FE_TYPE_DTMB, "DTMB"},
    };
    std::vector<Call> calls;
    for (const auto& [type, system] : systems) {
        MW_FESETTING_T settings = {};
        settings.e_type = type;
        settings.mFrequency = 1236;
        settings.mEndFrequency =
            2147;  // Java refuses 0, and the exception would take longer than all else
        if (type == MW_FE_TYPE_DVBS) {
            settings.u.t_dvbs.pt_code_rate = &codeRate;
        }
        calls.push_back({std::string("x_native_frontend_tune ") + system,
                         [=]() mutable { return x_native_frontend_tune(pipeline(), &settings); }});
        calls.push_back({std::string("x_native_frontend_scan ") + system, [=]() mutable {
                             return x_native_frontend_scan(pipeline(), &settings, 1);
                         }});
    }
    for (const uint8_t count : std::initializer_list<uint8_t>{1, 8, 25}) {
        const auto read = [=] {
            return x_native_frontend_get_frontend_status(
                pipeline(), reinterpret_cast<FE_STATUS_TYPE_E*>(kinds), count, &lane().status);
        };
        calls.push_back(
            {"x_native_frontend_get_frontend_status " + std::to_string(count), read, 0, "status"});
    }
    for (const char* system : {"DVB-S", "DVB-T", "DTMB"}) {
        calls.push_back({std::string("x_native_frontend_get_frontend_setting ") + system,
                         DO(x_native_frontend_get_frontend_setting, pipeline(), &lane().readback),
                         0, system});
    }
    for (const int size : {188, FLT_MAX_READ_SIZE}) {
        const std::string text = std::to_string(size);
        const auto read = [=] {
            return x_velmora_filter_read(lane().filter, lane().buffer, 0, size);
        };
        calls.push_back({"x_velmora_filter_read " + text, read, size, text});
    }
    return calls;
}

std::vector<Call> events() {
    using tests::Event;
    std::vector<Call> calls;
    for (int number = 0; number <= static_cast<int>(Event::kFilterStatus); ++number) {
        const Event event = static_cast<Event>(number);
        const uint32_t handle = event >= Event::kSection ? lane().filter : pipeline();
        jarray list = nullptr;
        if (event >= Event::kFrequencies && event <= Event::kStreamIds) {
            list = tests::newArray(std::vector<jint>(kListLength));
        } else if (event == Event::kDiseqc) {
            list = tests::newArray(std::vector<jbyte>(kListLength));
        }
        const size_t count = event == Event::kSection ? 4 : event <= Event::kStopped ? 0 : 1;
        const std::vector<jint> numbers(count, kListLength);
        const int heard = event == Event::kSignalType ? 0 : 1;
        const auto report = [=] {
            tests::takeHeard();
            const int result = tests::reportEvent(event, handle, numbers, list);
            return tests::takeHeard() == heard ? result : -1;
        };
        calls.push_back({tests::methodOf(event), report, 0, "nothing", [] {}, [] {}, "java"});
    }
    return calls;
}

}  // namespace

std::vector<Call> makeCalls() {
    answer("nothing");
    tests::registerCountingCallbacks(spare());
    std::vector<Call> calls;
    // The plain calls clear the callbacks that the events go to.
    for (const auto& part : {events(), callsWithRecords(), plainCalls()}) {
        calls.insert(calls.end(), part.begin(), part.end());
    }
    return calls;
}

int reportSections() {
    tests::takeHeard();
    tests::callStatic("bench.BenchDevice", "reportSections", "(II)V", lane().filter, kSections);
    return tests::takeHeard() == kSections ? 0 : -1;
}

void answer(const std::string& what) {
    const tests::LocalFrame frame;
    tests::callStatic("bench.BenchDevice", "answer", "(Ljava/lang/String;)V", tests::toJava(what));
}

}  // namespace bench
