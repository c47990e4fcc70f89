#include "tests/oracle.h"

#include <algorithm>
#include <cstdlib>

namespace oracle {

namespace {

constexpr int64_t kMaxKinds = 34;
constexpr size_t kMaxListCopy = 9;
constexpr size_t kListSize = 40;  // the count of a list's elements comes behind it

// The settings classes and their constructors' arguments, and the line that shows the request. What
// stands in braces is read from the record: a letter (see valueAt) and an offset. {} is the argument
// that the record does not hold. A + stands behind offsets that lie 8 bytes further where pointers
// have 8 bytes, because they come after the pointer to the code rate.
struct System {
    int32_t number;
    const char* clazz;
    const char* arguments;
    const char* line;
};
constexpr System kSystems[] = {
    {2, "AtscFrontendSettings", "{I56},{I0}", "[ATSC] mFrequency = {I56}, mModulation = {I0},"},
    {4, "DvbcFrontendSettings", "{I56},{I0},{J8},{I16},{I20},{I24},{I28},{I32},{I36}",
     "[DVBC] mFrequency = {I56}, mModulation = {I0}, mFec = {J8}, mSymbolRate = {I16}, "
     "mOuterFec = {I20}, mAnnex = {I24}, mSpectralInversion = {I28}"},
    {kDvbs, "DvbsFrontendSettings",
     "{M56},{I0},{},{K8+},{I12+},{I16+},{I20+},{I24+},{I28+},{I32+},{B36+}",
     "[DVBS] mFrequency = {I56}(in MHz), mModulation = {I0}, mSymbolRate = {I8+}, "
     "mInputStreamId = {I20+}, mStandard = {I24+}, mVcmMode = {I28+}"},
    {kDvbt, "DvbtFrontendSettings",
     "{I56},{I0},{I4},{I8},{I12},{I16},{I20},{I24},{B28},{I32},{B36},{I40},{I44},{I48}",
     "[DVBT] mFrequency = {I56}, mTransmissionMode = {I0}, mBandwidth = {I4}, "
     "mConstellation = {I8}, mHierarchy = {I12}, mHpCodeRate = {I16}, mLpCodeRate = {I20}, "
     "mGuardInterval = {I24}, mIsHighPriority = {B28}, mStandard = {I32}, mIsMiso = {B36}, "
     "mPlpMode = {I40}, mPlpId = {I44}, mPlpGroupId = {I48}"},
    {7, "IsdbsFrontendSettings", "{I56},{I0},{I4},{I8},{I12},{I16},{I20}",
     "[ISDBS] mFrequency = {I56}, mStreamId = {I0}, mStreamIdType = {I4}, mModulation = {I8}, "
     "mCodeRate = {I12}, mSymbolRate = {I16}, mRolloff = {I20}"},
    {kIsdbt, "IsdbtFrontendSettings", "{I56},{I0},{I4},{I8},{I12},{I16},{}",
     "[ISDBT] mFrequency = {I56}, mModulation = {I0}, mBandwidth = {I4}, mMode = {I8}, "
     "mCodeRate = {I12}, mGuardInterval = {I16}, mServiceAreaId = {I20}"},
    {kDtmb, "DtmbFrontendSettings", "{I56},{I0},{I4},{I8},{I12},{I16},{I20}",
     "[DTMB] mFrequency = {I56}, mModulation = {I0}, mCodeRate = {I4}, mTransmissionMode = {I8}, "
     "mGuardInterval = {I12}, mTimeInterleaveMode = {I16}, mBandwidth = {I20}."},
};
constexpr const char* kCodeRateLines[] = {
    "[DVBS]pt_code_rate->mInnerFec = {J0}",
    "[DVBS]pt_code_rate->mIsLinear = {B8}",
    "[DVBS]pt_code_rate->mIsShortFrames = {B9}",
    "[DVBS]pt_code_rate->mBitsPer1000Symbol = {I12}",
};
constexpr const char* kConvertedLines[] = {
    "[DVBS] mFrequency = {M56}(in Hz)",
    "[DVBS] mSymbolRate = {K8+}(in bd)",
    "[DVBS] mScanType = {I32+}",
    "[DVBS] mIsDiseqcRxMessage = {B36+}",
};

// What a readback reads, in this order.
struct Readback {
    int32_t type;  // of the delivery system; 0: every one
    const char* clazz;
    const char* getter;
    const char* name;
    size_t offset;
};
constexpr Readback kReadbacks[] = {
    {0, "FrontendSettings", "getType", "e_type", kTypeOffset},
    {0, "FrontendSettings", "getFrequency", "mFrequency", kFrequencyOffset},
    {kDvbt, "DvbtFrontendSettings", "getStandard", "mStandard", 32},
    {kDvbt, "DvbtFrontendSettings", "getBandwidth", "mBandwidth", 4},
    {kIsdbt, "IsdbtFrontendSettings", "getBandwidth", "mBandwidth", 4},
    {kDtmb, "DtmbFrontendSettings", "getBandwidth", "mBandwidth", 20},
};

struct StatusKind {
    int32_t number;
    const char* getter;
    Type type;
    const char* name;  // in the log
    size_t offset;
};
constexpr StatusKind kStatusKinds[] = {
    {0, "isDemodLocked", Type::kBoolean, "CallBooleanMethod mIsDemodLocked", 0},
    {1, "getSnr", Type::kInt, "mSnr", 4},
    {2, "getBer", Type::kInt, "mBer", 8},
    {3, "getPer", Type::kInt, "mPer", 12},
    {4, "getPerBer", Type::kInt, "mPerBer", 16},
    {5, "getSignalQuality", Type::kInt, "mSignalQuality", 20},
    {6, "getSignalStrength", Type::kInt, "mSignalStrength", 24},
    {7, "getSymbolRate", Type::kInt, "mSymbolRate", 28},
    {8, "getInnerFec", Type::kLong, "mInnerFec", 32},
    {9, "getModulation", Type::kInt, "mModulation", 40},
    {10, "getSpectralInversion", Type::kInt, "mInversion", 88},
    {11, "getLnbVoltage", Type::kInt, "mLnbVoltage", 92},
    {12, "getPlpId", Type::kInt, "mPlpId", 96},
    {13, "isEwbs", Type::kBoolean, "mIsEwbs", 100},
    {14, "getAgc", Type::kInt, "mAgc", 104},
    {15, "isLnaOn", Type::kBoolean, "mIsLnaOn", 108},
    {17, "getMer", Type::kInt, "mMer", 120},
    {18, "getFreqOffset", Type::kInt, "mFreqOffset", 124},
    {19, "getHierarchy", Type::kInt, "mHierarchy", 128},
    {20, "isRfLocked", Type::kBoolean, "mIsRfLocked", 180},
    {22, "getExtendedModulations", Type::kList, "mModulationsExt", 44},
    {24, "getCodeRates", Type::kList, "mCodeRates", 136},
    {25, "getBandwidth", Type::kInt, "mBandWidth", 132},
    {29, "getSystemId", Type::kInt, "mSystemId", 196},
    {33, "getRollOff", Type::kInt, "mRollOff", 200},
};

// What is logged when a call fails, by entry.
constexpr const char* kFailureLines[] = {"x_native_frontend_tune, native tune fail: ",
                                         "x_native_frontend_scan, native scan fail: ",
                                         "x_native_frontend_get_frontend_setting, fail: ",
                                         "x_native_frontend_get_frontend_status, fail: ",
                                         nullptr,
                                         nullptr};

// The row of this number, or null.
template <typename Row, size_t count>
const Row* rowOf(int32_t number, const Row (&rows)[count]) {
    const auto row = std::find_if(rows, rows + count,
                                  [number](const Row& each) { return each.number == number; });
    return row != rows + count ? row : nullptr;
}

// The low 32 bits, as Java's int has them.
int32_t wrapped(int64_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(value)));
}

