#include "tests/java.h"

#include <cstdio>
#include <cstdlib>

namespace desk {

namespace {

// Of a call that must not throw.
template <typename Result>
Result ok(Result result) {
    mustNotHaveThrown();
    return result;
}

std::string signatureOf(const JavaValues& arguments, const char* resultType) {
    std::string signature = "(";
    for (const JavaValue& argument : arguments) {
        signature += argument.type;
    }
    return signature + ")" + resultType;
}

std::vector<jvalue> valuesOf(const JavaValues& arguments) {
    std::vector<jvalue> values;
    for (const JavaValue& argument : arguments) {
        values.push_back(argument.value);
    }
    return values;
}

}  // namespace

void mustNotHaveThrown() {
    if (realJni().ExceptionCheck(env())) {
        realJni().ExceptionDescribe(env());
        abort();
    }
}

jclass findClass(const std::string& name) {
    static const jclass clazz = static_cast<jclass>(
        realJni().NewGlobalRef(env(), realJni().FindClass(env(), "java/lang/Class")));
    JavaValue loader = {"Ljava/lang/ClassLoader;", {}};
    loader.value.l = classLoader();
    return static_cast<jclass>(
        ok(callMethod(clazz, nullptr, "forName", {toJava(name), toJava(false), loader},
                      "Ljava/lang/Class;")
               .l));
}

JavaValue toJava(const std::string& value) {
    JavaValue result = {"Ljava/lang/String;", {}};
    result.value.l = ok(realJni().NewStringUTF(env(), value.c_str()));
    return result;
}

std::string fromJava(jobject text) {
    const jstring string = static_cast<jstring>(text);
    const char* chars = realJni().GetStringUTFChars(env(), string, nullptr);
    std::string result = chars;
    realJni().ReleaseStringUTFChars(env(), string, chars);
    return result;
}

jvalue callMethod(jclass clazz, jobject object, const char* method, const JavaValues& arguments,
                  const char* resultType) {
    const JNINativeInterface_& jni = realJni();
    const std::string signature = signatureOf(arguments, resultType);
    const auto lookUp = object != nullptr ? jni.GetMethodID : jni.GetStaticMethodID;
    const jmethodID id = ok(lookUp(env(), clazz, method, signature.c_str()));
    const std::vector<jvalue> values = valuesOf(arguments);
    jvalue result = {};
    if (object != nullptr && *resultType == 'I') {
        result.i = jni.CallIntMethodA(env(), object, id, values.data());
    } else if (object != nullptr) {
        jni.CallVoidMethodA(env(), object, id, values.data());
    } else if (*resultType == 'V') {
        jni.CallStaticVoidMethodA(env(), clazz, id, values.data());
    } else if (*resultType == 'Z') {
        result.z = jni.CallStaticBooleanMethodA(env(), clazz, id, values.data());
    } else {
        result.l = jni.CallStaticObjectMethodA(env(), clazz, id, values.data());
    }
    return result;
}

jobject makeObject(const std::string& name, const JavaValues& arguments) {
    const jclass clazz = findClass(name);
    const jmethodID id =
        ok(realJni().GetMethodID(env(), clazz, "<init>", signatureOf(arguments, "V").c_str()));
    return ok(realJni().NewObjectA(env(), clazz, id, valuesOf(arguments).data()));
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

}  // namespace desk
