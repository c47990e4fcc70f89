// The functions of the virtual machine that the core library's native methods call, made from what
// the runtime exports.

#include "jvm.h"

#include <dlfcn.h>
#include <err.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/time.h>
#include <unistd.h>

#include <mutex>
#include <string>

namespace art {

// Every JavaVM is an object of this class.
class JavaVMExt {
  public:
    bool LoadNativeLibrary(JNIEnv* env, const std::string& path, jobject loader, jclass caller,
                           std::string* error);
};

}  // namespace art

namespace {

constexpr jint kDeleteAfterwards = 0x10000;  // an open flag that only ZipFile uses

}  // namespace

extern "C" {

jstring JVM_NativeLoad(JNIEnv* env, jstring file, jobject loader, jclass caller) {
    const char* chars = env->GetStringUTFChars(file, nullptr);
    const std::string path = chars;
    env->ReleaseStringUTFChars(file, chars);
    JavaVM* vm = nullptr;
    env->GetJavaVM(&vm);
    std::string error;
    auto* runtime = reinterpret_cast<art::JavaVMExt*>(vm);
    if (runtime->LoadNativeLibrary(env, path, loader, caller, &error)) {
        return nullptr;
    }
    env->ExceptionClear();  // Java throws an error with this text
    return env->NewStringUTF(error.c_str());
}

// As in a process that is not an application: exit handlers run.
void JVM_Exit(jint status) {
    exit(status);
}

// The heap is collected only when something is allocated, never on request.
void JVM_GC() {}
#define MISSING(function)                                                \
    jlong function() {                                                   \
        errx(1, "%s: the runtime exports no function for it", __func__); \
    }
MISSING(JVM_FreeMemory)
MISSING(JVM_TotalMemory)
MISSING(JVM_MaxMemory)

jlong JVM_CurrentTimeMillis(JNIEnv*, jclass) {
    timeval now;
    gettimeofday(&now, nullptr);
    return now.tv_sec * 1000LL + now.tv_usec / 1000;
}

jboolean JVM_IsNaN(jdouble value) {
    return value != value;
}

jint JVM_Open(const char* name, jint flags, jint mode) {
    const int descriptor = open(name, (flags & ~kDeleteAfterwards) | O_CLOEXEC, mode);
    return descriptor < 0 && errno == EEXIST ? JVM_EEXIST : descriptor;
}
jint JVM_Close(jint descriptor) {
    return close(descriptor);
}
jint JVM_Read(jint descriptor, char* buffer, jint size) {
    return static_cast<jint>(
        TEMP_FAILURE_RETRY(read(descriptor, buffer, static_cast<size_t>(size))));
}
jint JVM_Write(jint descriptor, char* buffer, jint size) {
    return static_cast<jint>(
        TEMP_FAILURE_RETRY(write(descriptor, buffer, static_cast<size_t>(size))));
}
jlong JVM_Lseek(jint descriptor, jlong offset, jint from) {
    return lseek64(descriptor, offset, from);
}
jint JVM_Sync(jint descriptor) {
    return fsync(descriptor);
}
char* JVM_NativePath(char* path) {
    return path;
}

jint JVM_GetLastErrorString(char* buffer, int size) {
    return snprintf(buffer, static_cast<size_t>(size), "%s", strerror(errno));
}

jint JVM_InitializeSocketLibrary() {
    return 0;
}
void* JVM_FindLibraryEntry(void* library, const char* name) {
    return dlsym(library, name);
}

void* JVM_RawMonitorCreate() {
    return new std::mutex();
}
void JVM_RawMonitorDestroy(void* monitor) {
    delete static_cast<std::mutex*>(monitor);
}
jint JVM_RawMonitorEnter(void* monitor) {
    static_cast<std::mutex*>(monitor)->lock();
    return 0;
}
void JVM_RawMonitorExit(void* monitor) {
    static_cast<std::mutex*>(monitor)->unlock();
}

int jio_snprintf(char* text, size_t size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, size, format, arguments);
    va_end(arguments);
    return length;
}
int jio_fprintf(FILE* file, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = vfprintf(file, format, arguments);
    va_end(arguments);
    return length;
}

}  // extern "C"
