#include "tests/watch.h"

#include <desk/basic_faults.h>

#include <array>
#include <atomic>
#include <mutex>
#include <optional>
#include <set>
#include <utility>

extern "C" jint JNI_OnLoad(JavaVM* vm, void* reserved);

#include "tests/refbase_count.h"

namespace desk {

namespace {

using Ways = std::vector<Failure>;
const Ways kNever = {};
const Ways kFails = {Failure::kNull};
const Ways kThrows = {Failure::kThrows};
const Ways kFailsOrThrows = {Failure::kNull, Failure::kThrows};
const Ways kFailsOrIsEmpty = {Failure::kNull, Failure::kEmpty};
const Ways kFailsOrKeeps = {Failure::kNull, Failure::kKeeps};

constexpr unsigned kWhilePending = 1;  // JNI allows it with a Java exception pending
constexpr unsigned kEntersJava = 2;

std::atomic<int> gGlobalRefs;
std::atomic<int> gLocalRefs;
std::atomic<int> gElements;
std::atomic<int> gAttachments;
std::array<std::atomic<int>, 3> gReleases;  // by mode: 0, JNI_COMMIT, JNI_ABORT

constexpr std::atomic<int>* kNoCount = nullptr;

// Never destroyed, as what follows: threads may still call at the end of the process.
struct CallTraits {
    const char* name;
    Ways ways;
    unsigned properties;
    std::atomic<int>* count;
    int change;
};
const std::vector<CallTraits>& gTraits = *new std::vector<CallTraits>{
#define DESK_JNI_TRAITS(name, ways, properties, ...) {#name, ways, properties, __VA_ARGS__},
#define DESK_OTHER_TRAITS(name, ways, properties) {#name, ways, properties, kNoCount, 0},
    DESK_CALLS(DESK_JNI_TRAITS, DESK_OTHER_TRAITS)};

const CallTraits& traits(Call call) {
    return gTraits[static_cast<size_t>(call)];
}

const JNINativeInterface_* gRealTable;
JNINativeInterface_ gWatchedTable;
thread_local bool tWatching;
thread_local jmethodID tLastMethod;  // the Java method that the library called last

// Which call fails, and how.
struct Fault {
    std::optional<Call> call;  // none: any
    size_t nth;                // such call from now on; 0: each
    Failure failure;
    size_t met = 0;  // calls that the fault is about
};

struct State {
    std::atomic<bool> noting{false};  // recording, or a fault is set
    std::mutex lock;                  // of what follows
    bool recording = false;
    std::vector<Point> points;
    std::vector<std::string> breaches;
    std::vector<Fault> faults;
    std::map<jmethodID, std::string> methods;
};
State& gState = *new State();

void addFault(const Fault& fault) {
    const std::lock_guard<std::mutex> lock(gState.lock);
    gState.faults.push_back(fault);
    gState.noting = true;
}

bool hits(Fault& fault, Call call) {
    return fault.call.value_or(call) == call && (++fault.met == fault.nth || fault.nth == 0);
}

// Lets the calling thread see the function table that it is to see.
void setTable() {
    void* env = nullptr;
    if (vm()->GetEnv(&env, JNI_VERSION_1_4) == JNI_OK) {
        static_cast<JNIEnv*>(env)->functions = tWatching ? &gWatchedTable : gRealTable;
    }
}

void throwException(JNIEnv* env) {
    const Watch watch(false);
    env->ThrowNew(env->FindClass("java/lang/IllegalStateException"), "made to fail");
}

std::string methodName(jmethodID id) {
    const auto method = gState.methods.find(id);
    return method != gState.methods.end() ? method->second : std::string();
}

// What a JNI call is about, from its arguments.
struct Subject {
    const char* lookup = nullptr;  // the name that is looked up or registered
    jmethodID method = nullptr;    // the Java method that is called
    jobject object = nullptr;
    jint mode = 0;  // of a release

    // What the virtual machine complains of until here is about the method called before.
    ~Subject() { tLastMethod = method != nullptr ? method : tLastMethod; }

