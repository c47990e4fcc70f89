// What the bridge must do with a record, computed from the record's raw bytes: what Java is called
// with, the result, and what is written. Shares nothing with the bridge, nor with its headers.

#ifndef TESTS_FUZZ_ORACLE_H
#define TESTS_FUZZ_ORACLE_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace fuzz {

using Bytes = std::vector<uint8_t>;

// What a Java method does: throw (T), or return null (N), a status object (S), or a value of type
// Z, I, J or a list (L).
struct Answer {
    char type;
    int64_t value = 0;
    std::vector<int32_t> list = {};
};
// By method; a constructor's by its class, for settings "FrontendSettings". None: 0.
using Answers = std::map<std::string, Answer>;

struct Expected {
    int result = -1;
    std::string calls;  // a line each, as tests.FuzzModel writes them
};

constexpr size_t kSettingsSize = 72;
constexpr size_t kCodeRateSize = 16;
constexpr size_t kCodeRatePointer = 8;  // offset in the settings of DVB-S
constexpr size_t kStatusSize = 208;
constexpr size_t kMaxStatusKinds = 34;
constexpr int64_t kMaxRead = 4096;
constexpr size_t kPatternSize = 16;

bool hasCodeRate(const Bytes& settings);

// codeRate: kCodeRateSize bytes, or null. The last call is onTune, or onScan with scanType.
Expected expectTune(const Bytes& settings, const uint8_t* codeRate, const Answers& answers);
Expected expectScan(const Bytes& settings, const uint8_t* codeRate, const Answers& answers,
                    int32_t scanType);

struct StatusKind {
    int32_t kind;
    const char* getter;
    char type;
    size_t offset;
    size_t countOffset;  // of a list
};
// Null for a kind that is not supported.
const StatusKind* statusKind(int32_t kind);

// record: what the caller has put there; written as the bridge must write it.
Expected expectStatus(const std::vector<int32_t>& kinds, const Answers& answers, Bytes* record);

// arguments: value, three flags and three patterns, as they lie in memory one behind the other.
Expected expectSectionConfig(const Bytes& arguments, const Answers& answers);

// buffer: as record above.
Expected expectRead(int64_t position, int64_t size, const Answers& answers, Bytes* buffer);

}  // namespace fuzz

#endif  // TESTS_FUZZ_ORACLE_H
