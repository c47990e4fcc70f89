// A real Java virtual machine in the test's process, watched: what the library asks of it is
// counted, and single calls fail on demand.

#ifndef TESTS_VM_H
#define TESTS_VM_H

#include <gtest/gtest.h>
#include <jni.h>

#include <functional>
#include <string>
#include <vector>

namespace desk {

// Starts the virtual machine on the calling thread, with a class loader of its own for the
// platform's classes. The tests live in one process with it; a process has at most one.
JNIEnv* startVm();
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

// JNI functions that can be made to fail. The nth call by the library from now on (1: the next)
// fails once.
enum class Jni {
    kFindClass,
    kGetMethodID,
    kRegisterNatives,
    kNewObject,
    kNewGlobalRef,
    kNewByteArray,
    kNewIntArray,
    kGetIntArrayElements,
    kGetByteArrayElements,
    kCount
};
enum class Failure { kNull, kThrows };
void failJni(Jni function, int nth, Failure failure);
// The lookup of this class or method fails.
void failLookup(Jni function, const std::string& name);
void failNothing();

// How the virtual machine pointer that the library holds behaves.
struct VmFaults {
    bool getEnvFails = false;      // also on an attached thread
    bool getEnvGivesNull = false;  // success without an environment
    bool attachFails = false;
    bool attachGivesNull = false;
    bool detachFails = false;  // reported, though done
};
extern VmFaults vmFaults;

// Puts the watched virtual machine in front of the real one in g_velmora_javaVM.
void watchVm();
JavaVM* watchedVm();

// What the library holds, counted only inside Watch scopes on their threads, and in the natives it
// registered.
struct Books {
    int globalRefs = 0;
    int localRefs = 0;
    int attachments = 0;
    unsigned handles = 0;
    unsigned semaphores = 0;
    unsigned blocks = 0;
    int peers = 0;
    bool operator==(const Books& other) const;
};
std::ostream& operator<<(std::ostream& out, const Books& books);
Books books();
int attachCount();  // attachments made since the start
int releaseMode();  // of the Release...ArrayElements since the last call, or -1

class Watch {
  public:
    Watch();
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

  private:
    bool mBefore;
};

// Calls a function of the library, watched.
template <typename Call>
auto bridge(const Call& call) {
    const Watch watch;
    return call();
}

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
void keepLogLine(int prio, const char* tag, const char* text);  // the sink that keeps them
void setLogLevel(const char* level);

// A loaded library with a scripted device behind it; every test leaves the books as it found them.
class BridgeTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

  private:
    Books mBooks;
};

}  // namespace desk

#endif  // TESTS_VM_H
