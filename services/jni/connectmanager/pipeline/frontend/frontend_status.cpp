// The status query. It reads the kinds that the middleware asks for, one by one, from the
// platform's status object.

#include <cstring>

#include "services/jni/connectmanager/pipeline/frontend/JNativeInnerFrontend.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_java.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"

namespace {

using android::JavaMethod;

// A request may hold any 32-bit value, even one that is not in the enumeration.
int32_t requestedType(const FE_STATUS_TYPE_E* pi4_type, int index) {
    int32_t type;
    memcpy(&type, pi4_type + index, sizeof(type));
    return type;
}

void catchException(JNIEnv* env, int32_t type) {
    if (env->ExceptionCheck()) {
        LOG_ERROR("getFrontendStatus, catch exception, type:%d", type);
        env->ExceptionDescribe();
        env->ExceptionClear();
    }
}

// The value of a getter, as it is stored and logged. An exception of the getter stays pending.
uint8_t valueOf(JNIEnv* env, jobject status, const JavaMethod<jboolean()>& getter) {
    return getter.call(env, status) != JNI_FALSE ? 1 : 0;
}
int valueOf(JNIEnv* env, jobject status, const JavaMethod<jint()>& getter) {
    return getter.call(env, status);
}
long long valueOf(JNIEnv* env, jobject status, const JavaMethod<jlong()>& getter) {
    return getter.call(env, status);
}

// Reads a list into the record; false (logged) when JNI cannot supply its elements. An exception of
// the getter is cleared first, because further JNI calls follow.
bool readList(JNIEnv* env, jintArray list, int32_t type, int32_t* values, int32_t* lengthField) {
    catchException(env, type);
    jint* elements = env->GetIntArrayElements(list, nullptr);
    if (elements == nullptr) {
        LOG_ERROR("getFrontendStatus, int_ptr is null, return");
        return false;
    }
    // Kept here and not read from the record, to which other threads of the caller may write.
    const jint length = env->GetArrayLength(list);
    *lengthField = length;
    android::JNativeInnerFrontend::StatusArrayContentExtract(elements, values, length);
    // Fixed from outside: mode 0, which writes the elements back, although they were only read.
    env->ReleaseIntArrayElements(list, elements, 0);
    return true;
}

void readStatus(JNIEnv* env, jobject status, int32_t type, FE_STATUS_T* pt_festatus) {
    switch (type) {
#define KIND(type_, result, getter, field, line)                             \
    case FE_STATUS_TYPE_##type_: {                                           \
        const auto value = valueOf(env, status, gFrontendFields.getter##ID); \
        pt_festatus->field = value;                                          \
        LOG_DEBUG(line, value);                                              \
        break;                                                               \
    }
#define LIST(type_, member, getter, field, line, missing)                    \
    case FE_STATUS_TYPE_##type_: {                                           \
        const auto list = gFrontendFields.member.call(env, status);          \
        if (list.get() == nullptr) {                                         \
            LOG_ERROR(missing);                                              \
        } else if (readList(env, list.get(), type, pt_festatus->field,       \
                            &pt_festatus->field##Len)) {                     \
            LOG_DEBUG(line, pt_festatus->field[0], pt_festatus->field##Len); \
        }                                                                    \
        break;                                                               \
    }
#include "services/jni/connectmanager/pipeline/frontend/status_kinds.h"
        default:
            LOG_DEBUG("getFrontendStatus, unsupport type: %d.", type);
            break;
    }
    catchException(env, type);
}

}  // namespace

namespace android {

void JNativeInnerFrontend::StatusArrayContentExtract(const int32_t* src, int32_t* dst,
                                                     int32_t len) {
    if (src == nullptr || dst == nullptr) {
        LOG_ERROR("StatusArrayContentExtract, src or dst is null");
        return;
    }
    if (len >= 1 && len <= FE_STATUS_MAX_LIST_COPY) {
        memcpy(dst, src, static_cast<size_t>(len) * sizeof(*dst));
    }
}

int JNativeInnerFrontend::getFrontendStatus(FE_STATUS_TYPE_E* pi4_type, uint8_t ui1_len,
                                            FE_STATUS_T* pt_festatus) {
    LOG_DEBUG("start getFrontendStatus, type len: %d", ui1_len);
    if (ui1_len == 0 || ui1_len > FE_STATUS_MAX_TYPES) {
        LOG_ERROR("getFrontendStatus, ui1_len: %d, error.", ui1_len);
        return -1;
    }
    if (pi4_type == nullptr || pt_festatus == nullptr) {
        LOG_ERROR("getFrontendStatus, pi4_type == NULL || pt_festatus == NULL.");
        return -1;
    }
    return withJava(-1, [&](JNIEnv* env) {
        ScopedLocalRef<jintArray> request(env, env->NewIntArray(ui1_len));
        if (request.get() == nullptr) {
            clearException(env);
            // Fixed from outside: DEBUG, although the call fails.
            LOG_DEBUG("getFrontendStatus JNI NewIntArray fail, return null\r\n");
            return -1;
        }
        jint types[FE_STATUS_MAX_TYPES];
        for (int i = 0; i < ui1_len; ++i) {
            types[i] = requestedType(pi4_type, i);
            LOG_DEBUG("getFrontendStatus, get type is %d", types[i]);
        }
        // This throws only when the region does not fit into the array, and it is the whole array.
        env->SetIntArrayRegion(request.get(), 0, ui1_len, types);
        const auto status = callForObject(env, ::gFields.onGetFrontendStatusId, request.get());
        if (status.get() == nullptr) {
            LOG_ERROR("getFrontendStatus, get frontend info is null.");
            return -1;
        }
        // Fixed from outside: each kind is read from the request and logged a second time.
        for (int i = 0; i < ui1_len; ++i) {
            const int32_t type = requestedType(pi4_type, i);
            LOG_DEBUG("getFrontendStatus, get type is %d", type);
            readStatus(env, status.get(), type, pt_festatus);
        }
        return 0;
    });
}

}  // namespace android
