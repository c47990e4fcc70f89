// Compares the calls that carry records with what the oracle says, once for each case that matters.
// The fuzzer makes the random cases.

#include "tests/oracle.h"

#include <numeric>

#include "tests/support/library_test.h"

namespace oracle {

namespace {

class OracleTest : public tests::LibraryTest {};

void expectRight(const Case& call) {
    constexpr const char* kEntries[] = {"tune", "scan", "readback", "status"};
    const auto [expected, actual] = check(call);
    if (expected != actual) {
        ADD_FAILURE() << kEntries[call.entry] << ", type " << call.type << ": "
                      << tests::firstDifference(expected, actual)
                      << "tests/oracle.txt says what is expected.";
    }
}

// A case in whose record no two bytes are alike. The type is the record's or, in a readback,
// Java's.
Case caseOf(Entry entry, int32_t type, Pointer null = kNone) {
    Bytes bytes(offsetof(Case, answers));
    std::iota(bytes.begin(), bytes.end(), uint8_t{100});
    Case call = caseFrom(bytes);
    call.entry = entry;
    call.type = call.javaInt = type;
    call.null = null;
    return call;
}

TEST_F(OracleTest, SettingsOfEveryTypeAreTranslatedOrRefused) {
    for (const int32_t type : {INT32_MIN, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, INT32_MAX}) {
        for (const Pointer null : {kNone, kRecord, kCodeRate}) {
            expectRight(caseOf(kTune, type, null));
            expectRight(caseOf(kScan, type, null));
            expectRight(caseOf(kReadback, type, null));
        }
    }
}

// DVB-S refuses a frequency that does not fit in Hz, but takes any end frequency. Java refuses one
// below 1. ISDB-T refuses an area code below 0.
TEST_F(OracleTest, FrequenciesAndAreaCodesAtTheirLimits) {
    for (const int32_t number : {1, 2147, 2148, -2147, -2148, -1, 0, INT32_MAX, INT32_MIN}) {
        for (const Entry entry : {kTune, kScan}) {
            Case call = caseOf(entry, kDvbs);
            call.endFrequency = call.javaInt = number;
            expectRight(call);
            call.frequency = number;
            expectRight(call);
            call.type = kIsdbt;
            expectRight(call);
        }
    }
}

TEST_F(OracleTest, StatusKindsReachJavaInOrderAndEachFillsOnlyItsField) {
    std::vector<int32_t> all(64);  // all small kinds, and those of the middleware's header
    std::iota(all.begin(), all.end(), 0);
    Case call = caseOf(kStatus, 0);
    for (const int32_t kind : tests::statusKinds()) {
        all.push_back(kind);
        call.kinds[0] = kind;
        call.kindCount = 1;
        EXPECT_EQ(std::string::npos, check(call).first.find("unsupport"))
            << "tests/oracle.txt lacks status kind " << kind << " of the header.";
    }
    for (const int32_t kind : all) {
        const int32_t kinds[] = {kind, INT32_MIN + kind, 22, INT32_MAX - kind, 24};
        std::copy(std::begin(kinds), std::end(kinds), call.kinds);
        call.kindCount = 5;
        call.listLength = static_cast<uint32_t>(kind) % 13;  // for kinds 22 and 24
        expectRight(call);
    }
    std::iota(std::begin(call.kinds), std::end(call.kinds), 0);
    for (const Pointer null : {kNone, kRecord, kKinds}) {
        for (const uint32_t count : {0U, 34U, 35U, 255U}) {
            call.null = null;
            call.kindCount = count;
            expectRight(call);
        }
    }
}

// The library passes the boolean on unchanged. The other tests see that on OpenJDK; CheckJNI ends
// the call.
TEST_F(OracleTest, CheckJniComplainsOfABooleanThatIsNeither0Nor1) {
    Case call = caseOf(kTune, 6);
    call.fields[36] = 2;
    check(call);
    const std::vector<std::string> complaints = tests::takeComplaints();
    ASSERT_EQ(tests::kAndroidRuntime ? 1U : 0U, complaints.size());
    EXPECT_TRUE(complaints.empty() ||
                complaints[0].find("unexpected jboolean value: 2") != std::string::npos);
}

}  // namespace

}  // namespace oracle
