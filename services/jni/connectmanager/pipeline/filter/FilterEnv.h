// The calling thread's Java environment on the filter side, where a thread that cannot be attached
// or detached ends the process.

#ifndef FILTER_ENV_H
#define FILTER_ENV_H

#include <jni.h>

namespace android {

// Lives on the stack of one operation; attaches the thread when it is not attached, and then
// detaches it.
class FilterEnv {
  public:
    // The texts of the two checks that must never fail; null for a failure that is borne.
    struct Checks {
        const char* attach;
        const char* detach;
        bool attachWhenNull;  // also when GetEnv succeeds with a null environment
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

    // Null only under kDestructor.
    JNIEnv* env() const { return mEnv; }
    bool attachedHere() const { return mAttached; }

  private:
    const Checks& mChecks;
    JNIEnv* mEnv = nullptr;
    bool mAttached = false;
};

}  // namespace android

#endif  // FILTER_ENV_H
