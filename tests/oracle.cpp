#include "tests/oracle.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <numeric>
#include <sstream>

#include "tests/support/fault_injection.h"

// Declared again, because the middleware's headers are not used here: a record is bytes.
extern "C" int x_native_frontend_require_tuner(uint32_t h_pipeline);
extern "C" int x_native_frontend_close_tuner(uint32_t h_pipeline);
extern "C" int x_native_frontend_tune(uint32_t h_pipeline, void* settings);
extern "C" int x_native_frontend_scan(uint32_t h_pipeline, void* settings, int scanType);
extern "C" int x_native_frontend_get_frontend_setting(uint32_t h_pipeline, void* settings);
extern "C" int x_native_frontend_get_frontend_status(uint32_t, void* kinds, uint8_t, void* status);

namespace oracle {

namespace {

// A getter, and the field that its result fills.
struct Getter {
    std::string clazz;
    std::string method;
    char type;  // of the result: a letter, see oracle.txt
    size_t offset;
    std::string line;  // of the log, before the value
};

struct Tables {
    // By delivery system: the trace before the settings object is made, and the trace after that.
    std::map<int32_t, std::pair<std::string, std::string>> settings;
    std::multimap<int32_t, Getter> readbacks;  // by delivery system; 0: all
    std::multimap<int32_t, Getter> statusKinds;
};

[[noreturn]] void tablesAreWrong(const std::string& how) {
    std::cerr << "tests/oracle.txt: " << how << std::endl;
    _Exit(1);
}

Tables readTables() {
    Tables tables;
    std::ifstream file(PROJECT_FOLDER "/tests/oracle.txt");
    std::string* trace = nullptr;  // the one to which lines belong
    int32_t type = 0;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string word;
        Getter row;
        words >> word;
        if (word == "settings" && words >> type) {
            trace = &tables.settings[type].first;
        } else if (word == "object") {
            trace = &tables.settings[type].second;
        } else if ((word == "readback" || word == "status") &&
                   words >> type >> row.clazz >> row.method >> row.type >> row.offset >> std::ws &&
                   std::getline(words, row.line)) {
            (word == "status" ? tables.statusKinds : tables.readbacks).insert({type, row});
        } else if (trace != nullptr && isupper(word[0]) != 0) {
            *trace += line + "\n";
        } else if (!line.empty() && line[0] != '#') {
            tablesAreWrong("not understood: " + line);
        }
    }
    if (tables.settings.empty()) {
        tablesAreWrong("cannot be read, or has no settings");
    }
    return tables;
}
const Tables& gTables = *new Tables(readTables());

// The last log lines, by entry: when the library itself failed, and when the result is not 0.
constexpr const char* kFailures[][2] = {
    {"E tune, generate frontendsettings failed.\n", "tune, native tune fail: "},
    {"E scan, generate frontendsettings failed.\n", "scan, native scan fail: "},
    {"", "get_frontend_setting, fail: "},
    {"", "get_frontend_status, fail: "},
};

constexpr size_t widthOf(char type) {
    return type == 'J' ? 8 : type == 'B' ? 1 : 4;
}

// The bytes of the record to which a table points.
uint8_t* in(Bytes& record, size_t offset, size_t width) {
    if (offset + width > record.size()) {
        tablesAreWrong("the record has no " + std::to_string(width) + " bytes at offset " +
                       std::to_string(offset));
    }
    return &record[offset];
}

// The text with the values of the record in place of the braces.
std::string fill(std::string text, Bytes& record) {
    for (size_t at = text.find('{'); at != std::string::npos; at = text.find('{')) {
        const size_t end = text.find('}');
        const char letter = text[at + 1];
        const size_t shift = text[end - 1] == '+' && sizeof(void*) == 8 ? 8 : 0;
        int64_t value = 0;
        const size_t width = widthOf(letter);
        memcpy(&value, in(record, std::stoul(&text[at + 2]) + shift, width), width);
        if (letter != 'J') {
            value = static_cast<int32_t>(value);
            value = letter == 'M'   ? std::clamp<int64_t>(value * 1000000, INT32_MIN, INT32_MAX)
                    : letter == 'K' ? static_cast<int32_t>(value * 1000)
                                    : value;
        }
        text.replace(at, end + 1 - at, std::to_string(value));
    }
    return text;
}

std::string listOf(const std::vector<int32_t>& numbers) {
    std::string text;
    for (const int32_t number : numbers) {
        text += (text.empty() ? "" : ", ") + std::to_string(number);
    }
    return "[" + text + "]";
}

// The outcome of a call, from the record before and after it.
std::string outcome(const std::string& trace, int result, const Bytes& before, const Bytes& after) {
    std::string text = trace + "result " + std::to_string(result) + "\n";
    for (size_t i = 0; i < after.size(); ++i) {
        if (after[i] != before[i]) {
            text += "byte " + std::to_string(i) + " is " + std::to_string(after[i]) + "\n";
        }
    }
    return text;
}

// Says what a call must do, and scripts Java's answers for it. The parts return lines of the trace.
struct Oracle {
    const Case& call;
    const Bytes& before;    // the record
    Bytes record = before;  // the record afterwards
    bool refused = true;    // the library refuses a tune or scan. Java's result may be -1 too
    int result = -1;

