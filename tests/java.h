// Java's methods from C++: the JNI signature follows from the C++ types. These calls are not among
// those that tests/watch.h counts, and an exception in one ends the process.

#ifndef TESTS_JAVA_H
#define TESTS_JAVA_H

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/host.h"

namespace desk {

// A class of the child class loader, for example "tests.ScriptedModel". A local reference.
jclass findClass(const std::string& name);

struct JavaValue {
    const char* type;
    jvalue value;
};
using JavaValues = std::vector<JavaValue>;

// One for each Java type: its letters in a signature and its member of jvalue.
#define TO_JAVA(Type, letters, member)                                           \
    inline JavaValue toJava(Type value) {                                        \
        JavaValue result = {letters, {}};                                        \
        result.value.member = static_cast<decltype(result.value.member)>(value); \
        return result;                                                           \
    }
TO_JAVA(bool, "Z", z)
TO_JAVA(jint, "I", i)
TO_JAVA(uint32_t, "I", i)  // a handle
TO_JAVA(jlong, "J", j)
TO_JAVA(jobject, "Ljava/lang/Object;", l)
TO_JAVA(jintArray, "[I", l)
TO_JAVA(jbyteArray, "[B", l)
#undef TO_JAVA
JavaValue toJava(const std::string& value);  // a local reference
inline JavaValue toJava(const char* value) {
    return toJava(std::string(value));
}
std::string fromJava(jobject text);

// Without an object a static method. The result is in the member that its type says; an exception is
// left to the caller.
jvalue callMethod(jclass clazz, jobject object, const char* method, const JavaValues& arguments,
                  const char* resultType);
void mustNotHaveThrown();
jobject makeObject(const std::string& clazz, const JavaValues& arguments);

// Result: void, bool or std::string.
template <typename Result = void, typename... Args>
Result callStatic(const std::string& clazz, const char* method, const Args&... args) {
    const LocalFrame frame;
    const char* type = std::is_same_v<Result, bool>          ? "Z"
                       : std::is_same_v<Result, std::string> ? "Ljava/lang/String;"
                                                             : "V";
    const jvalue result = callMethod(findClass(clazz), nullptr, method, {toJava(args)...}, type);
    mustNotHaveThrown();
    if constexpr (std::is_same_v<Result, bool>) {
        return result.z == JNI_TRUE;
    } else if constexpr (std::is_same_v<Result, std::string>) {
        return fromJava(result.l);
    }
}

// Returns a local reference.
template <typename... Args>
jobject newObject(const std::string& clazz, const Args&... args) {
    return makeObject(clazz, {toJava(args)...});
}
jintArray newArray(const std::vector<jint>& values);
jbyteArray newArray(const std::vector<jbyte>& values);

}  // namespace desk

#endif  // TESTS_JAVA_H
