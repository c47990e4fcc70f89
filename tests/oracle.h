// What the library must do with a call that carries a record, told from its bytes alone: which Java
// methods it calls with which arguments, which lines it logs, what it returns, and which bytes it
// writes. Offsets and widths are written down here a second time on purpose: nothing is shared with
// the library or with the middleware's headers, so that a mistake in either shows. Java never fails
// here: functions.txt says what comes of that.

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

// One call, of nothing but numbers. It begins with the record of a status query, or with that of
// settings and what else the call needs. What its entry does not take is left alone.
struct Case {
    uint8_t fields[56];  // of the delivery system
    int32_t frequency;
    int32_t endFrequency;
    int32_t type;
    int32_t unused;        // ends the settings
    uint8_t codeRate[16];  // of settings for DVB-S
    int32_t scanType;
    int32_t javaInt;  // what getType and the frontend's methods return
    Entry entry;
    Pointer null;  // the one in whose place null is passed
    uint8_t rest[110];

    uint64_t answers;     // what other getters return is made from this and their names
    uint32_t listLength;  // of the lists that they return
    uint32_t kindCount;
    int32_t kinds[35];  // of a status query
};

// A case made from arbitrary bytes: mostly what the library serves, and a little above.
Case caseFrom(Bytes bytes);

// Makes the call. Returns what must come of it and what came: the log and the calls of Java, a line
// each, as "D text" and "Class.method(1, 2)"; the result; the bytes of the record that were
// written; and what the library still holds.
std::pair<std::string, std::string> check(Case call);

}  // namespace oracle

#endif  // TESTS_ORACLE_H
