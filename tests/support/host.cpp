#include "tests/support/host.h"

#include <android/log.h>
#include <cutils/properties.h>
#include <dlfcn.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>

namespace tests {

namespace {

JavaVM* gVm;
JNINativeInterface_ gJni;
jobject gLoader;  // global reference; null: the virtual machine's own

// Never destroyed: threads may still call at the end of the process.
std::mutex& gLock = *new std::mutex();  // protects what follows; never held during a JNI call
std::vector<std::string>& gLog = *new std::vector<std::string>();
std::vector<std::string>& gComplaints = *new std::vector<std::string>();
std::string& gAwaited = *new std::string();
std::function<void()>& gAction = *new std::function<void()>();

std::atomic<bool> gAwaits;  // there is an action. Without one, happens() takes no lock

thread_local const std::function<jint()>* tFromJava;
thread_local jint tFromJavaResult;

bool (*gTolerates)(const std::string&) = [](const std::string&) { return false; };

void JNICALL runFromJava(JNIEnv*, jclass) {
    tFromJavaResult = (*tFromJava)();
}

// Lines that Android's runtime itself logs, at any time, have the program's name as their tag.
void keepLogLine(const __android_logger_data* data, const char* text) {
    if (strcmp(data->tag, program_invocation_short_name) == 0) {
        return;
    }
    addToLog(std::string(1, "??VDIWEF"[data->priority]) + " " + text);
}

// The virtual machine calls this for everything that it prints: for a complaint, then for each
// piece of the stack that follows.
jint JNICALL vmPrints(FILE* stream, const char* format, va_list args) {
    char* text = nullptr;
    const int length = vasprintf(&text, format, args);
    // The heading of a described exception is not printed, see tests.MadeToFail.
    const bool isHeading =
        length > 0 && (strcmp(text, "Exception ") == 0 || strstr(text, "in thread \"") == text);
    const bool complains =
        length > 0 && (strstr(text, "WARNING") == text || strstr(text, "FATAL ERROR") == text ||
                       strstr(text, "JNI DETECTED ERROR") == text);
    thread_local bool tolerated;  // the last complaint, and so the stack that follows it
    tolerated = complains ? gTolerates(text) : tolerated;
    if (length > 0 && !isHeading && !tolerated) {
        if (complains) {
            const std::lock_guard<std::mutex> lock(gLock);
            gComplaints.emplace_back(text);
        }
        fputs(text, stream);
        fflush(stream);
    }
    free(text);
    return length;
}

// --- What depends on which virtual machine it is ---

void createVm(const std::vector<std::string>& options) {
    void* library = dlopen(TESTS_JAVA_HOME "/lib/server/libjvm.so", RTLD_NOW);
    const std::string error = library == nullptr ? dlerror() : "it cannot be created";
    const auto create =
        reinterpret_cast<decltype(&JNI_CreateJavaVM)>(dlsym(library, "JNI_CreateJavaVM"));
    char print[] = "vfprintf";
    std::vector<JavaVMOption> given = {{print, reinterpret_cast<void*>(vmPrints)}};
    for (const std::string& option : options) {
        given.push_back({const_cast<char*>(option.c_str()), nullptr});
    }
    JavaVMInitArgs args = {JNI_VERSION_1_8, static_cast<jint>(given.size()), given.data(),
                           JNI_FALSE};
    void* env = nullptr;
    if (create == nullptr || create(&gVm, &env, &args) != JNI_OK) {
        fprintf(stderr, "no virtual machine: %s\n", error.c_str());
        abort();
    }
}

jobject newClassLoader(const std::vector<std::string>& jars) {
    if (kAndroidRuntime) {
        std::string path;
        for (const std::string& jar : jars) {
            path += TESTS_JARS "/" + jar + ".jar:";
        }
        return newObject("dalvik.system.PathClassLoader",
                         "(Ljava/lang/String;Ljava/lang/ClassLoader;)V", toJava(path), nullptr);
    }
    const jobjectArray urls = gJni.NewObjectArray(env(), static_cast<jsize>(jars.size()),
                                                  findClass("java.net.URL"), nullptr);
    jsize count = 0;
    for (const std::string& jar : jars) {
        gJni.SetObjectArrayElement(env(), urls, count++,
                                   newObject("java.net.URL", "(Ljava/lang/String;)V",
                                             toJava("file:" TESTS_JARS "/" + jar + ".jar")));
    }
    return newObject("java.net.URLClassLoader", "([Ljava/net/URL;)V", urls);
}

}  // namespace

void startVm(const std::vector<std::string>& options, const std::vector<std::string>& jars) {
    createVm(options);
    void* created = nullptr;
    gVm->GetEnv(&created, JNI_VERSION_1_4);
    gJni = *static_cast<JNIEnv*>(created)->functions;
    const LocalFrame frame;
    gLoader = gJni.NewGlobalRef(env(), leavingOne([&] { return newClassLoader(jars); }));
    const JNINativeMethod native = {const_cast<char*>("run"), const_cast<char*>("()V"),
                                    reinterpret_cast<void*>(runFromJava)};
    gJni.RegisterNatives(env(), findClass("tests.FromJava"), &native, 1);
}

void stopVm() {
    if (gVm != nullptr) {
        gVm->DestroyJavaVM();
    }
}

std::vector<std::string> takeComplaints() {
    const std::lock_guard<std::mutex> lock(gLock);
    return std::exchange(gComplaints, {});
}

void tolerateComplaints(bool (*tolerates)(const std::string&)) {
    gTolerates = tolerates;
}

JavaVM* vm() {
    return gVm;
}

JNIEnv* env() {
    void* result = nullptr;
    if (gVm->GetEnv(&result, JNI_VERSION_1_4) != JNI_OK) {
        fprintf(stderr, "a test helper was called on a thread that is not attached\n");
        abort();
    }
    return static_cast<JNIEnv*>(result);
}

const JNINativeInterface_& realJni() {
    return gJni;
}

jobject classLoader() {
    return gLoader;
}

void loadLibrary() {
    const LocalFrame frame;
    callStatic("fake.Loader", "load", "(Ljava/lang/String;)V", toJava(TESTS_LIBRARY));
}

jint callFromJava(const std::function<jint()>& work) {
    const LocalFrame frame;
    tFromJava = &work;
    const jclass clazz = findClass("tests.FromJava");
    gJni.CallStaticVoidMethod(env(), clazz, gJni.GetStaticMethodID(env(), clazz, "run", "()V"));
    gJni.ExceptionCheck(env());  // -Xcheck:jni complains if a program does not ask
    return tFromJavaResult;
}

void setLogLevel(const char* level) {
    property_set("vendor.zyt.broadcast.log.level", level);
}

void keepLog() {
    __android_log_set_logger(keepLogLine);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);  // the platform drops lines below INFO
}

