// What the library and the other tests rely on in the platform. Logging, reference counting and the
// scoped reference are tested on the stand-ins and on the platform's own, which must not differ.

#include <android/log.h>
#include <cutils/properties.h>
#include <desk/basic_faults.h>
#include <gtest/gtest.h>
#include <nativehelper/ScopedLocalRef.h>
#include <signal.h>
#include <utils/RefBase.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "mw/basic_services.h"
#include "tests/refbase_count.h"

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
    // The name of the library's second property is longer than PROPERTY_KEY_MAX.
    EXPECT_EQ(0, property_set("persist.vendor.zyt.broadcast.log.level", "D"));
    EXPECT_EQ(1, property_get("persist.vendor.zyt.broadcast.log.level", value, ""));
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
    EXPECT_EQ(0, desk::liveRefBases());
}

// Notes what happens to it, and whether the pointer that holds it still shows it.
struct Told : android::RefBase {
    Told(std::string& story, char name) : mStory(story), mName(name) {}
    ~Told() override { tell("destroyed"); }
    void onFirstRef() override { tell("first"); }
    void onLastStrongRef(const void*) override { tell("last"); }
    void tell(const char* what) {
        mStory += std::string(1, mName) + " " + what + " " + std::to_string(getStrongCount()) +
                  (mHolder != nullptr && mHolder->get() == this ? " held\n" : "\n");
    }
    std::string& mStory;
    const char mName;
    const android::sp<Told>* mHolder = nullptr;
};

TEST(RefBaseTest, TellsItsObjectOfTheFirstAndTheLastReference) {
    std::string story;
    {
        auto* a = new Told(story, 'a');
        EXPECT_EQ(1 << 28, a->getStrongCount());
        android::sp<Told> pointer(a);
        android::sp<Told> copy(pointer);
        android::sp<Told> moved(std::move(copy));
        EXPECT_EQ(nullptr, copy.get());  // NOLINT(bugprone-use-after-move): what is tested
        EXPECT_EQ(2, a->getStrongCount());
        a->mHolder = &pointer;
        moved.clear();
        EXPECT_EQ("a first 1\n", story);
        android::sp<Told> b(new Told(story, 'b'));
        b->mHolder = &pointer;
        story.clear();
        pointer = b;
        EXPECT_EQ("a last 0 held\na destroyed 0 held\n", story);
        android::sp<Told> c(new Told(story, 'c'));
        b.clear();
        story.clear();
        pointer = std::move(c);
        EXPECT_EQ(nullptr, c.get());  // NOLINT(bugprone-use-after-move): what is tested
        EXPECT_EQ("b last 0 held\nb destroyed 0 held\n", story);
        story.clear();
    }
    EXPECT_EQ("c last 0\nc destroyed 0\n", story);
    EXPECT_EQ(0, desk::liveRefBases());
}

TEST(RefBaseTest, AReferenceTooManyDroppedEndsTheProcess) {
    std::atomic<int> destroyed{0};
    EXPECT_EXIT((new Counted(destroyed))->decStrong(nullptr), testing::KilledBySignal(SIGABRT), "");
}

std::string gLogged;

void keepLine(const __android_logger_data* data, const char* message) {
    gLogged += std::to_string(data->priority) + " " + data->tag + " " + message + "|";
    errno = 1;
}

TEST(LogTest, LinesReachTheLoggerWholeUpTo1023Characters) {
    __android_log_set_logger(keepLine);
    struct Line {
        int minimum;  // 1: none was set
        int prio;
        std::string text;
        std::string expected;  // empty: dropped
    };
    const Line lines[] = {
        {1, ANDROID_LOG_DEBUG, "dropped", ""},
        {1, ANDROID_LOG_INFO, "kept", "4 TAG kept|"},
        {ANDROID_LOG_VERBOSE, ANDROID_LOG_VERBOSE, "kept", "2 TAG kept|"},
        {ANDROID_LOG_ERROR, ANDROID_LOG_WARN, "dropped", ""},
        {ANDROID_LOG_VERBOSE, ANDROID_LOG_DEBUG, "two\nlines\n", "3 TAG two\nlines\n|"},
        {ANDROID_LOG_VERBOSE, ANDROID_LOG_ERROR, "", "6 TAG |"},
        {ANDROID_LOG_VERBOSE, ANDROID_LOG_ERROR, std::string(1024, 'x'),
         "6 TAG " + std::string(1023, 'x') + "|"},
    };
    for (const Line& line : lines) {
        gLogged.clear();
        __android_log_set_minimum_priority(line.minimum);
        errno = 1234;
        EXPECT_EQ(line.expected.empty() ? 0 : 1,
                  __android_log_print(line.prio, "TAG", "%s", line.text.c_str()));
        EXPECT_EQ(1234, errno);
        EXPECT_EQ(line.expected, gLogged);
    }
    __android_log_set_minimum_priority(1);
    __android_log_set_logger(__android_log_stderr_logger);
}

TEST(LogTest, LinesGoToStandardError) {
    EXPECT_EXIT(
        {
            __android_log_print(ANDROID_LOG_ERROR, "TAG", "text %d", 7);
            _exit(0);
        },
        testing::ExitedWithCode(0), "TAG.*text 7\n$");
}

TEST(LogTest, AFatalAssertionSaysItsMessageAndAborts) {
    EXPECT_EXIT(__android_log_assert("!(x)", "TAG", "%s: at :%d", "path", 7),
                testing::KilledBySignal(SIGABRT), "^path: at :7\n.*TAG.*path: at :7\n");
    EXPECT_EXIT(__android_log_assert("!(x)", "TAG", nullptr), testing::KilledBySignal(SIGABRT),
                "TAG.*Assertion failed: !\\(x\\)\n");
}

using JniFunctions = std::remove_const_t<std::remove_pointer_t<decltype(JNIEnv::functions)>>;
std::vector<jobject> gDeleted;

TEST(ScopedLocalRefTest, DeletesEachReferenceOnceUnlessItIsReleased) {
    JniFunctions functions = {};
    functions.DeleteLocalRef = [](JNIEnv*, jobject ref) { gDeleted.push_back(ref); };
    JNIEnv env;
    env.functions = &functions;
    int objects[5];
    jobject refs[5];
    for (int i = 0; i < 5; ++i) {
        refs[i] = reinterpret_cast<jobject>(&objects[i]);
    }
    using Deleted = std::vector<jobject>;
    {
        ScopedLocalRef<jobject> ref(&env, refs[0]);
        ref.reset(refs[0]);
        EXPECT_EQ(Deleted{}, gDeleted);
        ref.reset(refs[1]);
        EXPECT_EQ(Deleted{refs[0]}, gDeleted);
        EXPECT_EQ(refs[1], ref.release());
        EXPECT_EQ(nullptr, ref.get());
        ref.reset(refs[2]);
        ScopedLocalRef<jobject> moved(std::move(ref));
        EXPECT_EQ(refs[2], moved.get());
        ScopedLocalRef<jobject> other(&env, refs[3]);
        moved = std::move(other);
        EXPECT_EQ((Deleted{refs[0], refs[2]}), gDeleted);
        EXPECT_EQ(refs[3], moved.get());
        const ScopedLocalRef<jobject> none(&env);
        EXPECT_EQ(nullptr, none.get());
    }
    EXPECT_EQ((Deleted{refs[0], refs[2], refs[3]}), gDeleted);
}

}  // namespace
