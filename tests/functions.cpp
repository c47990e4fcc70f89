#include "tests/functions.h"

#include <algorithm>

#include "log/halvorin_log.h"
#include "mw/basic_services.h"
#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/support/fault_injection.h"

namespace tests {

namespace {

// --- How a row is made ---
// For example
//
//     ofTuner(NAMED(x_native_frontend_lnb_set_tone), 1),
//
// requires a tuner, calls x_native_frontend_lnb_set_tone(its pipeline, 1), and closes the tuner.

#define NAMED(function) #function, function

constexpr int kBytesRead = 7;  // what onRead returns

using Call = std::function<int(Fixture&)>;
const Step kNothing = [](Fixture&) {};

int requireTuner(Fixture& fixture) {
    return x_native_frontend_require_tuner(fixture.h_pipeline);
}
int closeTuner(Fixture& fixture) {
    return x_native_frontend_close_tuner(fixture.h_pipeline);
}
Function ofTuner(const std::string& name, const Call& call) {
    return {name, call, requireTuner, closeTuner, true};
}
template <typename... Parameters, typename... Args>
Function ofTuner(const std::string& name, int (*call)(unsigned int, Parameters...), Args... args) {
    return ofTuner(name, [=](Fixture& fixture) { return call(fixture.h_pipeline, args...); });
}

template <typename... Parameters, typename... Args>
Function global(const std::string& name, int (*call)(Parameters...), Args... args) {
    return {name, [=](Fixture&) { return call(args...); }};
}

Function ofFilter(const std::string& name, const Call& call) {
    return {name, call, prepareFilter, undoFilter, true};
}
template <typename... Parameters, typename... Args>
Function ofFilter(const std::string& name, int (*call)(uint32_t, Parameters...), Args... args) {
    return ofFilter(name, [=](Fixture& fixture) { return call(fixture.hfilter, args...); });
}

// The native method of an event. Those of scan and LNB events serve every pipeline.
Function nativeMethod(Event event) {
    const bool ofTuners = event < Event::kSection;
    const Call reports = [=](Fixture& fixture) {
        const LocalFrame frame;
        jarray list = nullptr;
        std::vector<jint> numbers = {-42, -2, 3, 4};
        if (event == Event::kDiseqc ||
            (event >= Event::kFrequencies && event <= Event::kStreamIds)) {
            std::vector<jint> values = {10, -20, 30};
            values.resize(static_cast<size_t>(std::max(fixture.elements, 0)));
            if (fixture.elements >= 0) {
                list = event != Event::kDiseqc
                           ? static_cast<jarray>(newArray(values))
                           : newArray(std::vector<jbyte>(values.begin(), values.end()));
            }
            numbers = {fixture.length};
        }
        return report(event, ofTuners ? fixture.h_pipeline : fixture.hfilter, numbers, list);
    };
    Function row =
        ofTuners ? Function{methodOf(event), reports} : ofFilter(methodOf(event), reports);
    row.calledByJava = true;
    return row;
}

// --- Calls that need more than arguments ---

MW_FESETTING_T* settingsOf(int32_t type) {
    static MW_FE_DVBS_CODE_RATE_T rate = {1, 1, 0, 2};
    thread_local MW_FESETTING_T settings;
    settings = {};
    settings.e_type = type;
    settings.mEndFrequency = 2147;  // Java refuses 0
    if (type == MW_FE_TYPE_DVBS) {
        settings.u.t_dvbs.pt_code_rate = &rate;
    }
    return &settings;
}
int tune(unsigned int h_pipeline, int32_t type) {
    return x_native_frontend_tune(h_pipeline, settingsOf(type));
}
int scan(unsigned int h_pipeline, int32_t type) {
    return x_native_frontend_scan(h_pipeline, settingsOf(type), 1);
}
int readBack(unsigned int h_pipeline) {
    return x_native_frontend_get_frontend_setting(h_pipeline, settingsOf(0));
}
Call queryStatus(const std::vector<int32_t>& kinds) {
    static_assert(sizeof(FE_STATUS_T) <= sizeof(Fixture::output));
    return [=](Fixture& fixture) {
        std::vector<int32_t> asked = kinds;
        return x_native_frontend_get_frontend_status(
            fixture.h_pipeline, reinterpret_cast<FE_STATUS_TYPE_E*>(asked.data()),
            static_cast<uint8_t>(asked.size()), reinterpret_cast<FE_STATUS_T*>(fixture.output));
    };
}
int clearScanCallbacks() {
    x_native_frontend_register_scan_callback(nullptr);
    return 0;
}

int openFilter(Fixture& fixture) {
    FLT_EVT_CB_T evt = {31, 32, fixture.hthread};
    fixture.hfilter = 1;  // shows whether open writes it
    return x_velmora_filter_open(fixture.h_pipeline, 1, 2, INT64_C(0x123456789a), &fixture.hfilter,
                                 &evt, &gTag);
}
int read(Fixture& fixture, int64_t size) {
    return x_velmora_filter_read(fixture.hfilter, reinterpret_cast<int8_t*>(fixture.output), 0,
                                 size);
}
int createThread(Fixture& fixture) {
    return x_velmora_filter_create_callback_thread(&fixture.hthread);
}
int deleteThread(Fixture& fixture) {
    return x_velmora_filter_delete_callback_thread(fixture.hthread);
}
int addReference(Fixture& fixture) {
    return addInnerFilterReference(fixture.instance);
}
int subReference(Fixture& fixture) {
    return subInnerFilterReference(fixture.instance);
}
void prepareInstance(Fixture& fixture) {
    prepareFilter(fixture);
    fixture.instance = instanceOf(fixture.hfilter);
}
void prepareReferenced(Fixture& fixture) {
    prepareInstance(fixture);
    addReference(fixture);
}
void undoReferenced(Fixture& fixture) {
    subReference(fixture);
    undoFilter(fixture);
}

std::vector<Function> makeRows() {
    static unsigned char message[] = {0xe0, 0x10, 0x38};
    // Java gets the flags as booleans.
    static uint8_t patterns[] = "A pattern of 16.Its mask, of 16.The mode, of 16.";
    uint8_t* const mask = patterns + FLT_PATTERN_SIZE;
    uint8_t* const mode = mask + FLT_PATTERN_SIZE;
    const uint8_t no = 0, two = 2, most = 255;
    static FLT_EVT_CB_T noEvent;
    static uint32_t noHandle;
    std::vector<Function> rows = {
        {"JNI_OnLoad", [](Fixture&) { return loadInterceptedLibrary(); }, kNothing, kNothing, false,
         true},
        global(NAMED(__halvorin_log_is_loggable), 5, "vendor.zyt.broadcast.log.level"),

        // Replaces a tuner.
        {"x_native_frontend_require_tuner", requireTuner, requireTuner, closeTuner},
        {"x_native_frontend_close_tuner", closeTuner, requireTuner, kNothing, true},
        ofTuner("x_native_frontend_tune (ATSC)", tune, MW_FE_TYPE_ATSC),
        ofTuner("x_native_frontend_tune (DVB-C)", tune, MW_FE_TYPE_DVBC),
        ofTuner("x_native_frontend_tune (DVB-S)", tune, MW_FE_TYPE_DVBS),
        ofTuner("x_native_frontend_tune (DVB-T)", tune, MW_FE_TYPE_DVBT),
        ofTuner("x_native_frontend_tune (ISDB-S)", tune, MW_FE_TYPE_ISDBS),
        ofTuner("x_native_frontend_tune (ISDB-T)", tune, MW_FE_TYPE_ISDBT),
        ofTuner("x_native_frontend_tune (DTMB)", tune, MW_FE_TYPE_DTMB),
        ofTuner("x_native_frontend_scan", scan, MW_FE_TYPE_ATSC),
        ofTuner(NAMED(x_native_frontend_cancel_tuning)),
        ofTuner(NAMED(x_native_frontend_cancel_scanning)),
        ofTuner(NAMED(x_native_frontend_set_lna_enabled), 2),
        ofTuner(NAMED(x_native_frontend_set_lna_enabled), 0).as("off"),
        ofTuner(NAMED(x_native_frontend_get_frontend_info), nullptr),
        ofTuner("x_native_frontend_get_frontend_status",
                queryStatus({FE_STATUS_TYPE_INNER_FEC, FE_STATUS_TYPE_MODULATIONS_EXT,
                             FE_STATUS_TYPE_CODE_RATES})),
        ofTuner("x_native_frontend_get_frontend_setting", readBack),
        ofTuner(NAMED(x_native_frontend_set_ontune_listener)),
        ofTuner(NAMED(x_native_frontend_clear_ontune_listener)),
        global("x_native_frontend_register_scan_callback", clearScanCallbacks),
        ofTuner(NAMED(x_native_frontend_register_lnb_callback), nullptr),
        ofTuner(NAMED(x_native_frontend_register_lnb_DiseqcMessage_callback), nullptr),
        ofTuner(NAMED(x_native_frontend_require_lnb)),
        ofTuner(NAMED(x_native_frontend_lnb_set_voltage), 13),
        ofTuner(NAMED(x_native_frontend_lnb_set_tone), 1),
        ofTuner(NAMED(x_native_frontend_lnb_set_SatellitePosition), -3),
        ofTuner(NAMED(x_native_frontend_lnb_get_voltage)),
        ofTuner(NAMED(x_native_frontend_lnb_get_tone)),
        ofTuner(NAMED(x_native_frontend_lnb_get_SatellitePosition)),
        ofTuner(NAMED(x_native_frontend_lnb_send_diseqcmessage), message, 3),
        ofTuner(NAMED(x_native_frontend_lnb_send_diseqcmessage), nullptr, 0).as("empty"),
        ofTuner(NAMED(x_native_frontend_lnb_send_diseqcmessage), nullptr, 1).refusing("null"),
        ofTuner(NAMED(x_native_frontend_lnb_send_diseqcmessage), message, -1).refusing("length -1"),
        ofTuner(NAMED(x_native_frontend_lnb_close)),

        {"x_velmora_filter_open", openFilter, createThread, undoFilter, true},
        global(NAMED(x_velmora_filter_open), 1u, 2, 3, 4, nullptr, &noEvent, nullptr)
            .refusing("no handle"),
        global(NAMED(x_velmora_filter_open), 1u, 2, 3, 4, &noHandle, nullptr, nullptr)
            .refusing("no event record"),
        ofFilter(NAMED(x_velmora_filter_close)),
        ofFilter(NAMED(x_velmora_filter_start)),
        ofFilter(NAMED(x_velmora_filter_stop)),
        ofFilter(NAMED(x_velmora_filter_flush)),
        ofFilter("x_velmora_filter_read",
                 [](Fixture& fixture) { return read(fixture, kBytesRead + 1); }),
        ofFilter(NAMED(x_velmora_filter_read), nullptr, 0, 1).refusing("into null"),
        ofFilter(NAMED(x_velmora_filter_setSectionConfig), -7, no, two, no, patterns, mask, mode),
        ofFilter(NAMED(x_velmora_filter_setSectionConfig), 7, most, no, two, patterns, mask, mode)
            .as("flags"),
        ofFilter(NAMED(x_velmora_filter_setSectionConfig), 1, no, no, no, patterns, mask, nullptr)
            .refusing("no mode"),
        global(NAMED(x_velmora_filter_register_section_callback), nullptr),
        global(NAMED(x_velmora_filter_register_filter_status_callback), nullptr),
        {"x_velmora_filter_create_callback_thread", createThread, kNothing, deleteThread},
        global(NAMED(x_velmora_filter_create_callback_thread), nullptr).refusing("no handle"),
        {"x_velmora_filter_delete_callback_thread", deleteThread, createThread, deleteThread, true},
        {"addInnerFilterReference", addReference, prepareInstance, undoReferenced},
        global(NAMED(addInnerFilterReference), 0).as("null"),
        {"subInnerFilterReference", subReference, prepareReferenced, undoFilter},
        global(NAMED(subInnerFilterReference), 0).as("null"),
    };
    for (int event = 0; event <= static_cast<int>(Event::kFilterStatus); ++event) {
        rows.push_back(nativeMethod(static_cast<Event>(event)));
    }
    return rows;
}

std::vector<Function> makeMeasuredOnly() {
    const std::vector<int32_t> kinds = statusKinds();
    const auto status = [&](size_t count) {
        return queryStatus({kinds.begin(), kinds.begin() + static_cast<ptrdiff_t>(count)});
    };
    const char* const name = "x_native_frontend_get_frontend_status";
    std::vector<Function> rows = {ofTuner(name, status(1)).as("1 kind"),
                                  ofTuner(name, status(8)).as("8 kinds"),
                                  ofTuner(name, status(kinds.size())).as("all kinds")};
    for (const int64_t size : {188, FLT_MAX_READ_SIZE}) {
        const std::string text = std::to_string(size);
        rows.push_back(ofFilter("x_velmora_filter_read", [=](Fixture& fixture) {
                           return read(fixture, size);
                       }).as(text + " bytes"));
        rows.back().prepare = [=](Fixture& fixture) {
            script("onRead", text);
            prepareFilter(fixture);
        };
    }
    constexpr struct {
        const char* name;
        int32_t type;
        const char* settings;
    } kSystems[] = {
        {"ATSC", MW_FE_TYPE_ATSC, "Atsc"},     {"DVB-C", MW_FE_TYPE_DVBC, "Dvbc"},
        {"DVB-S", MW_FE_TYPE_DVBS, "Dvbs"},    {"DVB-T", MW_FE_TYPE_DVBT, "Dvbt"},
        {"ISDB-S", MW_FE_TYPE_ISDBS, "Isdbs"}, {"ISDB-T", MW_FE_TYPE_ISDBT, "Isdbt"},
        {"DTMB", MW_FE_TYPE_DTMB, "Dtmb"},
    };
    for (const auto& system : kSystems) {
        rows.push_back(ofTuner("x_native_frontend_scan", scan, system.type).as(system.name));
        rows.push_back(ofTuner("x_native_frontend_get_frontend_setting", readBack).as(system.name));
        rows.back().prepare = [=](Fixture& fixture) {
            script("onGetFrontendSetting", std::string(system.settings) + "FrontendSettings");
            script("getType", std::to_string(system.type));
            requireTuner(fixture);
        };
    }
    return rows;
}

}  // namespace

void prepareFilter(Fixture& fixture) {
    createThread(fixture);
    openFilter(fixture);
}
void undoFilter(Fixture& fixture) {
    x_velmora_filter_close(fixture.hfilter);
    deleteThread(fixture);
}

const std::vector<Function>& functions() {
    // Never destroyed: threads may still call at the end of the process.
    static const auto& rows = *new std::vector<Function>(makeRows());
    return rows;
}

const std::vector<Function>& measuredOnly() {
    static const auto& rows = *new std::vector<Function>(makeMeasuredOnly());
    return rows;
}

void scriptAnswers(int value) {
    script("*", std::to_string(value));
    script("onOpenFilter", "0");
    script("onRead", std::to_string(kBytesRead));
    script("onGetFrontendStatus", "FrontendStatus");
    script("getExtendedModulations", "[0, 0]");
    script("getCodeRates", "[0, 0]");
    script("onGetFrontendSetting", "DvbtFrontendSettings");
    script("getType", std::to_string(MW_FE_TYPE_DVBT));
}

}  // namespace tests
