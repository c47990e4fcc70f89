// A real Java virtual machine in the test's process, watched.

#ifndef TESTS_VM_H
#define TESTS_VM_H

#include <android/log.h>
#include <gtest/gtest.h>
#include <jni.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/watch.h"

namespace desk {

// Starts the virtual machine on the calling thread, with a class loader of its own for the
// platform's classes. The tests live in one process with it; a process has at most one.
// checkJni: with -Xcheck:jni, which slows down every call.
JNIEnv* startVm(bool checkJni = true);
// Destroys it, on the thread that started it: what it leaves behind is then a leak.
void stopVm();
JavaVM* vm();
// The environment of the calling thread, which must be attached.
JNIEnv* env();

// Loads the library through that class loader. False when Java threw, which is described.
bool loadLibrary();

// A class of the child class loader, for example "desk/ScriptedModel".
jclass findClass(const std::string& name);

// Static methods of the scripted device model and of the event reporter. The calling thread is
// attached.
void script(const char* method, const std::string& argument);
void scriptReturns(const std::string& method, int value);
void scriptAnswer(const std::string& method, jobject value);
bool awaitHeld(const std::string& method);
std::string takeCalls();
jint event(const char* method, const char* signature, ...);

// Runs work on a thread that the virtual machine has never seen, and waits for it.
void onFreshThread(const std::function<void()>& work);

// Puts the watched virtual machine in front of the real one in g_velmora_javaVM.
void watchVm();

// A pipeline as another component of the device makes it.
class Pipeline {
  public:
    explicit Pipeline(const std::string& name = "tv");
    ~Pipeline();
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;
    uint32_t handle() const { return mHandle; }
    // Lets the garbage collector have the Java object.
    void collect();

  private:
    jobject mObject = nullptr;
    jweak mWeak = nullptr;
    uint32_t mHandle = 0;
};

// Log lines since the last call, "E message", in order.
std::vector<std::string> takeLog();
// The logger that keeps them.
void keepLogLine(const __android_logger_data* data, const char* text);
void setLogLevel(const char* level);

// A loaded library with a scripted device behind it; every test leaves the books as it found them.
class BridgeTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    Books mBooks;  // at the start
};

}  // namespace desk

#endif  // TESTS_VM_H
