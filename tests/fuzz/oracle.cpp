#include "tests/fuzz/oracle.h"

#include <algorithm>
#include <cstring>
#include <sstream>

namespace fuzz {

namespace {

static_assert(sizeof(void*) == 8, "the offsets behind the code rate's pointer are a 64-bit host's");

constexpr size_t kFrequency = 56;
constexpr size_t kEndFrequency = 60;
constexpr size_t kType = 64;
constexpr int32_t kDvbs = 5;
constexpr size_t kMaxListCopy = 9;

// Constructor arguments in their order, each the letter of a conversion and an offset in the
// record. I: 32 bits; J: 64 bits; Z: a byte, true unless 0; K: 32 bits, times a thousand; M: 32
// bits, times a million; R: the code rate; A: the frontend's area code.
struct System {
    int32_t type;
    const char* clazz;
    const char* arguments;
};
constexpr System kSystems[] = {
    {2, "AtscFrontendSettings", "I56 I0"},
    {4, "DvbcFrontendSettings", "I56 I0 J8 I16 I20 I24 I28 I32 I36"},
    {kDvbs, "DvbsFrontendSettings", "M56 I0 R0 K16 I20 I24 I28 I32 I36 I40 Z44"},
    {6, "DvbtFrontendSettings", "I56 I0 I4 I8 I12 I16 I20 I24 Z28 I32 Z36 I40 I44 I48"},
    {7, "IsdbsFrontendSettings", "I56 I0 I4 I8 I12 I16 I20"},
    {9, "IsdbtFrontendSettings", "I56 I0 I4 I8 I12 I16 A0"},
    {10, "DtmbFrontendSettings", "I56 I0 I4 I8 I12 I16 I20"},
};
constexpr const char* kCodeRateArguments = "J0 Z8 Z9 I12";

constexpr StatusKind kStatusKinds[] = {
    {0, "isDemodLocked", 'Z', 0, 0},
    {1, "getSnr", 'I', 4, 0},
    {2, "getBer", 'I', 8, 0},
    {3, "getPer", 'I', 12, 0},
    {4, "getPerBer", 'I', 16, 0},
    {5, "getSignalQuality", 'I', 20, 0},
    {6, "getSignalStrength", 'I', 24, 0},
    {7, "getSymbolRate", 'I', 28, 0},
    {8, "getInnerFec", 'J', 32, 0},
    {9, "getModulation", 'I', 40, 0},
    {10, "getSpectralInversion", 'I', 88, 0},
    {11, "getLnbVoltage", 'I', 92, 0},
    {12, "getPlpId", 'I', 96, 0},
    {13, "isEwbs", 'Z', 100, 0},
    {14, "getAgc", 'I', 104, 0},
    {15, "isLnaOn", 'Z', 108, 0},
    {17, "getMer", 'I', 120, 0},
    {18, "getFreqOffset", 'I', 124, 0},
    {19, "getHierarchy", 'I', 128, 0},
    {20, "isRfLocked", 'Z', 180, 0},
    {22, "getExtendedModulations", 'L', 44, 84},
    {24, "getCodeRates", 'L', 136, 176},
    {25, "getBandwidth", 'I', 132, 0},
    {29, "getSystemId", 'I', 196, 0},
    {33, "getRollOff", 'I', 200, 0},
};

template <typename T>
T at(const uint8_t* bytes, size_t offset) {
    T value;
    memcpy(&value, bytes + offset, sizeof(value));
    return value;
}

template <typename T>
void put(Bytes* bytes, size_t offset, T value) {
    memcpy(bytes->data() + offset, &value, sizeof(value));
}

// The low 32 bits, as Java's int has them.
int32_t wrapped(int64_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(value)));
}

int64_t millions(const uint8_t* record, size_t offset) {
    return int64_t{at<int32_t>(record, offset)} * 1000000;
}

const char* truth(uint8_t byte) {
    return byte != 0 ? "true" : "false";
}

Answer answerOf(const Answers& answers, const std::string& method) {
    const auto found = answers.find(method);
    return found != answers.end() ? found->second : Answer{'I'};
}

bool throws(const Answers& answers, const std::string& method) {
    return answerOf(answers, method).type == 'T';
}

std::string arguments(const char* format, const uint8_t* record, const char* codeRate,
                      int32_t areaCode) {
    std::ostringstream text;
    std::istringstream items(format);
    char kind;
    size_t offset;
    const char* comma = "";
    while (items >> kind >> offset) {
        text << comma;
        comma = ",";
        switch (kind) {
            case 'I':
                text << at<int32_t>(record, offset);
                break;
            case 'J':
                text << at<int64_t>(record, offset);
                break;
            case 'Z':
                text << truth(record[offset]);
                break;
            case 'K':
                text << wrapped(int64_t{at<int32_t>(record, offset)} * 1000);
                break;
            case 'M':
                text << wrapped(millions(record, offset));
                break;
            case 'R':
                text << codeRate;
                break;
            default:
                text << areaCode;
                break;
        }
    }
    return text.str();
}

