// The calls that carry records and bytes, compared with what the oracle says of them: each case that
// matters once, and some thousand random ones.

#include "tests/oracle.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>

#include "mw/frontend.h"
#include "tests/library_test.h"

namespace oracle {

namespace {

class OracleTest : public desk::LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        listen();
        desk::callWatched([&] { return x_native_frontend_require_tuner(mPipeline->handle()); });
    }
    void TearDown() override {
        desk::callWatched([&] { return x_native_frontend_close_tuner(mPipeline->handle()); });
        LibraryTest::TearDown();
    }

    void expectRight(const Case& call) {
        const Outcome outcome = check(mPipeline->handle(), call);
        EXPECT_EQ(outcome.expected, outcome.actual)
            << "What must arrive is said by the tables of tests/oracle.cpp, as kStatusKinds.";
    }
};

Case caseOf(Entry entry) {
    Case call;
    call.entry = entry;
    call.record = pattern(recordSize(entry));
    call.scanType = -7;
    return call;
}

// Settings of this type in the record, or from Java in a readback. A scan for DVB-S is blind.
Case settingsCase(Entry entry, int32_t type, int32_t frequency = 1550) {
    Case call = caseOf(entry);
    put(&call.record, kTypeOffset, type);
    put(&call.record, kFrequencyOffset, frequency);
    call.answers["getType"].value = type;
    if (entry == Entry::kTune) {
        call.codeRate = pattern(kCodeRateSize);
    }
    return call;
}

Case statusCase(const std::vector<int32_t>& kinds) {
    Case call = caseOf(Entry::kStatus);
    call.kinds = kinds;
    return call;
}

// The kinds of the middleware's header, as it has them.
std::vector<int32_t> allKinds() {
    std::vector<int32_t> kinds;
    std::ifstream header(DESK_TESTS "/../mw/frontend_status.h");
    for (std::string line; std::getline(header, line);) {
        int32_t kind = 0;
        if (sscanf(line.c_str(), " FE_STATUS_TYPE_%*s = %d", &kind) == 1) {
            kinds.push_back(kind);
        }
    }
    return kinds;
}

// One call of every kind; of those with settings, also for delivery systems that nobody serves.
std::vector<Case> plainCases() {
    std::vector<Case> cases = {statusCase(allKinds())};
    for (const int32_t type : {INT_MIN, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, INT_MAX}) {
        for (const Entry entry : {Entry::kTune, Entry::kScan, Entry::kReadback}) {
            cases.push_back(settingsCase(entry, type));
        }
    }
    return cases;
}

TEST_F(OracleTest, EveryPlainCallIsTranslatedOrRefused) {
    for (const Case& call : plainCases()) {
        expectRight(call);
    }
}

TEST_F(OracleTest, DvbsRefusesAFrequencyThatDoesNotFitAndWrapsAnEndFrequency) {
    for (const int32_t frequency : {2147, 2148, -2147, -2148, INT_MAX, INT_MIN}) {
        Case call = settingsCase(Entry::kScan, kDvbs, frequency);
        put(&call.record, kEndFrequencyOffset, frequency);
        expectRight(call);
        put(&call.record, kFrequencyOffset, 0);
        expectRight(call);
    }
}

TEST_F(OracleTest, IsdbtTakesItsAreaFromTheFrontend) {
    for (const int32_t area : {INT_MIN, -1, 0, 91}) {
        Case call = settingsCase(Entry::kTune, kIsdbt);
        call.answers["onGetServiceAreaCode"].value = area;
        expectRight(call);
    }
}

TEST_F(OracleTest, StatusKindsReachJavaInOrderAndEachIsStoredInItsFieldAndNowhereElse) {
    const std::vector<int32_t> kinds = allKinds();
    std::vector<std::vector<int32_t>> queries = {kinds, {0, 16, 1, 40, -5, 1, INT_MIN, INT_MAX}};
    for (int32_t kind = 0; kind <= *std::max_element(kinds.begin(), kinds.end()) + 1; ++kind) {
        queries.push_back({kind});
    }
    for (const size_t count : {size_t{0}, size_t{34}, size_t{35}, size_t{255}}) {
        queries.push_back(std::vector<int32_t>(count, 1));
    }
    for (const std::vector<int32_t>& kinds : queries) {
        expectRight(statusCase(kinds));
    }
}

TEST_F(OracleTest, ListsOfUpToNineAreCopied) {
    for (const int32_t length : {0, 1, 9, 10, 12}) {
        Case call = statusCase({22, 24});
        for (int32_t i = 0; i < length; ++i) {
            call.answers["getExtendedModulations"].list.push_back(100 + i);
            call.answers["getCodeRates"].list.push_back(200 + i);
        }
        expectRight(call);
        call.missing = Case::kElements;
        expectRight(call);
    }
}

TEST_F(OracleTest, ExceptionsAndNullsOfJavaAreFailures) {
    for (const Case& plain : plainCases()) {
        Case asked = plain;
        expect(&asked);
        for (const auto& [method, answer] : asked.answers) {
            Case call = plain;
            call.answers[method] = {Answer::kThrows};
            expectRight(call);
            if (answer.type == Type::kList || answer.type == Type::kObject) {
                call.answers[method] = {Answer::kIsNull};
                expectRight(call);
            }
        }
    }
}

TEST_F(OracleTest, UnknownHandlesAndNullsAreRefused) {
    for (Case call : plainCases()) {
        for (const auto missing : {Case::kRecord, Case::kKinds, Case::kHandle}) {
            call.missing = missing;
            expectRight(call);
        }
    }
}

// The library hands it on as it is, which the other tests see on OpenJDK; here CheckJNI ends the call.
TEST_F(OracleTest, CheckJniComplainsOfABooleanThatIsNeither0Nor1) {
    if (!desk::kAndroidRuntime) {
        GTEST_SKIP();
    }
    MW_FESETTING_T settings = {};
    settings.e_type = MW_FE_TYPE_DVBT;
    settings.u.t_dvbt.mIsMiso = 2;
    desk::callWatched([&] { return x_native_frontend_tune(mPipeline->handle(), &settings); });
    const std::vector<std::string> complaints = desk::takeComplaints();
    ASSERT_EQ(1U, complaints.size());
    EXPECT_NE(std::string::npos, complaints[0].find("unexpected jboolean value: 2"));
}

// ORACLE_SEED in the environment gives other cases. Later ones would only repeat what failed.
TEST_F(OracleTest, RandomCases) {
    const char* given = getenv("ORACLE_SEED");
    const unsigned long seed = given != nullptr ? strtoul(given, nullptr, 0) : 1;
    std::cout << "ORACLE_SEED=" << seed << "\n";
    std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
    for (int i = 0; i < 2000 && !HasFailure(); ++i) {
        Bytes bytes(512);
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random()); });
        expectRight(caseFrom({bytes}));
    }
}

}  // namespace

}  // namespace oracle
