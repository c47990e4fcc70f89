// The fixture, and the tests' entry: as GoogleTest's own, but the virtual machine is gone before the
// process ends.

#include "tests/support/library_test.h"

namespace tests {

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
