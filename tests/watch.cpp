#include "tests/watch.h"

#include <desk/basic_faults.h>
#include <desk/refbase_count.h>
#include <jvmti.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <ostream>
#include <tuple>

extern "C" JavaVM* g_velmora_javaVM;

namespace desk {

namespace {

using Ways = std::vector<Failure>;

// What a call that succeeds adds to the resource counts, by the reference or elements that it makes or takes.
struct Effect {
    int globalRefs;
    int localRefs;
    int elements;
};

struct CallTraits {
    const char* name;
    Ways ways;
    bool allowedWhilePending;  // JNI allows it with a Java exception pending
    bool entersJava;
    Effect effect;
};

const Ways kNever = {};
const Ways kFails = {Failure::kNull};
const Ways kThrowsOnly = {Failure::kThrows};
const Ways kFailsOrThrows = {Failure::kNull, Failure::kThrows};
const Ways kFailsOrIsEmpty = {Failure::kNull, Failure::kEmpty};
const Ways kFailsOrKeeps = {Failure::kNull, Failure::kKeeps};

const CallTraits kTraits[] = {
    {"FindClass", kFailsOrThrows, false, true, {0, 1, 0}},
    {"GetMethodID", kFailsOrThrows, false, true, {}},
    {"RegisterNatives", kFailsOrThrows, false, false, {}},
    {"NewGlobalRef", kFailsOrThrows, false, false, {1, 0, 0}},
    {"DeleteGlobalRef", kNever, true, false, {-1, 0, 0}},
    {"NewLocalRef", kFailsOrThrows, false, false, {0, 1, 0}},
    {"DeleteLocalRef", kNever, true, false, {0, -1, 0}},
    {"IsSameObject", kNever, false, false, {}},
    {"NewObjectA", kFailsOrThrows, false, true, {0, 1, 0}},
    {"CallVoidMethodA", kThrowsOnly, false, true, {}},
    {"CallBooleanMethodA", kThrowsOnly, false, true, {}},
    {"CallIntMethodA", kThrowsOnly, false, true, {}},
    {"CallLongMethodA", kThrowsOnly, false, true, {}},
    {"CallObjectMethodA", kFailsOrThrows, false, true, {0, 1, 0}},
    {"NewByteArray", kFailsOrThrows, false, false, {0, 1, 0}},
    {"NewIntArray", kFailsOrThrows, false, false, {0, 1, 0}},
    {"GetArrayLength", kNever, false, false, {}},
    {"SetByteArrayRegion", kNever, false, false, {}},  // the library sets whole arrays
    {"SetIntArrayRegion", kNever, false, false, {}},
    {"GetByteArrayElements", kFailsOrThrows, false, false, {0, 0, 1}},
    {"GetIntArrayElements", kFailsOrThrows, false, false, {0, 0, 1}},
    {"ReleaseByteArrayElements", kNever, true, false, {0, 0, -1}},
    {"ReleaseIntArrayElements", kNever, true, false, {0, 0, -1}},
    {"ExceptionCheck", kNever, true, false, {}},
    {"ExceptionDescribe", kNever, true, true, {}},
    {"ExceptionClear", kNever, true, false, {}},
    {"GetEnv", kFailsOrIsEmpty, true, false, {}},
    {"AttachCurrentThread", kFailsOrIsEmpty, true, false, {}},
    {"DetachCurrentThread", kFails, false, false, {}},
    {"handle_alloc", kFails, true, false, {}},
    {"handle_get_type_obj", kFailsOrIsEmpty, true, false, {}},
    {"handle_get_obj", kFailsOrIsEmpty, true, false, {}},
    {"handle_free", kFails, true, false, {}},
    {"x_sema_create", kFails, true, false, {}},
    {"x_sema_lock", kFails, true, false, {}},
    {"x_sema_unlock", kFailsOrKeeps, true, false, {}},
    {"x_sema_delete", kFails, true, false, {}},
    {"x_mem_alloc", kFails, true, false, {}},
    {"x_mem_free", kNever, true, false, {}},
};
constexpr size_t kCalls = static_cast<size_t>(Call::kCount);
static_assert(std::size(kTraits) == kCalls);

const CallTraits& traits(Call call) {
    return kTraits[static_cast<size_t>(call)];
}

jniNativeInterface gReal;
thread_local bool tWatching;
std::atomic<int> gGlobalRefs;
std::atomic<int> gLocalRefs;
std::atomic<int> gElements;
std::atomic<int> gAttachments;
std::atomic<int> gAttachCount;
std::atomic<int> gReleaseMode{-1};

struct Fault {
    std::atomic<int> callsUntilFault;  // 0: none; below: every call fails
    std::atomic<Failure> failure;
    std::string name;  // of the class or method; empty: by count
};
Fault gFaults[kCalls];

constexpr size_t kNone = SIZE_MAX;
struct Recording {
    std::atomic<bool> on;
    std::mutex lock;
    std::vector<Point> points;
    std::vector<std::string> breaches;
    size_t failAt = kNone;
    Failure failure;
    std::map<jmethodID, std::string> methods;
} gRecording;

void throwException(JNIEnv* env) {
    gReal.ThrowNew(env, gReal.FindClass(env, "java/lang/IllegalStateException"), "made to fail");
}

// Notes a call, and says how it is to fail, if it is.
std::optional<Failure> noteCall(Call call, JNIEnv* env, jmethodID id) {
    const std::lock_guard<std::mutex> lock(gRecording.lock);
    const auto method = gRecording.methods.find(id);
    gRecording.points.push_back(
        {call, method != gRecording.methods.end() ? method->second : std::string()});
    if (env != nullptr && !traits(call).allowedWhilePending && gReal.ExceptionCheck(env)) {
        gRecording.breaches.push_back(std::string(traits(call).name) + " " +
                                      gRecording.points.back().method);
    }
    return gRecording.points.size() - 1 == gRecording.failAt ? std::optional(gRecording.failure)
                                                             : std::nullopt;
}

// How this call is to fail; a Java exception is then pending if that is how.
std::optional<Failure> intercept(Call call, JNIEnv* env, const char* lookup = nullptr,
                                 jmethodID method = nullptr) {
    Fault& fault = gFaults[static_cast<size_t>(call)];
    std::optional<Failure> result;
    if (lookup != nullptr && !fault.name.empty()) {
        if (fault.name == lookup) {
            result = fault.failure;
        }
    } else if (tWatching) {
        if (gRecording.on) {
            result = noteCall(call, env, method);
        }
        if (fault.callsUntilFault < 0 ||
            (fault.callsUntilFault > 0 && --fault.callsUntilFault == 0)) {
            result = fault.failure;
        }
    }
    if (result == Failure::kThrows) {
        throwException(env);
    }
    return result;
}

// --- The function table ---

void account(Call call, const void* object) {
    if (!tWatching || object == nullptr) {
        return;
    }
    const Effect& effect = traits(call).effect;
    gGlobalRefs += effect.globalRefs;
    gLocalRefs += effect.localRefs;
    gElements += effect.elements;
}

// Of a call's arguments: the name that is looked up or registered, the Java method that is called.
const char* lookupIn(const char* name) {
    return name;
}
const char* lookupIn(const JNINativeMethod* methods) {
    return methods->name;
}
template <typename Other>
const char* lookupIn(Other) {
    return nullptr;
}
template <typename... Args>
const char* lookupOf(Args... args) {
    const char* result = nullptr;
    ((result = result != nullptr ? result : lookupIn(args)), ...);
    return result;
}

jmethodID methodIn(jmethodID id) {
    return id;
}
template <typename Other>
jmethodID methodIn(Other) {
    return nullptr;
}
template <typename... Args>
jmethodID methodOf(Args... args) {
    jmethodID result = nullptr;
    ((result = result != nullptr ? result : methodIn(args)), ...);
    return result;
}

template <auto member, Call call>
struct Hook;

template <typename Result, typename... Args,
          Result (JNICALL* jniNativeInterface::*member)(JNIEnv*, Args...), Call call>
struct Hook<member, call> {
    static Result JNICALL run(JNIEnv* env, Args... args) {
        if (intercept(call, env, lookupOf(args...), methodOf(args...))) {
            if constexpr (call == Call::kRegisterNatives) {
                return JNI_ERR;
            } else {
                return Result();
            }
        }
        if constexpr (std::is_void_v<Result>) {
            callReal(env, args...);
            account(call, std::get<0>(std::tuple(args..., nullptr)));
            if constexpr (call == Call::kReleaseByteArrayElements ||
                          call == Call::kReleaseIntArrayElements) {
                if (tWatching) {
                    gReleaseMode = std::get<sizeof...(Args) - 1>(std::tuple(args...));
                }
            }
        } else {
            const Result result = callReal(env, args...);
            if constexpr (std::is_pointer_v<Result>) {
                account(call, result);
            }
            if constexpr (call == Call::kGetMethodID) {
                const std::lock_guard<std::mutex> lock(gRecording.lock);
                gRecording.methods[result] = lookupOf(args...);
            }
            return result;
        }
    }

