#include "tests/oracle.h"

#include <algorithm>
#include <cstdio>

namespace oracle {

namespace {

constexpr int kMaxKinds = 34;
constexpr int32_t kDvbt = 6;
constexpr int32_t kDtmb = 10;
constexpr size_t kMaxListCopy = 9;
constexpr size_t kListSize = 40;  // the count of a list's elements comes behind it

// Without a source Java's answers lie above it: true, positive, and no two of its bytes alike.
constexpr int64_t kSomeValue = 0x7afedcba13579bdf;

constexpr const char* kFrontend = "ZytTvInnerFrontend";

// The settings classes and their constructors' arguments, and the line that shows the request. What
// stands in braces is read from the record: a letter (see valueAt) and an offset. {} is the argument
// that the record does not hold. A + stands behind offsets that lie 8 bytes further where pointers
// have 8 bytes, because they come after the pointer to the code rate.
struct System {
    const char* clazz;
    const char* arguments;
    const char* line;
};
const std::map<int32_t, System> kSystems = {
    {2, {"AtscFrontendSettings", "{I56}, {I0}", "[ATSC] mFrequency = {I56}, mModulation = {I0},"}},
    {4,
     {"DvbcFrontendSettings", "{I56}, {I0}, {J8}, {I16}, {I20}, {I24}, {I28}, {I32}, {I36}",
      "[DVBC] mFrequency = {I56}, mModulation = {I0}, mFec = {J8}, mSymbolRate = {I16}, "
      "mOuterFec = {I20}, mAnnex = {I24}, mSpectralInversion = {I28}"}},
    {kDvbs,
     {"DvbsFrontendSettings",
      "{M56}, {I0}, {}, {K8+}, {I12+}, {I16+}, {I20+}, {I24+}, {I28+}, {I32+}, {B36+}",
      "[DVBS] mFrequency = {I56}(in MHz), mModulation = {I0}, mSymbolRate = {I8+}, "
      "mInputStreamId = {I20+}, mStandard = {I24+}, mVcmMode = {I28+}"}},
    {kDvbt,
     {"DvbtFrontendSettings",
      "{I56}, {I0}, {I4}, {I8}, {I12}, {I16}, {I20}, {I24}, {B28}, {I32}, {B36}, {I40}, {I44}, "
      "{I48}",
      "[DVBT] mFrequency = {I56}, mTransmissionMode = {I0}, mBandwidth = {I4}, "
      "mConstellation = {I8}, mHierarchy = {I12}, mHpCodeRate = {I16}, mLpCodeRate = {I20}, "
      "mGuardInterval = {I24}, mIsHighPriority = {B28}, mStandard = {I32}, mIsMiso = {B36}, "
      "mPlpMode = {I40}, mPlpId = {I44}, mPlpGroupId = {I48}"}},
    {7,
     {"IsdbsFrontendSettings", "{I56}, {I0}, {I4}, {I8}, {I12}, {I16}, {I20}",
      "[ISDBS] mFrequency = {I56}, mStreamId = {I0}, mStreamIdType = {I4}, mModulation = {I8}, "
      "mCodeRate = {I12}, mSymbolRate = {I16}, mRolloff = {I20}"}},
    {kIsdbt,
     {"IsdbtFrontendSettings", "{I56}, {I0}, {I4}, {I8}, {I12}, {I16}, {}",
      "[ISDBT] mFrequency = {I56}, mModulation = {I0}, mBandwidth = {I4}, mMode = {I8}, "
      "mCodeRate = {I12}, mGuardInterval = {I16}, mServiceAreaId = {I20}"}},
    {kDtmb,
     {"DtmbFrontendSettings", "{I56}, {I0}, {I4}, {I8}, {I12}, {I16}, {I20}",
      "[DTMB] mFrequency = {I56}, mModulation = {I0}, mCodeRate = {I4}, mTransmissionMode = {I8}, "
      "mGuardInterval = {I12}, mTimeInterleaveMode = {I16}, mBandwidth = {I20}."}},
};
constexpr const char* kCodeRateArguments = "{J0}, {B8}, {B9}, {I12}";

// What a readback reads, in this order.
struct Readback {
    int32_t type;  // of the delivery system; 0: every one
    const char* clazz;
    const char* getter;
    size_t offset;
    const char* line;
};
constexpr Readback kReadbacks[] = {
    {0, "FrontendSettings", "getType", 64, "getFrontendSetting, e_type: {I64}."},
    {0, "FrontendSettings", "getFrequency", 56, "getFrontendSetting, mFrequency: {I56}."},
    {kDvbt, "DvbtFrontendSettings", "getStandard", 32, "getFrontendSetting, mStandard: {I32}."},
    {kDvbt, "DvbtFrontendSettings", "getBandwidth", 4, "getFrontendSetting, mBandwidth: {I4}."},
    {kIsdbt, "IsdbtFrontendSettings", "getBandwidth", 4, "getFrontendSetting, mBandwidth: {I4}."},
    {kDtmb, "DtmbFrontendSettings", "getBandwidth", 20, "getFrontendSetting, mBandwidth: {I20}."},
};

struct StatusKind {
    const char* getter;
    Type type;
    const char* name;  // in the log
    size_t offset;
};
const std::map<int32_t, StatusKind> kStatusKinds = {
    {0, {"isDemodLocked", Type::kBoolean, "CallBooleanMethod mIsDemodLocked", 0}},
    {1, {"getSnr", Type::kInt, "mSnr", 4}},
    {2, {"getBer", Type::kInt, "mBer", 8}},
    {3, {"getPer", Type::kInt, "mPer", 12}},
    {4, {"getPerBer", Type::kInt, "mPerBer", 16}},
    {5, {"getSignalQuality", Type::kInt, "mSignalQuality", 20}},
    {6, {"getSignalStrength", Type::kInt, "mSignalStrength", 24}},
    {7, {"getSymbolRate", Type::kInt, "mSymbolRate", 28}},
    {8, {"getInnerFec", Type::kLong, "mInnerFec", 32}},
    {9, {"getModulation", Type::kInt, "mModulation", 40}},
    {10, {"getSpectralInversion", Type::kInt, "mInversion", 88}},
    {11, {"getLnbVoltage", Type::kInt, "mLnbVoltage", 92}},
    {12, {"getPlpId", Type::kInt, "mPlpId", 96}},
    {13, {"isEwbs", Type::kBoolean, "mIsEwbs", 100}},
    {14, {"getAgc", Type::kInt, "mAgc", 104}},
    {15, {"isLnaOn", Type::kBoolean, "mIsLnaOn", 108}},
    {17, {"getMer", Type::kInt, "mMer", 120}},
    {18, {"getFreqOffset", Type::kInt, "mFreqOffset", 124}},
    {19, {"getHierarchy", Type::kInt, "mHierarchy", 128}},
    {20, {"isRfLocked", Type::kBoolean, "mIsRfLocked", 180}},
    {22, {"getExtendedModulations", Type::kList, "mModulationsExt", 44}},
    {24, {"getCodeRates", Type::kList, "mCodeRates", 136}},
    {25, {"getBandwidth", Type::kInt, "mBandWidth", 132}},
    {29, {"getSystemId", Type::kInt, "mSystemId", 196}},
    {33, {"getRollOff", Type::kInt, "mRollOff", 200}},
};

// What is logged when a call of the frontend fails, by entry.
constexpr const char* kFailureLines[] = {
    "x_native_frontend_tune, native tune fail: ", "x_native_frontend_scan, native scan fail: ",
    "x_native_frontend_get_frontend_setting, fail: ",
    "x_native_frontend_get_frontend_status, fail: "};

// I: 32 bits, J: 64 bits, B: a byte, K: 32 bits times a thousand, M: 32 bits times a million.
int64_t valueAt(char letter, const Bytes& record, size_t offset) {
    const int64_t factor = letter == 'M' ? 1000000 : letter == 'K' ? 1000 : 1;
    return letter == 'J'   ? at<int64_t>(record, offset)
           : letter == 'B' ? at<uint8_t>(record, offset)
                           : static_cast<int32_t>(at<int32_t>(record, offset) * factor);
}

// What stands in braces there; without a letter it is the argument that the record does not hold.
struct Field {
    char letter;
    size_t offset;
};
Field fieldAt(const std::string& text, size_t brace) {
    Field field = {};
    char end = 0;
    if (sscanf(&text[brace], "{%c%zu%c", &field.letter, &field.offset, &end) != 3) {
        return {};
    }
    field.offset += end == '+' && sizeof(void*) == 8 ? 8 : 0;
    return field;
}

// The format with values of the record in place of what stands in braces.
std::string fill(std::string text, const Bytes& record, const std::string& argument = "") {
    for (size_t at = text.find('{'); at != std::string::npos; at = text.find('{')) {
        const auto [letter, offset] = fieldAt(text, at);
        text.replace(at, text.find('}') + 1 - at,
                     letter != 0 ? std::to_string(valueAt(letter, record, offset)) : argument);
    }
    return text;
}

// Now and then an exception or null, numbers of every magnitude, lists of up to 13.
Answer answerFrom(Source* source, Type type) {
    Answer answer;
    const bool canBeNull = type == Type::kList || type == Type::kObject;
    answer.does = source->oneIn(8)                ? Answer::kThrows
                  : source->oneIn(8) && canBeNull ? Answer::kIsNull
                                                  : Answer::kReturns;
    answer.value = source->take<int64_t>() >> source->below(64);
    answer.list.resize(static_cast<size_t>(source->below(14)));
    for (int32_t& number : answer.list) {
        number = source->take<int32_t>();
    }
    return answer;
}

// The call ends here, and fails.
struct Failed {};

class Oracle {
  public:
    explicit Oracle(Case* call) : mCase(*call), mRecord(mCase.record) {}

