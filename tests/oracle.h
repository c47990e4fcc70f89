// What the library must do with a call that carries a record, told from its bytes alone: which Java
// methods it calls with which arguments, which lines it logs, what it returns, and which bytes it
// writes. Offsets and widths are written down here a second time on purpose: nothing is shared with the
// library or with the middleware's headers, so that a mistake in either shows.

#ifndef TESTS_ORACLE_H
#define TESTS_ORACLE_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/device.h"

namespace oracle {

using Bytes = std::vector<uint8_t>;

template <typename T>
T at(const Bytes& bytes, size_t offset) {
    T value;
    memcpy(&value, &bytes.at(offset), sizeof(value));
    return value;
}

template <typename T>
void put(Bytes* bytes, size_t offset, T value) {
    memcpy(&bytes->at(offset), &value, sizeof(value));
}

// Arbitrary bytes, taken in order; zeros when they are used up.
struct Source {
    Bytes take(size_t count) {
        bytes.resize(std::max(bytes.size(), next + count));
        next += count;
        return Bytes(bytes.data() + next - count, bytes.data() + next);
    }
    template <typename T>
    T take() {
        return at<T>(take(sizeof(T)), 0);
    }
    // A number from 0 to below the bound, which is not above 65536; once in so many times 0.
    int below(int bound) { return take<uint16_t>() % bound; }
    bool oneIn(int times) { return below(times) == times - 1; }

    Bytes bytes;
    size_t next = 0;
};

enum class Type { kVoid, kBoolean, kInt, kLong, kList, kObject };

// What a Java method does: it throws, or returns null, or else the value, the list or an object.
struct Answer {
    enum { kReturns, kThrows, kIsNull } does = kReturns;
    int64_t value = 0;
    std::vector<int32_t> list = {};
    Type type = Type::kInt;  // that the method returns
};

enum class Entry { kTune, kScan, kReadback, kStatus, kCount };

// One call. What its entry does not take is left alone.
struct Case {
    Entry entry = Entry::kTune;
    Bytes record;  // settings or status
    // What the call lacks: the record, the kinds, a handle of something, or the elements of the lists
    // of a status.
    enum { kNothing, kRecord, kKinds, kHandle, kElements, kMissingCount } missing = kNothing;
    std::optional<Bytes> codeRate;  // of settings for DVB-S
    int32_t scanType = 0;
    std::vector<int32_t> kinds;  // of a status query
    // What Java does, by method; a constructor is "Class.<init>". A method that is not here does what
    // the source says or, without a source, returns a value unlike all others.
    std::map<std::string, Answer> answers;
    std::optional<Source> source;
    // Of the object that Java answers a question to the frontend with; expect finds the one that has
    // the getters.
    std::string objectClass = "AtscFrontendSettings";
};

constexpr size_t kFrequencyOffset = 56;
constexpr size_t kEndFrequencyOffset = 60;
constexpr size_t kTypeOffset = 64;
constexpr size_t kCodeRateOffset = sizeof(void*);  // the pointer's
constexpr size_t kCodeRateSize = 16;
constexpr int32_t kDvbs = 5;
constexpr int32_t kIsdbt = 9;

// Bytes in which no two fields of a record are alike.
Bytes pattern(size_t size);
size_t recordSize(Entry entry);
// A case made from arbitrary bytes.
Case caseFrom(Source source);

// Makes the settings' booleans 0 or 1.
void makeBooleans(Case* call);

// What came of a call, line by line: the result; in their order, calls of Java as
// "Class.method(1, 2)" and lines of the log as "D text"; and the bytes of the record that were written.
std::string outcome(int result, const std::vector<std::string>& trace, const Bytes& before,
                    const Bytes& after);

// What must come of a call. Adds to the case's answers those of the other methods that are called,
// and the object's class.
std::string expect(Case* call);

struct Outcome {
    std::string expected;
    std::string actual;  // the same when the library did right
};

// Makes the call for a pipeline that has a registered tuner. Before the first, listen() once.
void listen();
Outcome check(uint32_t h_pipeline, Case call);

// The numbers as Java shows them: "[1, 2]".
std::string listOf(const std::vector<int32_t>& numbers);

}  // namespace oracle

#endif  // TESTS_ORACLE_H
