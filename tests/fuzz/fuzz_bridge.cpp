// Arbitrary bytes as the middleware's records, through the exported functions to a Java side that
// writes down what it is called with. Each input is one call, compared with what its bytes say.
// To run one again that was found: build/fuzz/bin/fuzz_bridge -handle_segv=0 FILE

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>

#include "mw/filter.h"
#include "mw/frontend.h"
#include "tests/fuzz/oracle.h"
#include "tests/watch.h"

namespace {

using fuzz::Answer;
using fuzz::Answers;
using fuzz::Bytes;
using fuzz::Expected;

uint32_t gPipeline;
uint32_t gFilter;
FILE* gReport;  // the error stream, also when the fuzzer has closed it for everybody else

// The bytes of one input, in order; zeros when they are used up.
class Input {
  public:
    Input(const uint8_t* data, size_t size) : mData(data), mLeft(size) {}

    Bytes bytes(size_t count) {
        Bytes result(count);
        const size_t taken = count < mLeft ? count : mLeft;
        if (taken > 0) {
            memcpy(result.data(), mData, taken);
        }
        mData += taken;
        mLeft -= taken;
        return result;
    }

    template <typename T>
    T value() {
        T result;
        memcpy(&result, bytes(sizeof(T)).data(), sizeof(T));
        return result;
    }

  private:
    const uint8_t* mData;
    size_t mLeft;
};

// A block of exactly these bytes, so that an access beyond it is seen.
std::unique_ptr<uint8_t[]> block(const Bytes& bytes) {
    std::unique_ptr<uint8_t[]> result(new uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), result.get());
    return result;
}

std::string text(const Answers& answers) {
    std::string result;
    for (const auto& [method, answer] : answers) {
        result += method + " " + answer.type;
        if (answer.type == 'L') {
            for (const int32_t value : answer.list) {
                result += std::to_string(value) + ",";
            }
        } else {
            result += std::to_string(answer.value);
        }
        result += "\n";
    }
    return result;
}

std::string hex(const Bytes& bytes) {
    std::string result;
    for (const uint8_t byte : bytes) {
        char digits[4];
        snprintf(digits, sizeof(digits), "%02x ", byte);
        result += digits;
    }
    return result;
}

template <typename T>
std::string text(const T& value) {
    std::ostringstream result;
    result << value;
    return result.str();
}

void compare(const char* what, const std::string& expected, const std::string& actual) {
    if (expected != actual) {
        fprintf(gReport, "MISMATCH: %s\nexpected: %s\nactual:   %s\n", what, expected.c_str(),
                actual.c_str());
        fflush(gReport);
        abort();
    }
}

void noException(const char* where) {
    compare(where, "no exception", desk::env()->ExceptionCheck() ? "exception" : "no exception");
}

std::string takeCalls() {
    return desk::callStatic<std::string>("tests.FuzzModel", "takeCalls");
}

// Calls the bridge and compares calls and result.
template <typename Call>
void check(const Expected& expected, const Answers& answers, const Call& call) {
    const desk::LocalFrame frame;
    desk::callStatic("tests.FuzzModel", "answers", text(answers));
    const desk::ResourceCounts before = desk::resourceCounts();
    const int result = desk::bridge(call);
    noException("left by the bridge");
    compare("calls", expected.calls, takeCalls());
    compare("result", std::to_string(expected.result), std::to_string(result));
    compare("resource counts", text(before), text(desk::resourceCounts()));
}

// Bits of an entry's first byte.
enum Flag : uint8_t {
    kNotOpen = 1,  // a handle that names nothing
    kNull = 2,     // a null argument
    kChoice1 = 4,  // the entry's own
    kChoice2 = 8,
};

// --- Entries ---