    std::string run() {
        int result = -1;
        if (mCase.missing == Case::kHandle) {
            return outcome(result, mTrace, mRecord, mRecord);
        }
        try {
            result = call();
        } catch (const Failed&) {
            if (!mFailure.empty()) {
                log('E', mFailure);
            }
        }
        if (result != 0) {
            log('E', kFailureLines[static_cast<int>(mCase.entry)] + std::to_string(result) + ".");
        }
        return outcome(result, mTrace, mCase.record, mRecord);
    }

  private:
    int call() {
        const std::string type = std::to_string(mCase.scanType);
        switch (mCase.entry) {
            case Entry::kTune:
                return request("tune", "onTune", "", "");
            case Entry::kScan:
                return request("scan", "onScan", ", " + type, ", scan_type: " + type);
            case Entry::kReadback:
                return readback();
            default:
                return status();
        }
    }

    void log(char level, const std::string& text) { log(level, text, mRecord); }
    void log(char level, const std::string& text, const Bytes& record) {
        mTrace.push_back(std::string(1, level) + " " + fill(text, record));
    }

    void failIf(bool condition, const std::string& line) {
        if (condition) {
            log('E', line);
            throw Failed();
        }
    }

    // A call of Java, whatever it does.
    const Answer& answer(const std::string& clazz, const std::string& method,
                         const std::string& arguments, Type type) {
        mTrace.push_back(clazz + "." + method + "(" + arguments + ")");
        const auto [entry, isNew] =
            mCase.answers.try_emplace(method == "<init>" ? clazz + "." + method : method);
        Answer& answer = entry->second;
        const auto number = static_cast<int32_t>(mCase.answers.size());
        if (isNew && mCase.source) {
            answer = answerFrom(&*mCase.source, type);
        } else if (isNew) {
            answer.value = kSomeValue + int64_t{2} * number;
            answer.list = {number, -number};
        }
        answer.type = type;
        if (answer.does != Answer::kReturns) {
            answer.value = 0;
        } else if (type == Type::kBoolean) {
            answer.value &= 1;
        } else if (type == Type::kInt) {
            answer.value = static_cast<int32_t>(answer.value);
        }
        return answer;
    }

