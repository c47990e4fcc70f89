// The Java Native Interface as a device declares it: attaching gives a JNIEnv*, and the texts of a
// native method are constant. Declarations only, as far as a bridge needs them, for a build that is
// never linked.

#ifndef DEVICE_JNI_H
#define DEVICE_JNI_H

#include <stdint.h>

#define JNIEXPORT __attribute__((visibility("default")))
#define JNICALL

typedef uint8_t jboolean;
typedef int8_t jbyte;
typedef int32_t jint;
typedef int64_t jlong;
typedef jint jsize;

class _jobject {};
class _jclass : public _jobject {};
class _jarray : public _jobject {};
class _jintArray : public _jarray {};
class _jbyteArray : public _jarray {};
typedef _jobject* jobject;
typedef _jclass* jclass;
typedef _jarray* jarray;
typedef _jintArray* jintArray;
typedef _jbyteArray* jbyteArray;

struct _jmethodID;
typedef struct _jmethodID* jmethodID;

typedef union jvalue {
    jboolean z;
    jbyte b;
    jint i;
    jlong j;
    jobject l;
} jvalue;

typedef struct {
    const char* name;
    const char* signature;
    void* fnPtr;
} JNINativeMethod;

enum { JNI_FALSE = 0, JNI_TRUE = 1 };
enum { JNI_OK = 0, JNI_ERR = -1, JNI_EDETACHED = -2 };
enum { JNI_COMMIT = 1, JNI_ABORT = 2 };
enum { JNI_VERSION_1_4 = 0x00010004 };

struct _JNIEnv {
    jclass FindClass(const char* name);
    jmethodID GetMethodID(jclass clazz, const char* name, const char* signature);
    jint RegisterNatives(jclass clazz, const JNINativeMethod* methods, jint count);
    jobject NewObjectA(jclass clazz, jmethodID id, const jvalue* args);
    jobject CallObjectMethodA(jobject object, jmethodID id, const jvalue* args);
    jboolean CallBooleanMethodA(jobject object, jmethodID id, const jvalue* args);
    jint CallIntMethodA(jobject object, jmethodID id, const jvalue* args);
    jlong CallLongMethodA(jobject object, jmethodID id, const jvalue* args);
    void CallVoidMethodA(jobject object, jmethodID id, const jvalue* args);
    jobject NewGlobalRef(jobject object);
    void DeleteGlobalRef(jobject ref);
    jobject NewLocalRef(jobject ref);
    void DeleteLocalRef(jobject ref);
    jboolean IsSameObject(jobject a, jobject b);
    jboolean ExceptionCheck();
    void ExceptionDescribe();
    void ExceptionClear();
    jsize GetArrayLength(jarray array);
    jbyteArray NewByteArray(jsize length);
    jintArray NewIntArray(jsize length);
    jbyte* GetByteArrayElements(jbyteArray array, jboolean* copied);
    jint* GetIntArrayElements(jintArray array, jboolean* copied);
    void ReleaseByteArrayElements(jbyteArray array, jbyte* elements, jint mode);
    void ReleaseIntArrayElements(jintArray array, jint* elements, jint mode);
    void SetByteArrayRegion(jbyteArray array, jsize start, jsize length, const jbyte* bytes);
    void SetIntArrayRegion(jintArray array, jsize start, jsize length, const jint* values);
};
typedef _JNIEnv JNIEnv;

struct _JavaVM {
    jint GetEnv(void** env, jint version);
    jint AttachCurrentThread(JNIEnv** env, void* args);
    jint DetachCurrentThread();
};
typedef _JavaVM JavaVM;

#endif  // DEVICE_JNI_H
