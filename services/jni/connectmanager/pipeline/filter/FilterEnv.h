// The calling thread's Java environment on the filter side, where a thread that cannot be attached
// or detached ends the process.

#ifndef FILTER_ENV_H
#define FILTER_ENV_H

#include <jni.h>

namespace android {

// Lives on the stack of one operation. It attaches the thread when it is not attached, and detaches
// it again.
//
// Note: exceptions are not looked at. One that a filter's Java method left pending on a
// thread that was attached here ends the process of a device at the detach.
class FilterEnv {
  public:
    // What a failure means. Each operation ends the process under conditions of its own; the
    // destructor of a filter tolerates a failure, and then has no environment.
    struct Checks {
        const char* attach;    // condition text of the attach check; null: a failure is tolerated
        const char* detach;    // the same for the detach
        bool attachWhenEmpty;  // also attach when GetEnv succeeds without giving an environment
    };
    static constexpr Checks kOperation = {"!((status == (0)) && (jenv != __null))",
                                          "!(status == (0))", false};
    static constexpr Checks kDestructor = {nullptr, nullptr, false};
    static constexpr Checks kCallbackThread = {"!((ret == (0)) && (jenv != __null))",
                                               "!(ret == (0))", true};

    explicit FilterEnv(const Checks& checks);
    ~FilterEnv();
    FilterEnv(const FilterEnv&) = delete;
    FilterEnv& operator=(const FilterEnv&) = delete;

    // Null only with kDestructor.
    JNIEnv* env() const { return mEnv; }
    bool attachedHere() const { return mAttached; }

  private:
    const Checks& mChecks;
    bool mAttached = false;  // stands before mEnv: acquiring it sets this
    JNIEnv* mEnv;
};

}  // namespace android

#endif  // FILTER_ENV_H