// I: 32 bits, J: 64 bits, B: a byte, K: 32 bits times a thousand, M: 32 bits times a million.
int64_t valueAt(char letter, const Bytes& record, size_t offset) {
    const int64_t factor = letter == 'M' ? 1000000 : letter == 'K' ? 1000 : 1;
    return letter == 'J'   ? at<int64_t>(record, offset)
           : letter == 'B' ? at<uint8_t>(record, offset)
                           : wrapped(at<int32_t>(record, offset) * factor);
}

// The format with values of the record in place of what stands in braces.
std::string fill(const char* format, const Bytes& record, const std::string& argument = "") {
    std::string text;
    for (; *format != '\0'; ++format) {
        if (*format != '{') {
            text += *format;
            continue;
        }
        char letter = 0;
        char end = 0;
        size_t offset = 0;
        const bool isField = sscanf(++format, "%c%zu%c", &letter, &offset, &end) == 3;
        offset += end == '+' && sizeof(void*) == 8 ? 8 : 0;
        text += isField ? std::to_string(valueAt(letter, record, offset)) : argument;
        format = strchr(format, '}');
    }
    return text;
}

// Zeros are neither an exception nor null.
Answer answerFrom(Source* source, Type type) {
    Answer answer;
    const auto choice = source->take<uint8_t>();
    if (choice % 8 == 7) {
        answer.does = Answer::kThrows;
    } else if (choice % 8 == 6 && (type == Type::kList || type == Type::kObject)) {
        answer.does = Answer::kIsNull;
    } else if (type == Type::kBoolean) {
        answer.value = choice % 2;
    } else if (type == Type::kInt) {  // often a type, or near the bounds of a read
        answer.value = choice < 64    ? source->take<uint8_t>() % 12
                       : choice < 128 ? source->take<int16_t>() % (kMaxRead + 16)
                                      : source->take<int32_t>();
    } else if (type == Type::kLong) {
        answer.value = source->take<int64_t>();
    } else if (type == Type::kList) {
        answer.list.resize(choice / 8 % 14);
        for (int32_t& element : answer.list) {
            element = source->take<int32_t>();
        }
    }
    return answer;
}

