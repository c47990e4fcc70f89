#include "tests/watch.h"

#include <desk/basic_faults.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <ostream>
#include <tuple>
#include <utility>

extern "C" jint JNI_OnLoad(JavaVM* vm, void* reserved);

#include "tests/refbase_count.h"

namespace desk {

namespace {

constexpr unsigned bit(Failure failure) {
    return 1u << static_cast<unsigned>(failure);
}
constexpr unsigned kNever = 0;
constexpr unsigned kFails = bit(Failure::kNull);
constexpr unsigned kThrows = bit(Failure::kThrows);
constexpr unsigned kFailsOrThrows = kFails | kThrows;
constexpr unsigned kFailsOrIsEmpty = kFails | bit(Failure::kEmpty);
constexpr unsigned kFailsOrKeeps = kFails | bit(Failure::kKeeps);

constexpr unsigned kWhilePending = 1;  // JNI allows it with a Java exception pending
constexpr unsigned kEntersJava = 2;

// What a call that succeeds adds to the resource counts.
struct Effect {
    int globalRefs;
    int localRefs;
    int elements;
};
constexpr Effect kNoEffect = {};
constexpr Effect kMakesGlobalRef = {1, 0, 0};
constexpr Effect kDeletesGlobalRef = {-1, 0, 0};
constexpr Effect kMakesLocalRef = {0, 1, 0};
constexpr Effect kDeletesLocalRef = {0, -1, 0};
constexpr Effect kTakesElements = {0, 0, 1};
constexpr Effect kReleasesElements = {0, 0, -1};

struct CallTraits {
    const char* name;
    unsigned ways;
    unsigned properties;
    Effect effect;
};
constexpr CallTraits kTraits[] = {
#define DESK_JNI_TRAITS(name, ways, properties, effect) {#name, ways, properties, effect},
#define DESK_OTHER_TRAITS(name, ways, properties) {#name, ways, properties, kNoEffect},
    DESK_CALLS(DESK_JNI_TRAITS, DESK_OTHER_TRAITS)
#undef DESK_JNI_TRAITS
#undef DESK_OTHER_TRAITS
};

constexpr const CallTraits& traits(Call call) {
    return kTraits[static_cast<size_t>(call)];
}

const JNINativeInterface_* gRealTable;
JNINativeInterface_ gWatchedTable;
thread_local bool tWatching;
thread_local jmethodID tLastMethod;  // the Java method that the library called last
std::atomic<int> gGlobalRefs;
std::atomic<int> gLocalRefs;
std::atomic<int> gElements;
std::atomic<int> gAttachments;
std::atomic<int> gAttachCount;
std::atomic<int> gCopiedBack;
std::atomic<int> gAborted;
std::atomic<int> gOtherReleases;

struct Fault {
    std::atomic<int> callsUntilFault;  // 0: none; below: every call fails
    std::atomic<Failure> failure;
    std::string name;  // of the class or method; empty: by count
};

constexpr size_t kNone = SIZE_MAX;

// Never destroyed: threads may still call at the end of the process.
struct State {
    Fault faults[std::size(kTraits)];
    std::atomic<bool> recording{false};
    std::mutex lock;  // of what follows
    std::vector<Point> points;
    std::vector<std::string> breaches;
    size_t failAt = kNone;
    Failure failure;
    std::map<jmethodID, std::string> methods;
};
State& gState = *new State();

void watchEnv(JNIEnv* env, bool watching) {
    env->functions = watching ? &gWatchedTable : gRealTable;
}

void setWatching(bool watching) {
    if (tWatching != watching) {
        tWatching = watching;
        void* env = nullptr;
        if (vm()->GetEnv(&env, JNI_VERSION_1_4) == JNI_OK) {
            watchEnv(static_cast<JNIEnv*>(env), watching);
        }
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

// Notes a call, and says how it is to fail, if it is.
std::optional<Failure> noteCall(Call call, JNIEnv* env, const char* lookup, jmethodID method) {
    const std::lock_guard<std::mutex> lock(gState.lock);
    gState.points.push_back({call, lookup != nullptr ? lookup : methodName(method)});
    if (env != nullptr && (traits(call).properties & kWhilePending) == 0 &&
        gRealTable->ExceptionCheck(env)) {
        gState.breaches.push_back(std::string(name(call)) + " " + gState.points.back().name);
    }
    return gState.points.size() - 1 == gState.failAt ? std::optional(gState.failure) : std::nullopt;
}

// How this call is to fail; a Java exception is then pending if that is how.
std::optional<Failure> intercept(Call call, JNIEnv* env, const char* lookup = nullptr,
                                 jmethodID method = nullptr) {
    if (!tWatching) {
        return std::nullopt;
    }
    Fault& fault = gState.faults[static_cast<size_t>(call)];
    std::optional<Failure> result;
    if (gState.recording) {
        result = noteCall(call, env, lookup, method);
    }
    if ((lookup != nullptr && fault.name == lookup) || fault.callsUntilFault < 0 ||
        (fault.callsUntilFault > 0 && --fault.callsUntilFault == 0)) {
        result = fault.failure;
    }
    if (result == Failure::kThrows) {
        throwException(env);
    }
    return result;
}

// --- The function table ---

void account(Call call) {
    const Effect& effect = traits(call).effect;
    gGlobalRefs += effect.globalRefs;
    gLocalRefs += effect.localRefs;
    gElements += effect.elements;
}

// Only without JNI_COMMIT do the elements end.
void accountRelease(Call call, jint mode) {
    ++(mode == 0 ? gCopiedBack : mode == JNI_ABORT ? gAborted : gOtherReleases);
    if (mode == 0 || mode == JNI_ABORT) {
        account(call);
    }
}

// The first argument that is what is asked for, or null: the name that is looked up or registered,
// the Java method that is called.
const char* find(const char* name, const char*) {
    return name;
}
const char* find(const JNINativeMethod* methods, const char*) {
    return methods->name;
}
jmethodID find(jmethodID id, jmethodID) {
    return id;
}
template <typename Other, typename Wanted>
Wanted find(Other, Wanted) {
    return nullptr;
}
template <typename Wanted, typename... Args>
Wanted firstOf(Args... args) {
    Wanted result = nullptr;
    ((result = result != nullptr ? result : find(args, Wanted())), ...);
    return result;
}

// Notes at its end that the library has called a Java method. What the virtual machine complains of
// before is about the method called last.
struct NoteMethod {
    jmethodID method;
    ~NoteMethod() { tLastMethod = method != nullptr ? method : tLastMethod; }
};

template <auto member, Call call>
struct Hook;

template <typename Result, typename... Args,
          Result (JNICALL* JNINativeInterface_::*member)(JNIEnv*, Args...), Call call>
struct Hook<member, call> {
    static Result JNICALL run(JNIEnv* env, Args... args) {
        const char* lookup = firstOf<const char*>(args...);
        const jmethodID method = firstOf<jmethodID>(args...);
        const NoteMethod noteMethod = {method};
        if (intercept(call, env, lookup, method)) {
            if constexpr (call == Call::RegisterNatives) {
                return JNI_ERR;
            } else {
                return Result();
            }
        }
        if constexpr (std::is_void_v<Result>) {
            callReal(env, args...);
            if constexpr (traits(call).effect.elements != 0) {
                accountRelease(call, std::get<sizeof...(Args) - 1>(std::tuple(args...)));
            } else if (std::get<0>(std::tuple(args..., nullptr)) != nullptr) {
                account(call);
            }
        } else {
            const Result result = callReal(env, args...);
            if constexpr (std::is_pointer_v<Result>) {
                if (result != nullptr) {
                    account(call);
                }
            }
            if constexpr (call == Call::GetMethodID) {
                const std::lock_guard<std::mutex> lock(gState.lock);
                gState.methods[result] = lookup;
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

// Stands for every function that is not in the list.
template <size_t index>
void* notWatched() {
    fprintf(stderr, "the library calls entry %zu of the JNI function table, which is not watched\n",
            index);
    abort();
}

constexpr size_t kEntries = sizeof(JNINativeInterface_) / sizeof(void*);

template <size_t... index>
void fillTable(std::index_sequence<index...>) {
    void* const functions[] = {reinterpret_cast<void*>(notWatched<index>)...};
    static_assert(sizeof(functions) == sizeof(gWatchedTable));
    memcpy(&gWatchedTable, functions, sizeof(functions));
#define DESK_HOOK(name, ...) gWatchedTable.name = Hook<&JNINativeInterface_::name, Call::name>::run;
#define DESK_NO_HOOK(...)
    DESK_CALLS(DESK_HOOK, DESK_NO_HOOK)
#undef DESK_HOOK
#undef DESK_NO_HOOK
}

// --- The invocation interface ---

thread_local bool tAttachedBefore;

jint JNICALL getEnvHook(JavaVM*, void** env, jint version) {
    const std::optional<Failure> failure = intercept(Call::GetEnv, nullptr);
    if (failure) {
        *env = nullptr;
        return failure == Failure::kEmpty ? JNI_OK : JNI_EDETACHED;
    }
    return vm()->GetEnv(env, version);
}

jint JNICALL attachHook(JavaVM*, void** env, void* args) {
    const std::optional<Failure> failure = intercept(Call::AttachCurrentThread, nullptr);
    if (failure) {
        *env = nullptr;
        return failure == Failure::kEmpty ? JNI_OK : JNI_ERR;
    }
    void* before = nullptr;
    tAttachedBefore = vm()->GetEnv(&before, JNI_VERSION_1_4) == JNI_OK;
    const jint result = vm()->AttachCurrentThread(env, args);
    if (result == JNI_OK) {
        watchEnv(static_cast<JNIEnv*>(*env), tWatching);
        ++gAttachments;
        ++gAttachCount;
    }
    return result;
}

jint JNICALL detachHook(JavaVM*) {
    void* env = nullptr;
    const bool attached = vm()->GetEnv(&env, JNI_VERSION_1_4) == JNI_OK;
    const std::optional<Failure> failure =
        intercept(Call::DetachCurrentThread, static_cast<JNIEnv*>(env));
    --gAttachments;
    // A thread that was attached before GetEnv was made to fail stays so: others rely on it.
    if (tAttachedBefore) {
        return failure ? JNI_ERR : JNI_OK;
    }
    if (attached) {
        watchEnv(static_cast<JNIEnv*>(env), false);
    }
    const jint result = vm()->DetachCurrentThread();
    return failure ? JNI_ERR : result;
}

int32_t serviceHook(desk_service_t service) {
    const auto call =
        static_cast<Call>(static_cast<int>(Call::handle_alloc) + static_cast<int>(service));
    const std::optional<Failure> failure = intercept(call, nullptr);
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
    return failure == Failure::kNull     ? "fails"
           : failure == Failure::kThrows ? "throws"
           : failure == Failure::kKeeps  ? "does not release"
                                         : "gives nothing";
}

std::vector<Failure> waysToFail(Call call) {
    std::vector<Failure> ways;
    for (const Failure failure :
         {Failure::kNull, Failure::kThrows, Failure::kEmpty, Failure::kKeeps}) {
        if ((traits(call).ways & bit(failure)) != 0) {
            ways.push_back(failure);
        }
    }
    return ways;
}

void failCall(Call call, int nth, Failure failure) {
    Fault& fault = gState.faults[static_cast<size_t>(call)];
    fault.failure = failure;
    fault.callsUntilFault = nth;
}

void failEvery(Call call, Failure failure) {
    failCall(call, -1, failure);
}

void failLookup(Call call, const std::string& name) {
    Fault& fault = gState.faults[static_cast<size_t>(call)];
    fault.failure = Failure::kNull;
    fault.name = name;
}

void failNothing() {
    for (Fault& fault : gState.faults) {
        fault.callsUntilFault = 0;
        fault.name.clear();
    }
    desk_fail_none();
}

void record() {
    recordAndFail(kNone, Failure::kNull);
}

void recordAndFail(size_t point, Failure failure) {
    const std::lock_guard<std::mutex> lock(gState.lock);
    gState.points.clear();
    gState.failAt = point;
    gState.failure = failure;
    gState.recording = true;
}

std::vector<Point> recorded() {
    const std::lock_guard<std::mutex> lock(gState.lock);
    gState.recording = false;
    return std::move(gState.points);
}

std::vector<std::string> takeBreaches() {
    const std::lock_guard<std::mutex> lock(gState.lock);
    return std::exchange(gState.breaches, {});
}

bool isNeglected(const std::string& javaMethod) {
    for (const char* method : {"setNativeHandle", "onOpenFilter", "onCloseFilter", "onStart",
                               "onStop", "onFlush", "onRead", "onSetSectionConfig"}) {
        if (javaMethod == method) {
            return true;
        }
    }
    return false;
}

JNIEnv* startWatchedVm(const std::vector<std::string>& options) {
    JNIEnv* env = startVm(options);
    gRealTable = env->functions;
    fillTable(std::make_index_sequence<kEntries>());
    tolerateComplaints(toleratesComplaint);
    watchServices();
    keepLog();
    return env;
}

void watchServices() {
    desk_set_service_hook(serviceHook);
}

jint loadWatchedLibrary() {
    return callFromJava([] { return bridge([] { return JNI_OnLoad(watchedVm(), nullptr); }); });
}

JavaVM* watchedVm() {
    static JNIInvokeInterface_ table = *vm()->functions;
    table.GetEnv = getEnvHook;
    table.AttachCurrentThread = attachHook;
    table.DetachCurrentThread = detachHook;
    static JavaVM_ watched = {&table};
    return &watched;
}

bool ResourceCounts::operator==(const ResourceCounts& other) const {
    return globalRefs == other.globalRefs && localRefs == other.localRefs &&
           elements == other.elements && attachments == other.attachments &&
           handles == other.handles && semaphores == other.semaphores && blocks == other.blocks &&
           peers == other.peers && badFrees == other.badFrees;
}

std::ostream& operator<<(std::ostream& out, const ResourceCounts& counts) {
    return out << "global " << counts.globalRefs << ", local " << counts.localRefs << ", elements "
               << counts.elements << ", attachments " << counts.attachments << ", handles "
               << counts.handles << ", semaphores " << counts.semaphores << ", blocks "
               << counts.blocks << ", peers " << counts.peers << ", bad frees " << counts.badFrees;
}

ResourceCounts resourceCounts() {
    return {gGlobalRefs,        gLocalRefs,          gElements,
            gAttachments,       desk_live_handles(), desk_live_semaphores(),
            desk_live_blocks(), liveRefBases(),      desk_bad_frees()};
}

int attachCount() {
    return gAttachCount;
}

Releases takeReleases() {
    return {gCopiedBack.exchange(0), gAborted.exchange(0), gOtherReleases.exchange(0)};
}

Watch::Watch(bool watching) : mBefore(tWatching) {
    setWatching(watching);
}
Watch::~Watch() {
    setWatching(mBefore);
}

}  // namespace desk
