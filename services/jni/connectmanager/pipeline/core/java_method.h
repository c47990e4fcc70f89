// The connection to Java classes, made once at load: native methods, which Java calls, are
// registered; Java methods and constructors, which the library calls, are bound.
//
// A bare JNI call accepts any arguments: an int where the Java method takes a long is undefined
// behaviour that nobody notices. Here the compiler checks the types. A JavaMethod<jint(jobject,
// jlong)> is bound only to a signature literal of these types, and takes only these arguments. In
// the same way, a native function is registered only under a signature literal of its own types.

#ifndef JAVA_METHOD_H
#define JAVA_METHOD_H

#include <jni.h>
#include <nativehelper/scoped_local_ref.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "services/jni/connectmanager/pipeline/core/fatal_assert.h"
#include "services/jni/connectmanager/pipeline/core/java_vm.h"

// The tag of the lines that are logged during the load, or null when the gate is closed.
const char* loadTag(int level);

// Registers native methods on the class of that name, which the calling thread's class loader must
// know. Returns 0; -1 (logged) when the class or one of the methods is missing. Then the Java error
// stays pending, for the code that loads the library.
extern "C" PIPELINE_EXPORT int registerNativeMethods(JNIEnv* env, const char* className,
                                                     const JNINativeMethod* methods,
                                                     int numMethods);

namespace android {

// Describes and clears a pending Java exception; true when there was one. Only two places do it
// differently: the status query logs a line before, and the exception for an end frequency that the
// platform refuses is cleared without being described.
bool clearException(JNIEnv* env);

// A new global reference to an object; null when it cannot be made. No exception stays pending.
inline jobject newGlobalRef(JNIEnv* env, jobject object) {
    jobject global = env->NewGlobalRef(object);
    if (global == nullptr) {
        clearException(env);
    }
    return global;
}

// A new Java array with a copy of the bytes; null when it cannot be made. No exception stays
// pending.
inline ScopedLocalRef<jbyteArray> newByteArray(JNIEnv* env, const uint8_t* bytes, jsize length) {
    ScopedLocalRef<jbyteArray> array(env, env->NewByteArray(length));
    if (array.get() == nullptr) {
        clearException(env);
    } else {
        // This throws only when the region does not fit into the array, and it is the whole array.
        env->SetByteArrayRegion(array.get(), 0, length, reinterpret_cast<const jbyte*>(bytes));
    }
    return array;
}

namespace jni_signature {

constexpr const char* skip(const char* text, char letter) {
    return text != nullptr && *text == letter ? text + 1 : nullptr;
}

// The rest of a JNI signature after the type T, or null when it does not begin with that type.
template <typename T>
constexpr const char* skipType(const char* text) {
    if constexpr (std::is_void_v<T>) {
        return skip(text, 'V');
    } else if constexpr (std::is_same_v<T, jint>) {
        return skip(text, 'I');
    } else if constexpr (std::is_same_v<T, jlong>) {
        return skip(text, 'J');
    } else if constexpr (std::is_same_v<T, jboolean>) {
        return skip(text, 'Z');
    } else if constexpr (std::is_same_v<T, jbyteArray>) {
        return skip(skip(text, '['), 'B');
    } else if constexpr (std::is_same_v<T, jintArray>) {
        return skip(skip(text, '['), 'I');
    } else {
        static_assert(std::is_same_v<T, jobject>, "a type that no method of this library has");
        text = skip(text, 'L');
        while (text != nullptr && *text != '\0' && *text != ';') ++text;
        return skip(text, ';');
    }
}

template <typename Result, typename... Args>
constexpr bool matches(const char* text) {
    text = skip(text, '(');
    ((text = skipType<Args>(text)), ...);
    text = skipType<Result>(skip(text, ')'));
    return text != nullptr && *text == '\0';
}

template <typename T>
jvalue toJvalue(T value) {
    jvalue result;
    if constexpr (std::is_same_v<T, jint>) {
        result.i = value;
    } else if constexpr (std::is_same_v<T, jlong>) {
        result.j = value;
    } else if constexpr (std::is_same_v<T, jboolean>) {
        result.z = value;
    } else {
        result.l = value;
    }
    return result;
}

}  // namespace jni_signature

template <typename Signature>
struct JavaMethod;

template <typename Result, typename... Args>
struct JavaMethod<Result(Args...)> {
    jmethodID id;