class Oracle {
  public:
    explicit Oracle(Case* call) : mCase(*call) { mExpected.record = mCase.record; }

    Expected run() {
        if (mCase.live) {
            mExpected.result = call();
            const char* line = kFailureLines[static_cast<int>(mCase.entry)];
            if (line != nullptr && mExpected.result != 0) {
                log('E', line + std::to_string(mExpected.result) + ".");
            }
        }
        return mExpected;
    }

  private:
    int call() {
        const std::string number = std::to_string(mCase.number);
        switch (mCase.entry) {
            case Entry::kTune:
                return request("tune", "", "onTune", "");
            case Entry::kScan:
                return request("scan", ", scan_type: " + number, "onScan", "," + number);
            case Entry::kReadback:
                return readback();
            case Entry::kStatus:
                return status();
            case Entry::kSectionConfig:
                return sectionConfig(number);
            default:
                return read();
        }
    }

    void log(char level, const std::string& text) {
        static const std::string kLevels = "VDIWE-";
        if (kLevels.find(level) >= kLevels.find(mCase.logLevel)) {
            mExpected.trace.push_back(std::string(1, level) + " " + text);
        }
    }

    const Answer& java(const std::string& clazz, const std::string& method,
                       const std::string& arguments, Type type) {
        mExpected.trace.push_back(clazz + "." + method + "(" + arguments + ")");
        const auto [entry, isNew] =
            mCase.answers.try_emplace(method == "<init>" ? clazz + "." + method : method);
        Answer& answer = entry->second;
        const auto number = static_cast<int32_t>(mCase.answers.size());
        if (isNew && mCase.source) {
            answer = answerFrom(&*mCase.source, type);
        } else if (isNew) {
            answer.value = type == Type::kBoolean ? 1
                           : type == Type::kLong  ? INT64_C(-0x123456789abcdef)
                                                  : -1000 - number;
            answer.list = {number, -number};
        }
        answer.type = type;
        if (answer.does != Answer::kReturns) {
            answer.value = 0;
        }
        return answer;
    }

    bool throws(const std::string& clazz, const std::string& method, const std::string& arguments) {
        return java(clazz, method, arguments, Type::kVoid).does == Answer::kThrows;
    }

    // --- Tune and scan ---

    int request(const std::string& operation, const std::string& logged, const char* method,
                const std::string& lastArgument) {
        if (mCase.null != 0) {
            log('D', operation + fill(", fe_type: {I64}, freq: {I56}", mCase.record) + logged);
        }
        const std::string settings = makeSettings();
        if (settings.empty()) {
            log('E', operation + ", generate frontendsettings failed.");
            return -1;
        }
        const Answer& answer =
            java("ZytTvInnerFrontend", method, settings + lastArgument, Type::kInt);
        return answer.does == Answer::kThrows ? -1 : static_cast<int>(answer.value);
    }

    // The class of the settings, as arguments are shown; "" when they cannot be made. So below.
    std::string makeSettings() {
        if (mCase.null == 0) {
            log('E', "transMW2FrontendSettings, argument is null.");
            return "";
        }
        const Bytes& record = mCase.record;
        const System* system = rowOf(at<int32_t>(record, kTypeOffset), kSystems);
        if (system == nullptr) {
            log('E',
                fill("transMW2FrontendSettings, type: {I64}, not support by currently.", record));
            return "";
        }
        log('D', fill(system->line, record));
        const std::string argument = system->number == kDvbs    ? codeRate()
                                     : system->number == kIsdbt ? areaCode()
                                                                : "none";
        if (argument.empty() ||
            throws(system->clazz, "<init>", fill(system->arguments, record, argument))) {
            return "";
        }
        if (system->number == kDvbs) {
            log('D', fill("[DVBS] mEndFrequency = {M60}(in Hz)", record));
            if (throws("FrontendSettings", "setEndFrequency", fill("{M60}", record))) {
                return "";
            }
        }
        return system->clazz;
    }

