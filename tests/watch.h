// What the library asks of the virtual machine and of the middleware's services, watched call by
// call: counted, and made to fail on demand. A watched thread sees a function table of its own, with
// the JNI functions below; any other is null there, and its call ends the process: none goes unwatched.

#ifndef TESTS_WATCH_H
#define TESTS_WATCH_H

#include <jni.h>

#include <map>
#include <string>
#include <vector>

#include "tests/host.h"

namespace desk {

// Every call that the library makes: JNI functions with their ways to fail, their properties and the
// resource count that they change; then the invocation interface and, in the order of
// desk_service_t, the services. IsSameObject and the array regions never fail: the library sets
// whole arrays.
#define DESK_CALLS(JNI, OTHER)                                               \
    JNI(FindClass, kFailsOrThrows, kEntersJava, &gLocalRefs, 1)              \
    JNI(GetMethodID, kFailsOrThrows, kEntersJava, kNoCount, 0)               \
    JNI(RegisterNatives, kFailsOrThrows, 0, kNoCount, 0)                     \
    JNI(NewGlobalRef, kFailsOrThrows, 0, &gGlobalRefs, 1)                    \
    JNI(DeleteGlobalRef, kNever, kWhilePending, &gGlobalRefs, -1)            \
    JNI(NewLocalRef, kFailsOrThrows, 0, &gLocalRefs, 1)                      \
    JNI(DeleteLocalRef, kNever, kWhilePending, &gLocalRefs, -1)              \
    JNI(IsSameObject, kNever, 0, kNoCount, 0)                                \
    JNI(NewObjectA, kFailsOrThrows, kEntersJava, &gLocalRefs, 1)             \
    JNI(CallVoidMethodA, kThrows, kEntersJava, kNoCount, 0)                  \
    JNI(CallBooleanMethodA, kThrows, kEntersJava, kNoCount, 0)               \
    JNI(CallIntMethodA, kThrows, kEntersJava, kNoCount, 0)                   \
    JNI(CallLongMethodA, kThrows, kEntersJava, kNoCount, 0)                  \
    JNI(CallObjectMethodA, kFailsOrThrows, kEntersJava, &gLocalRefs, 1)      \
    JNI(NewByteArray, kFailsOrThrows, 0, &gLocalRefs, 1)                     \
    JNI(NewIntArray, kFailsOrThrows, 0, &gLocalRefs, 1)                      \
    JNI(GetArrayLength, kNever, 0, kNoCount, 0)                              \
    JNI(SetByteArrayRegion, kNever, 0, kNoCount, 0)                          \
    JNI(SetIntArrayRegion, kNever, 0, kNoCount, 0)                           \
    JNI(GetByteArrayElements, kFailsOrThrows, 0, &gElements, 1)              \
    JNI(GetIntArrayElements, kFailsOrThrows, 0, &gElements, 1)               \
    JNI(ReleaseByteArrayElements, kNever, kWhilePending, &gElements, -1)     \
    JNI(ReleaseIntArrayElements, kNever, kWhilePending, &gElements, -1)      \
    JNI(ExceptionCheck, kNever, kWhilePending, kNoCount, 0)                  \
    JNI(ExceptionDescribe, kNever, kWhilePending | kEntersJava, kNoCount, 0) \
    JNI(ExceptionClear, kNever, kWhilePending, kNoCount, 0)                  \
    OTHER(GetEnv, kFailsOrIsEmpty, kWhilePending)                            \
    OTHER(AttachCurrentThread, kFailsOrIsEmpty, kWhilePending)               \
    OTHER(DetachCurrentThread, kFails, 0)                                    \
    OTHER(handle_alloc, kFails, kWhilePending)                               \
    OTHER(handle_get_type_obj, kFailsOrIsEmpty, kWhilePending)               \
    OTHER(handle_get_obj, kFailsOrIsEmpty, kWhilePending)                    \
    OTHER(handle_free, kFails, kWhilePending)                                \
    OTHER(x_sema_create, kFails, kWhilePending)                              \
    OTHER(x_sema_lock, kFails, kWhilePending)                                \
    OTHER(x_sema_unlock, kFailsOrKeeps, kWhilePending)                       \
    OTHER(x_sema_delete, kFails, kWhilePending)                              \
    OTHER(x_mem_alloc, kFails, kWhilePending)                                \
    OTHER(x_mem_free, kNever, kWhilePending)

// Each is named as the function is.
enum class Call {
#define DESK_CALL_NAME(name, ...) name,
    DESK_CALLS(DESK_CALL_NAME, DESK_CALL_NAME)
#undef DESK_CALL_NAME
};
const char* name(Call call);

// How a call fails.
enum class Failure {
    kNull,    // null, or an error code. A failing detach, handle_free, x_sema_unlock or
              // x_sema_delete does its work all the same
    kThrows,  // the same, with a Java exception pending
    kEmpty,   // reports success, but has no result
    kKeeps,   // of x_sema_unlock: an error code, and the semaphore is not released
};
const char* name(Failure failure);
// The ways in which a call can fail; none for one that cannot.
std::vector<Failure> waysToFail(Call call);
constexpr int kServiceError = -17;  // what a failing service returns

// The nth watched call from now on (1: the next) fails, once; the 0th: each. Several may be to fail.
void failCall(Call call, int nth, Failure failure);
void failNothing();  // from now on

// Recording: the watched calls are kept in order, JNI calls made while a Java exception is pending
// are noted, and one of the calls can be made to fail. For one watched thread at a time.
struct Point {
    Call call;
    std::string name;  // of the Java method that is called, or of the class that is looked up
};
void record();
void recordAndFail(size_t point, Failure failure);  // the point'th call, from 0
std::vector<Point> recorded();                      // ends the recording, and a fault
std::vector<std::string> takeBreaches();

// The Java methods of a filter whose exceptions the filter side neither tests nor clears: such an
// exception is pending while the function goes on and when it returns. What the virtual machine
// complains of after such a call is tolerated.
bool isNeglected(const std::string& javaMethod);

// Starts the virtual machine so that threads can be watched, and keeps the log.
JNIEnv* startWatchedVm(const std::vector<std::string>& options);
void watchServices();  // is done then; again for who had a service hook of his own
// Calls the library's load entry, watched, below a Java method; returns its result.
jint loadWatchedLibrary();

// What the library holds, by name, counted only inside Watch scopes on their threads: references,
// "elements" (arrays whose elements are held), attachments, and what the services gave out. "bad
// frees" are those so far, see desk_bad_frees.
using ResourceCounts = std::map<std::string, int>;
constexpr char kGlobalRefs[] = "global references";
ResourceCounts resourceCounts();

// Array elements released since the last time, by mode.
struct Releases {
    int copiedBack = 0;  // 0
    int aborted = 0;     // JNI_ABORT
    int other = 0;       // JNI_COMMIT: the elements stay held
};
Releases takeReleases();

class Watch {
  public:
    explicit Watch(bool watching = true);
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

  private:
    bool mBefore;
};

// Calls a function of the library, watched.
template <typename Call>
auto callWatched(const Call& call) {
    const Watch watch;
    return call();
}

// Reports an event, watched; args as for reportEvent.
template <typename... Args>
jint report(Event event, uint32_t handle, const Args&... args) {
    return callWatched([&] { return reportEvent(event, {toJava(handle), toJava(args)...}); });
}

}  // namespace desk

#endif  // TESTS_WATCH_H
