/* Between the demo's Java and its middleware: pipelines, and the middleware's main program. */
#include <android/log.h>
#include <cutils/properties.h>
#include <jni.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "mw/basic_services.h"
#include "sim/box.h"

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

JNIEXPORT jint JNICALL Java_sim_Main_middleware(JNIEnv* env, jclass main, jobjectArray arguments) {
    (*env)->GetJavaVM(env, &g_vm);
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
        return 1;
    }
    const BOX_T box = {create_pipeline, destroy_pipeline,     received,
                       set_stream,      getenv("SIM_SAMPLE"), set_log_level};
    const int status = middleware_main(&box, count, argv);
    for (jsize i = 0; i < count; ++i) {
        free(argv[i]);
    }
    free(argv);
    (*env)->DeleteGlobalRef(env, g_main);
    return status;
}
