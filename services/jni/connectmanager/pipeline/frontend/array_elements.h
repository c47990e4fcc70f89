// The elements of a Java array that came with an event.

#ifndef ARRAY_ELEMENTS_H
#define ARRAY_ELEMENTS_H

#include <jni.h>

#include <algorithm>

#include "services/jni/connectmanager/pipeline/core/java_method.h"

inline jint* takeElements(JNIEnv* env, jintArray array) {
    return env->GetIntArrayElements(array, nullptr);
}
inline jbyte* takeElements(JNIEnv* env, jbyteArray array) {
    return env->GetByteArrayElements(array, nullptr);
}
inline void releaseElements(JNIEnv* env, jintArray array, jint* elements) {
    env->ReleaseIntArrayElements(array, elements, JNI_ABORT);
}
inline void releaseElements(JNIEnv* env, jbyteArray array, jbyte* elements) {
    env->ReleaseByteArrayElements(array, elements, JNI_ABORT);
}

// Holds the elements for the length of one callback. What the middleware writes to them never
// reaches Java.
template <typename Array, typename Element>
class ArrayElements {
  public:
    // length is how many elements Java says that the array has. A missing array and a length below least
    // are refused, and nothing is asked of the array then.
    ArrayElements(JNIEnv* env, Array array, jint length, jint least) : mEnv(env), mArray(array) {
        if (array == nullptr || length < least) {
            return;
        }
        mRealLength = env->GetArrayLength(array);
        if (mRealLength == 0 && length > 0) {
            return;
        }
        mCount = std::min(length, mRealLength);
        mElements = takeElements(env, array);
        if (mElements == nullptr) {
            android::clearException(env);
        }
    }
    ~ArrayElements() {
        if (mElements != nullptr) {
            releaseElements(mEnv, mArray, mElements);
        }
    }
    ArrayElements(const ArrayElements&) = delete;
    ArrayElements& operator=(const ArrayElements&) = delete;

    // Null when they are refused, when JNI cannot supply them, or when the array is empty although a
    // length above 0 was reported.
    const Element* get() const { return mElements; }
    // Never more than the array has.
    jint count() const { return mCount; }
    jint realLength() const { return mRealLength; }

  private:
    JNIEnv* mEnv;
    Array mArray;
    jint mRealLength = 0;
    jint mCount = 0;
    Element* mElements = nullptr;
};

#endif  // ARRAY_ELEMENTS_H