    void take(const char* name) { lookup = lookup != nullptr ? lookup : name; }
    void take(const JNINativeMethod* methods) { lookup = methods->name; }
    void take(jmethodID id) { method = id; }
    void take(jobject argument) { object = argument; }
    void take(jint argument) { mode = argument; }
    void take(...) {}
};

// How this call is to fail; a Java exception is then pending if that is how.
std::optional<Failure> intercept(Call call, JNIEnv* env = nullptr, const Subject& subject = {}) {
    if (!tWatching || !gState.noting) {
        return std::nullopt;
    }
    std::optional<Failure> result;
    {
        const std::lock_guard<std::mutex> lock(gState.lock);
        const Point point = {
            call, subject.lookup != nullptr ? subject.lookup : methodName(subject.method)};
        if (gState.recording) {
            gState.points.push_back(point);
            if (env != nullptr && (traits(call).properties & kWhilePending) == 0 &&
                gRealTable->ExceptionCheck(env)) {
                gState.breaches.push_back(std::string(name(call)) + " " + point.name);
            }
        }
        for (Fault& fault : gState.faults) {
            if (hits(fault, call)) {
                result = fault.failure;
            }
        }
    }
    if (result == Failure::kThrows) {
        throwException(env);
    }
    return result;
}

// --- The function table ---

void account(Call call, jint mode) {
    const CallTraits& made = traits(call);
    if (made.count == &gElements && made.change < 0) {
        ++gReleases.at(static_cast<size_t>(mode));
        if (mode == JNI_COMMIT) {
            return;
        }
    }
    if (made.count != kNoCount) {
        *made.count += made.change;
    }
}

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
                account(call, subject.mode);
            }
        } else {
            const Result result = callReal(env, args...);
            if (result != Result()) {
                account(call, 0);
            }
            if constexpr (std::is_same_v<Result, jmethodID>) {
                const std::lock_guard<std::mutex> lock(gState.lock);
                gState.methods[result] = subject.lookup;
            }
            return result;
        }
    }

    static Result JNICALL callReal(JNIEnv* env, Args... args) {
        // What Java does in there is not the library's.
        const Watch watch((traits(call).properties & kEntersJava) == 0);
        return (gRealTable->*member)(env, args...);
    }
};

// What is not in the list stays null.
void fillTable() {
#define DESK_HOOK(name, ...) gWatchedTable.name = Hook<&JNINativeInterface_::name, Call::name>::run;
#define DESK_NO_HOOK(...)
    DESK_CALLS(DESK_HOOK, DESK_NO_HOOK)
}

// --- The invocation interface ---

thread_local bool tAttachedBefore;

jint JNICALL getEnvHook(JavaVM*, void** env, jint version) {
    const std::optional<Failure> failure = intercept(Call::GetEnv);
    if (failure) {
        *env = nullptr;
        return failure == Failure::kEmpty ? JNI_OK : JNI_EDETACHED;
    }
    return vm()->GetEnv(env, version);
}

jint JNICALL attachHook(JavaVM*, void** env, void* args) {
    const std::optional<Failure> failure = intercept(Call::AttachCurrentThread);
    if (failure) {
        *env = nullptr;
        return failure == Failure::kEmpty ? JNI_OK : JNI_ERR;
    }
    void* before = nullptr;
    tAttachedBefore = vm()->GetEnv(&before, JNI_VERSION_1_4) == JNI_OK;
    const jint result = vm()->AttachCurrentThread(env, args);
    if (result == JNI_OK) {
        setTable();
        ++gAttachments;
    }
    return result;
}

jint JNICALL detachHook(JavaVM*) {
    void* env = nullptr;
    vm()->GetEnv(&env, JNI_VERSION_1_4);
    const std::optional<Failure> failure =
        intercept(Call::DetachCurrentThread, static_cast<JNIEnv*>(env));
    --gAttachments;
    const Watch unwatched(false);
    // A thread that was attached before GetEnv was made to fail stays so: others rely on it.
    const jint result = tAttachedBefore ? JNI_OK : vm()->DetachCurrentThread();
    return failure ? JNI_ERR : result;
}