    std::string run() {
        std::string trace = call.entry == kStatus     ? status()
                            : call.entry == kReadback ? readback()
                                                      : request(call.entry == kScan);
        const auto& [refusal, failure] = kFailures[call.entry];
        trace += refused ? refusal : "";
        if (result != 0) {
            trace += "E x_native_frontend_" + (failure + std::to_string(result)) + ".\n";
        }
        return outcome(fill(trace, record), result, before, record);
    }

    std::string request(bool scans) {
        const std::string start = scans ? "D scan, fe_type: {I64}, freq: {I56}, scan_type: {I88}\n"
                                        : "D tune, fe_type: {I64}, freq: {I56}\n";
        const auto system = gTables.settings.find(call.type);
        if (call.null == kRecord) {
            return "E transMW2FrontendSettings, argument is null.\n";
        }
        if (system == gTables.settings.end()) {
            return start + "E transMW2FrontendSettings, type: {I64}, not support by currently.\n";
        }
        auto [line, made] = system->second;
        if (call.type == kDvbs && (call.frequency < -2147 || call.frequency > 2147)) {
            return start + line +
                   "E transMW2FrontendSettings, DVB-S mFrequency: {I56}(in MHz), does not fit in "
                   "Hz.\n";
        }
        if (call.type == kIsdbt && call.javaInt < 0) {
            return start + line;
        }
        if (call.type == kDvbs && call.null == kCodeRate) {
            made.replace(0, made.find("D [DVBS] mFrequency"),
                         "I transMW2FrontendSettings, code rate is null, for blind scan.\n");
            made.replace(made.find("DvbsCodeRate"), strlen("DvbsCodeRate"), "null");
        }
        const size_t end = made.rfind(".<init>");
        const size_t begin = made.rfind('\n', end) + 1;
        refused = false;
        result = call.javaInt;
        return start + line + made + "ZytTvInnerFrontend." + (scans ? "onScan(" : "onTune(") +
               made.substr(begin, end - begin) + (scans ? ", {I88})\n" : ")\n");
    }

    std::string readback() {
        if (call.null == kRecord) {
            return "E getFrontendSetting, pt_fesettings == NULL.\n";
        }
        result = 0;
        std::string lines = "ZytTvInnerFrontend.onGetFrontendSetting()\n";
        for (const auto& [type, row] : gTables.readbacks) {
            if (type == 0 || type == call.javaInt) {
                // The base class is abstract, so another class supplies the object.
                tests::script("onGetFrontendSetting",
                              type == 0 ? "AtscFrontendSettings" : row.clazz);
                lines += read(row);
            }
        }
        const bool isKnown = gTables.settings.count(call.javaInt) != 0;
        return lines + (isKnown ? "" : "D getFrontendSetting, not support e_type: {I64}.\n");
    }

    std::string status() {
        const std::string count = std::to_string(call.kindCount);
        std::string lines = "D start getFrontendStatus, type len: " + count + "\n";
        if (call.kindCount == 0 || call.kindCount > 34) {
            return lines + "E getFrontendStatus, ui1_len: " + count + ", error.\n";
        }
        if (call.null == kRecord || call.null == kKinds) {
            return lines + "E getFrontendStatus, pi4_type == NULL || pt_festatus == NULL.\n";
        }
        result = 0;
        tests::script("onGetFrontendStatus", "FrontendStatus");
        const std::vector<int32_t> kinds(call.kinds, call.kinds + call.kindCount);
        for (const int32_t kind : kinds) {
            lines += "D getFrontendStatus, get type is " + std::to_string(kind) + "\n";
        }
        lines += "ZytTvInnerFrontend.onGetFrontendStatus(" + listOf(kinds) + ")\n";
        for (const int32_t kind : kinds) {
            const std::string number = std::to_string(kind);
            const auto row = gTables.statusKinds.find(kind);
            lines += "D getFrontendStatus, get type is " + number + "\n";
            lines += row != gTables.statusKinds.end()
                         ? read(row->second)
                         : "D getFrontendStatus, unsupport type: " + number + ".\n";
        }
        return lines;
    }