    std::string areaCode() {
        const Answer& area = java("ZytTvInnerFrontend", "onGetServiceAreaCode", "", Type::kInt);
        if (area.does == Answer::kThrows) {
            return "";
        }
        log('D', "[ISDBT] area code = " + std::to_string(area.value));
        return area.value < 0 ? "" : std::to_string(area.value);
    }

    std::string codeRate() {
        const int64_t frequency = at<int32_t>(mCase.record, kFrequencyOffset) * INT64_C(1000000);
        if (frequency != wrapped(frequency)) {
            log('E', "transMW2FrontendSettings, DVB-S mFrequency: " +
                         fill("{I56}(in MHz), does not fit in Hz.", mCase.record));
            return "";
        }
        if (!mCase.codeRate) {
            log('I', "transMW2FrontendSettings, code rate is null, for blind scan.");
        } else {
            for (const char* line : kCodeRateLines) {
                log('D', fill(line, *mCase.codeRate));
            }
            if (throws("DvbsCodeRate", "<init>", fill("{J0},{B8},{B9},{I12}", *mCase.codeRate))) {
                return "";
            }
        }
        for (const char* line : kConvertedLines) {
            log('D', fill(line, mCase.record));
        }
        return mCase.codeRate ? "DvbsCodeRate" : "null";
    }

    // --- Readback ---

    int readback() {
        if (mCase.null == 0) {
            log('E', "getFrontendSetting, pt_fesettings == NULL.");
            return -1;
        }
        if (java("ZytTvInnerFrontend", "onGetFrontendSetting", "", Type::kObject).does !=
            Answer::kReturns) {
            log('E', "getFrontendSetting, frontend settings is null.");
            return -1;
        }
        Bytes& record = mExpected.record;
        for (const Readback& row : kReadbacks) {
            if (row.type != 0 && row.type != at<int32_t>(record, kTypeOffset)) {
                continue;
            }
            const Answer& answer = java(row.clazz, row.getter, "", Type::kInt);
            if (answer.does == Answer::kThrows) {
                return -1;
            }
            put(&record, row.offset, static_cast<int32_t>(answer.value));
            log('D', std::string("getFrontendSetting, ") + row.name + ": " +
                         std::to_string(answer.value) + ".");
        }
        if (rowOf(at<int32_t>(record, kTypeOffset), kSystems) == nullptr) {
            log('D', fill("getFrontendSetting, not support e_type: {I64}.", record));
        }
        return 0;
    }

    // --- Status ---

    int status() {
        const auto count = static_cast<int64_t>(mCase.kinds.size());
        log('D', "start getFrontendStatus, type len: " + std::to_string(count));
        if (count == 0 || count > kMaxKinds) {
            log('E', "getFrontendStatus, ui1_len: " + std::to_string(count) + ", error.");
            return -1;
        }
        if (mCase.null == 0 || mCase.null == 1) {
            log('E', "getFrontendStatus, pi4_type == NULL || pt_festatus == NULL.");
            return -1;
        }
        for (const int32_t kind : mCase.kinds) {
            log('D', "getFrontendStatus, get type is " + std::to_string(kind));
        }
        if (java("ZytTvInnerFrontend", "onGetFrontendStatus", listOf(mCase.kinds), Type::kObject)
                .does != Answer::kReturns) {
            log('E', "getFrontendStatus, get frontend info is null.");
            return -1;
        }
        for (const int32_t kind : mCase.kinds) {
            log('D', "getFrontendStatus, get type is " + std::to_string(kind));
            const StatusKind* row = rowOf(kind, kStatusKinds);
            if (row == nullptr) {
                log('D', "getFrontendStatus, unsupport type: " + std::to_string(kind) + ".");
            } else if (readKind(*row)) {
                log('E', "getFrontendStatus, catch exception, type:" + std::to_string(kind));
            }
        }
        return 0;
    }