// The settings' class, or null when none can be made.
const char* expectSettings(const Bytes& settings, const uint8_t* codeRate, const Answers& answers,
                           std::string* calls) {
    const uint8_t* record = settings.data();
    const int32_t type = at<int32_t>(record, kType);
    const auto system = std::find_if(std::begin(kSystems), std::end(kSystems),
                                     [type](const System& row) { return row.type == type; });
    if (system == std::end(kSystems)) {
        return nullptr;
    }
    int32_t areaCode = 0;
    if (strchr(system->arguments, 'A') != nullptr) {
        *calls += "ZytTvInnerFrontend.onGetServiceAreaCode()\n";
        const Answer answer = answerOf(answers, "onGetServiceAreaCode");
        areaCode = static_cast<int32_t>(answer.value);
        if (answer.type == 'T' || areaCode < 0) {
            return nullptr;
        }
    }
    const char* rate = "null";
    if (type == kDvbs) {
        if (millions(record, kFrequency) != wrapped(millions(record, kFrequency))) {
            return nullptr;
        }
        if (codeRate != nullptr) {
            rate = "DvbsCodeRate";
            *calls +=
                "DvbsCodeRate.<init>(" + arguments(kCodeRateArguments, codeRate, "", 0) + ")\n";
            if (throws(answers, "DvbsCodeRate")) {
                return nullptr;
            }
        }
    }
    const std::string clazz = system->clazz;
    *calls += clazz + ".<init>(" + arguments(system->arguments, record, rate, areaCode) + ")\n";
    if (throws(answers, "FrontendSettings")) {
        return nullptr;
    }
    if (type == kDvbs) {
        *calls += clazz + ".setEndFrequency(" +
                  std::to_string(wrapped(millions(record, kEndFrequency))) + ")\n";
        if (throws(answers, "setEndFrequency")) {
            return nullptr;
        }
    }
    return system->clazz;
}

Expected expectRequest(const Bytes& settings, const uint8_t* codeRate, const Answers& answers,
                       const char* method, const std::string& lastArgument) {
    Expected expected;
    const char* made = expectSettings(settings, codeRate, answers, &expected.calls);
    if (made != nullptr) {
        expected.calls +=
            std::string("ZytTvInnerFrontend.") + method + "(" + made + lastArgument + ")\n";
        const Answer answer = answerOf(answers, method);
        expected.result = answer.type == 'T' ? -1 : static_cast<int>(answer.value);
    }
    return expected;
}

}  // namespace

bool hasCodeRate(const Bytes& settings) {
    return at<int32_t>(settings.data(), kType) == kDvbs;
}

Expected expectTune(const Bytes& settings, const uint8_t* codeRate, const Answers& answers) {
    return expectRequest(settings, codeRate, answers, "onTune", "");
}

Expected expectScan(const Bytes& settings, const uint8_t* codeRate, const Answers& answers,
                    int32_t scanType) {
    return expectRequest(settings, codeRate, answers, "onScan", "," + std::to_string(scanType));
}

const StatusKind* statusKind(int32_t kind) {
    const auto found = std::find_if(std::begin(kStatusKinds), std::end(kStatusKinds),
                                    [kind](const StatusKind& row) { return row.kind == kind; });
    return found != std::end(kStatusKinds) ? found : nullptr;
}

Expected expectStatus(const std::vector<int32_t>& kinds, const Answers& answers, Bytes* record) {
    Expected expected;
    if (kinds.empty() || kinds.size() > kMaxStatusKinds) {
        return expected;
    }
    std::string list;
    for (const int32_t kind : kinds) {
        list += (list.empty() ? "" : ", ") + std::to_string(kind);
    }
    expected.calls = "ZytTvInnerFrontend.onGetFrontendStatus([" + list + "])\n";
    if (answerOf(answers, "onGetFrontendStatus").type != 'S') {
        return expected;
    }
    expected.result = 0;
    for (const int32_t kind : kinds) {
        const StatusKind* row = statusKind(kind);
        if (row == nullptr) {
            continue;
        }
        expected.calls += std::string("FrontendStatus.") + row->getter + "()\n";
        const Answer answer = answerOf(answers, row->getter);
        const int64_t value = answer.type == 'T' ? 0 : answer.value;
        if (row->type == 'Z') {
            put(record, row->offset, static_cast<uint8_t>(value));
        } else if (row->type == 'I') {
            put(record, row->offset, static_cast<int32_t>(value));
        } else if (row->type == 'J') {
            put(record, row->offset, value);
        } else if (answer.type == 'L') {
            put(record, row->countOffset, static_cast<int32_t>(answer.list.size()));
            for (size_t i = 0; answer.list.size() <= kMaxListCopy && i < answer.list.size(); ++i) {
                put(record, row->offset + 4 * i, answer.list[i]);
            }
        }
    }
    return expected;
}

Expected expectSectionConfig(const Bytes& arguments, const Answers& answers) {
    std::ostringstream call;
    call << "ZytTvInnerFilter.onSetSectionConfig(" << at<int32_t>(arguments.data(), 0);
    for (size_t flag = 4; flag < 7; ++flag) {
        call << "," << truth(arguments[flag]);
    }
    static constexpr char kDigits[] = "0123456789abcdef";
    for (size_t i = 7; i < 7 + 3 * kPatternSize; ++i) {
        if ((i - 7) % kPatternSize == 0) {
            call << ",byte[16]";
        }
        call << kDigits[arguments[i] / 16] << kDigits[arguments[i] % 16];
    }
    call << ")\n";
    return {static_cast<int>(answerOf(answers, "onSetSectionConfig").value), call.str()};
}

Expected expectRead(int64_t position, int64_t size, const Answers& answers, Bytes* buffer) {
    const int64_t wanted = std::min(size, kMaxRead);
    Expected expected;
    expected.calls = "ZytTvInnerFilter.onRead(byte[4096]," + std::to_string(position) + "," +
                     std::to_string(wanted) + ")\n";
    const int64_t given = answerOf(answers, "onRead").value;
    if (given >= 1 && given <= wanted) {
        expected.result = static_cast<int>(given);
        const int64_t first = answerOf(answers, "section").value;
        for (int64_t i = 0; i < given; ++i) {
            (*buffer)[static_cast<size_t>(i)] = static_cast<uint8_t>(first + i * 7 + i / 256);
        }
    }
    return expected;
}

}  // namespace fuzz
