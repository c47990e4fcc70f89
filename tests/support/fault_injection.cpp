#include "tests/support/fault_injection.h"

#include <fake/basic_faults.h>

#include <array>
#include <atomic>
#include <cstring>
#include <mutex>
#include <optional>
#include <utility>

extern "C" jint JNI_OnLoad(JavaVM* vm, void* reserved);

namespace tests {

namespace {

enum Counter { kNoCount, kGlobals, kLocals, kElements, kAttachments, kCounters };
std::array<std::atomic<int>, kCounters> gCounts;

// Every call that the library makes, by the function's name. First come the JNI functions, each
// with its ways to fail, whether Java runs in it, and the count that it changes. Then come the
// invocation interface and, in the order of fake_service_t, the services. IsSameObject and the
// array regions never fail, because the library sets whole arrays.
#define CALLS(JNI, OTHER)                                            \
    JNI(FindClass, kFails | kThrows, true, kLocals, 1)               \
    JNI(GetMethodID, kFails | kThrows, true, kNoCount, 0)            \
    JNI(RegisterNatives, kFails | kThrows, false, kNoCount, 0)       \
    JNI(NewGlobalRef, kFails | kThrows, false, kGlobals, 1)          \
    JNI(DeleteGlobalRef, 0, false, kGlobals, -1)                     \
    JNI(NewLocalRef, kFails | kThrows, false, kLocals, 1)            \
    JNI(DeleteLocalRef, 0, false, kLocals, -1)                       \
    JNI(IsSameObject, 0, false, kNoCount, 0)                         \
    JNI(NewObjectA, kFails | kThrows, true, kLocals, 1)              \
    JNI(CallVoidMethodA, kThrows, true, kNoCount, 0)                 \
    JNI(CallBooleanMethodA, kThrows, true, kNoCount, 0)              \
    JNI(CallIntMethodA, kThrows, true, kNoCount, 0)                  \
    JNI(CallLongMethodA, kThrows, true, kNoCount, 0)                 \
    JNI(CallObjectMethodA, kFails | kThrows, true, kLocals, 1)       \
    JNI(NewByteArray, kFails | kThrows, false, kLocals, 1)           \
    JNI(NewIntArray, kFails | kThrows, false, kLocals, 1)            \
    JNI(GetArrayLength, 0, false, kNoCount, 0)                       \
    JNI(SetByteArrayRegion, 0, false, kNoCount, 0)                   \
    JNI(SetIntArrayRegion, 0, false, kNoCount, 0)                    \
    JNI(GetByteArrayElements, kFails | kThrows, false, kElements, 1) \
    JNI(GetIntArrayElements, kFails | kThrows, false, kElements, 1)  \
    JNI(ReleaseByteArrayElements, 0, false, kElements, -1)           \
    JNI(ReleaseIntArrayElements, 0, false, kElements, -1)            \
    JNI(ExceptionCheck, 0, false, kNoCount, 0)                       \
    JNI(ExceptionDescribe, 0, true, kNoCount, 0)                     \
    JNI(ExceptionClear, 0, false, kNoCount, 0)                       \
    OTHER(GetEnv, kFails | kEmpty)                                   \
    OTHER(AttachCurrentThread, kFails | kEmpty)                      \
    OTHER(DetachCurrentThread, kFails)                               \
    OTHER(handle_alloc, kFails)                                      \
    OTHER(handle_get_type_obj, kFails | kEmpty)                      \
    OTHER(handle_get_obj, kFails | kEmpty)                           \
    OTHER(handle_free, kFails)                                       \
    OTHER(x_sema_create, kFails)                                     \
    OTHER(x_sema_lock, kFails)                                       \
    OTHER(x_sema_unlock, kFails | kKeeps)                            \
    OTHER(x_sema_delete, kFails)                                     \
    OTHER(x_mem_alloc, kFails)                                       \
    OTHER(x_mem_free, 0)

enum class Call {
#define CALL_NAME(name, ...) name,
    CALLS(CALL_NAME, CALL_NAME)
};

struct CallTraits {
    const char* name;
    int ways;
    bool entersJava;
    Counter count;
    int change;
};
constexpr CallTraits kTraits[] = {
#define JNI_TRAITS(name, ...) {#name, __VA_ARGS__},
#define OTHER_TRAITS(name, ways) {#name, ways, false, kNoCount, 0},
    CALLS(JNI_TRAITS, OTHER_TRAITS)};

const CallTraits& traits(Call call) {
    return kTraits[static_cast<size_t>(call)];
}

JNINativeInterface_ gInterceptingTable;
thread_local bool tIntercepting;
thread_local std::string tLastClass;  // the last class that the library looked up
thread_local jmethodID tLastMethod;   // the last method that it called

// Which call fails, and how.
struct Fault {
    std::string call;  // empty: any
    size_t left;       // the number of such calls until one fails, including that one
    Failure failure;
};

struct JavaMethod {
    std::string clazz;
    std::string name;
    std::string signature;
    bool isNeglected() const { return clazz == "ZytTvInnerFilter" && name != "<init>"; }
};

struct State {
    std::atomic<bool> noting{false};  // a recording runs, or there are faults
    std::mutex lock;                  // protects what follows
    bool recording = false;
    std::vector<Point> points;
    std::vector<Fault> faults;
    std::map<jmethodID, JavaMethod> methods;
};
State& gState = *new State();  // never destroyed: threads may still call at the end

// Gives the calling thread the function table that it must see.
void setTable() {
    void* env = nullptr;
    if (vm()->GetEnv(&env, JNI_VERSION_1_4) == JNI_OK) {
        static_cast<JNIEnv*>(env)->functions = tIntercepting ? &gInterceptingTable : &realJni();
    }
}

JavaMethod methodOf(jmethodID id) {
    const auto method = gState.methods.find(id);
    return method != gState.methods.end() ? method->second : JavaMethod();
}

// What a JNI call is about, from its arguments.
struct Subject {
    std::string text;  // what the call looks up or registers
    const JNINativeMethod* natives = nullptr;
    jmethodID method = nullptr;         // the Java method that the call calls
    const jvalue* arguments = nullptr;  // those of the Java method
    jobject object = nullptr;
    jint mode = 0;  // the mode of a release, or the number of native methods

