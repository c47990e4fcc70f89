#include "tests/vm.h"

#include <cutils/properties.h>
#include <desk/basic_faults.h>
#include <desk/log_sink.h>
#include <desk/refbase_count.h>
#include <dlfcn.h>
#include <jvmti.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <ostream>
#include <thread>

#include "mw/basic_services.h"

extern "C" JavaVM* g_velmora_javaVM;

namespace desk {

VmFaults vmFaults;

namespace {

JavaVM* gVm;
jobject gLoader;        // global reference
jmethodID gLoadClass;   // of the loader
jclass gScriptedModel;  // global reference
jclass gEvents;         // global reference

[[noreturn]] void give(const char* what) {
    fprintf(stderr, "test set-up failed: %s\n", what);
    abort();
}

// --- The watched function table ---

jniNativeInterface gReal;
thread_local bool tWatching;
std::atomic<int> gGlobalRefs;
std::atomic<int> gLocalRefs;
std::atomic<int> gAttachments;
std::atomic<int> gAttachCount;
std::atomic<int> gReleaseMode{-1};

struct JniFault {
    std::atomic<int> callsUntilFault;
    Failure failure;
    std::string name;  // of the class or method; empty: by count
};
JniFault gJniFaults[static_cast<size_t>(Jni::kCount)];

// True when this call is to fail; a Java exception is then pending if that is how it fails.
bool fails(JNIEnv* env, Jni function, const char* name = nullptr) {
    JniFault& fault = gJniFaults[static_cast<size_t>(function)];
    bool hit = false;
    if (name != nullptr && !fault.name.empty()) {
        hit = fault.name == name;
    } else if (tWatching && fault.callsUntilFault > 0) {
        hit = --fault.callsUntilFault == 0;
    }
    if (hit && fault.failure == Failure::kThrows) {
        gReal.ThrowNew(env, gReal.FindClass(env, "java/lang/IllegalStateException"),
                       "made to fail");
    }
    return hit;
}

template <typename Ref>
Ref counted(std::atomic<int>& counter, Ref ref) {
    if (tWatching && ref != nullptr) {
        ++counter;
    }
    return ref;
}

jclass JNICALL findClassHook(JNIEnv* env, const char* name) {
    return fails(env, Jni::kFindClass, name) ? nullptr
                                             : counted(gLocalRefs, gReal.FindClass(env, name));
}

jmethodID JNICALL getMethodIdHook(JNIEnv* env, jclass clazz, const char* name, const char* sig) {
    return fails(env, Jni::kGetMethodID, name) ? nullptr : gReal.GetMethodID(env, clazz, name, sig);
}

jint JNICALL registerNativesHook(JNIEnv* env, jclass clazz, const JNINativeMethod* methods,
                                 jint n) {
    return fails(env, Jni::kRegisterNatives, methods[0].name)
               ? JNI_ERR
               : gReal.RegisterNatives(env, clazz, methods, n);
}

jobject JNICALL newObjectHook(JNIEnv* env, jclass clazz, jmethodID id, const jvalue* args) {
    return fails(env, Jni::kNewObject)
               ? nullptr
               : counted(gLocalRefs, gReal.NewObjectA(env, clazz, id, args));
}

jobject JNICALL callObjectHook(JNIEnv* env, jobject object, jmethodID id, const jvalue* args) {
    return counted(gLocalRefs, gReal.CallObjectMethodA(env, object, id, args));
}

jobject JNICALL newLocalRefHook(JNIEnv* env, jobject ref) {
    return counted(gLocalRefs, gReal.NewLocalRef(env, ref));
}

jobject JNICALL newGlobalRefHook(JNIEnv* env, jobject ref) {
    return fails(env, Jni::kNewGlobalRef) ? nullptr
                                          : counted(gGlobalRefs, gReal.NewGlobalRef(env, ref));
}

void JNICALL deleteGlobalRefHook(JNIEnv* env, jobject ref) {
    gGlobalRefs -= tWatching && ref != nullptr ? 1 : 0;
    gReal.DeleteGlobalRef(env, ref);
}

void JNICALL deleteLocalRefHook(JNIEnv* env, jobject ref) {
    gLocalRefs -= tWatching && ref != nullptr ? 1 : 0;
    gReal.DeleteLocalRef(env, ref);
}

jbyteArray JNICALL newByteArrayHook(JNIEnv* env, jsize length) {
    return fails(env, Jni::kNewByteArray) ? nullptr
                                          : counted(gLocalRefs, gReal.NewByteArray(env, length));
}

jintArray JNICALL newIntArrayHook(JNIEnv* env, jsize length) {
    return fails(env, Jni::kNewIntArray) ? nullptr
                                         : counted(gLocalRefs, gReal.NewIntArray(env, length));
}

jint* JNICALL getIntsHook(JNIEnv* env, jintArray array, jboolean* copied) {
    return fails(env, Jni::kGetIntArrayElements) ? nullptr
                                                 : gReal.GetIntArrayElements(env, array, copied);
}

jbyte* JNICALL getBytesHook(JNIEnv* env, jbyteArray array, jboolean* copied) {
    return fails(env, Jni::kGetByteArrayElements) ? nullptr
                                                  : gReal.GetByteArrayElements(env, array, copied);
}

void JNICALL releaseIntsHook(JNIEnv* env, jintArray array, jint* elements, jint mode) {
    if (tWatching) {
        gReleaseMode = mode;
    }
    gReal.ReleaseIntArrayElements(env, array, elements, mode);
}

void JNICALL releaseBytesHook(JNIEnv* env, jbyteArray array, jbyte* elements, jint mode) {
    if (tWatching) {
        gReleaseMode = mode;
    }
    gReal.ReleaseByteArrayElements(env, array, elements, mode);
}

void watchFunctionTable() {
    void* tool = nullptr;
    if (gVm->GetEnv(&tool, JVMTI_VERSION_1_2) != JNI_OK) {
        give("JVMTI");
    }
    jvmtiEnv* jvmti = static_cast<jvmtiEnv*>(tool);
    jniNativeInterface* table = nullptr;
    jvmti->GetJNIFunctionTable(&table);
    gReal = *table;
    table->FindClass = findClassHook;
    table->GetMethodID = getMethodIdHook;
    table->RegisterNatives = registerNativesHook;
    table->NewObjectA = newObjectHook;
    table->CallObjectMethodA = callObjectHook;
    table->NewLocalRef = newLocalRefHook;
    table->NewGlobalRef = newGlobalRefHook;
    table->DeleteGlobalRef = deleteGlobalRefHook;
    table->DeleteLocalRef = deleteLocalRefHook;
    table->NewByteArray = newByteArrayHook;
    table->NewIntArray = newIntArrayHook;
    table->GetIntArrayElements = getIntsHook;
    table->GetByteArrayElements = getBytesHook;
    table->ReleaseIntArrayElements = releaseIntsHook;
    table->ReleaseByteArrayElements = releaseBytesHook;
    jvmti->SetJNIFunctionTable(table);
    jvmti->Deallocate(reinterpret_cast<unsigned char*>(table));
}

// --- The watched invocation interface ---

jint JNICALL getEnvHook(JavaVM*, void** env, jint version) {
    if (vmFaults.getEnvFails) {
        return JNI_EDETACHED;
    }
    const jint result = gVm->GetEnv(env, version);
    if (vmFaults.getEnvGivesNull) {
        *env = nullptr;
        return JNI_OK;
    }
    return result;
}

jint JNICALL attachHook(JavaVM*, void** env, void* args) {
    if (vmFaults.attachFails) {
        return JNI_ERR;
    }
    if (vmFaults.attachGivesNull) {
        *env = nullptr;
        return JNI_OK;
    }
    const jint result = gVm->AttachCurrentThread(env, args);
    if (result == JNI_OK) {
        ++gAttachments;
        ++gAttachCount;
    }
    return result;
}

jint JNICALL detachHook(JavaVM*) {
    --gAttachments;
    const jint result = gVm->DetachCurrentThread();
    return vmFaults.detachFails ? JNI_ERR : result;
}

// --- The log ---

std::mutex gLogLock;
std::vector<std::string> gLog;

// The check that every control call owes the virtual machine; Java must not have thrown.
void ok() {
    if (env()->ExceptionCheck()) {
        env()->ExceptionDescribe();
        give("a control call threw");
    }
}

template <typename Result>
Result ok(Result result) {
    ok();
    return result;
}

jstring javaString(const std::string& text) {
    return env()->NewStringUTF(text.c_str());
}

jmethodID scriptMethod(const char* method, const char* signature) {
    return env()->GetStaticMethodID(gScriptedModel, method, signature);
}

}  // namespace

JavaVM* vm() {
    return gVm;
}

JNIEnv* env() {
    void* result = nullptr;
    if (gVm->GetEnv(&result, JNI_VERSION_1_4) != JNI_OK) {
        give("a control call on a thread that is not attached");
    }
    return static_cast<JNIEnv*>(result);
}

JNIEnv* startVm() {
    void* library = dlopen(DESK_JAVA_HOME "/lib/server/libjvm.so", RTLD_NOW | RTLD_GLOBAL);
    if (library == nullptr) {
        give(dlerror());
    }
    const auto create =
        reinterpret_cast<decltype(&JNI_CreateJavaVM)>(dlsym(library, "JNI_CreateJavaVM"));
    char check[] = "-Xcheck:jni";
    char heap[] = "-Xmx128m";
    JavaVMOption options[] = {{check, nullptr}, {heap, nullptr}};
    JavaVMInitArgs args = {};
    args.version = JNI_VERSION_1_8;
    args.nOptions = 2;
    args.options = options;
    void* created = nullptr;
    if (create(&gVm, &created, &args) != JNI_OK) {
        give("JNI_CreateJavaVM");
    }
    JNIEnv* env = static_cast<JNIEnv*>(created);

    // The jars are no class path: a native thread cannot find their classes, as on a device.
    const jclass urlClass = env->FindClass("java/net/URL");
    const jmethodID newUrl = env->GetMethodID(urlClass, "<init>", "(Ljava/lang/String;)V");
    const jobjectArray urls = env->NewObjectArray(2, urlClass, nullptr);
    int i = 0;
    for (const char* jar : {"file:" DESK_JARS "/platform.jar", "file:" DESK_JARS "/tests.jar"}) {
        env->SetObjectArrayElement(urls, i++,
                                   ok(env->NewObject(urlClass, newUrl, env->NewStringUTF(jar))));
        ok();
    }
    const jclass loaderClass = env->FindClass("java/net/URLClassLoader");
    gLoader = env->NewGlobalRef(ok(env->NewObject(
        loaderClass, env->GetMethodID(loaderClass, "<init>", "([Ljava/net/URL;)V"), urls)));
    gLoadClass =
        env->GetMethodID(loaderClass, "loadClass", "(Ljava/lang/String;)Ljava/lang/Class;");
    gScriptedModel = static_cast<jclass>(env->NewGlobalRef(findClass("desk.ScriptedModel")));
    gEvents = static_cast<jclass>(env->NewGlobalRef(findClass("desk.Events")));
    watchFunctionTable();
    desk_log_set_sink(keepLogLine);
    return env;
}

jclass findClass(const std::string& name) {
    return static_cast<jclass>(ok(env()->CallObjectMethod(gLoader, gLoadClass, javaString(name))));
}

bool loadLibrary() {
    const jclass loader = findClass("desk.Loader");
    env()->CallStaticVoidMethod(loader,
                                env()->GetStaticMethodID(loader, "load", "(Ljava/lang/String;)V"),
                                javaString(DESK_BRIDGE));
    if (env()->ExceptionCheck()) {
        env()->ExceptionDescribe();
        env()->ExceptionClear();
        return false;
    }
    return true;
}

void script(const char* method, const std::string& argument) {
    env()->CallStaticVoidMethod(gScriptedModel, scriptMethod(method, "(Ljava/lang/String;)V"),
                                javaString(argument));
    ok();
}

void scriptReturns(const std::string& method, int value) {
    env()->CallStaticVoidMethod(gScriptedModel, scriptMethod("returns", "(Ljava/lang/String;I)V"),
                                javaString(method), value);
    ok();
}

void scriptAnswer(const std::string& method, jobject value) {
    env()->CallStaticVoidMethod(gScriptedModel,
                                scriptMethod("answer", "(Ljava/lang/String;Ljava/lang/Object;)V"),
                                javaString(method), value);
    ok();
}

bool awaitHeld(const std::string& method) {
    return ok(env()->CallStaticBooleanMethod(gScriptedModel,
                                             scriptMethod("awaitHeld", "(Ljava/lang/String;)Z"),
                                             javaString(method))) == JNI_TRUE;
}

std::string takeCalls() {
    const jstring text = static_cast<jstring>(ok(env()->CallStaticObjectMethod(
        gScriptedModel, scriptMethod("takeCalls", "()Ljava/lang/String;"))));
    const char* chars = env()->GetStringUTFChars(text, nullptr);
    std::string result = chars;
    env()->ReleaseStringUTFChars(text, chars);
    return result;
}

jint event(const char* method, const char* signature, ...) {
    const Watch watch;
    va_list args;
    va_start(args, signature);
    const jmethodID id = env()->GetStaticMethodID(gEvents, method, signature);
    jint result = 0;
    if (signature[strlen(signature) - 1] == 'V') {
        env()->CallStaticVoidMethodV(gEvents, id, args);
    } else {
        result = env()->CallStaticIntMethodV(gEvents, id, args);
    }
    va_end(args);
    ok();
    return result;
}

void onFreshThread(const std::function<void()>& work) {
    std::thread([&] {
        work();
        void* left = nullptr;
        EXPECT_EQ(JNI_EDETACHED, gVm->GetEnv(&left, JNI_VERSION_1_4));
    }).join();
}

void failJni(Jni function, int nth, Failure failure) {
    JniFault& fault = gJniFaults[static_cast<size_t>(function)];
    fault.failure = failure;
    fault.callsUntilFault = nth;
}

void failLookup(Jni function, const std::string& name) {
    JniFault& fault = gJniFaults[static_cast<size_t>(function)];
    fault.failure = Failure::kNull;
    fault.name = name;
}

void failNothing() {
    for (JniFault& fault : gJniFaults) {
        fault.callsUntilFault = 0;
        fault.name.clear();
    }
    vmFaults = {};
    desk_fail_none();
}

JavaVM* watchedVm() {
    static JNIInvokeInterface_ table = *gVm->functions;
    table.GetEnv = getEnvHook;
    table.AttachCurrentThread = attachHook;
    table.DetachCurrentThread = detachHook;
    static JavaVM_ watched = {&table};
    return &watched;
}

void watchVm() {
    g_velmora_javaVM = watchedVm();
}

bool Books::operator==(const Books& other) const {
    return globalRefs == other.globalRefs && localRefs == other.localRefs &&
           attachments == other.attachments && handles == other.handles &&
           semaphores == other.semaphores && blocks == other.blocks && peers == other.peers;
}

std::ostream& operator<<(std::ostream& out, const Books& books) {
    return out << "global " << books.globalRefs << ", local " << books.localRefs << ", attachments "
               << books.attachments << ", handles " << books.handles << ", semaphores "
               << books.semaphores << ", blocks " << books.blocks << ", peers " << books.peers;
}

Books books() {
    return {gGlobalRefs,
            gLocalRefs,
            gAttachments,
            desk_live_handles(),
            desk_live_semaphores(),
            desk_live_blocks(),
            desk_refbase_live()};
}

int attachCount() {
    return gAttachCount;
}
int releaseMode() {
    return gReleaseMode.exchange(-1);
}

Watch::Watch() : mBefore(tWatching) {
    tWatching = true;
}
Watch::~Watch() {
    tWatching = mBefore;
}

Pipeline::Pipeline(const std::string& name) {
    const jclass handler = findClass("com.halvorin.tv.velmora.services.pipeline.PipelineHandler");
    const jmethodID make = env()->GetMethodID(handler, "<init>", "(Ljava/lang/String;)V");
    const jobject object = ok(env()->NewObject(handler, make, javaString(name)));
    mObject = env()->NewGlobalRef(object);
    env()->DeleteLocalRef(object);
    mWeak = env()->NewWeakGlobalRef(mObject);
    handle_alloc(HT_PIPELINE, mWeak, nullptr, nullptr, &mHandle);
}

Pipeline::~Pipeline() {
    handle_free(mHandle, 1);
    env()->DeleteWeakGlobalRef(mWeak);
    env()->DeleteGlobalRef(mObject);
}

void Pipeline::collect() {
    env()->DeleteGlobalRef(mObject);
    mObject = nullptr;
    const jclass system = env()->FindClass("java/lang/System");
    const jmethodID gc = env()->GetStaticMethodID(system, "gc", "()V");
    while (!env()->IsSameObject(mWeak, nullptr)) {
        env()->CallStaticVoidMethod(system, gc);
        ok();
    }
}

void keepLogLine(int prio, const char* /* tag */, const char* text) {
    const std::lock_guard<std::mutex> lock(gLogLock);
    gLog.push_back(std::string(1, "??VDIWEF"[prio]) + " " + text);
}

std::vector<std::string> takeLog() {
    const std::lock_guard<std::mutex> lock(gLogLock);
    std::vector<std::string> lines;
    lines.swap(gLog);
    return lines;
}

void setLogLevel(const char* level) {
    property_set("vendor.zyt.broadcast.log.level", level);
}

void BridgeTest::SetUp() {
    static const bool loaded = [] {
        startVm();
        const bool result = loadLibrary();
        watchVm();
        return result;
    }();
    ASSERT_TRUE(loaded);
    env()->PushLocalFrame(64);
    env()->CallStaticVoidMethod(gScriptedModel, scriptMethod("reset", "()V"));
    ok();
    setLogLevel("");
    takeLog();
    mBooks = books();
}

void BridgeTest::TearDown() {
    failNothing();
    EXPECT_FALSE(env()->ExceptionCheck());
    EXPECT_EQ(mBooks, books());
    env()->PopLocalFrame(nullptr);
}

}  // namespace desk
