#include "tests/vm.h"

#include <cutils/properties.h>
#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#include "mw/basic_services.h"

extern "C" JavaVM* g_velmora_javaVM;

namespace desk {

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

JNIEnv* startVm(bool checkJni) {
    void* library = dlopen(DESK_JAVA_HOME "/lib/server/libjvm.so", RTLD_NOW | RTLD_GLOBAL);
    if (library == nullptr) {
        give(dlerror());
    }
    const auto create =
        reinterpret_cast<decltype(&JNI_CreateJavaVM)>(dlsym(library, "JNI_CreateJavaVM"));
    char heap[] = "-Xmx128m";
    char check[] = "-Xcheck:jni";
    JavaVMOption options[] = {{heap, nullptr}, {check, nullptr}};
    JavaVMInitArgs args = {};
    args.version = JNI_VERSION_1_8;
    args.nOptions = checkJni ? 2 : 1;
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
    watchFunctionTable(gVm);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(keepLogLine);
    return env;
}

void stopVm() {
    if (gVm != nullptr) {
        gVm->DestroyJavaVM();
    }
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

void watchVm() {
    g_velmora_javaVM = watchedVm();
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

void keepLogLine(const __android_logger_data* data, const char* text) {
    const std::lock_guard<std::mutex> lock(gLogLock);
    gLog.push_back(std::string(1, "??VDIWEF"[data->priority]) + " " + text);
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