    // True when an exception is left.
    bool readKind(const StatusKind& row) {
        const Answer& answer = java("FrontendStatus", row.getter, "", row.type);
        const std::string line = std::string("getFrontendStatus, ") + row.name;
        Bytes& record = mExpected.record;
        if (row.type == Type::kList) {
            if (answer.does != Answer::kReturns) {
                log('E', line + " is null");
            } else if (mCase.elementsFail && mElementsAsked++ == 0) {
                log('E', "getFrontendStatus, int_ptr is null, return");
                return true;
            } else {
                const size_t count = answer.list.size();
                put(&record, row.offset + kListSize, static_cast<int32_t>(count));
                for (size_t i = 0; i < count && count <= kMaxListCopy; ++i) {
                    put(&record, row.offset + i * sizeof(int32_t), answer.list[i]);
                }
                log('D', line + ": " + std::to_string(at<int32_t>(record, row.offset)) +
                             ", length:" + std::to_string(count));
            }
        } else {
            const size_t width = row.type == Type::kBoolean ? 1 : row.type == Type::kInt ? 4 : 8;
            memcpy(&record[row.offset], &answer.value, width);
            log('D', line + ": " + std::to_string(answer.value) + ".");
        }
        return answer.does == Answer::kThrows;
    }

    // --- Filters: an exception is left to the caller ---

    int sectionConfig(const std::string& value) {
        if (mCase.null >= 0) {
            return -1;
        }
        std::string arguments = value;
        for (const uint8_t flag : mCase.flags) {
            arguments += flag != 0 ? ",1" : ",0";
        }
        for (auto at = mCase.record.begin(); at != mCase.record.end(); at += kPatternSize) {
            arguments += "," + listOf(std::vector<int8_t>(at, at + kPatternSize));
        }
        return filterResult("onSetSectionConfig", arguments);
    }

    int read() {
        if (mCase.null == 0) {
            return -1;
        }
        const int64_t wanted = std::min(mCase.size, kMaxRead);
        const int given = filterResult("onRead", "[4096 bytes]," + std::to_string(mCase.position) +
                                                     "," + std::to_string(wanted));
        if (given < 1 || given > wanted) {
            return -1;
        }
        const Bytes section = pattern(static_cast<size_t>(given));
        std::copy(section.begin(), section.end(), mExpected.record.begin());
        return given;
    }

    int filterResult(const char* method, const std::string& arguments) {
        const Answer& answer = java("ZytTvInnerFilter", method, arguments, Type::kInt);
        if (answer.does == Answer::kThrows) {
            mExpected.trace.push_back(kExceptionLeft);
        }
        return static_cast<int>(answer.value);
    }

    Case& mCase;
    Expected mExpected;
    int mElementsAsked = 0;
};

}  // namespace

Bytes pattern(size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>(1 + i * 37 + i / 256);
    }
    return bytes;
}

Bytes readBuffer(int64_t size) {
    return Bytes(static_cast<size_t>(std::clamp<int64_t>(size, 0, kMaxRead)), 0xa5);
}

Case caseFrom(Source source) {
    Case call;
    call.entry = static_cast<Entry>(source.take<uint8_t>() % static_cast<int>(Entry::kCount));
    call.logLevel = "VDIE-"[source.take<uint8_t>() % 5];
    const auto choice = source.take<uint8_t>();
    call.live = choice % 16 != 15;
    call.null = choice % 16 == 14 ? choice / 16 % 3 : -1;
    call.elementsFail = choice % 16 == 13;
    call.number = source.take<int32_t>();
    for (uint8_t& flag : call.flags) {
        flag = source.take<uint8_t>();
    }
    call.position = source.take<int64_t>();
    call.size = source.take<int16_t>();
    if (choice % 2 == 0) {
        call.codeRate = source.take(kCodeRateSize);
    }
    const auto count = source.take<uint8_t>() % (kMaxKinds + 2);
    const auto type = source.take<uint8_t>() % 12;
    const auto frequency = source.take<int16_t>() % 2160;
    call.record = call.entry == Entry::kStatus          ? source.take(kStatusSize)
                  : call.entry == Entry::kSectionConfig ? source.take(3 * kPatternSize)
                  : call.entry == Entry::kRead          ? readBuffer(call.size)
                                                        : source.take(kSettingsSize);
    if (call.entry <= Entry::kReadback && choice < 192) {  // likely values
        put(&call.record, kTypeOffset, type);
        put(&call.record, kFrequencyOffset, frequency);
    }
    for (int64_t i = 0; i < count; ++i) {
        call.kinds.push_back(source.take<int8_t>() % 40);
    }
    call.source = source;
    return call;
}

Expected expect(Case* call) {
    return Oracle(call).run();
}

}  // namespace oracle
