// Calls of Java from C++, which are not among those that tests/support/fault_injection.h counts.
// Java must not throw in them: an exception ends the process.

#ifndef TESTS_JAVA_H
#define TESTS_JAVA_H

#include <string>
#include <vector>

#include "tests/support/host.h"

namespace tests {

// What these return are local references, and the only ones that they leave. Classes are those of
// the child class loader, for example "tests.ScriptedModel".
jclass findClass(const std::string& name);
jstring toJava(const std::string& text);
jintArray newArray(const std::vector<jint>& values);
jbyteArray newArray(const std::vector<jbyte>& values);
jobject newObject(const std::string& clazz, const char* signature, ...);
// The method's result is nothing or an object.
jobject callStatic(const std::string& clazz, const char* method, const char* signature, ...);
std::string fromJava(jobject text);
void mustNotHaveThrown();
// Does the work, whose result is a local reference or null, and leaves no other reference.
template <typename Work>
auto leavingOne(const Work& work) {
    realJni().PushLocalFrame(env(), 16);
    const auto result = work();
    return static_cast<decltype(work())>(realJni().PopLocalFrame(env(), result));
}

}  // namespace tests

#endif  // TESTS_JAVA_H
