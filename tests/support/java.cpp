#include "tests/support/java.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>

namespace tests {

namespace {

// Returns the result of a call that must not have thrown.
template <typename Result>
Result ok(Result result) {
    mustNotHaveThrown();
    return result;
}

}  // namespace

void mustNotHaveThrown() {
    if (realJni().ExceptionCheck(env())) {
        realJni().ExceptionDescribe(env());
        abort();
    }
}

jclass findClass(const std::string& name) {
    return leavingOne([&] {
        const JNINativeInterface_& jni = realJni();
        const jclass clazz = jni.FindClass(env(), "java/lang/Class");
        const jmethodID forName =
            jni.GetStaticMethodID(env(), clazz, "forName",
                                  "(Ljava/lang/String;ZLjava/lang/ClassLoader;)Ljava/lang/Class;");
        return static_cast<jclass>(ok(jni.CallStaticObjectMethod(
            env(), clazz, forName, toJava(name), JNI_FALSE, classLoader())));
    });
}

jstring toJava(const std::string& text) {
    return ok(realJni().NewStringUTF(env(), text.c_str()));
}

jintArray newArray(const std::vector<jint>& values) {
    const jsize length = static_cast<jsize>(values.size());
    const jintArray array = ok(realJni().NewIntArray(env(), length));
    realJni().SetIntArrayRegion(env(), array, 0, length, values.data());
    return array;
}

jbyteArray newArray(const std::vector<jbyte>& values) {
    const jsize length = static_cast<jsize>(values.size());
    const jbyteArray array = ok(realJni().NewByteArray(env(), length));
    realJni().SetByteArrayRegion(env(), array, 0, length, values.data());
    return array;
}

jobject newObject(const std::string& name, const char* signature, ...) {
    va_list args;
    va_start(args, signature);
    const jobject object = leavingOne([&] {
        const jclass clazz = findClass(name);
        const jmethodID id = ok(realJni().GetMethodID(env(), clazz, "<init>", signature));
        return ok(realJni().NewObjectV(env(), clazz, id, args));
    });
    va_end(args);
    return object;
}

jobject callStatic(const std::string& name, const char* method, const char* signature, ...) {
    va_list args;
    va_start(args, signature);
    const jobject object = leavingOne([&] {
        const JNINativeInterface_& jni = realJni();
        const jclass clazz = findClass(name);
        const jmethodID id = ok(jni.GetStaticMethodID(env(), clazz, method, signature));
        jobject result = nullptr;
        if (strchr(signature, 'V') == nullptr) {
            result = jni.CallStaticObjectMethodV(env(), clazz, id, args);
        } else {
            jni.CallStaticVoidMethodV(env(), clazz, id, args);
        }
        return ok(result);
    });
    va_end(args);
    return object;
}

std::string fromJava(jobject text) {
    const jstring string = static_cast<jstring>(text);
    const char* chars = realJni().GetStringUTFChars(env(), string, nullptr);
    std::string result = chars;
    realJni().ReleaseStringUTFChars(env(), string, chars);
    return result;
}

}  // namespace tests