    // A call of Java that must not throw.
    int32_t java(const std::string& clazz, const std::string& method, const std::string& arguments,
                 Type type) {
        const Answer& result = answer(clazz, method, arguments, type);
        if (result.does == Answer::kThrows) {
            throw Failed();
        }
        return static_cast<int32_t>(result.value);
    }

    // --- Tune and scan ---

    int request(const std::string& operation, const char* method, const std::string& lastArgument,
                const std::string& logged) {
        mFailure = operation + ", generate frontendsettings failed.";
        failIf(mCase.missing == Case::kRecord, "transMW2FrontendSettings, argument is null.");
        log('D', operation + ", fe_type: {I64}, freq: {I56}" + logged);
        const auto found = kSystems.find(at<int32_t>(mRecord, kTypeOffset));
        failIf(found == kSystems.end(),
               "transMW2FrontendSettings, type: {I64}, not support by currently.");
        const auto& [type, system] = *found;
        log('D', system.line);
        const std::string argument = type == kDvbs ? codeRate() : type == kIsdbt ? areaCode() : "";
        java(system.clazz, "<init>", fill(system.arguments, mRecord, argument), Type::kVoid);
        if (type == kDvbs) {
            log('D', "[DVBS] mEndFrequency = {M60}(in Hz)");
            java("FrontendSettings", "setEndFrequency", fill("{M60}", mRecord), Type::kVoid);
        }
        mFailure.clear();
        return java(kFrontend, method, system.clazz + lastArgument, Type::kInt);
    }

