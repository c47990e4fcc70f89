#include "tests/functions.h"

#include "log/halvorin_log.h"
#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/watch.h"

namespace desk {

alignas(8) unsigned char gOutput[256];

namespace {

// --- How a row is made ---
// For example
//
//     ofTuner("lnb_set_tone", x_native_frontend_lnb_set_tone, 1),
//
// requires a tuner, calls x_native_frontend_lnb_set_tone(its pipeline, 1), and closes the tuner.

void nothing(Stage&) {}
void requireTuner(Stage& stage) {
    x_native_frontend_require_tuner(stage.h_pipeline);
}
void closeTuner(Stage& stage) {
    x_native_frontend_close_tuner(stage.h_pipeline);
}
template <typename... Parameters, typename... Args>
Function ofTuner(const std::string& name, int (*call)(unsigned int, Parameters...), Args... args) {
    return {"x_native_frontend_" + name,
            Side::kFrontend,
            [=](Stage& stage) { return call(stage.h_pipeline, args...); },
            requireTuner,
            closeTuner,
            true};
}

template <typename... Parameters, typename... Args>
Function ofFilter(const std::string& name, int (*call)(uint32_t, Parameters...), Args... args) {
    return {"x_velmora_filter_" + name,
            Side::kFilter,
            [=](Stage& stage) { return call(stage.hfilter, args...); },
            prepareFilter,
            undoFilter,
            true};
}

// Takes its handles from the stage, or none.
Function onStage(const std::string& name, const std::function<int(Stage&)>& call,
                 Step before = nothing, Step after = nothing) {
    return Function{name, Side::kFilter, call}.within(std::move(before), std::move(after));
}
template <typename... Parameters, typename... Args>
Function global(const std::string& name, int (*call)(Parameters...), Args... args) {
    return onStage(name, [=](Stage&) { return call(args...); });
}

// A filter's native: -1 when its event did not reach the middleware.
template <typename... Args>
Function filterNative(Event event, Args... args) {
    Function row = onStage(
        methodOf(event),
        [=](Stage& stage) {
            takeHeard();
            report(event, stage.hfilter, args...);
            return takeHeard() == 1 ? 0 : -1;
        },
        prepareFilter, undoFilter);
    row.takesHandle = true;
    return row.fromJava();
}

// The natives of the frontend's callback classes serve every pipeline.
template <typename... Args>
Function frontendNative(Event event, Args... args) {
    return onStage(methodOf(event),
                   [=](Stage& stage) { return report(event, stage.h_pipeline, args...); })
        .fromJava();
}
template <typename Element>
Function listNative(Event event) {
    return onStage(methodOf(event),
                   [=](Stage& stage) {
                       const LocalFrame frame;
                       const auto list = newArray(std::vector<Element>{10, -20, 30});
                       return report(event, stage.h_pipeline, list, 2);
                   })
        .fromJava(JNI_ABORT);
}

// --- Calls that need more than arguments ---

MW_FESETTING_T* settingsOf(int32_t type) {
    static MW_FE_DVBS_CODE_RATE_T rate = {1, 1, 0, 2};
    static MW_FESETTING_T settings;
    settings = {};
    settings.e_type = type;
    if (type == MW_FE_TYPE_DVBS) {
        settings.u.t_dvbs.pt_code_rate = &rate;
    }
    return &settings;
}
int tune(unsigned int h_pipeline, int32_t type) {
    return x_native_frontend_tune(h_pipeline, settingsOf(type));
}
int scan(unsigned int h_pipeline) {
    return x_native_frontend_scan(h_pipeline, settingsOf(MW_FE_TYPE_ATSC), 1);
}
int readBack(unsigned int h_pipeline) {
    return x_native_frontend_get_frontend_setting(h_pipeline, settingsOf(0));
}
int queryStatus(unsigned int h_pipeline) {
    FE_STATUS_TYPE_E kinds[] = {FE_STATUS_TYPE_INNER_FEC, FE_STATUS_TYPE_CODE_RATES};
    return x_native_frontend_get_frontend_status(h_pipeline, kinds, std::size(kinds),
                                                 reinterpret_cast<FE_STATUS_T*>(gOutput));
}
int clearScanCallbacks() {
    x_native_frontend_register_scan_callback(nullptr);
    return 0;
}

int openFilter(Stage& stage) {
    FLT_EVT_CB_T evt = {31, 32, stage.hthread};
    stage.hfilter = 7;  // shows whether it is written
    const int result = x_velmora_filter_open(stage.h_pipeline, 1, 2, INT64_C(0x123456789a),
                                             &stage.hfilter, &evt, &gTag);
    addToLog("handle: " + std::to_string(stage.hfilter));
    return result;
}
int openFilterOfAThread(Stage& stage) {
    Stage other = {stage.hthread};
    return openFilter(other);
}
int createThread(Stage& stage) {
    return x_velmora_filter_create_callback_thread(&stage.hthread);
}
int deleteThread(Stage& stage) {
    return x_velmora_filter_delete_callback_thread(stage.hthread);
}

std::vector<Function> makeRows() {
    static unsigned char message[] = {0xe0, 0x10, 0x38};
    static uint8_t pattern[FLT_PATTERN_SIZE];
    static FLT_EVT_CB_T noEvent;
    const uint8_t flag = 1;
    Function load = {"JNI_OnLoad", Side::kLoad, [](Stage&) { return loadWatchedLibrary(); }};
    Function deletion = onStage("x_velmora_filter_delete_callback_thread", deleteThread,
                                createThread, deleteThread);
    deletion.takesHandle = true;
    return {
        load.fromJava(),
        global("__halvorin_log_is_loggable", __halvorin_log_is_loggable, 5,
               "vendor.zyt.broadcast.log.level"),

        ofTuner("require_tuner", x_native_frontend_require_tuner)
            .within(nothing, closeTuner)
            .withoutHandle(),
        ofTuner("require_tuner (again)", x_native_frontend_require_tuner).withoutHandle(),
        ofTuner("close_tuner", x_native_frontend_close_tuner).within(requireTuner, nothing),
        ofTuner("tune", tune, MW_FE_TYPE_ATSC),
        ofTuner("tune (DVB-C)", tune, MW_FE_TYPE_DVBC).unwritten(),
        ofTuner("tune (DVB-S)", tune, MW_FE_TYPE_DVBS),
        ofTuner("tune (DVB-T)", tune, MW_FE_TYPE_DVBT).unwritten(),
        ofTuner("tune (ISDB-S)", tune, MW_FE_TYPE_ISDBS).unwritten(),
        ofTuner("tune (ISDB-T)", tune, MW_FE_TYPE_ISDBT).unwritten(),
        ofTuner("tune (DTMB)", tune, MW_FE_TYPE_DTMB).unwritten(),
        ofTuner("scan", scan),
        ofTuner("cancel_tuning", x_native_frontend_cancel_tuning),
        ofTuner("cancel_scanning", x_native_frontend_cancel_scanning),
        ofTuner("set_lna_enabled", x_native_frontend_set_lna_enabled, 2),
        ofTuner("get_frontend_info", x_native_frontend_get_frontend_info, nullptr),
        ofTuner("get_frontend_status", queryStatus),
        ofTuner("get_frontend_setting", readBack),
        ofTuner("set_ontune_listener", x_native_frontend_set_ontune_listener),
        ofTuner("clear_ontune_listener", x_native_frontend_clear_ontune_listener),
        global("x_native_frontend_register_scan_callback", clearScanCallbacks),
        ofTuner("register_lnb_callback", x_native_frontend_register_lnb_callback, nullptr),
        ofTuner("register_lnb_DiseqcMessage_callback",
                x_native_frontend_register_lnb_DiseqcMessage_callback, nullptr),
        ofTuner("require_lnb", x_native_frontend_require_lnb),
        ofTuner("lnb_set_voltage", x_native_frontend_lnb_set_voltage, 13),
        ofTuner("lnb_set_tone", x_native_frontend_lnb_set_tone, 1),
        ofTuner("lnb_set_SatellitePosition", x_native_frontend_lnb_set_SatellitePosition, -3),
        ofTuner("lnb_get_voltage", x_native_frontend_lnb_get_voltage),
        ofTuner("lnb_get_tone", x_native_frontend_lnb_get_tone),
        ofTuner("lnb_get_SatellitePosition", x_native_frontend_lnb_get_SatellitePosition),
        ofTuner("lnb_send_diseqcmessage", x_native_frontend_lnb_send_diseqcmessage, message, 3),
        ofTuner("lnb_send_diseqcmessage (empty)", x_native_frontend_lnb_send_diseqcmessage, nullptr,
                0),
        ofTuner("lnb_send_diseqcmessage (null)", x_native_frontend_lnb_send_diseqcmessage, nullptr,
                1),
        ofTuner("lnb_send_diseqcmessage (negative length)",
                x_native_frontend_lnb_send_diseqcmessage, message, -1),
        ofTuner("lnb_close", x_native_frontend_lnb_close),

        onStage("x_velmora_filter_open", openFilter, createThread, undoFilter),
        onStage("x_velmora_filter_open (no pipeline)", openFilterOfAThread, createThread,
                deleteThread),
        global("x_velmora_filter_open (no handle)", x_velmora_filter_open, 1u, 2, 3, 4, nullptr,
               &noEvent, nullptr),
        global("x_velmora_filter_open (no event record)", x_velmora_filter_open, 1u, 2, 3, 4,
               reinterpret_cast<uint32_t*>(gOutput), nullptr, nullptr),
        ofFilter("close", x_velmora_filter_close),
        ofFilter("start", x_velmora_filter_start),
        ofFilter("stop", x_velmora_filter_stop),
        ofFilter("flush", x_velmora_filter_flush),
        ofFilter("read", x_velmora_filter_read, reinterpret_cast<int8_t*>(gOutput), 0,
                 kBytesRead + 1),
        ofFilter("read (into null)", x_velmora_filter_read, nullptr, 0, 1),
        ofFilter("setSectionConfig", x_velmora_filter_setSectionConfig, 1, flag, flag, flag,
                 pattern, pattern, pattern),
        ofFilter("setSectionConfig (no pattern)", x_velmora_filter_setSectionConfig, 1, flag, flag,
                 flag, pattern, pattern, nullptr),
        global("x_velmora_filter_register_section_callback",
               x_velmora_filter_register_section_callback, nullptr),
        global("x_velmora_filter_register_filter_status_callback",
               x_velmora_filter_register_filter_status_callback, nullptr),
        onStage("x_velmora_filter_create_callback_thread", createThread, nothing, deleteThread),
        global("x_velmora_filter_create_callback_thread (no handle)",
               x_velmora_filter_create_callback_thread, nullptr),
        deletion,
        global("addInnerFilterReference", addInnerFilterReference, 0),
        global("subInnerFilterReference", subInnerFilterReference, 0),

        filterNative(Event::kSection, 1, -2, 3, 4),
        filterNative(Event::kRestart, 9),
        filterNative(Event::kFilterStatus, -6),
        frontendNative(Event::kLocked),
        frontendNative(Event::kStopped),
        frontendNative(Event::kProgress, -42),
        listNative<jint>(Event::kFrequencies),
        listNative<jint>(Event::kSymbolRates),
        listNative<jint>(Event::kPlpIds),
        listNative<jint>(Event::kGroupIds),
        listNative<jint>(Event::kStreamIds),
        frontendNative(Event::kDvbsStandard, -42),
        frontendNative(Event::kDvbtStandard, -42),
        frontendNative(Event::kHierarchy, -42),
        frontendNative(Event::kSignalType, -42),
        frontendNative(Event::kLnb, -42),
        listNative<jbyte>(Event::kDiseqc),
    };
}

}  // namespace

void prepareFilter(Stage& stage) {
    createThread(stage);
    openFilter(stage);
}
void undoFilter(Stage& stage) {
    x_velmora_filter_close(stage.hfilter);
    deleteThread(stage);
}

const std::vector<Function>& functions() {
    static const std::vector<Function> rows = makeRows();
    return rows;
}

}  // namespace desk
