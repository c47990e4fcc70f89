// What the library must do with one call, told from the bytes that it is given: which Java methods it
// calls with which arguments, which lines it logs, what it returns, and which bytes it writes. Offsets
// and widths are written down here a second time on purpose: nothing is shared with the library or
// with the middleware's headers, so that a mistake in either shows.

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

enum class Entry { kTune, kScan, kReadback, kStatus, kSectionConfig, kRead, kCount };

// One call. What its entry does not take is left alone.
struct Case {
    Entry entry = Entry::kTune;
    char logLevel = 'V';
    Bytes record;  // settings, status, three patterns in a row, or the buffer of a read
    // What the call lacks: a pointer, by its number (the record is 0, the kinds are 1, and each
    // pattern has its own), a handle of something, or the elements of the lists of a status.
    enum { kNothing = -1, kHandle = 3, kElements, kMissingCount };
    int missing = kNothing;
    std::optional<Bytes> codeRate;  // of settings for DVB-S
    int32_t number = 0;             // scan type, or value of a section configuration
    uint8_t flags[3] = {};          // of a section configuration
    std::vector<int32_t> kinds;     // of a status query
    int64_t position = 0;           // of a read
    int64_t size = 0;
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
constexpr size_t kPatternSize = 16;
constexpr int64_t kMaxRead = 4096;
constexpr int32_t kDvbs = 5;
constexpr int32_t kIsdbt = 9;

// Bytes in which no two fields of a record are alike. onRead fills its array with them.
Bytes pattern(size_t size);
// Of the record that an entry takes; a read may write as many bytes, at least one is there.
size_t recordSize(Entry entry, int64_t size = kMaxRead);
// A case made from arbitrary bytes.
Case caseFrom(Source source);

// What came of a call, line by line: the result; in their order, calls of Java as
// "Class.method(1, 2)", with the class that declares it, and lines of the log as "D text" (the
// frontend's, for the filter's show addresses); and the bytes of the record that were written.
std::string outcome(int result, const std::vector<std::string>& trace, const Bytes& before,
                    const Bytes& after);
constexpr const char* kExceptionLeft = "an exception is left";  // the trace's last line

// What must come of a call. Adds to the case's answers those of the other methods that are called,
// and the object's class.
std::string expect(Case* call);

struct Outcome {
    std::string expected;
    std::string actual;  // the same when the library did right
};

// A registered tuner and an open filter, in a virtual machine that has the library loaded. Opening
// them for each call would make the fuzzer four times as slow.
struct Device {
    Device();
    ~Device();
    const desk::Pipeline pipeline;
    uint32_t filter = 0;
};
Outcome check(const Device& device, Case call);

// The numbers as Java shows them: "[1, 2]".
template <typename Number>
std::string listOf(const std::vector<Number>& numbers) {
    std::string text;
    for (const Number number : numbers) {
        text += (text.empty() ? "" : ", ") + std::to_string(number);
    }
    return "[" + text + "]";
}

}  // namespace oracle

#endif  // TESTS_ORACLE_H
