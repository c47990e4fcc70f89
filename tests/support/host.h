// The process that tests, load, fuzzer and measurements share: a real Java virtual machine into which
// the library is loaded as on a device. host.cpp alone knows which virtual machine it is. A test
// helper that fails ends the process: nothing that follows would mean anything.

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

// Options of the virtual machine. The check complains about each wrong use of JNI and is slow.
constexpr char kCheckJni[] = "-Xcheck:jni";
constexpr char kSmallHeap[] = "-Xmx128m";

// Starts it on the calling thread; a process has at most one. Its class path is empty, because a
// native thread of a device cannot find the framework's classes either: a child class loader knows
// those of the build's jars that are given.
void startVm(const std::vector<std::string>& options,
             const std::vector<std::string>& jars = {"platform", "tests"});
// Destroys it, if there is one, on the thread that started it. What is left then has leaked.
void stopVm();
// What the virtual machine complained of since the last time. Each complaint is printed too, with
// Java's stack. One that is tolerated, on the thread that it is about, is neither kept nor printed.
std::vector<std::string> takeComplaints();
void tolerateComplaints(bool (*tolerates)(const std::string& complaint));

JavaVM* vm();
JNIEnv* env();                         // of the calling thread, which must be attached
const JNINativeInterface_& realJni();  // the function table before calls were intercepted
jobject classLoader();                 // the child class loader

// Loads the library through that class loader. The load takes SIGINT: a program that runs for long
// gives it back afterwards, so that it ends with Ctrl-C.
void loadLibrary();
// Does the work below a Java method of a class of that loader, and returns its result: from there
// the library's load entry finds its classes. A Java exception that the work leaves stays pending.
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

// Deletes at its end the local references that the calling thread made since.
class LocalFrame {
  public:
    LocalFrame() { realJni().PushLocalFrame(env(), 64); }
    ~LocalFrame() { realJni().PopLocalFrame(env(), nullptr); }
    LocalFrame(LocalFrame&&) = delete;
};

void setLogLevel(const char* level);
void keepLog();                          // from now on lines are kept instead of printed
void addToLog(const std::string& line);  // something else that happened
std::vector<std::string> takeLog();      // those since the last time, "E message", in order
// Does this once, when the next thing happens that has the text: a line of the log, which may be a
// call of Java, or the call of a service. The thread on which it happens goes on afterwards.
void atNext(const std::string& text, const std::function<void()>& action);
void happens(const std::string& what);  // tells of what is not in the log

}  // namespace tests

#endif  // TESTS_HOST_H
