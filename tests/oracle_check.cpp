#include "mw/frontend.h"
#include "tests/oracle.h"
#include "tests/watch.h"

namespace oracle {

namespace {

void script(const Case& call) {
    desk::resetModel();
    for (const auto& [method, answer] : call.answers) {
        if (answer.does == Answer::kReturns && answer.type == Type::kObject) {
            desk::scriptObject(method, call.objectClass);
            continue;
        }
        desk::script(method, answer.does == Answer::kThrows   ? "throws"
                             : answer.does == Answer::kIsNull ? "null"
                             : answer.type == Type::kList     ? listOf(answer.list)
                             : answer.type != Type::kBoolean  ? std::to_string(answer.value)
                             : answer.value != 0              ? "true"
                                                              : "false");
    }
}

int make(const Case& call, uint32_t pipeline, uint8_t* record, int32_t* kinds) {
    auto* settings = reinterpret_cast<MW_FESETTING_T*>(record);
    switch (call.entry) {
        case Entry::kTune:
            return x_native_frontend_tune(pipeline, settings);
        case Entry::kScan:
            return x_native_frontend_scan(pipeline, settings, call.scanType);
        case Entry::kReadback:
            return x_native_frontend_get_frontend_setting(pipeline, settings);
        default:
            return x_native_frontend_get_frontend_status(
                pipeline, reinterpret_cast<FE_STATUS_TYPE_E*>(kinds),
                static_cast<uint8_t>(call.kinds.size()), reinterpret_cast<FE_STATUS_T*>(record));
    }
}

}  // namespace

void listen() {
    desk::setLogLevel("V");
}

Outcome check(uint32_t h_pipeline, Case call) {
    const desk::LocalFrame frame;
    if (desk::kAndroidRuntime) {
        makeBooleans(&call);  // its CheckJNI lets no other value through to Java
    }
    // Copies of exactly these bytes, so that the sanitizers see an access beyond them.
    Bytes codeRate = call.codeRate.value_or(Bytes());
    if (call.entry <= Entry::kScan && at<int32_t>(call.record, kTypeOffset) == kDvbs) {
        put(&call.record, kCodeRateOffset, call.codeRate ? codeRate.data() : nullptr);
    }
    Bytes record = call.record;
    std::vector<int32_t> kinds = call.kinds;
    const std::string expected = expect(&call);

    script(call);
    if (call.missing == Case::kElements) {
        for (size_t nth = 1; nth <= call.kinds.size(); ++nth) {
            desk::failCall("GetIntArrayElements", nth, desk::Failure::kThrows);
        }
    }
    const desk::ResourceCounts before = desk::resourceCounts();
    desk::record();
    desk::takeLog();
    const uint32_t wrong = call.missing == Case::kHandle ? ~0u : 0;  // inverts the handle
    const int result = desk::callWatched([&] {
        return make(call, h_pipeline ^ wrong,
                    call.missing == Case::kRecord ? nullptr : record.data(),
                    call.missing == Case::kKinds ? nullptr : kinds.data());
    });
    desk::recorded();
    std::vector<std::string> trace = desk::takeLog();
    if (desk::env()->ExceptionCheck()) {
        desk::env()->ExceptionClear();
        trace.push_back("an exception is left");
    }
    if (codeRate != call.codeRate.value_or(Bytes()) || kinds != call.kinds) {
        trace.push_back("what may only be read was written");
    }
    const std::string changes = desk::changesSince(before);
    if (!changes.empty()) {
        trace.push_back("left " + changes);
    }
    return {expected, outcome(result, trace, call.record, record)};
}

}  // namespace oracle
