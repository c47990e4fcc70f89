// The one process that tests, load, fuzzer and measurements share: a real Java virtual machine with
// the library loaded into it as on a device. A control that fails ends the process: nothing that
// follows would mean anything. The JNI calls made here are not among those that tests/watch.h counts.

#ifndef TESTS_HOST_H
#define TESTS_HOST_H

#include <jni.h>
#include <signal.h>

#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

namespace desk {

// --- The virtual machine ---

// Options of the virtual machine. The check complains about each wrong use of JNI and is slow.
constexpr char kCheckJni[] = "-Xcheck:jni";
constexpr char kSmallHeap[] = "-Xmx128m";

// Starts it on the calling thread; a process has at most one. Its class path is empty, because a
// native thread of a device cannot find the framework's classes either: a child class loader knows
// those of the platform, of the tests and, if given, of one more jar of the build.
JNIEnv* startVm(const std::vector<std::string>& options, const char* jar = nullptr);
// Destroys it, if there is one, on the thread that started it. What is left then has leaked.
void stopVm();
// What the virtual machine complained of since the last time. Each complaint is printed too, with
// Java's stack. On a thread on which tolerates returns true it is neither kept nor printed.
std::vector<std::string> takeComplaints();
void tolerateComplaints(bool (*tolerates)());
JavaVM* vm();
JNIEnv* env();  // of the calling thread, which must be attached

// Loads the library through that class loader. False when Java threw; the exception is printed.
bool loadLibrary();
// Runs a load of the library and gives SIGINT its action back, which the load takes: a program that
// runs for long must end with Ctrl-C.
template <typename Load>
auto keepingInterrupt(const Load& load) {
    struct sigaction before = {};
    sigaction(SIGINT, nullptr, &before);
    const auto result = load();
    sigaction(SIGINT, &before, nullptr);
    return result;
}
// Does the work below a Java method of a class of that loader, and returns its result: from there
// the library's load entry finds its classes. A Java exception that the work leaves stays pending.
jint callFromJava(const std::function<jint()>& work);

// Keeps the calling thread attached.
class Attached {
  public:
    Attached() { vm()->AttachCurrentThread(&mEnv, nullptr); }
    ~Attached() { vm()->DetachCurrentThread(); }
    Attached(const Attached&) = delete;
    Attached& operator=(const Attached&) = delete;

