// What the library and the other tests rely on in the parts of the platform that are ours.

#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <string>
#include <thread>

#include "mw/basic_services.h"

namespace {

TEST(SemaphoreTest, OnlyAHeldOneIsUnlockedAndNoOtherKindIsCreated) {
    uint32_t semaphore = 0;
    EXPECT_NE(0, x_sema_create(&semaphore, X_SEMA_TYPE_BINARY_HELD + 1, 0));
    ASSERT_EQ(0, x_sema_create(&semaphore, X_SEMA_TYPE_BINARY_HELD, 0));
    EXPECT_EQ(0, x_sema_unlock(semaphore));
    EXPECT_NE(0, x_sema_unlock(semaphore));
    EXPECT_EQ(0, x_sema_delete(semaphore));
}

TEST(PropertyTest, StartsFromTheEnvironmentAndKeepsItsBounds) {
    char value[PROPERTY_VALUE_MAX];
    setenv("PROPERTY_some_start_value", "from outside", 1);
    EXPECT_EQ(12, property_get("some.start.value", value, "default"));
    EXPECT_STREQ("from outside", value);
    constexpr char kLongName[] = "persist.vendor.zyt.broadcast.log.level";
    EXPECT_EQ(7, property_get(kLongName, value, "default"));
    EXPECT_EQ(0, property_set(kLongName, std::string(91, 'x').c_str()));
    EXPECT_EQ(-1, property_set(kLongName, std::string(92, 'y').c_str()));
    EXPECT_EQ(91, property_get(kLongName, value, ""));
    EXPECT_EQ('x', value[90]);
}

// The library's handler of SIGINT logs, which reads properties.
TEST(PropertyTest, ASignalHandlerMayReadWhatItInterrupted) {
    signal(SIGUSR1, [](int) {
        char value[PROPERTY_VALUE_MAX];
        property_get("some.signal", value, "");
    });
    std::atomic<bool> done{false};
    std::thread storm([&, reader = pthread_self()] {
        while (!done) {
            pthread_kill(reader, SIGUSR1);
        }
    });
    for (int i = 0; i < 3000; ++i) {
        property_set("some.signal", "value");
    }
    done = true;
    storm.join();
}

}  // namespace
