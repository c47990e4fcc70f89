#include "services/jni/connectmanager/pipeline/frontend/array_elements.h"

#include <algorithm>
#include <type_traits>

#include "services/jni/connectmanager/pipeline/core/java_method.h"

template <typename Array, typename Element>
ArrayElements<Array, Element>::ArrayElements(JNIEnv* env, Array array, jint length, jint least)
    : mEnv(env), mArray(array) {
    if (array == nullptr || length < least) {
        return;
    }
    mRealLength = env->GetArrayLength(array);
    if (mRealLength == 0 && length > 0) {
        return;
    }
    mCount = std::min(length, mRealLength);
    if constexpr (std::is_same_v<Array, jintArray>) {
        mElements = env->GetIntArrayElements(array, nullptr);
    } else {
        mElements = env->GetByteArrayElements(array, nullptr);
    }
    if (mElements == nullptr) {
        android::clearException(env);
    }
}

template <typename Array, typename Element>
ArrayElements<Array, Element>::~ArrayElements() {
    if (mElements == nullptr) {
        return;
    }
    if constexpr (std::is_same_v<Array, jintArray>) {
        mEnv->ReleaseIntArrayElements(mArray, mElements, JNI_ABORT);
    } else {
        mEnv->ReleaseByteArrayElements(mArray, mElements, JNI_ABORT);
    }
}

template class ArrayElements<jintArray, jint>;
template class ArrayElements<jbyteArray, jbyte>;
