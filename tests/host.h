// The one process that tests, load, fuzzer and measurements share: a real Java virtual machine with
// the library loaded into it as on a device. A control that fails ends the process: nothing that
// follows would mean anything. The JNI calls made here are not among those that tests/watch.h counts.

#ifndef TESTS_HOST_H
#define TESTS_HOST_H

#include <jni.h>

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
JavaVM* vm();
JNIEnv* env();  // of the calling thread, which must be attached

// Loads the library through that class loader. False when Java threw; the exception is printed.
bool loadLibrary();
// Does the work below a Java method of a class of that loader, and returns its result: from there
// the library's load entry finds its classes. A Java exception that the work leaves stays pending.
jint callFromJava(const std::function<jint()>& work);

// Keeps the calling thread attached.
class Attached {
  public:
    Attached();
    ~Attached();
    Attached(const Attached&) = delete;
    Attached& operator=(const Attached&) = delete;
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

// A class of the child class loader, for example "tests.ScriptedModel"; never deleted.
jclass findClass(const std::string& name);

struct JavaValue {
    const char* type;
    jvalue value;
    bool temporary = false;  // a local reference that ends with the call
};
JavaValue toJava(bool value);
JavaValue toJava(jint value);
JavaValue toJava(uint32_t value);  // a handle
JavaValue toJava(jlong value);
JavaValue toJava(const std::string& value);
JavaValue toJava(const char* value);
JavaValue toJava(jobject value);
JavaValue toJava(jintArray value);
JavaValue toJava(jbyteArray value);
std::string fromJava(jstring text);  // deletes the reference

template <typename Result>
struct JavaResult;
template <>
struct JavaResult<void> {
    static constexpr const char* kType = "V";
    static void from(jvalue) {}
};
template <>
struct JavaResult<bool> {
    static constexpr const char* kType = "Z";
    static bool from(jvalue result) { return result.z == JNI_TRUE; }
};
template <>
struct JavaResult<jint> {
    static constexpr const char* kType = "I";
    static jint from(jvalue result) { return result.i; }
};
template <>
struct JavaResult<std::string> {
    static constexpr const char* kType = "Ljava/lang/String;";
    static std::string from(jvalue result) { return fromJava(static_cast<jstring>(result.l)); }
};

using JavaValues = std::vector<JavaValue>;
jvalue callStaticMethod(const std::string& clazz, const char* method, const JavaValues& arguments,
                        const char* resultType);
jobject makeObject(const std::string& clazz, const JavaValues& arguments);

template <typename Result = void, typename... Args>
Result callStatic(const std::string& clazz, const char* method, const Args&... args) {
    return JavaResult<Result>::from(
        callStaticMethod(clazz, method, {toJava(args)...}, JavaResult<Result>::kType));
}

// Returns a local reference.
template <typename... Args>
jobject newObject(const std::string& clazz, const Args&... args) {
    return makeObject(clazz, {toJava(args)...});
}
jintArray newArray(const std::vector<jint>& values);
jbyteArray newArray(const std::vector<jbyte>& values);

// --- Events, as Java reports them: name, class after the package, method ---

#define DESK_EVENTS(EVENT)                                                               \
    EVENT(kLocked, "ZytTvInnerScanCallback", "notifyScanOnLocked", jint)                 \
    EVENT(kStopped, "ZytTvInnerScanCallback", "notifyScanOnScanStopped", jint)           \
    EVENT(kProgress, "ZytTvInnerScanCallback", "notifyScanOnProgress", jint)             \
    EVENT(kFrequencies, "ZytTvInnerScanCallback", "notifyScanOnFrequenciesReport", jint) \
    EVENT(kSymbolRates, "ZytTvInnerScanCallback", "notifyScanOnSymbolRates", jint)       \
    EVENT(kPlpIds, "ZytTvInnerScanCallback", "notifyScanOnPlpIds", jint)                 \
    EVENT(kGroupIds, "ZytTvInnerScanCallback", "notifyScanOnGroupIds", jint)             \
    EVENT(kStreamIds, "ZytTvInnerScanCallback", "notifyScanOnInputStreamIds", jint)      \
    EVENT(kDvbsStandard, "ZytTvInnerScanCallback", "notifyScanOnDvbsStandard", jint)     \
    EVENT(kDvbtStandard, "ZytTvInnerScanCallback", "notifyScanOnDvbtStandard", jint)     \
    EVENT(kHierarchy, "ZytTvInnerScanCallback", "notifyScanOnHierarchy", jint)           \
    EVENT(kSignalType, "ZytTvInnerScanCallback", "notifyScanOnSignalType", jint)         \
    EVENT(kLnb, "ZytTvInnerLnbCallback", "notifyLnbEvent", jint)                         \
    EVENT(kDiseqc, "ZytTvInnerLnbCallback", "onDiseqcMessage", jint)                     \
    EVENT(kSection, "ZytTvInnerFilterCallback", "nativeFilterSectionEvent", void)        \
    EVENT(kRestart, "ZytTvInnerFilterCallback", "nativeFilterRestartEvent", void)        \
    EVENT(kFilterStatus, "ZytTvInnerFilterCallback", "nativeFilterStatusChanged", void)

enum class Event {
#define DESK_EVENT_NAME(name, clazz, method, result) name,
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

void resetModel();  // puts it in force; it then answers nothing and remembers nothing
// value: a number, a truth value, or an object or null.
template <typename Value>
void scriptReturns(const std::string& method, const Value& value) {
    if constexpr (std::is_convertible_v<Value, jobject>) {
        callStatic("tests.ScriptedModel", "returns", method, static_cast<jobject>(value));
    } else {
        callStatic("tests.ScriptedModel", "returns", method, value);
    }
}
void scriptThrows(const std::string& method);
void scriptSection(const std::vector<jbyte>& bytes);  // what onRead puts into its buffer
// The method waits from scriptHold to scriptRelease; awaitHeld returns when a call has come.
void scriptHold(const std::string& method);
bool awaitHeld(const std::string& method);
void scriptRelease(const std::string& method);
std::string takeCalls();

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

// --- The log ---

void setLogLevel(const char* level);
void keepLog();                      // from now on lines are kept instead of printed
std::vector<std::string> takeLog();  // those since the last time, "E message", in order

}  // namespace desk

#endif  // TESTS_HOST_H
