// What the library and the other tests rely on in the platform. Logging, reference counting and the
// scoped reference are tested on the stand-ins and on the platform's own, which must not differ.

#include <android/log.h>
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <nativehelper/scoped_local_ref.h>
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
        android::sp<Told> b(new Told(story, 'b'));
        b->mHolder = &pointer;
        pointer = b;
        b.clear();
        android::sp<Told> c(new Told(story, 'c'));
        pointer = std::move(c);
        EXPECT_EQ(nullptr, c.get());  // NOLINT(bugprone-use-after-move): what is tested
    }
    EXPECT_EQ(
        "a first 1\nb first 1\na last 0 held\na destroyed 0 held\n"
        "c first 1\nb last 0 held\nb destroyed 0 held\nc last 0\nc destroyed 0\n",
        story);
    EXPECT_EQ(0, desk::liveRefBases());
}

TEST(RefBaseTest, AReferenceTooManyDroppedEndsTheProcess) {
    struct Plain : android::RefBase {};
    EXPECT_EXIT((new Plain())->decStrong(nullptr), testing::KilledBySignal(SIGABRT), "");
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
        {ANDROID_LOG_VERBOSE, ANDROID_LOG_VERBOSE, "two\nlines\n", "2 TAG two\nlines\n|"},
        {ANDROID_LOG_ERROR, ANDROID_LOG_WARN, "dropped", ""},
        {ANDROID_LOG_ERROR, ANDROID_LOG_ERROR, "", "6 TAG |"},
        {1, ANDROID_LOG_ERROR, std::string(1024, 'x'), "6 TAG " + std::string(1023, 'x') + "|"},
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
    _jobject objects[4];
    jobject a = &objects[0], b = &objects[1], c = &objects[2], d = &objects[3];
    {
        ScopedLocalRef<jobject> ref(&env, a);
        ref.reset(a);
        EXPECT_TRUE(gDeleted.empty());
        ref.reset(b);
        EXPECT_EQ(b, ref.release());
        EXPECT_EQ(nullptr, ref.get());
        ref.reset(c);
        ScopedLocalRef<jobject> moved(std::move(ref));
        EXPECT_EQ(c, moved.get());
        ScopedLocalRef<jobject> other(&env, d);
        moved = std::move(other);
        EXPECT_EQ((std::vector<jobject>{a, c}), gDeleted);
        EXPECT_EQ(d, moved.get());
        const ScopedLocalRef<jobject> none(&env);
        EXPECT_EQ(nullptr, none.get());
    }
    EXPECT_EQ((std::vector<jobject>{a, c, d}), gDeleted);
}

}  // namespace
