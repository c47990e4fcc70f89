// The fixture, and the tests' entry: as GoogleTest's own, but the virtual machine is gone before the
// process ends.

#include <algorithm>

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
        startWatchedVm({kSmallHeap, kCheckJni});
        return loadWatchedLibrary();
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

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    tests::stopVm();
    return result != 0 || !tests::takeComplaints().empty() ? 1 : 0;
}
