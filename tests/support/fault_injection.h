// Fault injection intercepts the calls that the library makes of the virtual machine and of the
// middleware's services, counts them, and lets them fail on demand. An intercepted thread has its
// own JNI function table. A JNI function that is not in the list of fault_injection.cpp is null
// there: a call of it ends the process, so none goes unnoticed.

#ifndef TESTS_FAULT_INJECTION_H
#define TESTS_FAULT_INJECTION_H

#include <jni.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/device.h"

namespace tests {

// --- Interception ---

// While it exists, the calls of the calling thread are intercepted; with false they are not.
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

// Like reportEvent, but intercepted.
inline jint report(Event event, uint32_t handle, const std::vector<jint>& numbers,
                   jarray list = nullptr) {
    return callIntercepted([&] { return reportEvent(event, handle, numbers, list); });
}

// Starts the virtual machine, prepares interception, and keeps the log.
void startInterceptedVm(const std::vector<std::string>& options);
// Calls the library's load entry, intercepted, below a Java method. Returns its result.
jint loadInterceptedLibrary();

// --- Calls that fail ---

// The ways to fail. A call has some of them.
enum Failure {
    kFails = 1,   // returns null or an error code. A detach, handle_free, x_sema_unlock and
                  // x_sema_delete still do their work
    kThrows = 2,  // the same, with a Java exception pending
    kEmpty = 4,   // reports success, but has no result
    kKeeps = 8,   // only x_sema_unlock: returns an error code and does not release the semaphore
};
constexpr int kServiceError = -17;  // what a failing service returns

// The nth such call from now on (1: the next) on an intercepted thread fails, once. An empty name
// means any call. A name that is not in the list of fault_injection.cpp never fails.
void failCall(const std::string& call, size_t nth, Failure failure);

// A recording keeps the intercepted calls, in their order if one thread makes them. It also adds
// the calls of Java methods to the log, as "Class.method(arguments)", even those that fail. The
// class is the one in which the method was looked up.
struct Point {
    std::string call;
    // The Java method that is called; or what is looked up or registered, as "a/b/Class",
    // "Class.method(signature)", or "method(signature) method(signature)..."
    std::string of;
    jint mode;  // that of a release of array elements
    int ways;   // the ways in which it can fail
    // Calls a method of a filter. The library neither checks for its exception nor clears it, so
    // the exception is pending while the function goes on and when it returns. Complaints of the
    // virtual machine about it are tolerated.
    bool isNeglected;
};
void record();
std::vector<Point> recorded();  // ends the recording and removes all faults

// --- What the library holds ---

// Counts by name. References and "elements" (arrays whose elements are held) are counted only on
// intercepted threads, and attachments only if the library made them. Handles, semaphores, blocks
// and peers are counted in the whole process, as are "bad frees", see fake_bad_frees.
using ResourceCounts = std::map<std::string, int>;
constexpr char kGlobalRefs[] = "global references";
ResourceCounts resourceCounts();
int liveRefBases();  // objects that derive from the platform's RefBase, see refbase_count.cpp
// The counts that have changed since, each as "handles: +1".
std::string changesSince(const ResourceCounts& before);

}  // namespace tests

#endif  // TESTS_FAULT_INJECTION_H
