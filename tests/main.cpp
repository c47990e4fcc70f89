// The fixture, and the tests' entry: as GoogleTest's own, but the virtual machine is gone before the
// process ends.

#include <thread>

#include "tests/bridge_test.h"

namespace desk {

void BridgeTest::SetUp() {
    static const bool loaded = [] {
        startWatchedVm({kSmallHeap, kCheckJni});
        return loadWatchedLibrary();
    }();
    ASSERT_TRUE(loaded);
    mFrame.emplace();
    resetModel();
    setLogLevel("");
    takeLog();
    mCounts = resourceCounts();
}

void BridgeTest::TearDown() {
    failNothing();
    EXPECT_FALSE(env()->ExceptionCheck());
    EXPECT_EQ(mCounts, resourceCounts());
    mFrame.reset();
}

void onFreshThread(const std::function<void()>& work) {
    std::thread([&] {
        work();
        void* left = nullptr;
        EXPECT_EQ(JNI_EDETACHED, vm()->GetEnv(&left, JNI_VERSION_1_4));
    }).join();
}

}  // namespace desk

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    desk::stopVm();
    return result;
}
