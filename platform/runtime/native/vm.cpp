// The invocation interface. It starts Android's runtime, takes options as OpenJDK does, and reports
// wrong uses of JNI in the same way. So a program that loads it as libjvm.so hardly needs to know
// which of the two it has.

#include <dlfcn.h>
#include <jni.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

namespace {

using Print = jint (*)(FILE* stream, const char* format, va_list arguments);
Print gPrint;

void print(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    gPrint(stderr, format, arguments);
    va_end(arguments);
}

void complain(void*, const std::string& text) {
    print("%s\n", text.c_str());
}

// The beginning of the runtime's JavaVM. If complain is null, a complaint ends the process.
struct Runtime {
    const void* functions;
    void* runtime;
    void (*complain)(void* data, const std::string& text);
};

}  // namespace

extern "C" JNIEXPORT jint JNI_CreateJavaVM(JavaVM** vm, JNIEnv** env, void* args) {
    // On a device, the core library looks for its data in these folders.
    for (const char* folder :
         {"ANDROID_ROOT", "ANDROID_DATA", "ANDROID_ART_ROOT", "ANDROID_I18N_ROOT",
          "ANDROID_RUNTIME_ROOT", "ANDROID_TZDATA_ROOT"}) {
        setenv(folder, PIPELINE_RUNTIME "/root", 1);
    }
    setenv("ANDROID_LOG_TAGS", "*:f", 0);  // otherwise it warns of things that are intended here
    const auto* given = static_cast<const JavaVMInitArgs*>(args);
    std::vector<JavaVMOption> options(given->options, given->options + given->nOptions);
    for (const JavaVMOption& option : options) {
        if (strcmp(option.optionString, "vfprintf") == 0) {
            gPrint = reinterpret_cast<Print>(option.extraInfo);
        }
    }
    // Nothing is compiled, neither the core library beforehand nor methods while they run.
    for (const char* option : {"-Xbootclasspath:" PIPELINE_RUNTIME "/boot.jar", "-Ximage:/none",
                               "-Xnoimage-dex2oat", "-Xnorelocate", "-Xusejit:false"}) {
        options.push_back({const_cast<char*>(option), nullptr});
    }
    const char* environment = getenv("JAVA_TOOL_OPTIONS");
    std::string more = environment != nullptr ? environment : "";
    for (char* word = strtok(more.data(), " "); word != nullptr; word = strtok(nullptr, " ")) {
        options.push_back({word, nullptr});
    }
    JavaVMInitArgs all = {JNI_VERSION_1_6, static_cast<jint>(options.size()), options.data(),
                          given->ignoreUnrecognized};
    const auto create =
        reinterpret_cast<decltype(&JNI_CreateJavaVM)>(dlsym(RTLD_NEXT, "JNI_CreateJavaVM"));
    const jint result = create(vm, env, &all);
    if (result == JNI_OK && gPrint != nullptr) {
        reinterpret_cast<Runtime*>(*vm)->complain = complain;
    }
    return result;
}