    static Result callReal(JNIEnv* env, Args... args) {
        // What Java does in there is not the library's.
        const Watch watch(tWatching && !traits(call).entersJava);
        return (gReal.*member)(env, args...);
    }
};

template <auto member, Call call>
void hook(jniNativeInterface* table) {
    table->*member = Hook<member, call>::run;
}

// --- The invocation interface ---

thread_local bool tAttachedBefore;

jint JNICALL getEnvHook(JavaVM*, void** env, jint version) {
    const std::optional<Failure> failure = intercept(Call::kGetEnv, nullptr);
    if (failure) {
        *env = nullptr;
        return failure == Failure::kEmpty ? JNI_OK : JNI_EDETACHED;
    }
    return vm()->GetEnv(env, version);
}

jint JNICALL attachHook(JavaVM*, void** env, void* args) {
    const std::optional<Failure> failure = intercept(Call::kAttach, nullptr);
    if (failure) {
        *env = nullptr;
        return failure == Failure::kEmpty ? JNI_OK : JNI_ERR;
    }
    void* before = nullptr;
    tAttachedBefore = vm()->GetEnv(&before, JNI_VERSION_1_4) == JNI_OK;
    const jint result = vm()->AttachCurrentThread(env, args);
    if (result == JNI_OK) {
        ++gAttachments;
        ++gAttachCount;
    }
    return result;
}

jint JNICALL detachHook(JavaVM*) {
    void* env = nullptr;
    vm()->GetEnv(&env, JNI_VERSION_1_4);
    const std::optional<Failure> failure = intercept(Call::kDetach, static_cast<JNIEnv*>(env));
    --gAttachments;
    // A thread that was attached before GetEnv was made to fail stays so: others rely on it.
    const jint result = tAttachedBefore ? JNI_OK : vm()->DetachCurrentThread();
    return failure ? JNI_ERR : result;
}

int32_t serviceHook(desk_service_t service) {
    const auto call =
        static_cast<Call>(static_cast<int>(Call::kHandleAlloc) + static_cast<int>(service));
    const std::optional<Failure> failure = intercept(call, nullptr);
    return !failure                     ? 0
           : failure == Failure::kEmpty ? DESK_ANSWER_EMPTY
           : failure == Failure::kKeeps ? DESK_KEEP_TAKEN
                                        : kServiceError;
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

const std::vector<Failure>& waysToFail(Call call) {
    return traits(call).ways;
}

void failCall(Call call, int nth, Failure failure) {
    Fault& fault = gFaults[static_cast<size_t>(call)];
    fault.failure = failure;
    fault.callsUntilFault = nth;
}

void failEvery(Call call, Failure failure) {
    failCall(call, -1, failure);
}

void failLookup(Call call, const std::string& name) {
    Fault& fault = gFaults[static_cast<size_t>(call)];
    fault.failure = Failure::kNull;
    fault.name = name;
}

void failNothing() {
    for (Fault& fault : gFaults) {
        fault.callsUntilFault = 0;
        fault.name.clear();
    }
    desk_fail_none();
}

void record() {
    recordAndFail(kNone, Failure::kNull);
}

void recordAndFail(size_t point, Failure failure) {
    const std::lock_guard<std::mutex> lock(gRecording.lock);
    gRecording.points.clear();
    gRecording.failAt = point;
    gRecording.failure = failure;
    gRecording.on = true;
}

std::vector<Point> recorded() {
    const std::lock_guard<std::mutex> lock(gRecording.lock);
    gRecording.on = false;
    return std::move(gRecording.points);
}

std::vector<std::string> takeBreaches() {
    const std::lock_guard<std::mutex> lock(gRecording.lock);
    std::vector<std::string> result;
    result.swap(gRecording.breaches);
    return result;
}

JNIEnv* startWatchedVm(const std::vector<std::string>& options) {
    JNIEnv* env = startVm(options);
    void* tool = nullptr;
    jniNativeInterface* table = nullptr;
    if (vm()->GetEnv(&tool, JVMTI_VERSION_1_2) != JNI_OK ||
        static_cast<jvmtiEnv*>(tool)->GetJNIFunctionTable(&table) != JVMTI_ERROR_NONE) {
        fprintf(stderr, "test set-up failed: JVMTI\n");
        abort();
    }
    gReal = *table;
    using Table = jniNativeInterface;
    hook<&Table::FindClass, Call::kFindClass>(table);
    hook<&Table::GetMethodID, Call::kGetMethodID>(table);
    hook<&Table::RegisterNatives, Call::kRegisterNatives>(table);
    hook<&Table::NewGlobalRef, Call::kNewGlobalRef>(table);
    hook<&Table::DeleteGlobalRef, Call::kDeleteGlobalRef>(table);
    hook<&Table::NewLocalRef, Call::kNewLocalRef>(table);
    hook<&Table::DeleteLocalRef, Call::kDeleteLocalRef>(table);
    hook<&Table::IsSameObject, Call::kIsSameObject>(table);
    hook<&Table::NewObjectA, Call::kNewObject>(table);
    hook<&Table::CallVoidMethodA, Call::kCallVoidMethod>(table);
    hook<&Table::CallBooleanMethodA, Call::kCallBooleanMethod>(table);
    hook<&Table::CallIntMethodA, Call::kCallIntMethod>(table);
    hook<&Table::CallLongMethodA, Call::kCallLongMethod>(table);
    hook<&Table::CallObjectMethodA, Call::kCallObjectMethod>(table);
    hook<&Table::NewByteArray, Call::kNewByteArray>(table);
    hook<&Table::NewIntArray, Call::kNewIntArray>(table);
    hook<&Table::GetArrayLength, Call::kGetArrayLength>(table);
    hook<&Table::SetByteArrayRegion, Call::kSetByteArrayRegion>(table);
    hook<&Table::SetIntArrayRegion, Call::kSetIntArrayRegion>(table);
    hook<&Table::GetByteArrayElements, Call::kGetByteArrayElements>(table);
    hook<&Table::GetIntArrayElements, Call::kGetIntArrayElements>(table);
    hook<&Table::ReleaseByteArrayElements, Call::kReleaseByteArrayElements>(table);
    hook<&Table::ReleaseIntArrayElements, Call::kReleaseIntArrayElements>(table);
    hook<&Table::ExceptionCheck, Call::kExceptionCheck>(table);
    hook<&Table::ExceptionDescribe, Call::kExceptionDescribe>(table);
    hook<&Table::ExceptionClear, Call::kExceptionClear>(table);
    static_cast<jvmtiEnv*>(tool)->SetJNIFunctionTable(table);
    static_cast<jvmtiEnv*>(tool)->Deallocate(reinterpret_cast<unsigned char*>(table));
    desk_set_service_hook(serviceHook);
    keepLog();
    return env;
}

bool loadWatchedLibrary() {
    const bool loaded = loadLibrary();
    g_velmora_javaVM = watchedVm();
    return loaded;
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
           peers == other.peers;
}

std::ostream& operator<<(std::ostream& out, const ResourceCounts& counts) {
    return out << "global " << counts.globalRefs << ", local " << counts.localRefs << ", elements "
               << counts.elements << ", attachments " << counts.attachments << ", handles "
               << counts.handles << ", semaphores " << counts.semaphores << ", blocks "
               << counts.blocks << ", peers " << counts.peers;
}

ResourceCounts resourceCounts() {
    return {gGlobalRefs,        gLocalRefs,          gElements,
            gAttachments,       desk_live_handles(), desk_live_semaphores(),
            desk_live_blocks(), desk_refbase_live()};
}

int attachCount() {
    return gAttachCount;
}
int releaseMode() {
    return gReleaseMode.exchange(-1);
}

Watch::Watch(bool watching) : mBefore(tWatching) {
    tWatching = watching;
}
Watch::~Watch() {
    tWatching = mBefore;
}

}  // namespace desk
