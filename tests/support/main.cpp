// The fixture, and the main function of the tests. Unlike GoogleTest's own, it destroys the virtual
// machine before the process ends.

#include <cstdlib>
#include <iostream>
#include <sstream>

#include "tests/support/library_test.h"

namespace tests {

std::string firstDifference(const std::string& expected, const std::string& actual) {
    std::istringstream expectedLines(expected), actualLines(actual);
    std::string should, is;
    int line = 0;
    do {
        ++line;
        std::getline(expectedLines, should);
        std::getline(actualLines, is);
    } while (should == is && expectedLines && actualLines);
    return "line " + std::to_string(line) + " should be\n    " + should + "\nand is\n    " + is +
           "\n";
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
class FirstFailure : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& test) override { mTest = test.name(); }
    void OnTestPartResult(const testing::TestPartResult& result) override {
        if (result.failed() && mText.str().empty()) {
            mText << "\nThe first failure: " << mTest << "\n" << result;
        }
    }
    void OnTestProgramEnd(const testing::UnitTest&) override {
        std::string line;
        for (int left = 10; left != 0 && std::getline(mText, line); --left) {
            std::cout << line.substr(0, 200) << std::endl;
        }
    }
    std::string mTest;
    std::stringstream mText;
};

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new FirstFailure);
    if (RUN_ALL_TESTS() != 0) {
        _Exit(1);  // the virtual machine would wait for threads that a failed test left attached
    }
    tests::stopVm();
    if (tests::takeComplaints().empty()) {
        return 0;
    }
    std::cout << "The virtual machine complained when it ended, as shown above.\n";
    return 1;
}