void request(Input* input, bool scan) {
    const auto flags = input->value<uint8_t>();
    const auto thrown = input->value<uint8_t>();
    const auto scanType = input->value<int32_t>();
    Answers answers = {
        {scan ? "onScan" : "onTune", {'I', input->value<int32_t>()}},
        {"onGetServiceAreaCode", {'I', input->value<int32_t>()}},
    };
    const char* const methods[] = {"onGetServiceAreaCode", "DvbsCodeRate", "FrontendSettings",
                                   "setEndFrequency", scan ? "onScan" : "onTune"};
    for (size_t i = 0; i < std::size(methods); ++i) {
        if ((thrown >> i & 1) != 0) {
            answers[methods[i]] = {'T'};
        }
    }
    const auto codeRate = block(input->bytes(fuzz::kCodeRateSize));
    Bytes settings = input->bytes(fuzz::kSettingsSize);
    uint8_t* rate = nullptr;
    if (fuzz::hasCodeRate(settings)) {
        rate = (flags & kChoice1) != 0 ? codeRate.get() : nullptr;
        memcpy(&settings[fuzz::kCodeRatePointer], &rate, sizeof(rate));
    }
    Expected expected;
    if ((flags & (kNotOpen | kNull)) == 0) {
        expected = scan ? fuzz::expectScan(settings, rate, answers, scanType)
                        : fuzz::expectTune(settings, rate, answers);
    }
    const auto record = block(settings);
    auto* argument =
        (flags & kNull) != 0 ? nullptr : reinterpret_cast<MW_FESETTING_T*>(record.get());
    const uint32_t pipeline = (flags & kNotOpen) != 0 ? ~gPipeline : gPipeline;
    check(expected, answers, [&] {
        return scan ? x_native_frontend_scan(pipeline, argument, scanType)
                    : x_native_frontend_tune(pipeline, argument);
    });
    compare("settings", hex(settings), hex(Bytes(record.get(), record.get() + settings.size())));
}

// What a getter does.
Answer statusAnswer(Input* input, char type) {
    const auto choice = input->value<uint8_t>();
    if (choice % 8 == 7) {
        return {'T'};
    }
    if (type == 'Z') {
        return {'Z', choice % 2};
    }
    if (type == 'I') {
        return {'I', input->value<int32_t>()};
    }
    if (type == 'J') {
        return {'J', input->value<int64_t>()};
    }
    if (choice % 8 == 6) {
        return {'N'};
    }
    Answer list = {'L'};
    for (int left = choice % 21; left > 0; --left) {
        list.list.push_back(input->value<int32_t>());
    }
    return list;
}

void status(Input* input) {
    const auto flags = input->value<uint8_t>();
    Bytes record(fuzz::kStatusSize, input->value<uint8_t>());
    std::vector<int32_t> kinds(input->value<uint8_t>());
    Answers answers = {{"onGetFrontendStatus", {'S'}}};
    if ((flags & kChoice2) != 0) {
        answers["onGetFrontendStatus"] = {(flags & kChoice1) != 0 ? 'T' : 'N'};
    }
    for (int32_t& kind : kinds) {
        const auto byte = input->value<uint8_t>();
        kind = byte < 0x80 ? byte % 40 : input->value<int32_t>();
    }
    for (const int32_t kind : kinds) {
        const fuzz::StatusKind* row = fuzz::statusKind(kind);
        if (row != nullptr && answers.count(row->getter) == 0) {
            answers[row->getter] = statusAnswer(input, row->type);
        }
    }
    const auto actual = block(record);
    Expected expected;
    if ((flags & (kNotOpen | kNull)) == 0) {
        expected = fuzz::expectStatus(kinds, answers, &record);
    }
    const std::unique_ptr<int32_t[]> types(new int32_t[kinds.size()]);
    std::copy(kinds.begin(), kinds.end(), types.get());
    auto* pi4_type = reinterpret_cast<FE_STATUS_TYPE_E*>(types.get());
    auto* pt_festatus = reinterpret_cast<FE_STATUS_T*>(actual.get());
    if ((flags & kNull) != 0) {
        ((flags & kChoice2) != 0 ? reinterpret_cast<void*&>(pi4_type)
                                 : reinterpret_cast<void*&>(pt_festatus)) = nullptr;
    }
    const uint32_t pipeline = (flags & kNotOpen) != 0 ? ~gPipeline : gPipeline;
    check(expected, answers, [&] {
        return x_native_frontend_get_frontend_status(
            pipeline, pi4_type, static_cast<uint8_t>(kinds.size()), pt_festatus);
    });
    compare("status", hex(record), hex(Bytes(actual.get(), actual.get() + record.size())));
}

