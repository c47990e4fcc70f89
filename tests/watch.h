// What the library asks of the virtual machine and of the middleware's services, watched call by
// call: counted, and made to fail on demand.

#ifndef TESTS_WATCH_H
#define TESTS_WATCH_H

#include <jni.h>

#include <iosfwd>
#include <string>
#include <vector>

#include "tests/host.h"

namespace desk {

// Every call that the library makes: of a JNI function, of the invocation interface, of a service.
enum class Call {
    kFindClass,
    kGetMethodID,
    kRegisterNatives,
    kNewGlobalRef,
    kDeleteGlobalRef,
    kNewLocalRef,
    kDeleteLocalRef,
    kIsSameObject,
    kNewObject,
    kCallVoidMethod,
    kCallBooleanMethod,
    kCallIntMethod,
    kCallLongMethod,
    kCallObjectMethod,
    kNewByteArray,
    kNewIntArray,
    kGetArrayLength,
    kSetByteArrayRegion,
    kSetIntArrayRegion,
    kGetByteArrayElements,
    kGetIntArrayElements,
    kReleaseByteArrayElements,
    kReleaseIntArrayElements,
    kExceptionCheck,
    kExceptionDescribe,
    kExceptionClear,
    kGetEnv,
    kAttach,
    kDetach,
    kHandleAlloc,  // from here on in the order of desk_service_t
    kHandleGetTypeObj,
    kHandleGetObj,
    kHandleFree,
    kSemaCreate,
    kSemaLock,
    kSemaUnlock,
    kSemaDelete,
    kMemAlloc,
    kMemFree,
    kCount
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
const std::vector<Failure>& waysToFail(Call call);
constexpr int kServiceError = -17;  // what a failing service returns

// The nth watched call from now on (1: the next) fails, once.
void failCall(Call call, int nth, Failure failure);
// Every such call fails.
void failEvery(Call call, Failure failure);
// The lookup of this class or method fails, or the registration of this native.
void failLookup(Call call, const std::string& name);
void failNothing();

// Recording: the watched calls are kept in order, JNI calls made while a Java exception is pending
// are noted, and one of the calls can be made to fail. For one watched thread at a time.
struct Point {
    Call call;
    std::string method;  // of a call into Java
};
void record();
void recordAndFail(size_t point, Failure failure);  // the point'th call, from 0
std::vector<Point> recorded();                      // ends the recording
std::vector<std::string> takeBreaches();

// Starts the virtual machine with watched functions in its function table, and keeps the log.
JNIEnv* startWatchedVm(const std::vector<std::string>& options);
// Loads the library and lets it have the pointer below. False as of loadLibrary.
bool loadWatchedLibrary();
// A virtual machine pointer in front of the real one.
JavaVM* watchedVm();

// What the library holds, counted only inside Watch scopes on their threads.
struct ResourceCounts {
    int globalRefs = 0;
    int localRefs = 0;
    int elements = 0;  // arrays whose elements are held
    int attachments = 0;
    unsigned handles = 0;
    unsigned semaphores = 0;
    unsigned blocks = 0;
    int peers = 0;
    bool operator==(const ResourceCounts& other) const;
};
std::ostream& operator<<(std::ostream& out, const ResourceCounts& counts);
ResourceCounts resourceCounts();
int attachCount();  // attachments made since the start
int releaseMode();  // of the Release...ArrayElements since the last call, or -1

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
auto bridge(const Call& call) {
    const Watch watch;
    return call();
}

// Reports an event, watched; args as for reportEvent.
template <typename... Args>
jint report(Event event, uint32_t handle, const Args&... args) {
    return bridge([&] { return reportEvent(event, {toJava(handle), toJava(args)...}); });
}

}  // namespace desk

#endif  // TESTS_WATCH_H
