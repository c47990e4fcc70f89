// The calls that carry records and bytes, compared with what the oracle says of them: each case that
// matters once, and some thousand random ones.

#include <climits>
#include <cstdlib>
#include <iostream>
#include <numeric>
#include <random>

#include "tests/bridge_test.h"
#include "tests/oracle_check.h"

namespace oracle {

namespace {

class OracleTest : public desk::BridgeTest {
  protected:
    void SetUp() override {
        BridgeTest::SetUp();
        mChecker.emplace();
    }
    void TearDown() override {
        mChecker.reset();
        BridgeTest::TearDown();
    }

    void check(const Case& call) {
        const Outcome outcome = mChecker->check(call);
        EXPECT_EQ(outcome.expected, outcome.actual);
    }

    std::optional<Checker> mChecker;
};

constexpr int32_t kTypes[] = {INT_MIN, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, INT_MAX};

Case caseOf(Entry entry, const Bytes& record) {
    Case call;
    call.entry = entry;
    call.record = record;
    call.number = -7;
    return call;
}

Case settingsCase(Entry entry, int32_t type, int32_t frequency = 1550) {
    Case call = caseOf(entry, pattern(kSettingsSize));
    put(&call.record, kTypeOffset, type);
    put(&call.record, kFrequencyOffset, frequency);
    return call;
}

// Java answers with settings of this type.
Case readbackCase(int32_t type) {
    Case call = caseOf(Entry::kReadback, pattern(kSettingsSize));
    call.answers["getType"].value = type;
    return call;
}

Case statusCase(const std::vector<int32_t>& kinds) {
    Case call = caseOf(Entry::kStatus, pattern(kStatusSize));
    call.kinds = kinds;
    return call;
}

// Every kind and every number between them; as many as a query may hold.
Case allKindsCase() {
    std::vector<int32_t> kinds(34);
    std::iota(kinds.begin(), kinds.end(), 0);
    return statusCase(kinds);
}

Case configCase() {
    return caseOf(Entry::kSectionConfig, pattern(3 * kPatternSize));
}

// Java reads as many bytes as given.
Case readCase(int64_t size, int32_t given) {
    Case call = caseOf(Entry::kRead, readBuffer(size));
    call.position = INT64_C(-7000000000);
    call.size = size;
    call.answers["onRead"].value = given;
    return call;
}

// One call of every kind that succeeds.
std::vector<Case> goodCases() {
    std::vector<Case> cases = {allKindsCase(), configCase(), readCase(100, 100)};
    for (const int32_t type : {2, 4, 5, 6, 7, 9, 10}) {
        cases.push_back(settingsCase(Entry::kScan, type));
        cases.push_back(settingsCase(Entry::kTune, type));
        cases.back().codeRate = pattern(kCodeRateSize);
        cases.push_back(readbackCase(type));
    }
    return cases;
}

TEST_F(OracleTest, EveryDeliverySystemIsTranslatedOrRefused) {
    for (const int32_t type : kTypes) {
        for (const Entry entry : {Entry::kTune, Entry::kScan}) {
            Case call = settingsCase(entry, type);
            check(call);
            call.codeRate = pattern(kCodeRateSize);
            check(call);
        }
    }
}

TEST_F(OracleTest, DvbsRefusesAFrequencyThatDoesNotFitAndWrapsAnEndFrequency) {
    for (const int32_t frequency : {2147, 2148, -2147, -2148, INT_MAX, INT_MIN}) {
        for (const int32_t end : {0, 2147, 2148, INT_MAX}) {
            Case call = settingsCase(Entry::kScan, kDvbs, frequency);
            put(&call.record, kEndFrequencyOffset, end);
            check(call);
        }
    }
}

TEST_F(OracleTest, IsdbtTakesItsAreaFromTheFrontend) {
    for (const int32_t area : {INT_MIN, -1, 0, 91}) {
        Case call = settingsCase(Entry::kTune, kIsdbt);
        call.answers["onGetServiceAreaCode"].value = area;
        check(call);
    }
}

TEST_F(OracleTest, ResultsOfJavaAreReturned) {
    for (const int32_t result : {INT_MIN, -1, 0, 1, INT_MAX}) {
        for (Case call :
             {settingsCase(Entry::kTune, kDvbt), settingsCase(Entry::kScan, kDvbt), configCase()}) {
            for (const char* method : {"onTune", "onScan", "onSetSectionConfig"}) {
                call.answers[method].value = result;
            }
            check(call);
        }
    }
}

TEST_F(OracleTest, ReadbackWritesOnlyTheFieldsOfItsType) {
    for (const int32_t type : kTypes) {
        check(readbackCase(type));
    }
}

TEST_F(OracleTest, EveryStatusKindIsStoredInItsFieldAndNowhereElse) {
    check(allKindsCase());
    for (const int32_t kind : allKindsCase().kinds) {
        check(statusCase({kind}));
    }
}

TEST_F(OracleTest, StatusKindsReachJavaInOrderWithTheirFlaws) {
    check(statusCase({0, 16, 1, 40, -5, 1, INT_MIN, INT_MAX}));
    for (const size_t count : {0, 34, 35, 255}) {
        check(statusCase(std::vector<int32_t>(count, 1)));
    }
}

TEST_F(OracleTest, ListsOfUpToNineAreCopied) {
    for (const size_t length : {0, 1, 9, 10, 12}) {
        Case call = statusCase({22, 24});
        for (const char* getter : {"getExtendedModulations", "getCodeRates"}) {
            std::vector<int32_t>& list = call.answers[getter].list;
            list.resize(length);
            std::iota(list.begin(), list.end(), 100);
        }
        check(call);
        call.elementsFail = true;
        check(call);
    }
}

TEST_F(OracleTest, SectionConfigHandsOnEachFlagAsABoolean) {
    for (const int flag : {0, 1, 2, 255}) {
        for (int i = 0; i < 3; ++i) {
            Case call = configCase();
            call.flags[i] = static_cast<uint8_t>(flag);
            check(call);
        }
    }
}

TEST_F(OracleTest, ReadCopiesWhatJavaHasWithinEveryBound) {
    for (const int64_t size : {INT64_MIN, INT64_C(-1), INT64_C(0), INT64_C(1), INT64_C(100),
                               kMaxRead, kMaxRead + 1, INT64_MAX}) {
        for (const int32_t given :
             {INT_MIN, -1, 0, 1, 2, 99, 100, 101, 4095, 4096, 4097, INT_MAX}) {
            check(readCase(size, given));
        }
    }
}

TEST_F(OracleTest, ExceptionsAndNullsOfJavaAreFailures) {
    for (const Case& good : goodCases()) {
        Case asked = good;
        expect(&asked);
        for (const auto& [method, answer] : asked.answers) {
            Case call = good;
            call.answers[method] = {Answer::kThrows};
            check(call);
            if (answer.type == Type::kList || answer.type == Type::kObject) {
                call.answers[method] = {Answer::kIsNull};
                check(call);
            }
        }
    }
}

TEST_F(OracleTest, UnknownHandlesAndNullsAreRefused) {
    for (Case call : goodCases()) {
        call.live = false;
        check(call);
        call.live = true;
        for (call.null = 0; call.null < 3; ++call.null) {
            check(call);
        }
    }
}

TEST_F(OracleTest, LogLevelAdmitsItsLinesAndThoseAbove) {
    for (Case call : {settingsCase(Entry::kTune, kDvbs), settingsCase(Entry::kTune, 0)}) {
        for (const char level : {'D', 'I', 'W', 'E', '-'}) {
            call.logLevel = level;
            check(call);
        }
    }
}

// ORACLE_SEED in the environment gives other cases. Later ones would only repeat what failed.
TEST_F(OracleTest, RandomCases) {
    const char* given = getenv("ORACLE_SEED");
    const unsigned long seed = given != nullptr ? strtoul(given, nullptr, 0) : 1;
    std::cout << "ORACLE_SEED=" << seed << "\n";
    std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
    for (int i = 0; i < 4000 && !HasFailure(); ++i) {
        Bytes bytes(512);
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random()); });
        check(caseFrom(Source(bytes)));
    }
}

}  // namespace

}  // namespace oracle
