#include "bench/rows.h"

#include <jni.h>

#include <iterator>

#include "bench/floor.h"
#include "bench/host.h"
#include "mw/filter.h"
#include "mw/frontend.h"

namespace bench {

namespace {

uint32_t gPipeline;
uint32_t gSecondPipeline;
uint32_t gUnregistered;  // of no frontend yet
uint32_t gFilter;
uint32_t gFloorFilter;

MW_FE_DVBS_CODE_RATE_T gCodeRate = {8, 0, 1, 1000};
MW_FESETTING_T gSettings[MW_FE_TYPE_DTMB + 1];
floors::WithSettings gFloorTune[MW_FE_TYPE_DTMB + 1];
floors::WithSettings gFloorScan[MW_FE_TYPE_DTMB + 1];
FE_STATUS_TYPE_E gKinds[] = {FE_STATUS_TYPE_DEMOD_LOCK,
                             FE_STATUS_TYPE_SNR,
                             FE_STATUS_TYPE_BER,
                             FE_STATUS_TYPE_PER,
                             FE_STATUS_TYPE_PER_BER,
                             FE_STATUS_TYPE_SIGNAL_QUALITY,
                             FE_STATUS_TYPE_SIGNAL_STRENGTH,
                             FE_STATUS_TYPE_SYMBOL_RATE,
                             FE_STATUS_TYPE_INNER_FEC,
                             FE_STATUS_TYPE_MODULATION,
                             FE_STATUS_TYPE_SPECTRAL_INVERSION,
                             FE_STATUS_TYPE_LNB_VOLTAGE,
                             FE_STATUS_TYPE_PLP_ID,
                             FE_STATUS_TYPE_EWBS,
                             FE_STATUS_TYPE_AGC,
                             FE_STATUS_TYPE_LNA,
                             FE_STATUS_TYPE_MER,
                             FE_STATUS_TYPE_FREQ_OFFSET,
                             FE_STATUS_TYPE_HIERARCHY,
                             FE_STATUS_TYPE_RF_LOCK,
                             FE_STATUS_TYPE_MODULATIONS_EXT,
                             FE_STATUS_TYPE_CODE_RATES,
                             FE_STATUS_TYPE_BANDWIDTH,
                             FE_STATUS_TYPE_SYSTEM_ID,
                             FE_STATUS_TYPE_ROLL_OFF};
FE_STATUS_TYPE_E gEqualKinds[FE_STATUS_MAX_TYPES];
FE_STATUS_T gStatus;
MW_FESETTING_T gSetting;
unsigned char gDiseqc[] = {0xe0, 0x10, 0x38, 0xf0, 0x01, 0x02};
int8_t gBuffer[FLT_MAX_READ_SIZE];
uint8_t gPattern[3][FLT_PATTERN_SIZE];
FLT_EVT_CB_T gEvent;

struct System {
    const char* name;
    MW_FE_TYPE_E type;
};
constexpr System kSystems[] = {
    {"ATSC", MW_FE_TYPE_ATSC},  {"DVB-C", MW_FE_TYPE_DVBC},   {"DVB-S", MW_FE_TYPE_DVBS},
    {"DVB-T", MW_FE_TYPE_DVBT}, {"ISDB-S", MW_FE_TYPE_ISDBS}, {"ISDB-T", MW_FE_TYPE_ISDBT},
    {"DTMB", MW_FE_TYPE_DTMB},
};

// A call of the middleware with one argument that tells cases apart.
using Crossing = int (*)(int argument);

Batch repeat(Crossing crossing, int argument) {
    return [=](int count) {
        int result = 0;
        for (int i = 0; i < count; ++i) {
            result |= crossing(argument);
        }
        return result;
    };
}

struct Call {
    const char* name;
    double target;
    Crossing bridge;
    Crossing floor;
    int argument = 0;
    void (*prepare)() = answerNothing;
};

int bridgeTune(int type) {
    return x_native_frontend_tune(gPipeline, &gSettings[type]);
}
int bridgeScan(int type) {
    return x_native_frontend_scan(gPipeline, &gSettings[type], 1);
}
int floorTune(int type) {
    return gFloorTune[type](gPipeline, &gSettings[type]);
}
int floorScan(int type) {
    return gFloorScan[type](gPipeline, &gSettings[type]);
}

int bridgeStatus(int kinds) {
    return x_native_frontend_get_frontend_status(gPipeline, gKinds,
                                                 static_cast<unsigned char>(kinds), &gStatus);
}
int floorStatus(int kinds) {
    return floors::getStatus(gPipeline, gKinds, static_cast<uint8_t>(kinds), &gStatus);
}
void answerDvbt() {
    const jvalue arguments[14] = {};
    answerNew("android.media.tv.tuner.frontend.DvbtFrontendSettings", "(IIIIIIIIZIZIII)V",
              arguments);
}
void answerDvbs() {
    const jvalue arguments[11] = {};
    answerNew("android.media.tv.tuner.frontend.DvbsFrontendSettings",
              "(IILandroid/media/tv/tuner/frontend/DvbsCodeRate;IIIIIIIZ)V", arguments);
}

int bridgeRead(int size) {
    return x_velmora_filter_read(gFilter, gBuffer, 0, size);
}
int floorRead(int size) {
    return floors::readFilter(gFloorFilter, gBuffer, 0, size);
}

#define BOTH(function, floorFunction, ...)             \
    [](int argument) {                                 \
        static_cast<void>(argument);                   \
        return function(__VA_ARGS__);                  \
    },                                                 \
        [](int argument) {                             \
            static_cast<void>(argument);               \
            return floors::floorFunction(__VA_ARGS__); \
        }

#define FILTER_BOTH(function, floorFunction) \
    [](int) { return function(gFilter); }, [](int) { return floors::floorFunction(gFloorFilter); }

const Call kCalls[] = {
    {"require + close tuner", kObjectTarget,
     [](int) {
         return x_native_frontend_require_tuner(gUnregistered) |
                x_native_frontend_close_tuner(gUnregistered);
     },
     [](int) { return floors::requireTuner(gUnregistered) | floors::closeTuner(gUnregistered); }},
    {"cancel tuning", kBareTarget, BOTH(x_native_frontend_cancel_tuning, cancelTuning, gPipeline)},
    {"cancel scanning", kBareTarget,
     BOTH(x_native_frontend_cancel_scanning, cancelScanning, gPipeline)},
    {"set LNA", kBareTarget,
     BOTH(x_native_frontend_set_lna_enabled, setLnaEnabled, gPipeline, argument), 1},
    {"status, 1 kind", kObjectTarget, bridgeStatus, floorStatus, 1, answerStatusObject},
    {"status, 8 kinds", kObjectTarget, bridgeStatus, floorStatus, 8, answerStatusObject},
    {"status, 25 kinds", kObjectTarget, bridgeStatus, floorStatus, 25, answerStatusObject},
    {"readback DVB-S", kBareTarget,
     BOTH(x_native_frontend_get_frontend_setting, getSetting, gPipeline, &gSetting), 0, answerDvbs},
    {"readback DVB-T", kBareTarget,
     BOTH(x_native_frontend_get_frontend_setting, getSetting, gPipeline, &gSetting), 0, answerDvbt},
    {"require LNB", kBareTarget, BOTH(x_native_frontend_require_lnb, requireLnb, gPipeline)},
    {"LNB set voltage", kBareTarget,
     BOTH(x_native_frontend_lnb_set_voltage, setVoltage, gPipeline, argument), 1},
    {"LNB set tone", kBareTarget,
     BOTH(x_native_frontend_lnb_set_tone, setTone, gPipeline, argument), 1},
    {"LNB set position", kBareTarget,
     BOTH(x_native_frontend_lnb_set_SatellitePosition, setSatellitePosition, gPipeline, argument),
     1},
    {"LNB get voltage", kBareTarget,
     BOTH(x_native_frontend_lnb_get_voltage, getVoltage, gPipeline)},
    {"LNB get tone", kBareTarget, BOTH(x_native_frontend_lnb_get_tone, getTone, gPipeline)},
    {"LNB get position", kBareTarget,
     BOTH(x_native_frontend_lnb_get_SatellitePosition, getSatellitePosition, gPipeline)},
    {"DiSEqC, 6 bytes", kObjectTarget,
     BOTH(x_native_frontend_lnb_send_diseqcmessage, sendDiseqc, gPipeline, gDiseqc, 6)},
    {"close LNB", kBareTarget, BOTH(x_native_frontend_lnb_close, closeLnb, gPipeline)},
    {"filter open + close", kObjectTarget,
     [](int) {
         uint32_t handle = 0;
         return x_velmora_filter_open(gPipeline, 1, 2, 65536, &handle, &gEvent, nullptr) |
                x_velmora_filter_close(handle);
     },
     [](int) {
         uint32_t handle = 0;
         return floors::openFilter(gPipeline, 1, 2, 65536, &handle, &gEvent, nullptr) |
                floors::closeFilter(handle);
     }},
    {"filter start", kBareTarget, FILTER_BOTH(x_velmora_filter_start, startFilter)},
    {"filter stop", kBareTarget, FILTER_BOTH(x_velmora_filter_stop, stopFilter)},
    {"filter flush", kBareTarget, FILTER_BOTH(x_velmora_filter_flush, flushFilter)},
    {"filter read, 188 bytes", kBareTarget, bridgeRead, floorRead, 188, [] { answer(188); }},
    {"filter read, 4096 bytes", kBareTarget, bridgeRead, floorRead, 4096, [] { answer(4096); }},
    {"filter configuration", kObjectTarget,
     [](int) {
         return x_velmora_filter_setSectionConfig(gFilter, 1, 1, 0, 1, gPattern[0], gPattern[1],
                                                  gPattern[2]);
     },
     [](int) {
         return floors::configureFilter(gFloorFilter, 1, 1, 0, 1, gPattern[0], gPattern[1],
                                        gPattern[2]);
     }},
    {"callback thread, make + delete", kObjectTarget,
     [](int) {
         uint32_t handle = 0;
         return x_velmora_filter_create_callback_thread(&handle) |
                x_velmora_filter_delete_callback_thread(handle);
     },
     [](int) {
         uint32_t handle = 0;
         return floors::createCallbackThread(&handle) | floors::deleteCallbackThread(handle);
     }},
};

#undef BOTH
#undef FILTER_BOTH

struct Event {
    const char* name;
    bool list;
};
// In the order of desk.BenchEvents; the last three are a filter's.
constexpr Event kEvents[] = {
    {"scan locked", false},         {"scan stopped", false},     {"scan progress", false},
    {"scan frequencies", true},     {"scan symbol rates", true}, {"scan PLP ids", true},
    {"scan group ids", true},       {"scan stream ids", true},   {"scan DVB-S standard", false},
    {"scan DVB-T standard", false}, {"scan hierarchy", false},   {"scan signal type", false},
    {"LNB event", false},           {"DiSEqC message", true},    {"filter section", false},
    {"filter restart", false},      {"filter status", false},
};
constexpr int kFirstFilterEvent = 14;

Row eventRow(int event, int elements) {
    std::string name = std::string("event: ") + kEvents[event].name;
    if (kEvents[event].list) {
        name += ", " + std::to_string(elements);
    }
    const bool ofFilter = event >= kFirstFilterEvent;
    return {name,
            Thread::kJava,
            kEventTarget,
            answerNothing,
            [=](int count) {
                return report(false, event, ofFilter ? gFilter : gPipeline, elements, count);
            },
            [=](int count) {
                return report(true, event, ofFilter ? gFloorFilter : gPipeline, elements, count);
            }};
}

// 0 when it loaded.
Batch repeatLoad(bool floor) {
    return repeat([](int isFloor) { return load(isFloor != 0) == JNI_VERSION_1_4 ? 0 : -1; },
                  floor);
}

void registerCallbacks() {
    FE_SCAN_CB_T scan = {};
    const fe_scan_value_nfy_fct onValue = [](unsigned int, int32_t, void*) { return 0; };
    const fe_scan_list_nfy_fct onList = [](unsigned int, const int32_t*, int32_t, void*) {
        return 0;
    };
    scan.pf_locked_nfy = scan.pf_stopped_nfy = [](unsigned int, void*) { return 0; };
    scan.pf_progress_nfy = scan.pf_dvbs_standard_nfy = scan.pf_dvbt_standard_nfy =
        scan.pf_hierarchy_nfy = onValue;
    scan.pf_freq_report_nfy = scan.pf_symbol_rate_nfy = scan.pf_plp_id_nfy = scan.pf_group_id_nfy =
        scan.pf_stream_id_nfy = onList;
    const fe_lnb_nfy_fct onLnb = [](unsigned int, int32_t) { return 0; };
    const fe_lnb_diseqc_nfy_fct onDiseqc = [](unsigned int, const int8_t*, int32_t) { return 0; };
    const flt_section_nfy_fct onSection = [](uint32_t, FLT_EVT_CB_T*, FLT_EVT_DATA_T*, void*) {};
    const flt_status_nfy_fct onStatus = [](uint32_t, FLT_EVT_CB_T*, int32_t, void*) {};
    x_native_frontend_register_scan_callback(&scan);
    x_native_frontend_register_lnb_callback(gPipeline, onLnb);
    x_native_frontend_register_lnb_DiseqcMessage_callback(gPipeline, onDiseqc);
    x_velmora_filter_register_section_callback(onSection);
    x_velmora_filter_register_filter_status_callback(onStatus);
    floors::registerCallbacks(scan, onLnb, onDiseqc, onSection, onStatus);
}

void makeDevice() {
    answerNothing();
    for (uint32_t* pipeline : {&gPipeline, &gSecondPipeline}) {
        *pipeline = makePipeline();
        x_native_frontend_require_tuner(*pipeline);
        floors::requireTuner(*pipeline);
    }
    gUnregistered = makePipeline();
    x_velmora_filter_open(gPipeline, 1, 2, 65536, &gFilter, &gEvent, nullptr);
    floors::openFilter(gPipeline, 1, 2, 65536, &gFloorFilter, &gEvent, nullptr);
    registerCallbacks();
    for (const System& system : kSystems) {
        gFloorTune[system.type] = floors::tune(system.type);
        gFloorScan[system.type] = floors::scan(system.type);
        gSettings[system.type].e_type = system.type;
        gSettings[system.type].mFrequency = system.type == MW_FE_TYPE_DVBS ? 1236 : 474000000;
    }
    gSettings[MW_FE_TYPE_DVBS].u.t_dvbs.pt_code_rate = &gCodeRate;
    for (FE_STATUS_TYPE_E& kind : gEqualKinds) {
        kind = FE_STATUS_TYPE_SNR;
    }
}

}  // namespace

const char* name(Thread thread) {
    switch (thread) {
        case Thread::kAttached:
            return "attached";
        case Thread::kUnattached:
            return "unattached";
        default:
            return "java";
    }
}

std::vector<Row> makeRows() {
    makeDevice();
    std::vector<Row> rows;
    for (const Thread thread : {Thread::kAttached, Thread::kUnattached}) {
        const auto add = [&](const std::string& name, const Call& call) {
            rows.push_back({name, thread,
                            thread == Thread::kAttached ? call.target : kUnattachedTarget,
                            call.prepare, repeat(call.bridge, call.argument),
                            repeat(call.floor, call.argument)});
        };
        for (const System& system : kSystems) {
            add(std::string("tune ") + system.name,
                {nullptr, kObjectTarget, bridgeTune, floorTune, system.type});
        }
        for (const System& system : kSystems) {
            add(std::string("scan ") + system.name,
                {nullptr, kObjectTarget, bridgeScan, floorScan, system.type});
        }
        for (const Call& call : kCalls) {
            add(call.name, call);
        }
    }
    for (int event = 0; event < static_cast<int>(std::size(kEvents)); ++event) {
        rows.push_back(eventRow(event, 1));
        if (kEvents[event].list) {
            rows.push_back(eventRow(event, 64));
        }
    }
    rows.push_back(
        {"load", Thread::kJava, kLoadTarget, answerNothing, repeatLoad(false), repeatLoad(true)});
    return rows;
}

uint32_t firstPipeline() {
    return gPipeline;
}
uint32_t secondPipeline() {
    return gSecondPipeline;
}

int tuneTerrestrial(uint32_t pipeline) {
    return x_native_frontend_tune(pipeline, &gSettings[MW_FE_TYPE_DVBT]);
}

int askStatus(uint32_t pipeline) {
    FE_STATUS_T status;
    return x_native_frontend_get_frontend_status(pipeline, gKinds, 25, &status);
}

void answerStatusObject() {
    answerNew("android.media.tv.tuner.frontend.FrontendStatus", "()V", nullptr);
}

Batch statusOfKinds(int kinds) {
    return repeat(
        [](int argument) {
            return x_native_frontend_get_frontend_status(
                gPipeline, gEqualKinds, static_cast<unsigned char>(argument), &gStatus);
        },
        kinds);
}

Batch listOfElements(int elements) {
    return eventRow(3, elements).bridge;
}

}  // namespace bench
