// What the load entry and the two bridges share: the virtual machine and the registration of
// natives.

#ifndef ONLOAD_PIPELINE_H
#define ONLOAD_PIPELINE_H

#include <jni.h>

#define PIPELINE_EXPORT __attribute__((visibility("default")))

extern "C" {

// The virtual machine; null until the library is loaded, never cleared. Within the library it is read
// with javaVm().
extern PIPELINE_EXPORT JavaVM* g_velmora_javaVM;

// Registers native methods on the class of that name, which the calling thread's class loader must
// know. Returns 0, or -1 (logged) when the class or one of its methods is missing; the Java error
// is then left pending for whoever loads the library.
PIPELINE_EXPORT int registerNativeMethods(JNIEnv* env, const char* className,
                                          const JNINativeMethod* methods, int numMethods);
}

// The virtual machine, or null before the library is loaded. JNI_OnLoad publishes the pointer with
// release order after the tables of Java methods are complete; who reads it with acquire order, and
// gets it, sees the whole tables.
inline JavaVM* javaVm() {
    return __atomic_load_n(&g_velmora_javaVM, __ATOMIC_ACQUIRE);
}

// Register the natives of a bridge and bind the Java classes and methods that it calls. Return
// non-zero, or 0 (logged) when natives cannot be registered; a missing class or method ends the
// process.
int register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFrontend(JNIEnv* env);
int register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFilter(JNIEnv* env);

// A row of a native method table. On a desk jni.h declares the texts as char*, on a device as const
// char*. A macro, because only so the row is constant data: no function that casts a pointer can
// run at compile time.
#define NATIVE_METHOD(name, signature, function) \
    { const_cast<char*>(name), const_cast<char*>(signature), reinterpret_cast<void*>(function) }

#endif  // ONLOAD_PIPELINE_H
