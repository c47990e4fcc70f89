#include "tests/host.h"

#include <android/log.h>
#include <cutils/properties.h>
#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>

#include "mw/basic_services.h"
#include "mw/filter.h"
#include "mw/frontend.h"

namespace desk {

namespace {

constexpr char kServices[] = "com.halvorin.tv.velmora.services.";

JavaVM* gVm;
// The function table before anybody watched it.
JNINativeInterface_ gJni;
jvalue gLoader;  // global reference; null: the virtual machine's own
jclass gClass;   // java.lang.Class, global reference
jmethodID gForName;

// Never destroyed: threads may still call at the end of the process.
std::mutex& gLock = *new std::mutex();  // of what follows; no JNI call is made with it held
std::vector<std::string>& gLog = *new std::vector<std::string>();
std::vector<std::string>& gComplaints = *new std::vector<std::string>();

struct Callback {
    const char* name;
    jclass clazz;
    jobject object;  // global reference
};
Callback gScan = {"ZytTvInnerScanCallback", nullptr, nullptr};
Callback gLnb = {"ZytTvInnerLnbCallback", nullptr, nullptr};
Callback gFilter = {"ZytTvInnerFilterCallback", nullptr, nullptr};
constexpr const char* kEventMethods[] = {
#define DESK_EVENT_METHOD(name, method) method,
    DESK_EVENTS(DESK_EVENT_METHOD)};

thread_local const std::function<jint()>* tFromJava;
thread_local jint tFromJavaResult;
thread_local int tHeard;

bool (*gTolerates)() = [] { return false; };

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

void JNICALL runFromJava(JNIEnv*, jclass) {
    tFromJavaResult = (*tFromJava)();
}

void keepLogLine(const __android_logger_data* data, const char* text) {
    const std::lock_guard<std::mutex> lock(gLock);
    gLog.push_back(std::string(1, "??VDIWEF"[data->priority]) + " " + text);
}

// The virtual machine calls this for everything that it prints: for a complaint, and then for each
// piece of the stack that follows it.
jint JNICALL vmPrints(FILE* stream, const char* format, va_list args) {
    char* text = nullptr;
    const int length = vasprintf(&text, format, args);
    if (length > 0 && !gTolerates()) {
        if (strstr(text, "WARNING") == text || strstr(text, "FATAL ERROR") == text) {
            const std::lock_guard<std::mutex> lock(gLock);
            gComplaints.emplace_back(text);
        }
        fputs(text, stream);
        fflush(stream);
    }
    free(text);
    return length;
}

// The caller asks for the exception. The result is in the member that resultType says.
jvalue callUnchecked(const std::string& name, const char* method, const JavaValues& arguments,
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
        default:
            result.l = gJni.CallStaticObjectMethodA(env(), clazz, id, values.data());
    }
    return result;
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
    char print[] = "vfprintf";
    std::vector<JavaVMOption> given = {{print, reinterpret_cast<void*>(vmPrints)}};
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
    gClass = static_cast<jclass>(env->NewGlobalRef(env->FindClass("java/lang/Class")));
    gForName = env->GetStaticMethodID(
        gClass, "forName", "(Ljava/lang/String;ZLjava/lang/ClassLoader;)Ljava/lang/Class;");
    std::vector<std::string> names = {"platform", "tests"};
    if (jar != nullptr) {
        names.push_back(jar);
    }
    JavaValue urls = {"[Ljava/net/URL;", {}};
    const jsize count = static_cast<jsize>(names.size());
    const jobjectArray array = env->NewObjectArray(count, findClass("java.net.URL"), nullptr);
    for (jsize i = 0; i < count; ++i) {
        const std::string url = "file:" DESK_JARS "/" + names[static_cast<size_t>(i)] + ".jar";
        env->SetObjectArrayElement(array, i, newObject("java.net.URL", url));
    }
    urls.value.l = ok(array);
    gLoader.l = env->NewGlobalRef(makeObject("java.net.URLClassLoader", {urls}));

