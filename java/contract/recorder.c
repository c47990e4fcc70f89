/* Records which Java classes and members the library looks up and registers while it is loaded. It
 * puts functions of its own into the table of JNI functions, by means of the tool interface. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <jvmti.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static jvmtiEnv* g_jvmti;
static jniNativeInterface g_real;
static FILE* g_record;
static char* g_text;
static size_t g_size;

/* The library ends the process without naming what it has not found. */
#define MISSING "What the library demands is missing in platform/: "

/* The virtual machine and its own libraries look members up too: only the library's calls count. */
static int from_library(void* address) {
    Dl_info info;
    return dladdr(address, &info) != 0 &&
           strstr(info.dli_fname, "/libhalvorin_velmora_pipeline.so") != NULL;
}

static void record(FILE* file, const char* kind, jclass clazz, const char* name,
                   const char* descriptor) {
    char* signature = NULL;
    (*g_jvmti)->GetClassSignature(g_jvmti, clazz, &signature, NULL);
    fprintf(file, "%s %s %s %s\n", kind, signature, name, descriptor);
    (*g_jvmti)->Deallocate(g_jvmti, (unsigned char*)signature);
}

static jclass JNICALL find_class(JNIEnv* env, const char* name) {
    const jclass clazz = g_real.FindClass(env, name);
    if (clazz == NULL) {
        fprintf(stderr, MISSING "class %s\n", name);
    } else if (from_library(__builtin_return_address(0))) {
        record(g_record, "class", clazz, "-", "-");
    }
    return clazz;
}

static jmethodID JNICALL get_method(JNIEnv* env, jclass clazz, const char* name, const char* type) {
    const jmethodID method = g_real.GetMethodID(env, clazz, name, type);
    if (method == NULL) {
        record(stderr, MISSING "method", clazz, name, type);
    } else if (from_library(__builtin_return_address(0))) {
        record(g_record, "method", clazz, name, type);
    }
    return method;
}

static jint JNICALL register_natives(JNIEnv* env, jclass clazz, const JNINativeMethod* natives,
                                     jint count) {
    for (jint i = 0; i < count && from_library(__builtin_return_address(0)); ++i) {
        record(g_record, "native", clazz, natives[i].name, natives[i].signature);
    }
    return g_real.RegisterNatives(env, clazz, natives, count);
}

/* A contract without the static members or fields that the library looks up would be wrong. */
#define UNRECORDED(type, member)                                                                 \
    static type JNICALL unrecorded_##member(JNIEnv* env, jclass clazz, const char* name,         \
                                            const char* signature) {                             \
        if (from_library(__builtin_return_address(0))) {                                         \
            fprintf(stderr, #member " of %s is called, and the recorder cannot say so\n", name); \
            abort();                                                                             \
        }                                                                                        \
        return g_real.member(env, clazz, name, signature);                                       \
    }
UNRECORDED(jmethodID, GetStaticMethodID)
UNRECORDED(jfieldID, GetFieldID)
UNRECORDED(jfieldID, GetStaticFieldID)

/* False when the virtual machine has no tool interface. */
JNIEXPORT jboolean JNICALL Java_contract_Contract_start(JNIEnv* env, jclass self) {
    (void)self;
    JavaVM* vm;
    jniNativeInterface* table;
    if ((*env)->GetJavaVM(env, &vm) != JNI_OK ||
        (*vm)->GetEnv(vm, (void**)&g_jvmti, JVMTI_VERSION_1_2) != JNI_OK ||
        (*g_jvmti)->GetJNIFunctionTable(g_jvmti, &table) != JVMTI_ERROR_NONE ||
        (g_record = open_memstream(&g_text, &g_size)) == NULL) {
        return JNI_FALSE;
    }
    g_real = *table;
    table->FindClass = find_class;
    table->GetMethodID = get_method;
    table->RegisterNatives = register_natives;
    table->GetStaticMethodID = unrecorded_GetStaticMethodID;
    table->GetFieldID = unrecorded_GetFieldID;
    table->GetStaticFieldID = unrecorded_GetStaticFieldID;
    return (*g_jvmti)->SetJNIFunctionTable(g_jvmti, table) == JVMTI_ERROR_NONE;
}

/* One line for each look-up: kind, class, member, descriptor. */
JNIEXPORT jstring JNICALL Java_contract_Contract_stop(JNIEnv* env, jclass self) {
    (void)self;
    (*g_jvmti)->SetJNIFunctionTable(g_jvmti, &g_real);
    fclose(g_record);
    return (*env)->NewStringUTF(env, g_text);
}