    std::string areaCode() {
        const int32_t code = java(kFrontend, "onGetServiceAreaCode", "", Type::kInt);
        log('D', "[ISDBT] area code = " + std::to_string(code));
        if (code < 0) {
            throw Failed();
        }
        return std::to_string(code);
    }

    std::string codeRate() {
        const int64_t frequency = at<int32_t>(mRecord, kFrequencyOffset) * INT64_C(1000000);
        failIf(frequency != static_cast<int32_t>(frequency),
               "transMW2FrontendSettings, DVB-S mFrequency: {I56}(in MHz), does not fit in Hz.");
        if (!mCase.codeRate) {
            log('I', "transMW2FrontendSettings, code rate is null, for blind scan.");
        } else {
            for (const char* field : {"mInnerFec = {J0}", "mIsLinear = {B8}",
                                      "mIsShortFrames = {B9}", "mBitsPer1000Symbol = {I12}"}) {
                log('D', std::string("[DVBS]pt_code_rate->") + field, *mCase.codeRate);
            }
            java("DvbsCodeRate", "<init>", fill(kCodeRateArguments, *mCase.codeRate), Type::kVoid);
        }
        for (const char* field : {"mFrequency = {M56}(in Hz)", "mSymbolRate = {K8+}(in bd)",
                                  "mScanType = {I32+}", "mIsDiseqcRxMessage = {B36+}"}) {
            log('D', std::string("[DVBS] ") + field);
        }
        return mCase.codeRate ? "DvbsCodeRate" : "null";
    }

    // --- Readback ---

    int readback() {
        failIf(mCase.missing == Case::kRecord, "getFrontendSetting, pt_fesettings == NULL.");
        const Answer& object = answer(kFrontend, "onGetFrontendSetting", "", Type::kObject);
        failIf(object.does != Answer::kReturns, "getFrontendSetting, frontend settings is null.");
        for (const Readback& row : kReadbacks) {
            if (row.type == 0 || row.type == at<int32_t>(mRecord, kTypeOffset)) {
                mCase.objectClass = row.type == 0 ? mCase.objectClass : row.clazz;
                put(&mRecord, row.offset, java(row.clazz, row.getter, "", Type::kInt));
                log('D', row.line);
            }
        }
        if (kSystems.count(at<int32_t>(mRecord, kTypeOffset)) == 0) {
            log('D', "getFrontendSetting, not support e_type: {I64}.");
        }
        return 0;
    }

    // --- Status ---

    int status() {
        const auto count = static_cast<int64_t>(mCase.kinds.size());
        log('D', "start getFrontendStatus, type len: " + std::to_string(count));
        failIf(count == 0 || count > kMaxKinds,
               "getFrontendStatus, ui1_len: " + std::to_string(count) + ", error.");
        failIf(mCase.missing == Case::kRecord || mCase.missing == Case::kKinds,
               "getFrontendStatus, pi4_type == NULL || pt_festatus == NULL.");
        for (const int32_t kind : mCase.kinds) {
            log('D', "getFrontendStatus, get type is " + std::to_string(kind));
        }
        const Answer& object =
            answer(kFrontend, "onGetFrontendStatus", listOf(mCase.kinds), Type::kObject);
        failIf(object.does != Answer::kReturns, "getFrontendStatus, get frontend info is null.");
        mCase.objectClass = "FrontendStatus";
        for (const int32_t kind : mCase.kinds) {
            log('D', "getFrontendStatus, get type is " + std::to_string(kind));
            const auto row = kStatusKinds.find(kind);
            if (row == kStatusKinds.end()) {
                log('D', "getFrontendStatus, unsupport type: " + std::to_string(kind) + ".");
            } else if (readKind(row->second)) {
                log('E', "getFrontendStatus, catch exception, type:" + std::to_string(kind));
            }
        }
        return 0;
    }

