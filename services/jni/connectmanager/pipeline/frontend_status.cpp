// The status query: the kinds that the middleware asks for, read one by one from the platform's
// status object.

#include <nativehelper/ScopedLocalRef.h>

#include <cstring>

#include "log/halvorin_log.h"
#include "services/jni/connectmanager/pipeline/JNativeInnerFrontend.h"
#include "services/jni/connectmanager/pipeline/frontend_java.h"

#define LOG_TAG "ZYT_MW"

namespace {

using android::JavaMethod;

// Every status kind, in the order in which the getters are bound: FE_STATUS_TYPE_ name, member of
// gFrontendFields, getter, its signature and result, field of FE_STATUS_T, and what the log line
// calls it. The count of a list is the field with Len behind its name.
#define STATUS_KINDS(KIND, LIST)                                                                  \
    KIND(DEMOD_LOCK, isDemodLockedID, "isDemodLocked", "()Z", jboolean, mIsDemodLocked,           \
         "CallBooleanMethod mIsDemodLocked")                                                      \
    KIND(SNR, getSnrID, "getSnr", "()I", jint, mSnr, "mSnr")                                      \
    KIND(BER, getBerID, "getBer", "()I", jint, mBer, "mBer")                                      \
    KIND(PER, getPerID, "getPer", "()I", jint, mPer, "mPer")                                      \
    KIND(PER_BER, getPerBerID, "getPerBer", "()I", jint, mPerBer, "mPerBer")                      \
    KIND(SIGNAL_QUALITY, getSignalQualityID, "getSignalQuality", "()I", jint, mSignalQuality,     \
         "mSignalQuality")                                                                        \
    KIND(SIGNAL_STRENGTH, getSignalStrengthID, "getSignalStrength", "()I", jint, mSignalStrength, \
         "mSignalStrength")                                                                       \
    KIND(SYMBOL_RATE, getSymbolRateID, "getSymbolRate", "()I", jint, mSymbolRate, "mSymbolRate")  \
    KIND(INNER_FEC, getInnerFecID, "getInnerFec", "()J", jlong, mInnerFec, "mInnerFec")           \
    KIND(MODULATION, getModulationID, "getModulation", "()I", jint, mModulation, "mModulation")   \
    LIST(MODULATIONS_EXT, getModulationsExtID, "getExtendedModulations", mModulationsExt)         \
    KIND(SPECTRAL_INVERSION, getSpectralInversionID, "getSpectralInversion", "()I", jint,         \
         mInversion, "mInversion")                                                                \
    KIND(LNB_VOLTAGE, getLnbVoltageID, "getLnbVoltage", "()I", jint, mLnbVoltage, "mLnbVoltage")  \
    KIND(PLP_ID, getPlpIdID, "getPlpId", "()I", jint, mPlpId, "mPlpId")                           \
    KIND(EWBS, isEwbsID, "isEwbs", "()Z", jboolean, mIsEwbs, "mIsEwbs")                           \
    KIND(AGC, getAgcID, "getAgc", "()I", jint, mAgc, "mAgc")                                      \
    KIND(LNA, isLnaOnID, "isLnaOn", "()Z", jboolean, mIsLnaOn, "mIsLnaOn")                        \
    KIND(MER, getMerID, "getMer", "()I", jint, mMer, "mMer")                                      \
    KIND(FREQ_OFFSET, getFreqOffsetID, "getFreqOffset", "()I", jint, mFreqOffset, "mFreqOffset")  \
    KIND(HIERARCHY, getHierarchyID, "getHierarchy", "()I", jint, mHierarchy, "mHierarchy")        \
    KIND(RF_LOCK, isRfLockedID, "isRfLocked", "()Z", jboolean, mIsRfLocked, "mIsRfLocked")        \
    KIND(BANDWIDTH, getBandwidthID, "getBandwidth", "()I", jint, mBandWidth, "mBandWidth")        \
    KIND(SYSTEM_ID, getSystemIdID, "getSystemId", "()I", jint, mSystemId, "mSystemId")            \
    KIND(ROLL_OFF, getRollOffID, "getRollOff", "()I", jint, mRollOff, "mRollOff")                 \
    LIST(CODE_RATES, getCodeRatesID, "getCodeRates", mCodeRates)

struct FrontendStatusFields {
    jclass frontendStatusClass;
#define KIND(type, member, getter, signature, result, field, name) JavaMethod<result()> member;
#define LIST(type, member, getter, field) JavaMethod<jintArray()> member;
    STATUS_KINDS(KIND, LIST)
#undef KIND
#undef LIST
};
FrontendStatusFields gFrontendFields;

constexpr android::JavaMethodRow kGetters[] = {
#define KIND(type, member, getter, signature, result, field, name) \
    JAVA_METHOD_ROW(gFrontendFields, member, getter, signature),
#define LIST(type, member, getter, field) JAVA_METHOD_ROW(gFrontendFields, member, getter, "()[I"),
    STATUS_KINDS(KIND, LIST)
#undef KIND
#undef LIST
};

// A request may hold any 32-bit value, also one that the enumeration cannot.
int32_t requestedType(const FE_STATUS_TYPE_E* pi4_type, int index) {
    static_assert(sizeof(FE_STATUS_TYPE_E) == sizeof(int32_t));
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

// Each reads one kind from the status object into its field. The getter's exception is left
// pending.

void readKind(JNIEnv* env, jobject status, const JavaMethod<jboolean()>& getter, const char* name,
              uint8_t* field) {
    *field = getter.call(env, status) != JNI_FALSE ? 1 : 0;
    LOG_DEBUG("getFrontendStatus, %s: %d.", name, *field);
}

void readKind(JNIEnv* env, jobject status, const JavaMethod<jint()>& getter, const char* name,
              int32_t* field) {
    *field = getter.call(env, status);
    LOG_DEBUG("getFrontendStatus, %s: %d.", name, *field);
}

void readKind(JNIEnv* env, jobject status, const JavaMethod<jlong()>& getter, const char* name,
              int64_t* field) {
    *field = getter.call(env, status);
    LOG_DEBUG("getFrontendStatus, %s: %lld.", name, static_cast<long long>(*field));
}

// As readKind, but no exception is left: the list's reference is deleted here.
void readList(JNIEnv* env, jobject status, const JavaMethod<jintArray()>& getter, int32_t type,
              const char* name, int32_t* values, int32_t* length) {
    ScopedLocalRef<jintArray> list(env, getter.call(env, status));
    if (list.get() == nullptr) {
        LOG_ERROR("getFrontendStatus, %s is null", name);
    }
    catchException(env, type);
    if (list.get() == nullptr) {
        return;
    }
    jint* elements = env->GetIntArrayElements(list.get(), nullptr);
    if (elements == nullptr) {
        LOG_ERROR("getFrontendStatus, int_ptr is null, return");
        catchException(env, type);
        return;
    }
    *length = env->GetArrayLength(list.get());
    android::JNativeInnerFrontend::StatusArrayContentExtract(elements, values, *length);
    LOG_DEBUG("getFrontendStatus, %s: %d, length:%d", name, values[0], *length);
    env->ReleaseIntArrayElements(list.get(), elements, 0);
}

void readStatus(JNIEnv* env, jobject status, int32_t type, FE_STATUS_T* pt_festatus) {
    switch (type) {
#define KIND(type_, member, getter, signature, result, field, name)               \
    case FE_STATUS_TYPE_##type_:                                                  \
        readKind(env, status, gFrontendFields.member, name, &pt_festatus->field); \
        break;
#define LIST(type_, member, getter, field)                                              \
    case FE_STATUS_TYPE_##type_:                                                        \
        readList(env, status, gFrontendFields.member, type, #field, pt_festatus->field, \
                 &pt_festatus->field##Len);                                             \
        break;
        STATUS_KINDS(KIND, LIST)
#undef KIND
#undef LIST
        default:
            LOG_DEBUG("getFrontendStatus, unsupport type: %d.", type);
            break;
    }
    catchException(env, type);
}

}  // namespace

void bindFrontendStatusClass(JNIEnv* env) {
    android::bindJavaClass(env, "android/media/tv/tuner/frontend/FrontendStatus",
                           &gFrontendFields.frontendStatusClass, kGetters, kFrontendSite, __LINE__);
}

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
            LOG_DEBUG("getFrontendStatus JNI NewIntArray fail, return null\r\n");
            return -1;
        }
        jint types[FE_STATUS_MAX_TYPES];
        for (int i = 0; i < ui1_len; ++i) {
            types[i] = requestedType(pi4_type, i);
            LOG_DEBUG("getFrontendStatus, get type is %d", types[i]);
        }
        // Throws only when the region does not fit, and it is the whole array.
        env->SetIntArrayRegion(request.get(), 0, ui1_len, types);
        ScopedLocalRef<jobject> status(
            env, callForObject(env, gFields.onGetFrontendStatusId, request.get()));
        if (status.get() == nullptr) {
            LOG_ERROR("getFrontendStatus, get frontend info is null.");
            return -1;
        }
        for (int i = 0; i < ui1_len; ++i) {
            const int32_t type = requestedType(pi4_type, i);
            LOG_DEBUG("getFrontendStatus, get type is %d", type);
            readStatus(env, status.get(), type, pt_festatus);
        }
        return 0;
    });
}

}  // namespace android
