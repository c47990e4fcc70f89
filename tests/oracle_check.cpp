#include "tests/oracle_check.h"

#include <android/log.h>
#include <jvmti.h>

#include <algorithm>
#include <cstring>
#include <sstream>

#include "mw/filter.h"
#include "mw/frontend.h"
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
    switch (*type) {
        case 'Z':  // the byte itself; Java would see true for every one but 0
            return std::to_string(argument.z);
        case 'I':
            return std::to_string(argument.i);
        case 'J':
            return std::to_string(argument.j);
        default:
            break;
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

// Notes a call of one function of the table and passes it on.
template <auto member>
struct Noting;
template <typename Result, typename Self,
          Result (JNICALL* jniNativeInterface::*member)(JNIEnv*, Self, jmethodID, const jvalue*)>
struct Noting<member> {
    static Result JNICALL call(JNIEnv* env, Self self, jmethodID method, const jvalue* arguments) {
        noteCall(env, method, arguments);
        return (gBelow.*member)(env, self, method, arguments);
    }
};

// In the function table that a watched thread sees.
template <auto... members>
void note() {
    desk::vm()->GetEnv(reinterpret_cast<void**>(&gTool), JVMTI_VERSION_1_2);
    const desk::Watch watch;
    auto* table = const_cast<jniNativeInterface*>(desk::env()->functions);
    gBelow = *table;
    ((table->*members = Noting<members>::call), ...);
}

// What the exceptions print is more than anybody reads.
void silenceJava() {
    const desk::LocalFrame frame;
    desk::JavaValue stream = {"Ljava/io/OutputStream;", {}};
    stream.value =
        desk::callStaticMethod("java.io.OutputStream", "nullOutputStream", {}, stream.type);
    desk::JavaValue printer = {"Ljava/io/PrintStream;", {}};
    printer.value.l = desk::makeObject("java.io.PrintStream", {stream});
    desk::callStaticMethod("java.lang.System", "setErr", {printer}, "V");
}

// --- A case ---

// The object that Java answers a frontend's question with. The readback asks the object for its
// type, and expects its class to have the getters of that type.
jobject objectFor(const Case& call) {
    std::string name = "AtscFrontendSettings";
    const auto type = call.answers.find("getType");
    if (call.entry == Entry::kStatus) {
        name = "FrontendStatus";
    } else if (type != call.answers.end()) {
        const int64_t value = type->second.value;
        name = value == kDvbt    ? "DvbtFrontendSettings"
               : value == kIsdbt ? "IsdbtFrontendSettings"
               : value == kDtmb  ? "DtmbFrontendSettings"
                                 : name;
    }
    return desk::env()->AllocObject(desk::findClass("android.media.tv.tuner.frontend." + name));
}

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
        } else if (answer.type == Type::kBoolean) {
            desk::scriptReturns(method, answer.value != 0);
        } else if (answer.type == Type::kInt) {
            desk::scriptReturns(method, static_cast<jint>(answer.value));
        } else if (answer.type == Type::kLong) {
            desk::scriptReturns(method, static_cast<jlong>(answer.value));
        } else if (answer.type == Type::kList) {
            desk::scriptReturns(method, desk::newArray(answer.list));
        } else if (answer.type == Type::kObject) {
            desk::scriptReturns(method, objectFor(call));
        }
    }
}

std::string textOf(int result, const std::vector<std::string>& trace, const Bytes& bytes,
                   const desk::ResourceCounts& held) {
    std::ostringstream text;
    text << "result " << result;
    for (const std::string& line : trace) {
        text << "\n" << line;
    }
    for (size_t i = 0; i < bytes.size(); ++i) {
        text << (i % 8 == 0 ? "\nbytes from " + std::to_string(i) + ":" : "") << " "
             << int{bytes[i]};
    }
    text << "\nheld: " << held;
    return text.str();
}

}  // namespace

Checker::Checker() {
    if (gTool == nullptr) {
        using Table = jniNativeInterface;
        note<&Table::NewObjectA, &Table::CallVoidMethodA, &Table::CallBooleanMethodA,
             &Table::CallIntMethodA, &Table::CallLongMethodA, &Table::CallObjectMethodA>();
        silenceJava();
    }
    __android_log_set_logger(noteLine);
    const desk::Watch watch;
    FLT_EVT_CB_T event = {};
    x_native_frontend_require_tuner(mPipeline.handle());
    x_velmora_filter_open(mPipeline.handle(), 1, 2, kMaxRead, &mFilter, &event, nullptr);
}

Checker::~Checker() {
    desk::keepLog();
    const desk::Watch watch;
    x_velmora_filter_close(mFilter);
    x_native_frontend_close_tuner(mPipeline.handle());
}

Outcome Checker::check(Case call) {
    const desk::LocalFrame frame;
    // Copies of exactly these bytes, so that the sanitizers see an access beyond them.
    Bytes codeRate = call.codeRate.value_or(Bytes());
    if (call.entry <= Entry::kScan && at<int32_t>(call.record, kTypeOffset) == kDvbs) {
        put(&call.record, kCodeRateOffset, call.codeRate ? codeRate.data() : nullptr);
    }
    Bytes record = call.record;
    std::vector<int32_t> kinds = call.kinds;
    const Expected expected = expect(&call);
    script(call);
    desk::setLogLevel(call.logLevel == '-' ? "" : std::string(1, call.logLevel).c_str());
    if (call.elementsFail) {
        desk::failCall(desk::Call::GetIntArrayElements, 1, desk::Failure::kThrows);
    }

    std::vector<std::string> trace;
    const desk::ResourceCounts before = desk::resourceCounts();
    gTrace = &trace;
    const int result = desk::bridge([&] { return run(call, record.data(), kinds.data()); });
    gTrace = nullptr;
    const desk::ResourceCounts after = desk::resourceCounts();
    desk::failNothing();
    if (desk::env()->ExceptionCheck()) {
        desk::env()->ExceptionClear();
        trace.push_back(kExceptionLeft);
    }
    if (codeRate != call.codeRate.value_or(Bytes()) || kinds != call.kinds) {
        trace.push_back("what may only be read was written");
    }
    return {textOf(expected.result, expected.trace, expected.record, before),
            textOf(result, trace, record, after)};
}

int Checker::run(const Case& call, uint8_t* record, int32_t* kinds) {
    const uint32_t pipeline = call.live ? mPipeline.handle() : ~mPipeline.handle();
    const uint32_t filter = call.live ? mFilter : ~mFilter;
    const auto unlessNull = [&](int pointer, auto* value) {
        return pointer == call.null ? nullptr : value;
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

}  // namespace oracle
