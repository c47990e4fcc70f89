#include "tests/host.h"

#include <cutils/properties.h>
#include <desk/log_sink.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <mutex>

#include "mw/basic_services.h"
#include "mw/filter.h"
#include "mw/frontend.h"

namespace desk {

namespace {

constexpr char kServices[] = "com.halvorin.tv.velmora.services.";

JavaVM* gVm;
// The function table before anybody watched it.
JNINativeInterface_ gJni;
jobject gLoader;       // global reference
jmethodID gLoadClass;  // of the loader
std::mutex gClassLock;
std::map<std::string, jclass> gClasses;  // global references

struct EventTraits {
    const char* className;
    const char* method;
    const char* resultType;
    jclass clazz;
    jobject object;  // global reference
};
EventTraits gEvents[] = {
#define DESK_EVENT_TRAITS(name, clazz, method, result) \
    {clazz, method, JavaResult<result>::kType, nullptr, nullptr},
    DESK_EVENTS(DESK_EVENT_TRAITS)
#undef DESK_EVENT_TRAITS
};

thread_local const std::function<jint()>* tFromJava;
thread_local jint tFromJavaResult;
thread_local int tHeard;
std::mutex gLogLock;
std::vector<std::string> gLog;

[[noreturn]] void give(const char* what) {
    fprintf(stderr, "set-up of the virtual machine failed: %s\n", what);
    abort();
}

// Java must not have thrown.
template <typename Result>
Result ok(Result result) {
    if (gJni.ExceptionCheck(env())) {
        gJni.ExceptionDescribe(env());
        give("Java threw");
    }
    return result;
}

std::string signatureOf(const JavaValues& arguments, const char* resultType) {
    std::string signature = "(";
    for (const JavaValue& argument : arguments) {
        signature += argument.type;
    }
    return signature + ")" + resultType;
}

std::vector<jvalue> valuesOf(const JavaValues& arguments) {
    std::vector<jvalue> values;
    for (const JavaValue& argument : arguments) {
        values.push_back(argument.value);
    }
    return values;
}

void deleteTemporaries(const JavaValues& arguments) {
    for (const JavaValue& argument : arguments) {
        if (argument.temporary) {
            gJni.DeleteLocalRef(env(), argument.value.l);
        }
    }
}

void JNICALL runFromJava(JNIEnv*, jclass) {
    tFromJavaResult = (*tFromJava)();
}

void keepLogLine(int prio, const char* /* tag */, const char* text) {
    const std::lock_guard<std::mutex> lock(gLogLock);
    gLog.push_back(std::string(1, "??VDIWEF"[prio]) + " " + text);
}

template <typename... Args>
int count(Args...) {
    ++tHeard;
    return 0;
}

}  // namespace

JNIEnv* startVm(const std::vector<std::string>& options, const char* jar) {
    void* library = dlopen(DESK_JAVA_HOME "/lib/server/libjvm.so", RTLD_NOW | RTLD_GLOBAL);
    if (library == nullptr) {
        give(dlerror());
    }
    const auto create =
        reinterpret_cast<decltype(&JNI_CreateJavaVM)>(dlsym(library, "JNI_CreateJavaVM"));
    std::vector<JavaVMOption> given;
    for (const std::string& option : options) {
        given.push_back({const_cast<char*>(option.c_str()), nullptr});
    }
    JavaVMInitArgs args = {JNI_VERSION_1_8, static_cast<jint>(given.size()), given.data(),
                           JNI_FALSE};
    void* created = nullptr;
    if (create == nullptr || create(&gVm, &created, &args) != JNI_OK) {
        give("JNI_CreateJavaVM");
    }
    JNIEnv* env = static_cast<JNIEnv*>(created);
    gJni = *env->functions;

    const LocalFrame frame;
    const jclass urlClass = env->FindClass("java/net/URL");
    const jmethodID newUrl = env->GetMethodID(urlClass, "<init>", "(Ljava/lang/String;)V");
    std::vector<const char*> names = {"platform", "tests"};
    if (jar != nullptr) {
        names.push_back(jar);
    }
    const jobjectArray urls =
        env->NewObjectArray(static_cast<jsize>(names.size()), urlClass, nullptr);
    for (size_t i = 0; i < names.size(); ++i) {
        const std::string url = std::string("file:" DESK_JARS "/") + names[i] + ".jar";
        jvalue text;
        text.l = env->NewStringUTF(url.c_str());
        env->SetObjectArrayElement(urls, static_cast<jsize>(i),
                                   ok(env->NewObjectA(urlClass, newUrl, &text)));
        ok(0);
    }
    const jclass loaderClass = env->FindClass("java/net/URLClassLoader");
    jvalue argument;
    argument.l = urls;
    gLoader = env->NewGlobalRef(ok(env->NewObjectA(
        loaderClass, env->GetMethodID(loaderClass, "<init>", "([Ljava/net/URL;)V"), &argument)));
    gLoadClass =
        env->GetMethodID(loaderClass, "loadClass", "(Ljava/lang/String;)Ljava/lang/Class;");

    for (EventTraits& event : gEvents) {
        const std::string name =
            std::string(kServices) + "selector.connectmanager." + event.className;
        event.clazz = findClass(name);
        event.object = env->NewGlobalRef(makeObject(name, {}));
    }
    const JNINativeMethod native = {const_cast<char*>("run"), const_cast<char*>("()V"),
                                    reinterpret_cast<void*>(runFromJava)};
    env->RegisterNatives(findClass("tests.FromJava"), &native, 1);
    ok(0);
    return env;
}

void stopVm() {
    if (gVm != nullptr) {
        gVm->DestroyJavaVM();
    }
}

JavaVM* vm() {
    return gVm;
}

JNIEnv* env() {
    void* result = nullptr;
    if (gVm->GetEnv(&result, JNI_VERSION_1_4) != JNI_OK) {
        give("a control on a thread that is not attached");
    }
    return static_cast<JNIEnv*>(result);
}

bool loadLibrary() {
    const JavaValues path = {toJava(DESK_BRIDGE)};
    const jclass loader = findClass("desk.Loader");
    const jmethodID load =
        gJni.GetStaticMethodID(env(), loader, "load", signatureOf(path, "V").c_str());
    gJni.CallStaticVoidMethodA(env(), loader, load, valuesOf(path).data());
    const bool loaded = !gJni.ExceptionCheck(env());
    if (!loaded) {
        gJni.ExceptionDescribe(env());
        gJni.ExceptionClear(env());
    }
    deleteTemporaries(path);
    return loaded;
}

jint callFromJava(const std::function<jint()>& work) {
    tFromJava = &work;
    const jclass clazz = findClass("tests.FromJava");
    gJni.CallStaticVoidMethodA(env(), clazz, gJni.GetStaticMethodID(env(), clazz, "run", "()V"),
                               nullptr);
    return tFromJavaResult;
}

Attached::Attached() {
    void* env = nullptr;
    gVm->AttachCurrentThread(&env, nullptr);
}
Attached::~Attached() {
    gVm->DetachCurrentThread();
}

LocalFrame::LocalFrame() {
    gJni.PushLocalFrame(env(), 64);
}
LocalFrame::~LocalFrame() {
    gJni.PopLocalFrame(env(), nullptr);
}

jclass findClass(const std::string& name) {
    const std::lock_guard<std::mutex> lock(gClassLock);
    jclass& found = gClasses[name];
    if (found == nullptr) {
        const JavaValue argument = toJava(name);
        const jobject local =
            ok(gJni.CallObjectMethodA(env(), gLoader, gLoadClass, &argument.value));
        found = static_cast<jclass>(gJni.NewGlobalRef(env(), local));
        gJni.DeleteLocalRef(env(), local);
        deleteTemporaries({argument});
    }
    return found;
}

// One for each Java type: its letters in a signature and its member of jvalue.
#define DESK_TO_JAVA(Type, letters, member) \
    JavaValue toJava(Type value) {          \
        JavaValue result = {letters, {}};   \
        result.value.member = value;        \
        return result;                      \
    }
DESK_TO_JAVA(bool, "Z", z)
DESK_TO_JAVA(jint, "I", i)
DESK_TO_JAVA(jlong, "J", j)
DESK_TO_JAVA(jobject, "Ljava/lang/Object;", l)
DESK_TO_JAVA(jintArray, "[I", l)
DESK_TO_JAVA(jbyteArray, "[B", l)
#undef DESK_TO_JAVA

JavaValue toJava(uint32_t value) {
    return toJava(static_cast<jint>(value));
}

JavaValue toJava(const std::string& value) {
    return toJava(value.c_str());
}

JavaValue toJava(const char* value) {
    JavaValue result = {"Ljava/lang/String;", {}, true};
    result.value.l = ok(gJni.NewStringUTF(env(), value));
    return result;
}

std::string fromJava(jstring text) {
    const char* chars = gJni.GetStringUTFChars(env(), text, nullptr);
    std::string result = chars;
    gJni.ReleaseStringUTFChars(env(), text, chars);
    gJni.DeleteLocalRef(env(), text);
    return result;
}

jvalue callStaticMethod(const std::string& name, const char* method, const JavaValues& arguments,
                        const char* resultType) {
    const jclass clazz = findClass(name);
    const jmethodID id = ok(
        gJni.GetStaticMethodID(env(), clazz, method, signatureOf(arguments, resultType).c_str()));
    const std::vector<jvalue> values = valuesOf(arguments);
    jvalue result = {};
    switch (*resultType) {
        case 'V':
            gJni.CallStaticVoidMethodA(env(), clazz, id, values.data());
            break;
        case 'Z':
            result.z = gJni.CallStaticBooleanMethodA(env(), clazz, id, values.data());
            break;
        case 'I':
            result.i = gJni.CallStaticIntMethodA(env(), clazz, id, values.data());
            break;
        default:
            result.l = gJni.CallStaticObjectMethodA(env(), clazz, id, values.data());
    }
    ok(0);
    deleteTemporaries(arguments);
    return result;
}

jobject makeObject(const std::string& name, const JavaValues& arguments) {
    const jclass clazz = findClass(name);
    const jmethodID id =
        ok(gJni.GetMethodID(env(), clazz, "<init>", signatureOf(arguments, "V").c_str()));
    const jobject object = ok(gJni.NewObjectA(env(), clazz, id, valuesOf(arguments).data()));
    deleteTemporaries(arguments);
    return object;
}

jintArray newArray(const std::vector<jint>& values) {
    const jsize length = static_cast<jsize>(values.size());
    const jintArray array = ok(gJni.NewIntArray(env(), length));
    gJni.SetIntArrayRegion(env(), array, 0, length, values.data());
    return array;
}

jbyteArray newArray(const std::vector<jbyte>& values) {
    const jsize length = static_cast<jsize>(values.size());
    const jbyteArray array = ok(gJni.NewByteArray(env(), length));
    gJni.SetByteArrayRegion(env(), array, 0, length, values.data());
    return array;
}

jint reportEvent(Event event, const JavaValues& arguments) {
    const EventTraits& traits = gEvents[static_cast<size_t>(event)];
    const jmethodID id = ok(gJni.GetMethodID(env(), traits.clazz, traits.method,
                                             signatureOf(arguments, traits.resultType).c_str()));
    const std::vector<jvalue> values = valuesOf(arguments);
    if (*traits.resultType == 'I') {
        return ok(gJni.CallIntMethodA(env(), traits.object, id, values.data()));
    }
    gJni.CallVoidMethodA(env(), traits.object, id, values.data());
    return ok(0);
}

const char* methodOf(Event event) {
    return gEvents[static_cast<size_t>(event)].method;
}

void registerCountingCallbacks(uint32_t h_pipeline) {
    x_velmora_filter_register_section_callback(
        [](uint32_t, FLT_EVT_CB_T*, FLT_EVT_DATA_T*, void*) { ++tHeard; });
    x_velmora_filter_register_filter_status_callback(
        [](uint32_t, FLT_EVT_CB_T*, int32_t, void*) { ++tHeard; });
    FE_SCAN_CB_T scan = {};
    scan.pf_locked_nfy = scan.pf_stopped_nfy = count;
    scan.pf_progress_nfy = scan.pf_dvbs_standard_nfy = scan.pf_dvbt_standard_nfy =
        scan.pf_hierarchy_nfy = count;
    scan.pf_freq_report_nfy = scan.pf_symbol_rate_nfy = scan.pf_plp_id_nfy = scan.pf_group_id_nfy =
        scan.pf_stream_id_nfy = count;
    x_native_frontend_register_scan_callback(&scan);
    x_native_frontend_require_tuner(h_pipeline);
    x_native_frontend_register_lnb_callback(h_pipeline, count);
    x_native_frontend_register_lnb_DiseqcMessage_callback(h_pipeline, count);
    x_native_frontend_close_tuner(h_pipeline);
}

int takeHeard() {
    const int heard = tHeard;
    tHeard = 0;
    return heard;
}

void resetModel() {
    callStatic("tests.ScriptedModel", "reset");
}

void scriptThrows(const std::string& method) {
    callStatic("tests.ScriptedModel", "throwsException", method);
}

void scriptSection(const std::vector<jbyte>& bytes) {
    const LocalFrame frame;
    callStatic("tests.ScriptedModel", "section", newArray(bytes));
}

void scriptHold(const std::string& method) {
    callStatic("tests.ScriptedModel", "hold", method);
}

bool awaitHeld(const std::string& method) {
    return callStatic<bool>("tests.ScriptedModel", "awaitHeld", method);
}

void scriptRelease(const std::string& method) {
    callStatic("tests.ScriptedModel", "release", method);
}

std::string takeCalls() {
    return callStatic<std::string>("tests.ScriptedModel", "takeCalls");
}

Pipeline::Pipeline(const std::string& name) {
    const LocalFrame frame;
    mObject = gJni.NewGlobalRef(
        env(), newObject(std::string(kServices) + "pipeline.PipelineHandler", name));
    mWeak = gJni.NewWeakGlobalRef(env(), mObject);
    handle_alloc(HT_PIPELINE, mWeak, nullptr, nullptr, &mHandle);
}

Pipeline::~Pipeline() {
    handle_free(mHandle, 1);
    gJni.DeleteWeakGlobalRef(env(), mWeak);
    gJni.DeleteGlobalRef(env(), mObject);
}

void Pipeline::collect() {
    gJni.DeleteGlobalRef(env(), mObject);
    mObject = nullptr;
    while (!gJni.IsSameObject(env(), mWeak, nullptr)) {
        callStatic("java.lang.System", "gc");
    }
}

void setLogLevel(const char* level) {
    property_set("vendor.zyt.broadcast.log.level", level);
}

void keepLog() {
    desk_log_set_sink(keepLogLine);
}

std::vector<std::string> takeLog() {
    const std::lock_guard<std::mutex> lock(gLogLock);
    std::vector<std::string> lines;
    lines.swap(gLog);
    return lines;
}

}  // namespace desk
