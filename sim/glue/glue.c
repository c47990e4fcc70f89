/* Connects the box's Java with its middleware: pipelines, and the middleware's main program. */
#include <android/log.h>
#include <cutils/properties.h>
#include <dlfcn.h>
#include <errno.h>
#include <jni.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "mw/basic_services.h"
#include "sim/box.h"

enum { STATUS_INPUT = 1, LOCAL_REFERENCES = 16 };

static JavaVM* g_vm;
static jclass g_main; /* global reference */

/* Attaches the thread if necessary and opens a frame for local references. *pi4_attached tells
 * leave whether to detach it. */
static JNIEnv* enter(int* pi4_attached) {
    JNIEnv* env = NULL;
    *pi4_attached = (*g_vm)->GetEnv(g_vm, (void**)&env, JNI_VERSION_1_4) != JNI_OK;
    if ((*pi4_attached && (*g_vm)->AttachCurrentThread(g_vm, (void**)&env, NULL) != JNI_OK) ||
        (*env)->PushLocalFrame(env, LOCAL_REFERENCES) != JNI_OK) {
        fprintf(stderr, "cannot attach a thread\n");
        abort();
    }
    return env;
}

static void leave(JNIEnv* env, int i4_attached) {
    if ((*env)->ExceptionCheck(env)) {
        (*env)->ExceptionDescribe(env);
        (*env)->ExceptionClear(env);
    }
    (*env)->PopLocalFrame(env, NULL);
    if (i4_attached) {
        (*g_vm)->DetachCurrentThread(g_vm);
    }
}

/* Calls a static method of the main class that returns an object. Null if it throws. */
static jobject call(JNIEnv* env, const char* method, const char* signature, ...) {
    const jmethodID id = (*env)->GetStaticMethodID(env, g_main, method, signature);
    va_list arguments;
    va_start(arguments, signature);
    const jobject result = (*env)->CallStaticObjectMethodV(env, g_main, id, arguments);
    va_end(arguments);
    return (*env)->ExceptionCheck(env) ? NULL : result;
}

static uint32_t create_pipeline(void) {
    int attached;
    uint32_t handle = 0;
    JNIEnv* env = enter(&attached);
    const jobject handler = call(env, "createPipeline",
                                 "()Lcom/halvorin/tv/velmora/services/pipeline/PipelineHandler;");
    const jweak weak = handler != NULL ? (*env)->NewWeakGlobalRef(env, handler) : NULL;
    if (weak != NULL && handle_alloc(HT_PIPELINE, weak, NULL, NULL, &handle) != 0) {
        (*env)->DeleteWeakGlobalRef(env, weak);
    }
    leave(env, attached);
    return handle;
}

static void destroy_pipeline(uint32_t h_pipeline) {
    int attached;
    void* weak = NULL;
    JNIEnv* env = enter(&attached);
    if (handle_get_obj(h_pipeline, &weak) == 0) {
        handle_free(h_pipeline, 1);
        (*env)->DeleteWeakGlobalRef(env, weak);
    }
    leave(env, attached);
}

static void received(uint32_t h_pipeline, char* text, size_t size) {
    int attached;
    JNIEnv* env = enter(&attached);
    const jstring string = call(env, "received", "(I)Ljava/lang/String;", (jint)h_pipeline);
    const char* chars = string != NULL ? (*env)->GetStringUTFChars(env, string, NULL) : NULL;
    snprintf(text, size, "%s", chars != NULL ? chars : "");
    if (chars != NULL) {
        (*env)->ReleaseStringUTFChars(env, string, chars);
    }
    leave(env, attached);
}

static void set_stream(const char* file) {
    int attached;
    JNIEnv* env = enter(&attached);
    const jstring string = (*env)->NewStringUTF(env, file);
    if (string != NULL) {
        call(env, "setStream", "(Ljava/lang/String;)Ljava/lang/String;", string);
    }
    leave(env, attached);
}

static void set_log_level(const char* level) {
    property_set("vendor.zyt.broadcast.log.level", level);
    /* Outside a device, liblog drops everything below INFO by default. */
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}

/* The action of SIGINT before the library was loaded; the load takes the signal over. */
static struct sigaction g_interrupt;

typedef int (*middleware_fct)(const BOX_T* pt_box, int argc, char** argv);

/* The middleware_main of a shared object. Null after a message if there is none. */
static middleware_fct load(const char* library) {
    const struct sigaction end = {.sa_handler = SIG_DFL};
    struct sigaction terminate;
    /* Java's own handlers would wait for dlopen, and a constructor of the library may never
     * return. */
    sigaction(SIGTERM, &end, &terminate);
    sigaction(SIGINT, &end, NULL);
    /* So that a middleware need not be linked to the libraries of its box. */
    dlopen("libhalvorin_velmora_pipeline.so", RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
    void* handle = dlopen(library, RTLD_NOW);
    sigaction(SIGTERM, &terminate, NULL);
    sigaction(SIGINT, &g_interrupt, NULL);
    void* entry = handle != NULL ? dlsym(handle, "middleware_main") : NULL;
    if (entry == NULL) {
        fprintf(stderr, "%s\n", dlerror());
    }
    return (middleware_fct)entry;
}

JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* vm, void* reserved) {
    g_vm = vm;
    sigaction(SIGINT, NULL, &g_interrupt);
    return JNI_VERSION_1_4;
}

/* arguments: the middleware's file, then its arguments. */
JNIEXPORT jint JNICALL Java_sim_Main_middleware(JNIEnv* env, jclass main, jobjectArray arguments) {
    g_main = (*env)->NewGlobalRef(env, main);
    const jsize count = (*env)->GetArrayLength(env, arguments);
    char** argv = calloc((size_t)count + 1, sizeof(*argv));
    for (jsize i = 0; argv != NULL && i < count; ++i) {
        const jstring string = (*env)->GetObjectArrayElement(env, arguments, i);
        argv[i] = (char*)(*env)->GetStringUTFChars(env, string, NULL); /* until the process ends */
        (*env)->DeleteLocalRef(env, string);
        argv = argv[i] != NULL ? argv : NULL;
    }
    if (argv == NULL) {
        fprintf(stderr, "out of memory for the arguments\n");
        return STATUS_INPUT;
    }
    static BOX_T box = {create_pipeline, destroy_pipeline, received, set_stream, NULL,
                        set_log_level};
    box.sample = getenv("SIM_SAMPLE");
    const middleware_fct middleware = load(argv[0]);
    int status = middleware != NULL ? middleware(&box, count, argv) : STATUS_INPUT;
    if (fflush(stdout) != 0 || ferror(stdout)) {
        fprintf(stderr, "cannot write the output: %s\n", strerror(errno));
        status = status != 0 ? status : STATUS_INPUT;
    }
    return status;
}
