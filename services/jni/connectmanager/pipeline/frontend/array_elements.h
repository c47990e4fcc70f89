// The elements of a Java array that came with an event.

#ifndef ARRAY_ELEMENTS_H
#define ARRAY_ELEMENTS_H

#include <jni.h>

// Holds the elements during one callback. What the middleware writes to them never reaches Java.
template <typename Array, typename Element>
class ArrayElements {
  public:
    // length: the number of elements that Java reported. A null array and a length below least are
    // refused without any JNI call.
    ArrayElements(JNIEnv* env, Array array, jint length, jint least);
    ~ArrayElements();
    ArrayElements(const ArrayElements&) = delete;
    ArrayElements& operator=(const ArrayElements&) = delete;

    // Null when the array or the length was refused, when JNI cannot supply the elements, or when
    // the array is empty although a length above 0 was reported.
    const Element* get() const { return mElements; }
    // The reported length, but never more than the array has.
    jint count() const { return mCount; }
    jint realLength() const { return mRealLength; }

  private:
    JNIEnv* mEnv;
    Array mArray;
    jint mRealLength = 0;
    jint mCount = 0;
    Element* mElements = nullptr;
};

extern template class ArrayElements<jintArray, jint>;
extern template class ArrayElements<jbyteArray, jbyte>;

#endif  // ARRAY_ELEMENTS_H