    // True when an exception is left.
    bool readKind(const StatusKind& row) {
        const Answer& answer = this->answer("FrontendStatus", row.getter, "", row.type);
        const std::string line = std::string("getFrontendStatus, ") + row.name;
        if (row.type != Type::kList) {
            const size_t width = row.type == Type::kBoolean ? 1 : row.type == Type::kInt ? 4 : 8;
            memcpy(&mRecord[row.offset], &answer.value, width);
            log('D', line + ": " + std::to_string(answer.value) + ".");
        } else if (answer.does != Answer::kReturns) {
            log('E', line + " is null");
        } else if (mCase.missing == Case::kElements) {
            log('E', "getFrontendStatus, int_ptr is null, return");
            return true;
        } else {
            const size_t count = answer.list.size();
            put(&mRecord, row.offset + kListSize, static_cast<int32_t>(count));
            for (size_t i = 0; i < count && count <= kMaxListCopy; ++i) {
                put(&mRecord, row.offset + i * sizeof(int32_t), answer.list[i]);
            }
            log('D', line + ": " + std::to_string(at<int32_t>(mRecord, row.offset)) +
                         ", length:" + std::to_string(count));
        }
        return answer.does == Answer::kThrows;
    }

    Case& mCase;
    std::vector<std::string> mTrace;
    Bytes mRecord;         // afterwards
    std::string mFailure;  // the line that is logged when the call fails
};

}  // namespace

Bytes pattern(size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>(1 + i * 37 + i / 256);
    }
    return bytes;
}

size_t recordSize(Entry entry) {
    return entry == Entry::kStatus ? 208 : 72;
}

std::string listOf(const std::vector<int32_t>& numbers) {
    std::string text;
    for (const int32_t number : numbers) {
        text += (text.empty() ? "" : ", ") + std::to_string(number);
    }
    return "[" + text + "]";
}

// Mostly what the library serves, and a little above.
Case caseFrom(Source source) {
    Case call;
    call.entry = static_cast<Entry>(source.below(static_cast<int>(Entry::kCount)));
    if (source.oneIn(8)) {
        call.missing = static_cast<decltype(call.missing)>(source.below(Case::kMissingCount));
    }
    call.scanType = source.take<int32_t>();
    if (source.oneIn(2)) {
        call.codeRate = source.take(kCodeRateSize);
    }
    call.record = source.take(recordSize(call.entry));
    if (call.entry != Entry::kStatus) {
        put(&call.record, kTypeOffset, source.below(12));
        put(&call.record, kFrequencyOffset, source.below(2160));  // MHz
    }
    call.kinds.resize(static_cast<size_t>(source.below(kMaxKinds + 2)));
    for (int32_t& kind : call.kinds) {
        kind = source.below(41) - 1;
    }
    call.source = source;
    return call;
}

std::string outcome(int result, const std::vector<std::string>& trace, const Bytes& before,
                    const Bytes& after) {
    std::string text = "result " + std::to_string(result);
    for (const std::string& line : trace) {
        text += "\n" + line;
    }
    for (size_t i = 0; i < after.size(); ++i) {
        if (after[i] != before[i]) {
            text += "\nwrote " + std::to_string(after[i]) + " to byte " + std::to_string(i);
        }
    }
    return text;
}

void makeBooleans(Case* call) {
    const auto clear = [](Bytes* bytes, const std::string& fields) {
        for (size_t at = fields.find("{B"); at != std::string::npos;
             at = fields.find("{B", at + 1)) {
            bytes->at(fieldAt(fields, at).offset) &= 1;
        }
    };
    if (call->entry <= Entry::kScan) {
        const auto found = kSystems.find(at<int32_t>(call->record, kTypeOffset));
        clear(&call->record, found != kSystems.end() ? found->second.arguments : "");
    }
    if (call->codeRate) {
        clear(&*call->codeRate, kCodeRateArguments);
    }
}

std::string expect(Case* call) {
    return Oracle(call).run();
}

}  // namespace oracle