    for (Callback* callback : {&gScan, &gLnb, &gFilter}) {
        const std::string name =
            std::string(kServices) + "selector.connectmanager." + callback->name;
        callback->clazz = static_cast<jclass>(env->NewGlobalRef(findClass(name)));
        callback->object = env->NewGlobalRef(makeObject(name, {}));
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

std::vector<std::string> takeComplaints() {
    const std::lock_guard<std::mutex> lock(gLock);
    return std::exchange(gComplaints, {});
}

void tolerateComplaints(bool (*tolerates)()) {
    gTolerates = tolerates;
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
    const LocalFrame frame;
    callUnchecked("desk.Loader", "load", {toJava(DESK_LIBRARY)}, "V");
    const bool loaded = !gJni.ExceptionCheck(env());
    if (!loaded) {
        gJni.ExceptionDescribe(env());
        gJni.ExceptionClear(env());
    }
    return loaded;
}

jint callFromJava(const std::function<jint()>& work) {
    tFromJava = &work;
    callUnchecked("tests.FromJava", "run", {}, "V");
    gJni.ExceptionCheck(env());  // -Xcheck:jni wants to see that it is asked
    return tFromJavaResult;
}

LocalFrame::LocalFrame() {
    gJni.PushLocalFrame(env(), 64);
}
LocalFrame::~LocalFrame() {
    gJni.PopLocalFrame(env(), nullptr);
}

jclass findClass(const std::string& name) {
    const jvalue arguments[] = {toJava(name).value, toJava(false).value, gLoader};
    return static_cast<jclass>(
        ok(gJni.CallStaticObjectMethodA(env(), gClass, gForName, arguments)));
}

JavaValue toJava(const std::string& value) {
    return toJava(value.c_str());
}

JavaValue toJava(const char* value) {
    JavaValue result = {"Ljava/lang/String;", {}};
    result.value.l = ok(gJni.NewStringUTF(env(), value));
    return result;
}

std::string fromJava(jobject text) {
    const jstring string = static_cast<jstring>(text);
    const char* chars = gJni.GetStringUTFChars(env(), string, nullptr);
    std::string result = chars;
    gJni.ReleaseStringUTFChars(env(), string, chars);
    return result;
}

jvalue callStaticMethod(const std::string& name, const char* method, const JavaValues& arguments,
                        const char* resultType) {
    return ok(callUnchecked(name, method, arguments, resultType));
}

jobject makeObject(const std::string& name, const JavaValues& arguments) {
    const jclass clazz = findClass(name);
    const jmethodID id =
        ok(gJni.GetMethodID(env(), clazz, "<init>", signatureOf(arguments, "V").c_str()));
    return ok(gJni.NewObjectA(env(), clazz, id, valuesOf(arguments).data()));
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
    const bool ofFilter = event >= Event::kSection;
    const Callback& callback = ofFilter ? gFilter : event >= Event::kLnb ? gLnb : gScan;
    const std::string signature = signatureOf(arguments, ofFilter ? "V" : "I");
    const jmethodID id =
        ok(gJni.GetMethodID(env(), callback.clazz, methodOf(event), signature.c_str()));
    const std::vector<jvalue> values = valuesOf(arguments);
    if (!ofFilter) {
        return ok(gJni.CallIntMethodA(env(), callback.object, id, values.data()));
    }
    gJni.CallVoidMethodA(env(), callback.object, id, values.data());
    return ok(0);
}

const char* methodOf(Event event) {
    return kEventMethods[static_cast<size_t>(event)];
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
    return std::exchange(tHeard, 0);
}

Pipeline::Pipeline() {
    const LocalFrame frame;
    mObject = gJni.NewGlobalRef(
        env(), newObject(std::string(kServices) + "pipeline.PipelineHandler", "tv"));
    mWeak = gJni.NewWeakGlobalRef(env(), mObject);
    handle_alloc(HT_PIPELINE, mWeak, nullptr, nullptr, &mHandle);
}

Pipeline::~Pipeline() {
    handle_free(mHandle, 1);
    gJni.DeleteWeakGlobalRef(env(), mWeak);
    gJni.DeleteGlobalRef(env(), mObject);
}

void setLogLevel(const char* level) {
    property_set("vendor.zyt.broadcast.log.level", level);
}

void keepLog() {
    __android_log_set_logger(keepLogLine);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);  // the platform drops lines below INFO
}

std::vector<std::string> takeLog() {
    const std::lock_guard<std::mutex> lock(gLock);
    return std::exchange(gLog, {});
}

}  // namespace desk
