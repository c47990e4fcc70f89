// The host of tests, stress test, fuzzer and measurements: a real Java virtual machine that loads
// the library as on a device. Only host.cpp knows which virtual machine it starts. If a helper here
// fails, the process ends, because no later result would mean anything.

#ifndef TESTS_HOST_H
#define TESTS_HOST_H

#include <jni.h>

#include <functional>
#include <string>
#include <vector>

namespace tests {

// Which virtual machine this build has: Android's runtime, or OpenJDK.
#ifdef TESTS_ANDROID_RUNTIME
constexpr bool kAndroidRuntime = true;
#else
constexpr bool kAndroidRuntime = false;
#endif

// Options of the virtual machine. With the check it complains about wrong uses of JNI, and is slow.
constexpr char kCheckJni[] = "-Xcheck:jni";
constexpr char kSmallHeap[] = "-Xmx128m";

// Starts the virtual machine on the calling thread; a process has at most one. Its class path is
// empty, because on a device a thread of the middleware cannot find the framework's classes either.
// A child class loader knows the classes of the given jars of the build.
void startVm(const std::vector<std::string>& options,
             const std::vector<std::string>& jars = {"platform", "tests"});
// Destroys the virtual machine, if there is one, on the thread that started it. What is left has
// leaked.
void stopVm();
// The complaints of the virtual machine since the last time. Each is also printed, with Java's
// stack. tolerates runs on the complaint's thread. A complaint that it tolerates is neither kept
// nor printed.
std::vector<std::string> takeComplaints();
void tolerateComplaints(bool (*tolerates)(const std::string& complaint));

JavaVM* vm();
JNIEnv* env();                         // of the calling thread, which must be attached
const JNINativeInterface_& realJni();  // the function table before calls were intercepted
jobject classLoader();                 // the child class loader

// Loads the library through that class loader. The load takes over SIGINT. A program that runs for
// long should reset SIGINT afterwards, so that Ctrl-C ends it.
void loadLibrary();
// Does the work below a Java method of a class of that loader, where the library's load entry finds
// its classes. Returns the work's result. An exception that the work leaves stays pending.
jint callFromJava(const std::function<jint()>& work);

// Keeps the calling thread attached.
class Attached {
  public:
    Attached() { vm()->AttachCurrentThread(&mEnv, nullptr); }
    ~Attached() { vm()->DetachCurrentThread(); }
    Attached(Attached&&) = delete;

  private:
    void* mEnv = nullptr;
};

// At its end it deletes the local references that the calling thread has made since its start.
class LocalFrame {
  public:
    LocalFrame() { realJni().PushLocalFrame(env(), 64); }
    ~LocalFrame() { realJni().PopLocalFrame(env(), nullptr); }
    LocalFrame(LocalFrame&&) = delete;
};

void setLogLevel(const char* level);
void keepLog();                          // from now on lines are kept instead of printed
void addToLog(const std::string& line);  // something else that happened
std::vector<std::string> takeLog();      // the lines since the last time, as "E message", in order
// Runs the action once, at the next log line, recorded call to Java or service call whose text
// contains this one. The thread that logs or calls goes on afterwards.
void atNext(const std::string& text, const std::function<void()>& action);
void happens(const std::string& what);  // reports something that is not in the log to atNext

// --- Calls of Java from C++ ---

// tests/support/fault_injection.h does not count them. If Java throws in one, the process ends.
// These functions return local references and leave no others. They find the classes of the child
// class loader, for example "tests.ScriptedModel".
jclass findClass(const std::string& name);
jstring toJava(const std::string& text);
jintArray newArray(const std::vector<jint>& values);
jbyteArray newArray(const std::vector<jbyte>& values);
std::string fromJava(jobject text);
void mustNotHaveThrown();

// Returns the result of a call that must not have thrown.
template <typename Result>
Result ok(Result result) {
    mustNotHaveThrown();
    return result;
}

// Does the work, whose result is a local reference or null. Leaves no other local reference.
template <typename Work>
auto leavingOne(const Work& work) {
    realJni().PushLocalFrame(env(), 16);
    const auto result = work();
    return static_cast<decltype(work())>(realJni().PopLocalFrame(env(), result));
}

template <typename... Args>
jobject newObject(const std::string& name, const char* signature, Args... args) {
    return leavingOne([&] {
        const jclass clazz = findClass(name);
        const jmethodID id = ok(realJni().GetMethodID(env(), clazz, "<init>", signature));
        return ok(realJni().NewObject(env(), clazz, id, args...));
    });
}

// The method must return nothing or an object.
template <typename... Args>
jobject callStatic(const std::string& name, const char* method, const char* signature,
                   Args... args) {
    return leavingOne([&] {
        const jclass clazz = findClass(name);
        const jmethodID id = ok(realJni().GetStaticMethodID(env(), clazz, method, signature));
        if (std::string(signature).back() != 'V') {
            return ok(realJni().CallStaticObjectMethod(env(), clazz, id, args...));
        }
        realJni().CallStaticVoidMethod(env(), clazz, id, args...);
        return ok(jobject());
    });
}

}  // namespace tests

#endif  // TESTS_HOST_H
