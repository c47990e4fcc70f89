// What the floor knows of Java, bound by its load, and the pieces that its functions share.

#ifndef BENCH_FLOOR_JAVA_H
#define BENCH_FLOOR_JAVA_H

#include <jni.h>

namespace floors {

struct Ids {
    jclass frontend, filter, thread;
    jmethodID newFrontend, setNativeHandle, openFrontend, closeFrontend, tune, cancelTuning, scan,
        cancelScanning, areaCode, setLna, status, setting, openLnb, setVoltage, setTone,
        setPosition, getVoltage, getTone, getPosition, sendDiseqc, closeLnb;
    jmethodID newFilter, setFilterHandle, openFilter, closeFilter, configure, start, read, flush,
        stop;
    jmethodID newThread, releaseThread;
    jclass settings, dtmb, dvbt, dvbc, dvbs, codeRate, isdbt, isdbs, atsc;
    jmethodID getType, getFrequency, setEndFrequency, newDtmb, dtmbBandwidth, newDvbt, dvbtStandard,
        dvbtBandwidth, newDvbc, dvbcBandwidth, newDvbs, newCodeRate, newIsdbt, isdbtBandwidth,
        newIsdbs, newAtsc;
    jclass statusClass;
    jmethodID getters[25];  // as kGetters
};
extern Ids gIds;
extern JavaVM* gVm;

// The natives of the floor, for load to register.
extern const JNINativeMethod kScanNatives[12];
extern const JNINativeMethod kLnbNatives[2];
extern const JNINativeMethod kFilterNatives[3];

// The kinds of status in the order of their getters: type, getter, signature, JNI call, field.
#define FLOOR_STATUS(KIND, LIST)                                                        \
    KIND(DEMOD_LOCK, "isDemodLocked", "()Z", CallBooleanMethodA, mIsDemodLocked)        \
    KIND(SNR, "getSnr", "()I", CallIntMethodA, mSnr)                                    \
    KIND(BER, "getBer", "()I", CallIntMethodA, mBer)                                    \
    KIND(PER, "getPer", "()I", CallIntMethodA, mPer)                                    \
    KIND(PER_BER, "getPerBer", "()I", CallIntMethodA, mPerBer)                          \
    KIND(SIGNAL_QUALITY, "getSignalQuality", "()I", CallIntMethodA, mSignalQuality)     \
    KIND(SIGNAL_STRENGTH, "getSignalStrength", "()I", CallIntMethodA, mSignalStrength)  \
    KIND(SYMBOL_RATE, "getSymbolRate", "()I", CallIntMethodA, mSymbolRate)              \
    KIND(INNER_FEC, "getInnerFec", "()J", CallLongMethodA, mInnerFec)                   \
    KIND(MODULATION, "getModulation", "()I", CallIntMethodA, mModulation)               \
    LIST(MODULATIONS_EXT, "getExtendedModulations", mModulationsExt)                    \
    KIND(SPECTRAL_INVERSION, "getSpectralInversion", "()I", CallIntMethodA, mInversion) \
    KIND(LNB_VOLTAGE, "getLnbVoltage", "()I", CallIntMethodA, mLnbVoltage)              \
    KIND(PLP_ID, "getPlpId", "()I", CallIntMethodA, mPlpId)                             \
    KIND(EWBS, "isEwbs", "()Z", CallBooleanMethodA, mIsEwbs)                            \
    KIND(AGC, "getAgc", "()I", CallIntMethodA, mAgc)                                    \
    KIND(LNA, "isLnaOn", "()Z", CallBooleanMethodA, mIsLnaOn)                           \
    KIND(MER, "getMer", "()I", CallIntMethodA, mMer)                                    \
    KIND(FREQ_OFFSET, "getFreqOffset", "()I", CallIntMethodA, mFreqOffset)              \
    KIND(HIERARCHY, "getHierarchy", "()I", CallIntMethodA, mHierarchy)                  \
    KIND(RF_LOCK, "isRfLocked", "()Z", CallBooleanMethodA, mIsRfLocked)                 \
    KIND(BANDWIDTH, "getBandwidth", "()I", CallIntMethodA, mBandWidth)                  \
    KIND(SYSTEM_ID, "getSystemId", "()I", CallIntMethodA, mSystemId)                    \
    KIND(ROLL_OFF, "getRollOff", "()I", CallIntMethodA, mRollOff)                       \
    LIST(CODE_RATES, "getCodeRates", mCodeRates)

enum Getter {
#define KIND(type, getter, signature, call, field) kGet_##type,
#define LIST(type, getter, field) kGet_##type,
    FLOOR_STATUS(KIND, LIST)
#undef KIND
#undef LIST
};

// The environment for the length of one operation.
class Env {
  public:
    Env() {
        void* env = nullptr;
        if (gVm->GetEnv(&env, JNI_VERSION_1_4) != JNI_OK) {
            gVm->AttachCurrentThread(&env, nullptr);
            mAttached = true;
        }
        mEnv = static_cast<JNIEnv*>(env);
    }
    ~Env() {
        if (mAttached) {
            gVm->DetachCurrentThread();
        }
    }
    Env(const Env&) = delete;
    Env& operator=(const Env&) = delete;
    JNIEnv* operator->() const { return mEnv; }
    JNIEnv* get() const { return mEnv; }
    bool attachedHere() const { return mAttached; }

  private:
    JNIEnv* mEnv;
    bool mAttached = false;
};

// True when a Java call threw; nothing is pending then.
inline bool threw(JNIEnv* env) {
    if (env->ExceptionCheck()) {
        env->ExceptionClear();
        return true;
    }
    return false;
}

inline jvalue value(jint i) {
    jvalue result;
    result.i = i;
    return result;
}
inline jvalue value(jlong j) {
    jvalue result;
    result.j = j;
    return result;
}
inline jvalue value(jboolean z) {
    jvalue result;
    result.z = z;
    return result;
}
inline jvalue value(jobject l) {
    jvalue result;
    result.l = l;
    return result;
}

template <typename... Args>
jint callInt(JNIEnv* env, jobject object, jmethodID id, Args... args) {
    const jvalue values[] = {value(args)..., jvalue{}};
    return env->CallIntMethodA(object, id, values);
}
template <typename... Args>
void callVoid(JNIEnv* env, jobject object, jmethodID id, Args... args) {
    const jvalue values[] = {value(args)..., jvalue{}};
    env->CallVoidMethodA(object, id, values);
}
template <typename... Args>
jobject callObject(JNIEnv* env, jobject object, jmethodID id, Args... args) {
    const jvalue values[] = {value(args)..., jvalue{}};
    return env->CallObjectMethodA(object, id, values);
}
// A new object, or null, nothing pending.
template <typename... Args>
jobject newObject(JNIEnv* env, jclass clazz, jmethodID id, Args... args) {
    const jvalue values[] = {value(args)..., jvalue{}};
    jobject object = env->NewObjectA(clazz, id, values);
    return threw(env) ? nullptr : object;
}

}  // namespace floors

#endif  // BENCH_FLOOR_JAVA_H
