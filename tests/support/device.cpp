#include "tests/support/device.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <utility>

#include "mw/basic_services.h"
#include "mw/filter.h"
#include "mw/frontend.h"

namespace tests {

void (*gListener)(const std::string& event);
int gTag;

namespace {

struct Native {
    const char* name;
    const char* signature;
};
constexpr Native kNatives[] = {
#define EVENT_NATIVE(event, method, signature) {method, signature},
    EVENTS(EVENT_NATIVE)};

// The Java objects that report events, in the order of the events.
struct Reporter {
    const char* of;
    jobject object;
} gReporters[] = {{"Scan", nullptr}, {"Lnb", nullptr}, {"Filter", nullptr}};

thread_local int tHeard;

std::string told(int value) {
    return std::to_string(value);
}
std::string told(void* tag) {
    return tag == &gTag ? "tag" : "another tag";
}
template <typename Element>
std::string told(const Element* list, size_t count = 2) {
    std::string text = "[" + told(list[0]);  // lists that are heard have two elements or more
    for (size_t i = 1; i < count; ++i) {
        text += ", " + told(list[i]);
    }
    return text + "]";
}
std::string told(FLT_EVT_CB_T* record) {
    return told(reinterpret_cast<int32_t*>(record), 3);
}
std::string told(FLT_EVT_DATA_T* data) {
    return told(data->ai4_arg, 4) + ", kind " + told(data->e_kind);
}

template <Event event, typename Result, typename... Args>
Result on(uint32_t handle, Args... args) {
    ++tHeard;
    if (gListener != nullptr) {
        std::string text = std::string(methodOf(event)) + "(" + std::to_string(handle);
        ((text += ", " + told(args)), ...);
        gListener(text + ")");
    }
    return static_cast<Result>(77);  // a result that must not reach Java
}

}  // namespace

jint reportEvent(Event event, uint32_t handle, const std::vector<jint>& numbers, jarray list) {
    const JNINativeInterface_& jni = realJni();
    const LocalFrame frame;
    const auto& [name, signature] = kNatives[static_cast<size_t>(event)];
    const jobject reporter = gReporters[(event >= Event::kLnb) + (event >= Event::kSection)].object;
    std::vector<jvalue> arguments(1);
    arguments[0].i = static_cast<jint>(handle);
    if (strchr(signature, '[') != nullptr) {
        arguments.emplace_back().l = list;
    }
    for (const jint number : numbers) {
        arguments.emplace_back().i = number;
    }
    const jmethodID id =
        jni.GetMethodID(env(), jni.GetObjectClass(env(), reporter), name, signature);
    jint result = 0;
    if (strchr(signature, 'V') != nullptr) {
        jni.CallVoidMethodA(env(), reporter, id, arguments.data());
    } else {
        result = jni.CallIntMethodA(env(), reporter, id, arguments.data());
    }
    mustNotHaveThrown();
    return result;
}

const char* methodOf(Event event) {
    return kNatives[static_cast<size_t>(event)].name;
}

void registerCountingCallbacks(uint32_t h_pipeline, bool registers) {
    FE_SCAN_CB_T scan = {};
    scan.pf_locked_nfy = on<Event::kLocked>;
    scan.pf_stopped_nfy = on<Event::kStopped>;
    scan.pf_progress_nfy = on<Event::kProgress>;
    scan.pf_freq_report_nfy = on<Event::kFrequencies>;
    scan.pf_symbol_rate_nfy = on<Event::kSymbolRates>;
    scan.pf_plp_id_nfy = on<Event::kPlpIds>;
    scan.pf_group_id_nfy = on<Event::kGroupIds>;
    scan.pf_stream_id_nfy = on<Event::kStreamIds>;
    scan.pf_dvbs_standard_nfy = on<Event::kDvbsStandard>;
    scan.pf_dvbt_standard_nfy = on<Event::kDvbtStandard>;
    scan.pf_hierarchy_nfy = on<Event::kHierarchy>;
    scan.pv_tag = &gTag;
    // Gives the callback, or null.
    const auto of = [=](auto callback) { return registers ? callback : nullptr; };
    x_native_frontend_register_scan_callback(of(&scan));
    x_velmora_filter_register_section_callback(of(flt_section_nfy_fct(on<Event::kSection>)));
    x_velmora_filter_register_filter_status_callback(
        of(flt_status_nfy_fct(on<Event::kFilterStatus>)));
    x_native_frontend_require_tuner(h_pipeline);
    x_native_frontend_register_lnb_callback(h_pipeline, of(fe_lnb_nfy_fct(on<Event::kLnb>)));
    x_native_frontend_register_lnb_DiseqcMessage_callback(
        h_pipeline, of(fe_lnb_diseqc_nfy_fct(on<Event::kDiseqc>)));
    x_native_frontend_close_tuner(h_pipeline);
}

int takeHeard() {
    return std::exchange(tHeard, 0);
}

std::vector<int32_t> statusKinds() {
    std::vector<int32_t> kinds;
    std::ifstream header(PROJECT_FOLDER "/mw/frontend_status.h");
    for (std::string line; std::getline(header, line);) {
        int32_t kind = 0;
        if (sscanf(line.c_str(), " FE_STATUS_TYPE_%*s = %d", &kind) == 1) {
            kinds.push_back(kind);
        }
    }
    return kinds;
}

int64_t& instanceOf(uint32_t hfilter) {
    struct {
        uint32_t semaphore;
        int64_t instance;
    }* record = nullptr;
    handle_get_obj(hfilter, reinterpret_cast<void**>(&record));
    return record->instance;
}

void resetModel() {
    callStatic("tests.ScriptedModel", "reset", "()V");
}
void script(const std::string& method, const std::string& does) {
    const LocalFrame frame;
    callStatic("tests.ScriptedModel", "script", "(Ljava/lang/String;Ljava/lang/String;)V",
               toJava(method), toJava(does));
}

// The first pipeline also makes the objects that report events, because an intercepted thread
// cannot load their classes.
Pipeline::Pipeline() {
    const LocalFrame frame;
    const std::string services = "com.halvorin.tv.velmora.services.";
    for (Reporter& reporter : gReporters) {
        if (reporter.object == nullptr) {
            const std::string name =
                services + "selector.connectmanager.ZytTvInner" + reporter.of + "Callback";
            reporter.object = realJni().NewGlobalRef(env(), newObject(name, "()V"));
        }
    }
    mObject =
        realJni().NewGlobalRef(env(), newObject(services + "pipeline.PipelineHandler", "()V"));
    mWeak = realJni().NewWeakGlobalRef(env(), mObject);
    handle_alloc(HT_PIPELINE, mWeak, nullptr, nullptr, &mHandle);
}

Pipeline::~Pipeline() {
    handle_free(mHandle, 1);
    realJni().DeleteWeakGlobalRef(env(), mWeak);
    realJni().DeleteGlobalRef(env(), mObject);
}

}  // namespace tests
