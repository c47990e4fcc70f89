// The fixture, and the tests' entry: as GoogleTest's own, but the virtual machine is gone before the
// process ends.

#include <algorithm>
#include <cstdio>
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
    recorded();  // nothing fails any more
    EXPECT_FALSE(env()->ExceptionCheck());
    EXPECT_EQ("", changesSince(mCounts));
    EXPECT_EQ(std::vector<std::string>(), takeComplaints());
    mPipeline.reset();
    mFrame.reset();
}

}  // namespace tests

namespace {

// Keeps the first failure, to tell it once more at the end, where it is seen.
class FirstFailure : public testing::EmptyTestEventListener {
  public:
    void tell() const {
        // Of a long one the beginning, and the end, which says where it happened.
        const size_t left = mLines.size() - std::min<size_t>(mLines.size(), 3);
        for (size_t i = 0; i < mLines.size(); ++i) {
            if (i < 6 || i >= left) {
                printf("%s\n", mLines[i].substr(0, 200).c_str());
            }
        }
    }

  private:
    void OnTestStart(const testing::TestInfo& test) override { mTest = test.name(); }
    void OnTestPartResult(const testing::TestPartResult& result) override {
        if (!result.failed() || !mLines.empty()) {
            return;
        }
        mLines = {"", "The first failure: " + mTest};
        std::istringstream message(result.message());
        const char* const file = result.file_name() != nullptr ? result.file_name() : "";
        mLines.push_back(file + std::string(":") + std::to_string(result.line_number()) + ":");
        for (std::string line; std::getline(message, line);) {
            mLines.push_back(line);
        }
    }

    std::string mTest;
    std::vector<std::string> mLines;
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    auto* const failure = new FirstFailure();  // belongs to the list
    testing::UnitTest::GetInstance()->listeners().Append(failure);
    const int result = RUN_ALL_TESTS();
    tests::stopVm();
    failure->tell();
    const bool complained = !tests::takeComplaints().empty();
    if (complained) {
        puts("The virtual machine complained when it ended, as is shown above.");
    }
    return result != 0 || complained ? 1 : 0;
}