void sectionConfig(Input* input) {
    const auto flags = input->value<uint8_t>();
    const Answers answers = {{"onSetSectionConfig", {'I', input->value<int32_t>()}}};
    const Bytes arguments = input->bytes(7 + 3 * fuzz::kPatternSize);
    int32_t value;
    memcpy(&value, arguments.data(), sizeof(value));
    std::unique_ptr<uint8_t[]> patterns[3];
    for (size_t i = 0; i < 3; ++i) {
        const auto first = arguments.begin() + static_cast<ptrdiff_t>(7 + i * fuzz::kPatternSize);
        patterns[i] = block(Bytes(first, first + fuzz::kPatternSize));
    }
    if ((flags & kNull) != 0) {
        patterns[flags / 16 % 3].reset();
    }
    Expected expected;
    if ((flags & (kNotOpen | kNull)) == 0) {
        expected = fuzz::expectSectionConfig(arguments, answers);
    }
    const uint32_t filter = (flags & kNotOpen) != 0 ? ~gFilter : gFilter;
    check(expected, answers, [&] {
        return x_velmora_filter_setSectionConfig(filter, value, arguments[4], arguments[5],
                                                 arguments[6], patterns[0].get(), patterns[1].get(),
                                                 patterns[2].get());
    });
}

void read(Input* input) {
    const auto flags = input->value<uint8_t>();
    const auto position = input->value<int64_t>();
    // Mostly sizes and results of which both sides of each bound are near.
    const int64_t size = (flags & kChoice2) != 0 ? input->value<int64_t>()
                                                 : input->value<int16_t>() % (fuzz::kMaxRead + 16);
    const int32_t given = (flags & kChoice1) != 0
                              ? input->value<int32_t>()
                              : input->value<int16_t>() % static_cast<int32_t>(fuzz::kMaxRead + 16);
    const Answers answers = {{"onRead", {'I', given}}, {"section", {'I', input->value<uint8_t>()}}};
    Bytes buffer(static_cast<size_t>(std::max<int64_t>(0, std::min(size, fuzz::kMaxRead))), 0xa5);
    const auto actual = block(buffer);
    Expected expected;
    if ((flags & (kNotOpen | kNull)) == 0) {
        expected = fuzz::expectRead(position, size, answers, &buffer);
    }
    auto* argument = (flags & kNull) != 0 ? nullptr : reinterpret_cast<int8_t*>(actual.get());
    const uint32_t filter = (flags & kNotOpen) != 0 ? ~gFilter : gFilter;
    check(expected, answers,
          [&] { return x_velmora_filter_read(filter, argument, position, size); });
    compare("section", hex(buffer), hex(Bytes(actual.get(), actual.get() + buffer.size())));
}

}  // namespace

// The virtual machine uses SIGSEGV itself, and never gives back all of its memory.
extern "C" const char* __asan_default_options() {
    return "handle_segv=0:detect_leaks=0";
}

extern "C" const char* __ubsan_default_options() {
    return "print_stacktrace=1";
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    gReport = fdopen(dup(STDERR_FILENO), "w");
    desk::startWatchedVm({desk::kSmallHeap, desk::kCheckJni});
    if (desk::loadWatchedLibrary() != JNI_VERSION_1_4) {
        abort();
    }
    const desk::LocalFrame frame;
    desk::callStatic("tests.FuzzModel", "start");
    gPipeline = (new desk::Pipeline())->handle();
    x_native_frontend_require_tuner(gPipeline);
    FLT_EVT_CB_T event = {};
    if (x_velmora_filter_open(gPipeline, 1, 2, 4096, &gFilter, &event, nullptr) != 0) {
        abort();
    }
    takeCalls();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    const auto entry = input.value<uint8_t>();
    desk::setLogLevel(entry >= 0x80 ? "V" : "");
    switch (entry % 5) {
        case 0:
            request(&input, false);
            break;
        case 1:
            request(&input, true);
            break;
        case 2:
            status(&input);
            break;
        case 3:
            sectionConfig(&input);
            break;
        default:
            read(&input);
            break;
    }
    desk::takeLog();
    return 0;
}
