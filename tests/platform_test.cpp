// The platform's stand-ins, where the other tests rely on them.

#include <cutils/properties.h>
#include <desk/basic_faults.h>
#include <desk/refbase_count.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <utils/RefBase.h>

#include <atomic>
#include <thread>
#include <vector>

#include "mw/basic_services.h"

namespace {

std::atomic<int> gFreed;

uint8_t countFree(uint32_t, uint16_t e_type, void*, void* pv_tag, uint8_t ui1_flag) {
    if (e_type == 7 && pv_tag == &gFreed && ui1_flag == 1) {
        ++gFreed;
    }
    return 1;
}

TEST(HandleTest, FreedOnceByWhoeverIsFirstAndNeverIssuedAgain) {
    int object = 0;
    std::vector<uint32_t> seen;
    for (int round = 0; round < 50; ++round) {
        uint32_t handle = 0;
        ASSERT_EQ(0, handle_alloc(7, &object, &gFreed, countFree, &handle));
        for (const uint32_t old : seen) {
            ASSERT_NE(old, handle);
        }
        seen.push_back(handle);
        std::thread other([&] { handle_free(handle, 1); });
        handle_free(handle, 1);
        other.join();
        uint16_t type = 0;
        void* found = nullptr;
        EXPECT_NE(0, handle_get_type_obj(handle, &type, &found));
        EXPECT_EQ(nullptr, found);
        EXPECT_EQ(round + 1, gFreed);
    }
    EXPECT_EQ(0u, desk_live_handles());
}

TEST(SemaphoreTest, CreatedHeldAndDeletionWakesWaitersWithAnError) {
    uint32_t semaphore = 0;
    EXPECT_NE(0, x_sema_create(&semaphore, 1, 0));
    EXPECT_NE(0, x_sema_create(nullptr, X_SEMA_TYPE_BINARY_HELD, 0));
    ASSERT_EQ(0, x_sema_create(&semaphore, X_SEMA_TYPE_BINARY_HELD, 0));
    EXPECT_EQ(0, x_sema_unlock(semaphore));
    EXPECT_NE(0, x_sema_unlock(semaphore));
    ASSERT_EQ(0, x_sema_lock(semaphore, X_SEMA_OPTION_WAIT));
    std::atomic<int> failed{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.emplace_back([&] { failed += x_sema_lock(semaphore, X_SEMA_OPTION_WAIT) != 0; });
    }
    EXPECT_EQ(0, x_sema_delete(semaphore));
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(3, failed);
    EXPECT_NE(0, x_sema_delete(semaphore));
    EXPECT_EQ(0u, desk_live_semaphores());
}

TEST(FaultTest, TheNthCallFailsOnce) {
    desk_fail_call(DESK_MEM_ALLOC, 2, -1);
    void* first = x_mem_alloc(8);
    EXPECT_NE(nullptr, first);
    EXPECT_EQ(nullptr, x_mem_alloc(8));
    void* third = x_mem_alloc(8);
    EXPECT_EQ(2u, desk_live_blocks());
    x_mem_free(first);
    x_mem_free(third);
    EXPECT_EQ(0u, desk_live_blocks());
}

TEST(PropertyTest, StartsFromTheEnvironmentAndKeepsItsBounds) {
    char value[PROPERTY_VALUE_MAX];
    setenv("PROPERTY_some_start_value", "from outside", 1);
    EXPECT_EQ(12, property_get("some.start.value", value, "default"));
    EXPECT_STREQ("from outside", value);
    EXPECT_EQ(7, property_get("some.other", value, "default"));
    EXPECT_EQ(0, property_set("some.other", std::string(91, 'x').c_str()));
    EXPECT_EQ(-1, property_set("some.other", std::string(92, 'y').c_str()));
    EXPECT_EQ(91, property_get("some.other", value, ""));
    EXPECT_EQ('x', value[90]);
    EXPECT_EQ(-1, property_set("", "x"));
    EXPECT_EQ(-1, property_set(nullptr, "x"));
}

TEST(PropertyTest, ASignalHandlerMayReadWhatItInterrupted) {
    struct sigaction action = {};
    action.sa_handler = [](int) {
        char value[PROPERTY_VALUE_MAX];
        property_get("some.signal", value, "");
    };
    sigaction(SIGUSR1, &action, nullptr);
    const pthread_t reader = pthread_self();
    std::atomic<bool> done{false};
    std::thread storm([&] {
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

struct Counted : android::RefBase {
    explicit Counted(std::atomic<int>& destroyed) : mDestroyed(destroyed) {}
    ~Counted() override { ++mDestroyed; }
    std::atomic<int>& mDestroyed;
};

TEST(RefBaseTest, DestroyedOnceByTheLastOfManyThreads) {
    std::atomic<int> destroyed{0};
    for (int round = 0; round < 200; ++round) {
        android::sp<Counted> object(new Counted(destroyed));
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([copy = object]() mutable { copy.clear(); });
        }
        object.clear();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    EXPECT_EQ(200, destroyed);
    EXPECT_EQ(0, desk_refbase_live());
}

}  // namespace