    // The getter's result goes into the record and into the log. If a list is too long, only its
    // length is written, which follows the room for ten elements.
    std::string read(const Getter& getter) {
        const auto& [clazz, method, type, offset, line] = getter;
        const std::string place = std::to_string(offset) + "}";
        const std::string start = clazz + "." + method + "()\n" + line + ": {";
        auto value = static_cast<int64_t>(call.answers ^ std::hash<std::string>{}(method));
        if (type == 'L') {
            std::vector<int32_t> list(12);
            std::iota(list.begin(), list.end(), int64_t{static_cast<int32_t>(value)});
            list.resize(call.listLength);
            memcpy(in(record, offset, 40), list.data(), list.size() <= 9 ? list.size() * 4 : 0);
            memcpy(in(record, offset + 40, 4), &call.listLength, 4);
            tests::script(method, listOf(list));
            return start + "I" + place + ", length:" + std::to_string(list.size()) + "\n";
        }
        value = method == "getType" ? call.javaInt : type == 'B' ? value & 1 : value;
        memcpy(in(record, offset, widthOf(type)), &value, widthOf(type));
        tests::script(method, type != 'B' ? std::to_string(value) : value != 0 ? "true" : "false");
        return start + type + place + ".\n";
    }
};

}  // namespace

Case caseFrom(Bytes bytes) {
    bytes.resize(sizeof(Case));
    // CheckJNI allows only 0 and 1. These are the booleans of settings and code rate.
    for (const size_t flag : {28U, 36U, 44U, 80U, 81U}) {
        bytes[flag] &= tests::kAndroidRuntime ? 1 : 255;
    }
    Case call;
    memcpy(&call, bytes.data(), sizeof(call));
    call.type %= 12;
    call.frequency %= 2160;  // MHz
    call.javaInt %= 12;
    call.listLength %= 13;
    call.kindCount %= 36;
    for (int32_t& kind : call.kinds) {
        kind %= 40;
    }
    call.entry = static_cast<Entry>(call.entry % 4);
    call.null = static_cast<Pointer>(call.null % 16);  // mostly none
    return call;
}

std::pair<std::string, std::string> check(Case call) {
    const tests::Pipeline pipeline;
    const uint32_t h_pipeline = pipeline.handle();
    const Bytes codeRate(std::begin(call.codeRate), std::end(call.codeRate));
    if (call.type == kDvbs) {
        const uint8_t* const pointer = call.null == kCodeRate ? nullptr : codeRate.data();
        memcpy(&call.fields[sizeof(pointer)], &pointer, sizeof(pointer));
    }
    const auto* const bytes = reinterpret_cast<const uint8_t*>(&call);
    const Bytes before(bytes, bytes + 208);
    // Exactly the record, so that the sanitizers see an access beyond it.
    Bytes record(bytes, bytes + (call.entry == kStatus ? 208 : 72));

    tests::resetModel();
    tests::script("*", std::to_string(call.javaInt));
    const std::string expected = Oracle{call, before}.run();
    tests::setLogLevel("V");
    const tests::ResourceCounts counts = tests::resourceCounts();
    tests::callIntercepted([&] { return x_native_frontend_require_tuner(h_pipeline); });
    tests::takeLog();
    tests::record();
    const int result = tests::callIntercepted([&] {
        void* const to = call.null == kRecord ? nullptr : record.data();
        void* const kinds = call.null == kKinds ? nullptr : call.kinds;
        const auto count = static_cast<uint8_t>(call.kindCount);
        return call.entry == kTune   ? x_native_frontend_tune(h_pipeline, to)
               : call.entry == kScan ? x_native_frontend_scan(h_pipeline, to, call.scanType)
               : call.entry == kReadback
                   ? x_native_frontend_get_frontend_setting(h_pipeline, to)
                   : x_native_frontend_get_frontend_status(h_pipeline, kinds, count, to);
    });
    tests::recorded();
    std::string trace;
    for (const std::string& line : tests::takeLog()) {
        trace += line + "\n";
    }
    tests::callIntercepted([&] { return x_native_frontend_close_tuner(h_pipeline); });
    return {expected, outcome(trace, result, before, record) + tests::changesSince(counts)};
}

}  // namespace oracle
