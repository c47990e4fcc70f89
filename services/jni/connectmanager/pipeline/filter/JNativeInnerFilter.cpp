#include "services/jni/connectmanager/pipeline/filter/JNativeInnerFilter.h"

#include <cstring>

#include "services/jni/connectmanager/pipeline/filter/FilterEnv.h"
#include "services/jni/connectmanager/pipeline/filter/filter_instance.h"
#include "services/jni/connectmanager/pipeline/filter/filter_java.h"
#include "services/jni/connectmanager/pipeline/filter/filter_log.h"

namespace android {

namespace {

// A reference as log lines show it: 32 bits, whatever the size of a pointer is.
unsigned int word(jobject object) {
    return static_cast<unsigned int>(widened(object));
}

// Calls a method without arguments.
jint callInScope(jobject object, const JavaMethod<jint()>& method) {
    const FilterEnv scope(FilterEnv::kOperation);
    return method.call(scope.env(), object);
}

// A byte of the middleware as a Java boolean, which must be 0 or 1.
jboolean toBoolean(uint8_t flag) {
    return flag != 0 ? JNI_TRUE : JNI_FALSE;
}

}  // namespace

JNativeInnerFilter::JNativeInnerFilter() {
    FILTER_LOG("<%s:%4d> native filter create instance, this: %p", static_cast<void*>(this));
}

JNativeInnerFilter::~JNativeInnerFilter() {
    FILTER_LOG("<%s:%4d> start");
    const FilterEnv scope(FilterEnv::kDestructor);
    JNIEnv* env = scope.env();
    if (env == nullptr) {
        return;
    }
    if (mObject != nullptr) {
        env->DeleteGlobalRef(mObject);
    }
    if (mj_sectionarr != nullptr) {
        env->DeleteGlobalRef(mj_sectionarr);
    }
}

int JNativeInnerFilter::nativeOpen(int64_t pipeline_instance, int mainType, int subType,
                                   int64_t buffersize, jobject callbackThread) {
    FILTER_LOG(
        "<%s:%4d> nativeOpen filter pipeline_instance: 0x%llx mainType %d subType %d buffersize "
        "0x%llx.\n",
        shown(pipeline_instance), mainType, subType, shown(buffersize));
    jobject pipeline = reinterpret_cast<jobject>(static_cast<uintptr_t>(pipeline_instance));
    if (pipeline == nullptr) {
        FILTER_LOG("<%s:%4d> nativeOpen, pipeline_instance object is null.\n");
        return 1;  // Fixed from outside: 1, not -1. The log shows it; open returns -1.
    }
    int result = -1;
    {
        const FilterEnv scope(FilterEnv::kOperation);
        JNIEnv* env = scope.env();
        if (!makeSectionArray(env)) {
            FILTER_LOG("<%s:%4d> nativeOpen, constructor mj_sectionarr failed.");
        } else if (!makeObject(env, pipeline)) {
            FILTER_LOG("<%s:%4d> nativeOpen, constructor mObject failed.");
        } else {
            android::gFields.setNativeHandleId.call(env, mObject, static_cast<jint>(mFilterHandle));
            result = android::gFields.onOpenFilterId.call(env, mObject, mainType, subType,
                                                          buffersize, callbackThread);
        }
    }
    FILTER_LOG("<%s:%4d> nativeOpen filter object 0x%x ret_val 0x%x.\n", word(mObject),
               static_cast<unsigned int>(result));
    return result;
}

bool JNativeInnerFilter::makeSectionArray(JNIEnv* env) {
    const ScopedLocalRef<jbyteArray> array(env, env->NewByteArray(FLT_MAX_READ_SIZE));
    if (array.get() != nullptr) {
        mj_sectionarr = static_cast<jbyteArray>(env->NewGlobalRef(array.get()));
    }
    if (mj_sectionarr == nullptr) {
        clearException(env);
    }
    return mj_sectionarr != nullptr;
}

bool JNativeInnerFilter::makeObject(JNIEnv* env, jobject pipeline) {
    const ScopedLocalRef<jobject> object =
        android::gFields.constructorFilterId.newObject(env, android::gFields.filterClazz, pipeline);
    if (object.get() != nullptr) {
        mObject = newGlobalRef(env, object.get());
    }
    return mObject != nullptr;
}

void JNativeInnerFilter::nativeClose() {
    if (mObject == nullptr) {
        return;
    }
    callInScope(mObject, android::gFields.onCloseFilterId);
    FILTER_LOG("<%s:%4d> nativeClose filter object 0x%x \n", word(mObject));
}

int JNativeInnerFilter::nativeStart() {
    if (mObject == nullptr) {
        FILTER_LOG("<%s:%4d> nativeStart mObject is null.\n");
        return -1;
    }
    const jint result = callInScope(mObject, android::gFields.onStartId);
    FILTER_LOG("<%s:%4d> nativeStart jobject[0x%x] jret 0x%x!\n", word(mObject),
               static_cast<unsigned int>(result));
    return result;
}

int JNativeInnerFilter::nativeStop() {
    if (mObject == nullptr) {
        FILTER_LOG("<%s:%4d> nativeStop mObject is null.\n");
        return -1;
    }
    const jint result = callInScope(mObject, android::gFields.onStopId);
    FILTER_LOG("<%s:%4d> nativeStop jobject[0x%x] jret 0x%x!\n", word(mObject),
               static_cast<unsigned int>(result));
    return result;
}

int JNativeInnerFilter::nativeFlush() {
    if (mObject == nullptr) {
        FILTER_LOG("<%s:%4d> nativeFlush mObject is null.\n");
        return -1;
    }
    const jint result = callInScope(mObject, android::gFields.onFlushId);
    FILTER_LOG("<%s:%4d> nativeFlush jobject[0x%x] jret 0x%x!\n", word(mObject),
               static_cast<unsigned int>(result));
    return result;
}

int JNativeInnerFilter::nativeRead(int8_t* buffer, int64_t position, int64_t size) {
    if (mj_sectionarr == nullptr) {
        FILTER_LOG("<%s:%4d> nativeRead mj_sectionarr is null.\n");
        return -1;
    }
    if (mObject == nullptr) {
        FILTER_LOG("<%s:%4d> nativeRead mObject is null.\n");
        return -1;
    }
    const FilterEnv scope(FilterEnv::kOperation);
    JNIEnv* env = scope.env();
    if (size > FLT_MAX_READ_SIZE) {
        FILTER_LOG("<%s:%4d> native read size(0x%llx) too large,force to max size(%d) \n",
                   shown(size), FLT_MAX_READ_SIZE);
        size = FLT_MAX_READ_SIZE;
    }
    const jint n = android::gFields.onReadId.call(env, mObject, mj_sectionarr, position, size);
    if (n >= 1 && n <= FLT_MAX_READ_SIZE && n <= size) {
        // Fixed from outside: the elements of the whole array are taken and written back, although
        // only n bytes are needed.
        jbyte* elements = env->GetByteArrayElements(mj_sectionarr, nullptr);
        if (elements != nullptr) {
            memcpy(buffer, elements, static_cast<size_t>(n));
            env->ReleaseByteArrayElements(mj_sectionarr, elements, 0);
            return n;
        }
        clearException(env);
    }
    FILTER_LOG("<%s:%4d> return  ret_val 0x%x size 0x%llx.\n", static_cast<unsigned int>(n),
               shown(size));
    return -1;
}

int JNativeInnerFilter::nativeSetSectionConfig(int value, uint8_t flag1, uint8_t flag2,
                                               uint8_t flag3, const uint8_t* pattern1,
                                               const uint8_t* pattern2, const uint8_t* pattern3) {
    if (mObject == nullptr) {
        FILTER_LOG("<%s:%4d> SetSectionConfig mObject is null.\n");
        return -1;
    }
    jint result = -1;
    {
        const FilterEnv scope(FilterEnv::kOperation);
        JNIEnv* env = scope.env();
        const auto array1 = newByteArray(env, pattern1, FLT_PATTERN_SIZE);
        const auto array2 = newByteArray(env, pattern2, FLT_PATTERN_SIZE);
        const auto array3 = newByteArray(env, pattern3, FLT_PATTERN_SIZE);
        if (array1.get() != nullptr && array2.get() != nullptr && array3.get() != nullptr) {
            result = android::gFields.onSetSectionConfigId.call(
                env, mObject, value, toBoolean(flag1), toBoolean(flag2), toBoolean(flag3),
                array1.get(), array2.get(), array3.get());
        }
    }
    FILTER_LOG("<%s:%4d> nativeSetSectionConfig jobject[0x%x] jret 0x%x!\n", word(mObject),
               static_cast<unsigned int>(result));
    return result;
}

}  // namespace android
