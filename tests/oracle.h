// Says what the library must do with a call that carries a record: which Java methods it calls with
// which arguments, which lines it logs, what it returns, and which bytes it writes. The oracle
// derives this only from the record's bytes. It repeats the offsets and widths on purpose: it
// shares nothing with the library or the middleware's headers, so a mistake in either shows. Java
// never fails here; functions.txt has the failures.

#ifndef TESTS_ORACLE_H
#define TESTS_ORACLE_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace oracle {

using Bytes = std::vector<uint8_t>;

enum Entry : uint8_t { kTune, kScan, kReadback, kStatus };
enum Pointer : uint8_t { kNone, kRecord, kKinds, kCodeRate };

constexpr int32_t kDvbs = 5;
constexpr int32_t kIsdbt = 9;

// One call, made of nothing but numbers. Its first bytes are the status record, or the settings
// record and the other arguments. An entry ignores the fields that it does not use.
struct Case {
    uint8_t fields[56];  // those of the delivery system
    int32_t frequency;
    int32_t endFrequency;
    int32_t type;
    int32_t unused;        // the end of the settings
    uint8_t codeRate[16];  // for settings of DVB-S
    int32_t scanType;
    int32_t javaInt;  // what getType and the frontend's methods return
    Entry entry;
    Pointer null;  // this pointer is passed as null
    uint8_t rest[110];

    uint64_t answers;     // gives what other getters return, together with their names
    uint32_t listLength;  // the length of the lists that they return
    uint32_t kindCount;
    int32_t kinds[35];  // those of a status query
};

// Makes a case from arbitrary bytes: mostly values that the library serves, and some beyond them.
Case caseFrom(Bytes bytes);

// Makes the call. Returns the expected and the actual outcome: one line for each log line and call
// of Java, as "D text" and "Class.method(1, 2)"; the result; the bytes of the record that were
// written; and what the library still holds.
std::pair<std::string, std::string> check(Case call);

}  // namespace oracle

#endif  // TESTS_ORACLE_H
