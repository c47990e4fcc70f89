#include <android/log.h>
#include <jvmti.h>

#include <cstring>

#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/oracle.h"
#include "tests/watch.h"

namespace oracle {

namespace {

// --- What the library does, written down as it happens ---

std::vector<std::string>* gTrace;  // null: nobody listens
jniNativeInterface gBelow;         // what the library's calls are passed on to
jvmtiEnv* gTool;

void noteLine(const __android_logger_data* data, const char* text) {
    if (gTrace != nullptr && strcmp(data->tag, "ZYT_MW") == 0) {
        gTrace->push_back(std::string(1, "??VDIWEF"[data->priority]) + " " + text);
    }
}

// Without the package.
std::string nameOf(jclass clazz) {
    char* signature = nullptr;
    gTool->GetClassSignature(clazz, &signature, nullptr);
    const std::string name = strrchr(signature, '/') + 1;
    gTool->Deallocate(reinterpret_cast<unsigned char*>(signature));
    return name.substr(0, name.size() - 1);
}

// type: where the argument's type stands in a signature.
std::string textOf(JNIEnv* env, const char* type, const jvalue& argument) {
    if (strchr("ZIJ", *type) != nullptr) {
        // Of a boolean the byte itself; Java would see true for every one but 0.
        return std::to_string(*type == 'Z' ? argument.z : *type == 'I' ? argument.i : argument.j);
    }
    if (argument.l == nullptr) {
        return "null";
    }
    if (*type == 'L') {
        return nameOf(env->GetObjectClass(argument.l));
    }
    if (env->GetArrayLength(static_cast<jarray>(argument.l)) == kMaxRead) {
        return "[4096 bytes]";
    }
    const desk::JavaValues array = {{type[1] == 'B' ? "[B" : "[I", argument}};
    return desk::fromJava(
        desk::callStaticMethod("java.util.Arrays", "toString", array, "Ljava/lang/String;").l);
}

void noteCall(JNIEnv* env, jmethodID method, const jvalue* arguments) {
    if (gTrace == nullptr) {
        return;
    }
    const desk::Watch unwatched(false);
    const desk::LocalFrame frame;
    jclass clazz = nullptr;
    char* name = nullptr;
    char* signature = nullptr;
    gTool->GetMethodDeclaringClass(method, &clazz);
    gTool->GetMethodName(method, &name, &signature, nullptr);
    std::string line = nameOf(clazz) + "." + name + "(";
    const char* type = signature + 1;
    for (const char* comma = ""; *type != ')'; comma = ", ") {
        line += comma + textOf(env, type, *arguments++);
        type += *type == 'L' ? strcspn(type, ";") + 1 : *type == '[' ? 2 : 1;
    }
    gTrace->push_back(line + ")");
    gTool->Deallocate(reinterpret_cast<unsigned char*>(name));
    gTool->Deallocate(reinterpret_cast<unsigned char*>(signature));
}

// Notes these calls in the function table that a watched thread sees, and passes them on.
void listen() {
    __android_log_set_logger(noteLine);
    desk::vm()->GetEnv(reinterpret_cast<void**>(&gTool), JVMTI_VERSION_1_2);
    const desk::Watch watch;
    auto* table = const_cast<jniNativeInterface*>(desk::env()->functions);
    gBelow = *table;
#define NOTE(function, Self)                                                             \
    table->function = [](JNIEnv* env, Self self, jmethodID method, const jvalue* args) { \
        noteCall(env, method, args);                                                     \
        return gBelow.function(env, self, method, args);                                 \
    }
    NOTE(NewObjectA, jclass);
    NOTE(CallVoidMethodA, jobject);
    NOTE(CallBooleanMethodA, jobject);
    NOTE(CallIntMethodA, jobject);
    NOTE(CallLongMethodA, jobject);
    NOTE(CallObjectMethodA, jobject);
#undef NOTE
}

// --- A case ---

void script(const Case& call) {
    desk::resetModel();
    if (call.entry == Entry::kRead) {
        const Bytes section = pattern(kMaxRead);
        desk::scriptSection(std::vector<jbyte>(section.begin(), section.end()));
    }
    for (const auto& [method, answer] : call.answers) {
        if (answer.does == Answer::kThrows) {
            desk::scriptThrows(method);
        } else if (answer.does == Answer::kIsNull) {
            desk::scriptReturns(method, nullptr);
        } else if (answer.type == Type::kList) {
            desk::scriptReturns(method, desk::newArray(answer.list));
        } else if (answer.type == Type::kObject) {
            desk::scriptReturns(method,
                                desk::env()->AllocObject(desk::findClass(
                                    "android.media.tv.tuner.frontend." + call.objectClass)));
        } else if (answer.type == Type::kBoolean) {
            desk::scriptReturns(method, answer.value != 0);
        } else {
            desk::scriptReturns(method, static_cast<jlong>(answer.value));
        }
    }
}

int make(const Case& call, uint32_t pipeline, uint32_t filter, uint8_t* record, int32_t* kinds) {
    const auto unlessNull = [&](int pointer, auto* value) {
        return pointer == call.missing ? nullptr : value;
    };
    auto* settings = unlessNull(0, reinterpret_cast<MW_FESETTING_T*>(record));
    switch (call.entry) {
        case Entry::kTune:
            return x_native_frontend_tune(pipeline, settings);
        case Entry::kScan:
            return x_native_frontend_scan(pipeline, settings, call.number);
        case Entry::kReadback:
            return x_native_frontend_get_frontend_setting(pipeline, settings);
        case Entry::kStatus:
            return x_native_frontend_get_frontend_status(
                pipeline, unlessNull(1, reinterpret_cast<FE_STATUS_TYPE_E*>(kinds)),
                static_cast<uint8_t>(call.kinds.size()),
                unlessNull(0, reinterpret_cast<FE_STATUS_T*>(record)));
        case Entry::kSectionConfig:
            return x_velmora_filter_setSectionConfig(
                filter, call.number, call.flags[0], call.flags[1], call.flags[2],
                unlessNull(0, record), unlessNull(1, record + kPatternSize),
                unlessNull(2, record + 2 * kPatternSize));
        default:
            return x_velmora_filter_read(filter, unlessNull(0, reinterpret_cast<int8_t*>(record)),
                                         call.position, call.size);
    }
}

}  // namespace

Device::Device() {
    if (gTool == nullptr) {
        listen();
    }
    const desk::Watch watch;
    FLT_EVT_CB_T event = {};
    x_native_frontend_require_tuner(pipeline.handle());
    x_velmora_filter_open(pipeline.handle(), 1, 2, kMaxRead, &filter, &event, nullptr);
}

Device::~Device() {
    const desk::Watch watch;
    x_velmora_filter_close(filter);
    x_native_frontend_close_tuner(pipeline.handle());
}

Outcome check(const Device& device, Case call) {
    const desk::LocalFrame frame;
    // Copies of exactly these bytes, so that the sanitizers see an access beyond them.
    Bytes codeRate = call.codeRate.value_or(Bytes());
    if (call.entry <= Entry::kScan && at<int32_t>(call.record, kTypeOffset) == kDvbs) {
        put(&call.record, kCodeRateOffset, call.codeRate ? codeRate.data() : nullptr);
    }
    Bytes record = call.record;
    std::vector<int32_t> kinds = call.kinds;
    const std::string expected = expect(&call);

    script(call);
    desk::setLogLevel(call.logLevel == '-' ? "" : std::string(1, call.logLevel).c_str());
    if (call.missing == Case::kElements) {
        desk::failCall(desk::Call::GetIntArrayElements, 0, desk::Failure::kThrows);
    }

    std::vector<std::string> trace;
    const desk::ResourceCounts before = desk::resourceCounts();
    gTrace = &trace;
    const uint32_t wrong = call.missing == Case::kHandle ? ~0u : 0;  // inverts the handles
    const int result = desk::callWatched([&] {
        return make(call, device.pipeline.handle() ^ wrong, device.filter ^ wrong, record.data(),
                    kinds.data());
    });
    gTrace = nullptr;
    desk::failNothing();
    if (desk::env()->ExceptionCheck()) {
        desk::env()->ExceptionClear();
        trace.push_back(kExceptionLeft);
    }
    if (codeRate != call.codeRate.value_or(Bytes()) || kinds != call.kinds) {
        trace.push_back("what may only be read was written");
    }
    if (desk::resourceCounts() != before) {
        trace.push_back("not all was given back");
    }
    return {expected, outcome(result, trace, call.record, record)};
}

}  // namespace oracle