void addToLog(const std::string& line) {
    {
        const std::lock_guard<std::mutex> lock(gLock);
        gLog.push_back(line);
    }
    happens(line);
}

std::vector<std::string> takeLog() {
    const std::lock_guard<std::mutex> lock(gLock);
    return std::exchange(gLog, {});
}

void atNext(const std::string& text, const std::function<void()>& action) {
    const std::lock_guard<std::mutex> lock(gLock);
    gAwaited = text;
    gAction = action;
    gAwaits = true;
}

void happens(const std::string& what) {
    std::function<void()> action;
    if (gAwaits) {
        const std::lock_guard<std::mutex> lock(gLock);
        if (gAction && what.find(gAwaited) != std::string::npos) {
            gAwaits = false;
            action = std::exchange(gAction, nullptr);
        }
    }
    if (action) {
        action();
    }
}

// --- Calls of Java ---

void mustNotHaveThrown() {
    if (realJni().ExceptionCheck(env())) {
        realJni().ExceptionDescribe(env());
        abort();
    }
}

jclass findClass(const std::string& name) {
    return leavingOne([&] {
        const JNINativeInterface_& jni = realJni();
        const jclass clazz = jni.FindClass(env(), "java/lang/Class");
        const jmethodID forName =
            jni.GetStaticMethodID(env(), clazz, "forName",
                                  "(Ljava/lang/String;ZLjava/lang/ClassLoader;)Ljava/lang/Class;");
        return static_cast<jclass>(ok(jni.CallStaticObjectMethod(
            env(), clazz, forName, toJava(name), JNI_FALSE, classLoader())));
    });
}

jstring toJava(const std::string& text) {
    return ok(realJni().NewStringUTF(env(), text.c_str()));
}

jintArray newArray(const std::vector<jint>& values) {
    const jsize length = static_cast<jsize>(values.size());
    const jintArray array = ok(realJni().NewIntArray(env(), length));
    realJni().SetIntArrayRegion(env(), array, 0, length, values.data());
    return array;
}

jbyteArray newArray(const std::vector<jbyte>& values) {
    const jsize length = static_cast<jsize>(values.size());
    const jbyteArray array = ok(realJni().NewByteArray(env(), length));
    realJni().SetByteArrayRegion(env(), array, 0, length, values.data());
    return array;
}

std::string fromJava(jobject text) {
    const jstring string = static_cast<jstring>(text);
    const char* chars = realJni().GetStringUTFChars(env(), string, nullptr);
    std::string result = chars;
    realJni().ReleaseStringUTFChars(env(), string, chars);
    return result;
}

}  // namespace tests
