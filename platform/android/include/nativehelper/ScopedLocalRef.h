// A JNI local reference that is deleted at the end of its scope.
#ifndef NATIVEHELPER_SCOPED_LOCAL_REF_H
#define NATIVEHELPER_SCOPED_LOCAL_REF_H

#include <jni.h>

template <typename T>
class ScopedLocalRef {
  public:
    explicit ScopedLocalRef(JNIEnv* env, T ref = nullptr) : mEnv(env), mRef(ref) {}
    ~ScopedLocalRef() { reset(); }
    ScopedLocalRef(ScopedLocalRef&& other) noexcept : mEnv(other.mEnv), mRef(other.release()) {}
    ScopedLocalRef(const ScopedLocalRef&) = delete;
    ScopedLocalRef& operator=(const ScopedLocalRef&) = delete;

    void reset(T ref = nullptr) {
        if (ref != mRef) {
            if (mRef != nullptr) {
                mEnv->DeleteLocalRef(mRef);
            }
            mRef = ref;
        }
    }

    T release() {
        T ref = mRef;
        mRef = nullptr;
        return ref;
    }

    T get() const { return mRef; }

  private:
    JNIEnv* const mEnv;
    T mRef;
};

#endif  // NATIVEHELPER_SCOPED_LOCAL_REF_H
