/* Between the box's Java and its middleware: pipelines, and the middleware's main program. */
#include <android/log.h>
#include <cutils/properties.h>
#include <dlfcn.h>
#include <errno.h>
#include <jni.h>
#include <link.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "mw/basic_services.h"
#include "sim/box.h"

enum { STATUS_INPUT = 1 };

static JavaVM* g_vm;
static jclass g_main; /* global reference */

/* The environment of a thread that may have none yet; *pi4_attached tells leave whether to detach
 * it. */
static JNIEnv* enter(int* pi4_attached) {
    void* env = NULL;
    *pi4_attached = 0;
    if ((*g_vm)->GetEnv(g_vm, &env, JNI_VERSION_1_4) != JNI_OK) {
        if ((*g_vm)->AttachCurrentThread(g_vm, &env, NULL) != JNI_OK) {
            fprintf(stderr, "a thread could not be attached\n");
            abort();
        }
        *pi4_attached = 1;
    }
    return env;
}

static void leave(JNIEnv* env, int i4_attached) {
    if ((*env)->ExceptionCheck(env)) {
        (*env)->ExceptionDescribe(env);
        (*env)->ExceptionClear(env);
    }
    if (i4_attached) {
        (*g_vm)->DetachCurrentThread(g_vm);
    }
}

static uint32_t create_pipeline(void) {
    int attached;
    uint32_t handle = 0;
    JNIEnv* env = enter(&attached);
    const jmethodID create =
        (*env)->GetStaticMethodID(env, g_main, "createPipeline",
                                  "()Lcom/halvorin/tv/velmora/services/pipeline/PipelineHandler;");
    const jobject handler = (*env)->CallStaticObjectMethod(env, g_main, create);
    if (!(*env)->ExceptionCheck(env) && handler != NULL) {
        const jweak weak = (*env)->NewWeakGlobalRef(env, handler);
        if (handle_alloc(HT_PIPELINE, weak, NULL, NULL, &handle) != 0) {
            (*env)->DeleteWeakGlobalRef(env, weak);
        }
        (*env)->DeleteLocalRef(env, handler);
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
    text[0] = '\0';
    JNIEnv* env = enter(&attached);
    const jmethodID method =
        (*env)->GetStaticMethodID(env, g_main, "received", "(I)Ljava/lang/String;");
    const jstring string = (*env)->CallStaticObjectMethod(env, g_main, method, (jint)h_pipeline);
    if (!(*env)->ExceptionCheck(env) && string != NULL) {
        const char* chars = (*env)->GetStringUTFChars(env, string, NULL);
        if (chars != NULL) {
            snprintf(text, size, "%s", chars);
            (*env)->ReleaseStringUTFChars(env, string, chars);
        }
        (*env)->DeleteLocalRef(env, string);
    }
    leave(env, attached);
}

static void set_stream(const char* file) {
    int attached;
    JNIEnv* env = enter(&attached);
    const jmethodID method =
        (*env)->GetStaticMethodID(env, g_main, "setStream", "(Ljava/lang/String;)V");
    const jstring string = (*env)->NewStringUTF(env, file);
    if (string != NULL) {
        (*env)->CallStaticVoidMethod(env, g_main, method, string);
        (*env)->DeleteLocalRef(env, string);
    }
    leave(env, attached);
}

static void set_log_level(const char* level) {
    property_set("vendor.zyt.broadcast.log.level", level);
    /* Off a device the log begins at INFO. */
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}

typedef int (*middleware_fct)(const BOX_T* pt_box, int argc, char** argv);

/* The middleware_main of a shared object; null, told why, when there is none to be had. */
static middleware_fct load(const char* library) {
    Dl_info own;
    ElfW(Ehdr) header = {.e_machine = EM_NONE};
    FILE* in = fopen(library, "rb");
    const size_t got = in != NULL ? fread(&header, 1, sizeof(header), in) : 0;
    if (in == NULL || ferror(in)) {
        fprintf(stderr, "%s: %s\n", library, strerror(errno));
    } else if (got < sizeof(header) || memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
        fprintf(stderr, "%s: not a shared object\n", library);
    } else if (dladdr(&g_vm, &own) != 0 &&
               (memcmp(header.e_ident, own.dli_fbase, EI_VERSION) != 0 ||
                header.e_machine != ((const ElfW(Ehdr)*)own.dli_fbase)->e_machine)) {
        fprintf(stderr, "%s: built for another architecture than this machine's\n", library);
    } else {
        /* The middleware need not name the libraries of its box: these are found without. */
        dlopen("libhalvorin_velmora_pipeline.so", RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
        void* handle = dlopen(library, RTLD_NOW);
        void* entry = handle != NULL ? dlsym(handle, "middleware_main") : NULL;
        if (handle == NULL) {
            fprintf(stderr, "%s\n", dlerror());
        } else if (entry == NULL) {
            fprintf(stderr, "%s: defines no middleware_main\n", library);
        }
        fclose(in);
        return (middleware_fct)entry;
    }
    if (in != NULL) {
        fclose(in);
    }
    return NULL;
}

/* The action of SIGINT before the library was loaded, which takes the signal over. */
static struct sigaction g_interrupt;

JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* vm, void* reserved) {
    (void)reserved;
    g_vm = vm;
    sigaction(SIGINT, NULL, &g_interrupt);
    return JNI_VERSION_1_4;
}

/* arguments: the middleware's file, and what it is given. */
JNIEXPORT jint JNICALL Java_sim_Main_middleware(JNIEnv* env, jclass main, jobjectArray arguments) {
    sigaction(SIGINT, &g_interrupt, NULL);
    g_main = (*env)->NewGlobalRef(env, main);
    const jsize count = (*env)->GetArrayLength(env, arguments);
    char** argv = calloc((size_t)count + 1, sizeof(*argv));
    for (jsize i = 0; argv != NULL && i < count; ++i) {
        const jstring string = (*env)->GetObjectArrayElement(env, arguments, i);
        const char* chars = (*env)->GetStringUTFChars(env, string, NULL);
        argv[i] = chars != NULL ? strdup(chars) : NULL;
        if (argv[i] == NULL) {
            argv = NULL;
            break;
        }
        (*env)->ReleaseStringUTFChars(env, string, chars);
        (*env)->DeleteLocalRef(env, string);
    }
    if (argv == NULL) {
        fprintf(stderr, "no memory for the arguments\n");
        return STATUS_INPUT;
    }
    static BOX_T box = {create_pipeline, destroy_pipeline, received, set_stream, NULL,
                        set_log_level};
    box.sample = getenv("SIM_SAMPLE");
    const middleware_fct middleware = load(argv[0]);
    int status = middleware != NULL ? middleware(&box, count, argv) : STATUS_INPUT;
    if (fflush(stdout) != 0 || ferror(stdout)) {
        fprintf(stderr, "the output cannot be written: %s\n", strerror(errno));
        status = status != 0 ? status : STATUS_INPUT;
    }
    return status;
}
