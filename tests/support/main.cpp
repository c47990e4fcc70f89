// The fixture, and the main function of the tests. Unlike GoogleTest's own, it destroys the virtual
// machine before the process ends.

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <sstream>

#include "tests/support/library_test.h"

namespace tests {

std::string firstDifference(const std::string& expected, const std::string& actual) {
    const auto at = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
    const auto start = static_cast<size_t>(at.first - expected.begin());
    const size_t line = start == 0 ? 0 : expected.rfind('\n', start - 1) + 1;
    const auto lineOf = [&](const std::string& text) {
        return line < text.size() ? text.substr(line, text.find('\n', line) - line) : "its end";
    };
    return "line " +
           std::to_string(1 + std::count(expected.begin(),
                                         expected.begin() + static_cast<ptrdiff_t>(line), '\n')) +
           " should be\n    " + lineOf(expected) + "\nand is\n    " + lineOf(actual) + "\n";
}

void LibraryTest::SetUp() {
    static const jint loaded = [] {
        startInterceptedVm({kSmallHeap, kCheckJni});
        return loadInterceptedLibrary();
    }();
    ASSERT_EQ(JNI_VERSION_1_4, loaded);
    mFrame.emplace();
    resetModel();
    setLogLevel("");
    takeLog();
    mPipeline.emplace();
    mCounts = resourceCounts();
}

void LibraryTest::TearDown() {
    recorded();  // removes all faults
    EXPECT_FALSE(env()->ExceptionCheck());
    EXPECT_EQ("", changesSince(mCounts));
    EXPECT_EQ(std::vector<std::string>(), takeComplaints());
    mPipeline.reset();
    mFrame.reset();
}

}  // namespace tests

// Prints the first failure again at the end, where people look.
static void tellFailure(const std::string& test, const testing::TestResult& result) {
    for (int i = 0; i < result.total_part_count(); ++i) {
        const testing::TestPartResult& part = result.GetTestPartResult(i);
        if (part.failed()) {
            std::cout << "\nThe first failure: " << test << "\n"
                      << (part.file_name() != nullptr ? part.file_name() : "") << ":"
                      << part.line_number() << ":\n";
            std::istringstream message(part.message());
            std::string line;
            for (int left = 7; left != 0 && std::getline(message, line); --left) {
                std::cout << line.substr(0, 200) << "\n";
            }
            return;
        }
    }
}

static void tellFirstFailure() {
    const testing::UnitTest& all = *testing::UnitTest::GetInstance();
    for (int i = 0; i < all.total_test_suite_count(); ++i) {
        const testing::TestSuite& suite = *all.GetTestSuite(i);
        for (int j = 0; j < suite.total_test_count(); ++j) {
            const testing::TestInfo& test = *suite.GetTestInfo(j);
            if (test.result()->Failed()) {
                return tellFailure(test.name(), *test.result());
            }
        }
        if (suite.Failed()) {
            return tellFailure(suite.name(), suite.ad_hoc_test_result());
        }
    }
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (RUN_ALL_TESTS() != 0) {
        tellFirstFailure();
        std::cout.flush();
        _Exit(1);  // the virtual machine would wait for threads that a failed test left attached
    }
    tests::stopVm();
    const bool complained = !tests::takeComplaints().empty();
    if (complained) {
        std::cout << "The virtual machine complained when it ended, as shown above.\n";
    }
    return complained ? 1 : 0;
}