int32_t serviceHook(desk_service_t service) {
    const auto call =
        static_cast<Call>(static_cast<int>(Call::handle_alloc) + static_cast<int>(service));
    const std::optional<Failure> failure = intercept(call);
    return !failure                     ? 0
           : failure == Failure::kEmpty ? DESK_ANSWER_EMPTY
           : failure == Failure::kKeeps ? DESK_KEEP_TAKEN
                                        : kServiceError;
}

bool toleratesComplaint() {
    const std::lock_guard<std::mutex> lock(gState.lock);
    return isNeglected(methodName(tLastMethod));
}

}  // namespace

const char* name(Call call) {
    return traits(call).name;
}

const char* name(Failure failure) {
    static constexpr const char* kNames[] = {"fails", "throws", "gives nothing",
                                             "does not release"};
    return kNames[static_cast<size_t>(failure)];
}

std::vector<Failure> waysToFail(Call call) {
    return traits(call).ways;
}

void failCall(Call call, int nth, Failure failure) {
    addFault({call, static_cast<size_t>(nth), failure});
}

void failNothing() {
    const std::lock_guard<std::mutex> lock(gState.lock);
    gState.faults.clear();
    gState.noting = gState.recording;
}

void record() {
    const std::lock_guard<std::mutex> lock(gState.lock);
    gState.points.clear();
    gState.recording = gState.noting = true;
}

void recordAndFail(size_t point, Failure failure) {
    record();
    addFault({std::nullopt, point + 1, failure});
}

std::vector<Point> recorded() {
    const std::lock_guard<std::mutex> lock(gState.lock);
    gState.recording = gState.noting = false;
    gState.faults.clear();
    return std::exchange(gState.points, {});
}

std::vector<std::string> takeBreaches() {
    const std::lock_guard<std::mutex> lock(gState.lock);
    return std::exchange(gState.breaches, {});
}

bool isNeglected(const std::string& javaMethod) {
    static const auto& kMethods = *new std::set<std::string>{
        "setNativeHandle", "onOpenFilter", "onCloseFilter", "onStart",
        "onStop",          "onFlush",      "onRead",        "onSetSectionConfig"};
    return kMethods.count(javaMethod) != 0;
}

JNIEnv* startWatchedVm(const std::vector<std::string>& options) {
    JNIEnv* env = startVm(options);
    gRealTable = env->functions;
    fillTable();
    tolerateComplaints(toleratesComplaint);
    watchServices();
    keepLog();
    return env;
}

void watchServices() {
    desk_set_service_hook(serviceHook);
}

jint loadWatchedLibrary() {
    static JNIInvokeInterface_ table = *vm()->functions;
    table.GetEnv = getEnvHook;
    table.AttachCurrentThread = attachHook;
    table.DetachCurrentThread = detachHook;
    static JavaVM_ watched = {&table};
    const Watch unwatched(false);  // on the way to the entry
    return callFromJava([] { return callWatched([] { return JNI_OnLoad(&watched, nullptr); }); });
}

ResourceCounts resourceCounts() {
    return {{kGlobalRefs, gGlobalRefs},       {"local references", gLocalRefs},
            {"elements", gElements},          {"attachments", gAttachments},
            {"handles", desk_live_handles()}, {"semaphores", desk_live_semaphores()},
            {"blocks", desk_live_blocks()},   {"peers", liveRefBases()},
            {"bad frees", desk_bad_frees()}};
}

Releases takeReleases() {
    return {gReleases[0].exchange(0), gReleases[JNI_ABORT].exchange(0),
            gReleases[JNI_COMMIT].exchange(0)};
}

Watch::Watch(bool watching) : mBefore(std::exchange(tWatching, watching)) {
    setTable();
}
Watch::~Watch() {
    tWatching = mBefore;
    setTable();
}

}  // namespace desk