    static constexpr bool matches(const char* signature) {
        return jni_signature::matches<Result, Args...>(signature);
    }

    using Returned = std::conditional_t<std::is_pointer_v<Result>, ScopedLocalRef<Result>, Result>;

    // An exception of the Java method stays pending.
    Returned call(JNIEnv* env, jobject object, Args... args) const {
        const jvalue values[] = {jni_signature::toJvalue(args)..., jvalue{}};
        if constexpr (std::is_void_v<Result>) {
            env->CallVoidMethodA(object, id, values);
        } else if constexpr (std::is_same_v<Result, jint>) {
            return env->CallIntMethodA(object, id, values);
        } else if constexpr (std::is_same_v<Result, jlong>) {
            return env->CallLongMethodA(object, id, values);
        } else if constexpr (std::is_same_v<Result, jboolean>) {
            return env->CallBooleanMethodA(object, id, values);
        } else {
            return Returned(env, static_cast<Result>(env->CallObjectMethodA(object, id, values)));
        }
    }
};

template <typename... Args>
struct JavaConstructor {
    jmethodID id;

    static constexpr bool matches(const char* signature) {
        return jni_signature::matches<void, Args...>(signature);
    }

    // Makes an object. False when Java threw; then the exception has been described and cleared,
    // and the object is null.
    bool construct(JNIEnv* env, jclass clazz, ScopedLocalRef<jobject>* object, Args... args) const {
        const jvalue values[] = {jni_signature::toJvalue(args)..., jvalue{}};
        object->reset(env->NewObjectA(clazz, id, values));
        if (clearException(env)) {
            object->reset();
            return false;
        }
        return true;
    }

    // The new object; null when it could not be made. No exception stays pending.
    ScopedLocalRef<jobject> newObject(JNIEnv* env, jclass clazz, Args... args) const {
        ScopedLocalRef<jobject> object(env);
        construct(env, clazz, &object, args...);
        return object;
    }
};

// Whether a native function takes and returns what its JNI signature says.
template <typename Result, typename... Args>
constexpr bool fitsNative(Result (*)(JNIEnv*, jobject, Args...), const char* signature) {
    return jni_signature::matches<Result, Args...>(signature);
}

template <bool fits>
constexpr const char* nativeSignature(const char* signature) {
    static_assert(fits, "the signature does not fit the native function");
    return signature;
}

// A row of a table of native methods. It is a macro because a cast of a function's address cannot
// run inside a function at compile time, and the tables must be constant data.
#define NATIVE_METHOD(name, signature, function)                                                 \
    {                                                                                            \
        name, ::android::nativeSignature<::android::fitsNative(function, signature)>(signature), \
            reinterpret_cast<void*>(function)                                                    \
    }

// One method to look up, and the condition that fails when it is missing.
struct JavaMethodRow {
    jmethodID* id;
    const char* name;
    const char* signature;
    const char* condition;
    int line;
};

template <bool fits, typename Method>
constexpr JavaMethodRow javaMethodRow(Method& method, const char* name, const char* signature,
                                      const char* condition, int line) {
    static_assert(fits, "the signature does not fit the method's type");
    return {&method.id, name, signature, condition, line};
}

// A row for a member of a method table. It is a macro because the condition contains the member's
// name.
#define JAVA_METHOD_ROW(table, member, name, signature)                   \
    ::android::javaMethodRow<decltype(table.member)::matches(signature)>( \
        table.member, name, signature, "!(" #table "." #member " != __null)", __LINE__)

// Finds a class and looks up its methods in the order of the rows. The global reference to the
// class lives as long as the process. If the class or a method is missing, the process ends.
void bindJavaClass(JNIEnv* env, const char* className, jclass* clazz, const JavaMethodRow* rows,
                   size_t count, const FatalSite& site, int line);

template <size_t count>
void bindJavaClass(JNIEnv* env, const char* className, jclass* clazz,
                   const JavaMethodRow (&rows)[count], const FatalSite& site, int line) {
    bindJavaClass(env, className, clazz, rows, count, site, line);
}

}  // namespace android

#endif  // JAVA_METHOD_H
