#include "bench/host.h"

#include <desk/basic_faults.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "bench/floor.h"
#include "bench/interpose.h"
#include "mw/basic_services.h"

extern "C" jint JNI_OnLoad(JavaVM* vm, void* reserved);

namespace bench {

namespace {

JavaVM* gVm;
jobject gLoader;
jmethodID gLoadClass;
jclass gModel;
jclass gEvents;
jmethodID gReport;
jmethodID gLoad;

[[noreturn]] void give(const char* what) {
    fprintf(stderr, "The measurements cannot start: %s\n", what);
    exit(1);
}

void ok() {
    if (env()->ExceptionCheck()) {
        env()->ExceptionDescribe();
        give("Java threw");
    }
}

template <typename Result>
Result ok(Result result) {
    ok();
    return result;
}

jint loadNative(JNIEnv*, jclass, jboolean floor) {
    return floor ? floors::load(gVm) : JNI_OnLoad(gVm, nullptr);
}

void setAnswer(jobject object) {
    env()->CallStaticVoidMethod(
        gModel, env()->GetStaticMethodID(gModel, "setAnswer", "(Ljava/lang/Object;)V"), object);
    ok();
    env()->DeleteLocalRef(object);
}

void count(bool on) {
    env()->CallStaticVoidMethod(gModel, env()->GetStaticMethodID(gModel, "count", "(Z)V"), on);
    ok();
}

}  // namespace

JNIEnv* env() {
    void* result = nullptr;
    gVm->GetEnv(&result, JNI_VERSION_1_4);
    return static_cast<JNIEnv*>(result);
}

void startVm() {
    void* library = dlopen(DESK_JAVA_HOME "/lib/server/libjvm.so", RTLD_NOW | RTLD_GLOBAL);
    if (library == nullptr) {
        give(dlerror());
    }
    const auto create =
        reinterpret_cast<decltype(&JNI_CreateJavaVM)>(dlsym(library, "JNI_CreateJavaVM"));
    // Java's compiler runs before, not beside, what it compiles; a collection is short and rare.
    char compile[] = "-Xbatch";
    char collector[] = "-XX:+UseSerialGC";
    char heap[] = "-Xmx256m";
    char young[] = "-Xmn64m";
    JavaVMOption options[] = {
        {compile, nullptr}, {collector, nullptr}, {heap, nullptr}, {young, nullptr}};
    JavaVMInitArgs args = {};
    args.version = JNI_VERSION_1_8;
    args.nOptions = 4;
    args.options = options;
    void* created = nullptr;
    if (create == nullptr || create(&gVm, &created, &args) != JNI_OK) {
        give("JNI_CreateJavaVM");
    }
    JNIEnv* env = static_cast<JNIEnv*>(created);

    const jclass urlClass = env->FindClass("java/net/URL");
    const jmethodID newUrl = env->GetMethodID(urlClass, "<init>", "(Ljava/lang/String;)V");
    const jobjectArray urls = env->NewObjectArray(2, urlClass, nullptr);
    int i = 0;
    for (const char* jar : {"file:" DESK_JARS "/platform.jar", "file:" DESK_JARS "/bench.jar"}) {
        env->SetObjectArrayElement(urls, i++,
                                   ok(env->NewObject(urlClass, newUrl, env->NewStringUTF(jar))));
    }
    const jclass loaderClass = env->FindClass("java/net/URLClassLoader");
    gLoader = env->NewGlobalRef(ok(env->NewObject(
        loaderClass, env->GetMethodID(loaderClass, "<init>", "([Ljava/net/URL;)V"), urls)));
    gLoadClass =
        env->GetMethodID(loaderClass, "loadClass", "(Ljava/lang/String;)Ljava/lang/Class;");

    const jclass loader = findClass("desk.Loader");
    env->CallStaticVoidMethod(loader,
                              env->GetStaticMethodID(loader, "load", "(Ljava/lang/String;)V"),
                              env->NewStringUTF(DESK_BRIDGE));
    ok();
    gModel = findClass("desk.BenchModel");
    env->CallStaticVoidMethod(gModel, env->GetStaticMethodID(gModel, "install", "()V"));
    ok();
    gEvents = findClass("desk.BenchEvents");
    char name[] = "load";
    char signature[] = "(Z)I";
    const JNINativeMethod native = {name, signature, reinterpret_cast<void*>(loadNative)};
    if (env->RegisterNatives(gEvents, &native, 1) != 0) {
        give("RegisterNatives");
    }
    gLoad = ok(env->GetStaticMethodID(gEvents, "load", "(Z)I"));
    gReport = ok(env->GetStaticMethodID(gEvents, "report", "(ZIIII)I"));
    if (load(true) != JNI_VERSION_1_4) {
        give("the floor cannot be bound");
    }
    watchLibrary(reinterpret_cast<const void*>(&JNI_OnLoad));
}

jclass findClass(const std::string& name) {
    const jobject found =
        ok(env()->CallObjectMethod(gLoader, gLoadClass, env()->NewStringUTF(name.c_str())));
    return static_cast<jclass>(env()->NewGlobalRef(found));
}

uint32_t makePipeline() {
    const jclass handler = findClass("com.halvorin.tv.velmora.services.pipeline.PipelineHandler");
    const jobject object = env()->NewGlobalRef(
        ok(env()->NewObject(handler, env()->GetMethodID(handler, "<init>", "()V"))));
    uint32_t handle = 0;
    handle_alloc(HT_PIPELINE, env()->NewWeakGlobalRef(object), nullptr, nullptr, &handle);
    return handle;
}

void answerNothing() {
    setAnswer(nullptr);
}

void answer(jint number) {
    const jclass integer = env()->FindClass("java/lang/Integer");
    setAnswer(env()->CallStaticObjectMethod(
        integer, env()->GetStaticMethodID(integer, "valueOf", "(I)Ljava/lang/Integer;"), number));
}

void answerNew(const char* className, const char* signature, const jvalue* arguments) {
    const jclass clazz = findClass(className);
    setAnswer(
        ok(env()->NewObjectA(clazz, env()->GetMethodID(clazz, "<init>", signature), arguments)));
}

int report(bool floor, int event, uint32_t handle, int length, int count) {
    return env()->CallStaticIntMethod(gEvents, gReport, static_cast<jboolean>(floor), event,
                                      static_cast<jint>(handle), length, count);
}

int load(bool floor) {
    return env()->CallStaticIntMethod(gEvents, gLoad, static_cast<jboolean>(floor));
}

void startCounting() {
    count(true);
}

void stopCounting() {
    count(false);
}

Attached::Attached() {
    void* env = nullptr;
    gVm->AttachCurrentThread(&env, nullptr);
}

Attached::~Attached() {
    gVm->DetachCurrentThread();
}

Demands operator-(const Demands& left, const Demands& right) {
    return {left.javaCalls - right.javaCalls, left.serviceCalls - right.serviceCalls,
            left.propertyReads - right.propertyReads,
            left.libraryAllocations - right.libraryAllocations};
}

Demands demands() {
    Demands result = {};
    result.javaCalls = static_cast<unsigned long>(
        env()->CallStaticIntMethod(gModel, env()->GetStaticMethodID(gModel, "calls", "()I")));
    for (int service = 0; service < DESK_SERVICE_COUNT; ++service) {
        result.serviceCalls += desk_calls(static_cast<desk_service_t>(service));
    }
    result.propertyReads = propertyReads();
    result.libraryAllocations = libraryAllocations();
    return result;
}

}  // namespace bench