    // Until here, complaints of the virtual machine are about the method that was called before.
    ~Subject() { tLastMethod = method != nullptr ? method : tLastMethod; }

    void take(const char* argument) { text += argument; }
    void take(const JNINativeMethod* methods) { natives = methods; }
    void take(jmethodID id) { method = id; }
    void take(const jvalue* values) { arguments = values; }
    void take(jobject argument) { object = argument; }
    void take(jint argument) {
        mode = argument;
        for (jint i = 0; natives != nullptr && i < mode; ++i) {
            text += (i == 0 ? "" : " ") + std::string(natives[i].name) + natives[i].signature;
        }
    }
    void take(...) {}
};

// type: points to the arguments' types in a signature.
std::string textOf(const char* type, const jvalue* argument) {
    std::string text;
    for (const char* comma = ""; *type != ')'; comma = ", ", ++argument) {
        text += comma;
        if (strchr("ZIJ", *type) != nullptr) {
            // A boolean appears as its byte. Java would see true for every byte except 0.
            text += std::to_string(*type == 'Z'   ? argument->z
                                   : *type == 'I' ? argument->i
                                                  : argument->j);
        } else {
            text += fromJava(callStatic("tests.ScriptedModel", "show",
                                        "(Ljava/lang/Object;)Ljava/lang/String;", argument->l));
        }
        type += *type == 'L' ? strcspn(type, ";") + 1 : *type == '[' ? 2 : 1;
    }
    return text;
}

// How this call must fail, if it must. With kThrows, a Java exception is pending afterwards.
std::optional<Failure> intercept(Call call, JNIEnv* env = nullptr, const Subject& subject = {}) {
    if (!tIntercepting || !gState.noting) {
        return std::nullopt;
    }
    std::optional<Failure> result;
    JavaMethod method;
    {
        const std::lock_guard<std::mutex> lock(gState.lock);
        if (gState.recording) {
            const JavaMethod called = methodOf(subject.method);
            gState.points.push_back(
                {traits(call).name,
                 (call == Call::GetMethodID ? tLastClass + "." : called.name) + subject.text,
                 subject.mode, traits(call).ways, called.isNeglected()});
        }
        for (Fault& fault : gState.faults) {
            if ((fault.call.empty() || fault.call == traits(call).name) && --fault.left == 0) {
                result = fault.failure;
            }
        }
        method = methodOf(subject.method);
    }
    const Intercepted notIntercepted(false);
    if (gState.recording && subject.arguments != nullptr) {
        const LocalFrame frame;
        const jthrowable pending = env->ExceptionOccurred();
        env->ExceptionClear();
        addToLog(method.clazz + "." + method.name + "(" +
                 textOf(method.signature.c_str() + 1, subject.arguments) + ")");
        if (pending != nullptr) {
            env->Throw(pending);
        }
    }
    if (result == kThrows) {
        const LocalFrame frame;
        env->Throw(static_cast<jthrowable>(newObject("tests.MadeToFail", "()V")));
    }
    return result;
}

// --- The function table ---

void account(Call call) {
    gCounts[traits(call).count] += traits(call).change;
}

// Remembers the result of a successful call.
void learn(const Subject& subject, jclass) {
    tLastClass = subject.text.substr(subject.text.rfind('/') + 1);
}
void learn(const Subject& subject, jmethodID id) {
    const std::lock_guard<std::mutex> lock(gState.lock);
    const size_t end = subject.text.find('(');
    gState.methods[id] = {tLastClass, subject.text.substr(0, end), subject.text.substr(end)};
}
template <typename Result>
void learn(const Subject&, Result) {}

template <auto member, Call call>
struct Hook;

template <typename Result, typename... Args,
          Result (JNICALL* JNINativeInterface_::*member)(JNIEnv*, Args...), Call call>
struct Hook<member, call> {
    static Result JNICALL run(JNIEnv* env, Args... args) {
        Subject subject;
        (subject.take(args), ...);
        if (intercept(call, env, subject)) {
            if constexpr (call == Call::RegisterNatives) {
                return JNI_ERR;
            } else {
                return Result();
            }
        }
        if constexpr (std::is_void_v<Result>) {
            callReal(env, args...);
            if (subject.object != nullptr) {
                account(call);
            }
        } else {
            const Result result = callReal(env, args...);
            if (result != Result()) {
                account(call);
                learn(subject, result);
            }
            return result;
        }
    }

