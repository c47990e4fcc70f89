#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/oracle.h"
#include "tests/watch.h"

namespace oracle {

namespace {

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
    desk::keepJavaCalls();
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
        desk::failCall("GetIntArrayElements", 0, desk::Failure::kThrows);
    }

    const desk::ResourceCounts before = desk::resourceCounts();
    desk::takeLog();
    const uint32_t wrong = call.missing == Case::kHandle ? ~0u : 0;  // inverts the handles
    const int result = desk::callWatched([&] {
        return make(call, device.pipeline.handle() ^ wrong, device.filter ^ wrong, record.data(),
                    kinds.data());
    });
    desk::failNothing();
    std::vector<std::string> trace = desk::takeLog();
    // The filter's lines show addresses.
    trace.erase(std::remove_if(trace.begin(), trace.end(),
                               [](const std::string& line) { return line.rfind("I <", 0) == 0; }),
                trace.end());
    if (desk::env()->ExceptionCheck()) {
        desk::env()->ExceptionClear();
        trace.push_back(kExceptionLeft);
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
