// The calling thread's Java environment on the filter side, where the process ends if a thread
// cannot be attached or detached, except in a destructor.

#ifndef FILTER_ENV_H
#define FILTER_ENV_H

#include <jni.h>

namespace android {

// The environment of one operation; lives on its stack. If the thread is not attached, the scope
// attaches it and detaches it at the end.
//
// Note: the scope does not check for exceptions. If a filter's Java method left one pending on a
// thread that was attached here, the detach ends the process on a device.
class FilterEnv {
  public:
    // What a failure means. The kinds of operations report different conditions. The destructor of
    // a filter tolerates a failure, and then has no environment.
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
    bool mAttached = false;  // must come before mEnv, whose initialization sets it
    JNIEnv* mEnv;
};

}  // namespace android

#endif  // FILTER_ENV_H
