// Calls of Java from C++. tests/support/fault_injection.h does not count them. If Java throws in
// one, the process ends.

#ifndef TESTS_JAVA_H
#define TESTS_JAVA_H

#include <string>
#include <vector>

#include "tests/support/host.h"

namespace tests {

// These functions return local references and leave no others. They find the classes of the child
// class loader, for example "tests.ScriptedModel".
jclass findClass(const std::string& name);
jstring toJava(const std::string& text);
jintArray newArray(const std::vector<jint>& values);
jbyteArray newArray(const std::vector<jbyte>& values);
jobject newObject(const std::string& clazz, const char* signature, ...);
// The method must return nothing or an object.
jobject callStatic(const std::string& clazz, const char* method, const char* signature, ...);
std::string fromJava(jobject text);
void mustNotHaveThrown();
// Does the work, whose result is a local reference or null. Leaves no other local reference.
template <typename Work>
auto leavingOne(const Work& work) {
    realJni().PushLocalFrame(env(), 16);
    const auto result = work();
    return static_cast<decltype(work())>(realJni().PopLocalFrame(env(), result));
}

}  // namespace tests

#endif  // TESTS_JAVA_H
