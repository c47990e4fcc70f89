// java [OPTION...] -cp JARS CLASS ARGUMENT...: runs a Java program on Android's runtime with
// CheckJNI on.

#include <err.h>
#include <jni.h>
#include <locale.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    setlocale(LC_ALL, "");  // for what native code prints, as OpenJDK's launcher does
    std::string path = "-Djava.class.path=";
    char check[] = "-Xcheck:jni";
    std::vector<JavaVMOption> options = {{check, nullptr}};
    int at = 1;
    for (; at < argc && argv[at][0] == '-'; ++at) {
        if (strcmp(argv[at], "-cp") == 0 && at + 1 < argc) {
            path += argv[++at];
        } else {
            options.push_back({argv[at], nullptr});
        }
    }
    if (at == argc) {
        errx(1, "usage: java [OPTION...] -cp JARS CLASS ARGUMENT...");
    }
    options.push_back({path.data(), nullptr});
    // Unknown options, such as OpenJDK's, are ignored.
    JavaVMInitArgs args = {JNI_VERSION_1_6, static_cast<jint>(options.size()), options.data(),
                           JNI_TRUE};
    JavaVM* vm = nullptr;
    JNIEnv* env = nullptr;
    if (JNI_CreateJavaVM(&vm, &env, &args) != JNI_OK) {
        errx(1, "The runtime does not start.");
    }
    std::string name = argv[at++];
    std::replace(name.begin(), name.end(), '.', '/');
    const jclass program = env->FindClass(name.c_str());
    const jmethodID main = program != nullptr
                               ? env->GetStaticMethodID(program, "main", "([Ljava/lang/String;)V")
                               : nullptr;
    if (main != nullptr) {
        const jobjectArray arguments =
            env->NewObjectArray(argc - at, env->FindClass("java/lang/String"), nullptr);
        for (int i = at; i < argc; ++i) {
            env->SetObjectArrayElement(arguments, i - at, env->NewStringUTF(argv[i]));
        }
        env->CallStaticVoidMethod(program, main, arguments);
    }
    const bool failed = env->ExceptionCheck();
    if (failed) {
        env->ExceptionDescribe();
        env->ExceptionClear();
    }
    vm->DestroyJavaVM();  // waits for the Java threads
    return failed ? 1 : 0;
}