  private:
    void* mEnv = nullptr;
};

// Deletes at its end the local references that the calling thread made since.
class LocalFrame {
  public:
    LocalFrame();
    ~LocalFrame();
    LocalFrame(const LocalFrame&) = delete;
    LocalFrame& operator=(const LocalFrame&) = delete;
};

// --- Java's methods: the JNI signature follows from the C++ types ---

// A class of the child class loader, for example "tests.ScriptedModel". A local reference.
jclass findClass(const std::string& name);

struct JavaValue {
    const char* type;
    jvalue value;
};
using JavaValues = std::vector<JavaValue>;

// One for each Java type: its letters in a signature and its member of jvalue.
#define DESK_TO_JAVA(Type, letters, member)                                      \
    inline JavaValue toJava(Type value) {                                        \
        JavaValue result = {letters, {}};                                        \
        result.value.member = static_cast<decltype(result.value.member)>(value); \
        return result;                                                           \
    }
DESK_TO_JAVA(bool, "Z", z)
DESK_TO_JAVA(jint, "I", i)
DESK_TO_JAVA(uint32_t, "I", i)  // a handle
DESK_TO_JAVA(jlong, "J", j)
DESK_TO_JAVA(jobject, "Ljava/lang/Object;", l)
DESK_TO_JAVA(jintArray, "[I", l)
DESK_TO_JAVA(jbyteArray, "[B", l)
#undef DESK_TO_JAVA
JavaValue toJava(const std::string& value);  // a local reference
JavaValue toJava(const char* value);         // a local reference
std::string fromJava(jobject text);

jvalue callStaticMethod(const std::string& clazz, const char* method, const JavaValues& arguments,
                        const char* resultType);
jobject makeObject(const std::string& clazz, const JavaValues& arguments);

// Result: void, bool or std::string.
template <typename Result = void, typename... Args>
Result callStatic(const std::string& clazz, const char* method, const Args&... args) {
    const LocalFrame frame;
    const JavaValues arguments = {toJava(args)...};
    if constexpr (std::is_same_v<Result, bool>) {
        return callStaticMethod(clazz, method, arguments, "Z").z == JNI_TRUE;
    } else if constexpr (std::is_same_v<Result, std::string>) {
        return fromJava(callStaticMethod(clazz, method, arguments, "Ljava/lang/String;").l);
    } else {
        callStaticMethod(clazz, method, arguments, "V");
    }
}

// Returns a local reference.
template <typename... Args>
jobject newObject(const std::string& clazz, const Args&... args) {
    return makeObject(clazz, {toJava(args)...});
}
jintArray newArray(const std::vector<jint>& values);
jbyteArray newArray(const std::vector<jbyte>& values);

// --- Events, as Java reports them: name and method ---

// The methods from kLnb on are of the LNB callback, from kSection on of the filter callback, and
// those before of the scan callback.
#define DESK_EVENTS(EVENT)                               \
    EVENT(kLocked, "notifyScanOnLocked")                 \
    EVENT(kStopped, "notifyScanOnScanStopped")           \
    EVENT(kProgress, "notifyScanOnProgress")             \
    EVENT(kFrequencies, "notifyScanOnFrequenciesReport") \
    EVENT(kSymbolRates, "notifyScanOnSymbolRates")       \
    EVENT(kPlpIds, "notifyScanOnPlpIds")                 \
    EVENT(kGroupIds, "notifyScanOnGroupIds")             \
    EVENT(kStreamIds, "notifyScanOnInputStreamIds")      \
    EVENT(kDvbsStandard, "notifyScanOnDvbsStandard")     \
    EVENT(kDvbtStandard, "notifyScanOnDvbtStandard")     \
    EVENT(kHierarchy, "notifyScanOnHierarchy")           \
    EVENT(kSignalType, "notifyScanOnSignalType")         \
    EVENT(kLnb, "notifyLnbEvent")                        \
    EVENT(kDiseqc, "onDiseqcMessage")                    \
    EVENT(kSection, "nativeFilterSectionEvent")          \
    EVENT(kRestart, "nativeFilterRestartEvent")          \
    EVENT(kFilterStatus, "nativeFilterStatusChanged")

enum class Event {
#define DESK_EVENT_NAME(name, method) name,
    DESK_EVENTS(DESK_EVENT_NAME)
#undef DESK_EVENT_NAME
};

// Calls the event's Java method on the calling thread, which is attached. The arguments are the handle
// and, for the lists (kFrequencies to kStreamIds, kDiseqc), an array and the length to report; for
// kSection four values; for every other but kLocked and kStopped one. Returns the method's result, 0
// when it has none.
jint reportEvent(Event event, const JavaValues& arguments);
const char* methodOf(Event event);

// Registers callbacks for every event, which only count. The pipeline must not be registered.
void registerCountingCallbacks(uint32_t h_pipeline);
int takeHeard();  // events that reached them on the calling thread since the last time

// --- The scripted device model, see tests.ScriptedModel ---

// Puts it in force; it then answers nothing and remembers nothing.
inline void resetModel() {
    callStatic("tests.ScriptedModel", "reset");
}
// value: a number, a truth value, or an object or null.
template <typename Value>
void scriptReturns(const std::string& method, const Value& value) {
    const LocalFrame frame;
    jobject object = nullptr;
    if constexpr (std::is_convertible_v<Value, jobject>) {
        object = value;
    } else if constexpr (std::is_same_v<Value, bool>) {
        object = newObject("java.lang.Boolean", value);
    } else {
        object = newObject("java.lang.Long", static_cast<jlong>(value));
    }
    callStatic("tests.ScriptedModel", "returns", method, object);
}
inline void scriptThrows(const std::string& method) {
    const LocalFrame frame;
    scriptReturns(method, newObject("java.lang.IllegalStateException", "scripted: " + method));
}
// What onRead puts into its buffer.
inline void scriptSection(const std::vector<jbyte>& bytes) {
    const LocalFrame frame;
    scriptReturns("section", newArray(bytes));
}
// The method waits from scriptHold to scriptRelease; awaitHeld returns when a call has come.
inline void scriptHold(const std::string& method) {
    callStatic("tests.ScriptedModel", "hold", method);
}
inline bool awaitHeld(const std::string& method) {
    return callStatic<bool>("tests.ScriptedModel", "awaitHeld", method);
}
inline void scriptRelease(const std::string& method) {
    callStatic("tests.ScriptedModel", "release", method);
}
inline std::string takeCalls() {
    return callStatic<std::string>("tests.ScriptedModel", "takeCalls");
}

// A pipeline as another component of the device makes it.
class Pipeline {
  public:
    Pipeline();
    ~Pipeline();
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;
    uint32_t handle() const { return mHandle; }

  private:
    jobject mObject = nullptr;
    jweak mWeak = nullptr;
    uint32_t mHandle = 0;
};

// --- The log ---

void setLogLevel(const char* level);
void keepLog();                      // from now on lines are kept instead of printed
std::vector<std::string> takeLog();  // those since the last time, "E message", in order

}  // namespace desk

#endif  // TESTS_HOST_H
