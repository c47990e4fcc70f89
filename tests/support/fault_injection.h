// Fault injection: the calls that the library makes of the virtual machine and of the middleware's
// services are intercepted, counted, and made to fail on demand. An intercepted thread sees a
// function table of its own. A JNI function that is not in the list of fault_injection.cpp is null
// there, so that its call ends the process: none is missed.

#ifndef TESTS_FAULT_INJECTION_H
#define TESTS_FAULT_INJECTION_H

#include <jni.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/device.h"

namespace tests {

// --- Whose calls are intercepted ---

// Those of the calling thread.
class Intercepted {
  public:
    explicit Intercepted(bool intercepting = true);
    ~Intercepted();
    Intercepted(Intercepted&&) = delete;

  private:
    bool mBefore;
};

// Calls a function of the library, intercepted.
template <typename Function>
auto callIntercepted(const Function& function) {
    const Intercepted intercepted;
    return function();
}

// As reportEvent, intercepted.
inline jint report(Event event, uint32_t handle, const std::vector<jint>& numbers,
                   jarray list = nullptr) {
    return callIntercepted([&] { return reportEvent(event, handle, numbers, list); });
}

// Starts the virtual machine so that calls can be intercepted, and keeps the log.
void startInterceptedVm(const std::vector<std::string>& options);
// Calls the library's load entry, intercepted, below a Java method; returns its result.
jint loadInterceptedLibrary();

// --- Calls that fail ---

// A call's ways to fail are some of these.
enum Failure {
    kFails = 1,   // null, or an error code. A failing detach, handle_free, x_sema_unlock or
                  // x_sema_delete does its work all the same
    kThrows = 2,  // the same, with a Java exception pending
    kEmpty = 4,   // reports success, but has no result
    kKeeps = 8,   // of x_sema_unlock: an error code, and the semaphore is not released
};
constexpr int kServiceError = -17;  // what a failing service returns

// The nth such call from now on (1: the next) on an intercepted thread fails, once. Without a name
// every call counts; with one that is not in the list of fault_injection.cpp nothing ever fails.
void failCall(const std::string& call, size_t nth, Failure failure);

// A recording keeps the intercepted calls, in order when one thread makes them. Those of Java it also
// writes to the log, as "Class.method(arguments)" with the class that the method was looked up in;
// those that are made to fail too.
struct Point {
    std::string call;
    std::string of;  // the Java method that is called, or the name that is looked up or registered
    // The same, whole: "a/b/Class", "name(signature)"; of a registration every native.
    std::vector<std::string> whole;
    jint mode;  // of a release of array elements
    int ways;   // in which it can fail
    // A method of a filter, whose exceptions the filter side neither tests nor clears: such an
    // exception is pending while the function goes on and when it returns. What the virtual machine
    // complains of after such a call is tolerated.
    bool isNeglected;
};
void record();
std::vector<Point> recorded();  // ends the recording; and no call is made to fail any more

// --- What the library holds ---

// By name, counted only on intercepted threads: references, "elements" (arrays whose elements are
// held), attachments, and what the services gave out. "bad frees" are those so far, see
// fake_bad_frees.
using ResourceCounts = std::map<std::string, int>;
constexpr char kGlobalRefs[] = "global references";
ResourceCounts resourceCounts();
int liveRefBases();  // reference-counted objects of the platform's, see refbase_count.cpp
// "handles: +1" for each count that has changed since.
std::string changesSince(const ResourceCounts& before);

}  // namespace tests

#endif  // TESTS_FAULT_INJECTION_H