    static Result JNICALL callReal(JNIEnv* env, Args... args) {
        // Calls that Java makes in there are not calls of the library.
        const Intercepted intercepted(!traits(call).entersJava);
        return (realJni().*member)(env, args...);
    }
};

// A function that is not in the list stays null.
void fillTable() {
#define HOOK(name, ...) gInterceptingTable.name = Hook<&JNINativeInterface_::name, Call::name>::run;
#define NO_HOOK(...)
    CALLS(HOOK, NO_HOOK)
}

// --- The invocation interface and the services ---

thread_local bool tAttachedBefore;

// How a call that asks for the environment must fail, if it must.
std::optional<jint> failing(Call call, void** env) {
    const std::optional<Failure> failure = intercept(call);
    if (failure) {
        *env = nullptr;
        return failure == kEmpty ? JNI_OK : JNI_EDETACHED;
    }
    return std::nullopt;
}

jint JNICALL getEnvHook(JavaVM*, void** env, jint version) {
    const std::optional<jint> failure = failing(Call::GetEnv, env);
    return failure ? *failure : vm()->GetEnv(env, version);
}

jint JNICALL attachHook(JavaVM*, void** env, void* args) {
    if (const std::optional<jint> failure = failing(Call::AttachCurrentThread, env)) {
        return *failure;
    }
    void* before = nullptr;
    tAttachedBefore = vm()->GetEnv(&before, JNI_VERSION_1_4) == JNI_OK;
    const jint result = vm()->AttachCurrentThread(env, args);
    if (result == JNI_OK) {
        setTable();
        ++gCounts[kAttachments];
    }
    return result;
}

jint JNICALL detachHook(JavaVM*) {
    void* env = nullptr;
    vm()->GetEnv(&env, JNI_VERSION_1_4);
    const std::optional<Failure> failure =
        intercept(Call::DetachCurrentThread, static_cast<JNIEnv*>(env));
    --gCounts[kAttachments];
    const Intercepted notIntercepted(false);
    // If the thread was attached before GetEnv was made to fail, it stays attached: its owner
    // relies on it.
    const jint result = tAttachedBefore ? JNI_OK : vm()->DetachCurrentThread();
    return failure ? JNI_ERR : result;
}

int32_t serviceHook(fake_service_t service) {
    const auto call =
        static_cast<Call>(static_cast<int>(Call::handle_alloc) + static_cast<int>(service));
    happens(traits(call).name);
    const std::optional<Failure> failure = intercept(call);
    return !failure            ? 0
           : failure == kEmpty ? FAKE_ANSWER_EMPTY
           : failure == kKeeps ? FAKE_KEEP_TAKEN
                               : kServiceError;
}

// The complaint is about an exception, and follows a call of a neglected method.
bool toleratesComplaint(const std::string& complaint) {
    const std::lock_guard<std::mutex> lock(gState.lock);
    return complaint.find("exception") != std::string::npos && methodOf(tLastMethod).isNeglected();
}

}  // namespace

Intercepted::Intercepted(bool intercepting) : mBefore(std::exchange(tIntercepting, intercepting)) {
    setTable();
}
Intercepted::~Intercepted() {
    tIntercepting = mBefore;
    setTable();
}

void startInterceptedVm(const std::vector<std::string>& options) {
    startVm(options);
    fillTable();
    tolerateComplaints(toleratesComplaint);
    fake_set_service_hook(serviceHook);
    keepLog();
}

jint loadInterceptedLibrary() {
    static JNIInvokeInterface_ table = *vm()->functions;
    table.GetEnv = getEnvHook;
    table.AttachCurrentThread = attachHook;
    table.DetachCurrentThread = detachHook;
    static JavaVM_ intercepting = {&table};
    const Intercepted notIntercepted(false);  // until the entry runs
    return callFromJava(
        [] { return callIntercepted([] { return JNI_OnLoad(&intercepting, nullptr); }); });
}

void failCall(const std::string& call, size_t nth, Failure failure) {
    const std::lock_guard<std::mutex> lock(gState.lock);
    gState.faults.push_back({call, nth, failure});
    gState.noting = true;
}

void record() {
    const std::lock_guard<std::mutex> lock(gState.lock);
    gState.points.clear();
    gState.recording = gState.noting = true;
}

std::vector<Point> recorded() {
    const std::lock_guard<std::mutex> lock(gState.lock);
    gState.recording = gState.noting = false;
    gState.faults.clear();
    return std::exchange(gState.points, {});
}

ResourceCounts resourceCounts() {
    return {{kGlobalRefs, gCounts[kGlobals]}, {"local references", gCounts[kLocals]},
            {"elements", gCounts[kElements]}, {"attachments", gCounts[kAttachments]},
            {"handles", fake_live_handles()}, {"semaphores", fake_live_semaphores()},
            {"blocks", fake_live_blocks()},   {"peers", liveRefBases()},
            {"bad frees", fake_bad_frees()}};
}

std::string changesSince(const ResourceCounts& before) {
    std::string text;
    for (const auto& [name, count] : resourceCounts()) {
        const int more = count - before.at(name);
        if (more != 0) {
            text += (text.empty() ? "" : ", ") + name + ": " + (more > 0 ? "+" : "") +
                    std::to_string(more);
        }
    }
    return text;
}

}  // namespace tests
