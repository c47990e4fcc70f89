#include <utils/RefBase.h>

#include <cstring>
#include <mutex>

#include "bench/floor.h"
#include "bench/floor_java.h"
#include "mw/basic_services.h"

namespace floors {

namespace {

class Peer : public android::RefBase {
  public:
    explicit Peer(jobject object) : mObject(object) {}
    jobject object() const { return mObject; }

  protected:
    ~Peer() override {
        const Env env;
        callInt(env.get(), mObject, gIds.closeFrontend);
        threw(env.get());
        env->DeleteGlobalRef(mObject);
    }

  private:
    jobject mObject;
};

// The registry: any lookup by handle under a lock. Handles ascend, so that the low bits are enough.
constexpr unsigned int kSlots = 4096;
std::mutex gLock;
android::sp<Peer> gPeers[kSlots];

android::sp<Peer> peerOf(unsigned int h_pipeline) {
    const std::lock_guard<std::mutex> lock(gLock);
    return gPeers[h_pipeline % kSlots];
}

// A call of a method with an int result, after and before that many log lines.
template <int before, int after, typename... Args>
inline int call(unsigned int h_pipeline, jmethodID id, int failure, Args... args) {
    const android::sp<Peer> peer = peerOf(h_pipeline);
    for (int i = 0; i < before; ++i) gate();
    int result;
    {
        const Env env;
        result = callInt(env.get(), peer->object(), id, args...);
        if (threw(env.get())) {
            result = failure;
        }
        for (int i = 0; i < after; ++i) gate();
    }
    return result;
}

// The settings object of each system, with its log lines.

struct Atsc {
    static jobject make(JNIEnv* env, jobject, const MW_FESETTING_T& s) {
        gate();
        return newObject(env, gIds.atsc, gIds.newAtsc, s.mFrequency, s.u.t_atsc.mModulation);
    }
};

struct Dvbc {
    static jobject make(JNIEnv* env, jobject, const MW_FESETTING_T& s) {
        const MW_FE_DVBC_SETTING_T& c = s.u.t_dvbc;
        gate();
        return newObject(env, gIds.dvbc, gIds.newDvbc, s.mFrequency, c.mModulation, jlong{c.mFec},
                         c.mSymbolRate, c.mOuterFec, c.mAnnex, c.mSpectralInversion,
                         c.mInterleaveMode, c.mBandwidth);
    }
};

struct Dvbs {
    static jobject make(JNIEnv* env, jobject, const MW_FESETTING_T& s) {
        const MW_FE_DVBS_SETTING_T& d = s.u.t_dvbs;
        for (int i = 0; i < 5; ++i) gate();
        jobject rate =
            newObject(env, gIds.codeRate, gIds.newCodeRate, jlong{d.pt_code_rate->mInnerFec},
                      d.pt_code_rate->mIsLinear, d.pt_code_rate->mIsShortFrames,
                      d.pt_code_rate->mBitsPer1000Symbol);
        for (int i = 0; i < 4; ++i) gate();
        jobject object =
            newObject(env, gIds.dvbs, gIds.newDvbs, s.mFrequency * 1000000, d.mModulation, rate,
                      d.mSymbolRate * 1000, d.mRolloff, d.mPilot, d.mInputStreamId, d.mStandard,
                      d.mVcmMode, d.mScanType, d.mIsDiseqcRxMessage);
        gate();
        callVoid(env, object, gIds.setEndFrequency, s.mEndFrequency * 1000000);
        threw(env);
        env->DeleteLocalRef(rate);
        return object;
    }
};

struct Dvbt {
    static jobject make(JNIEnv* env, jobject, const MW_FESETTING_T& s) {
        const MW_FE_DVBT_SETTING_T& t = s.u.t_dvbt;
        gate();
        return newObject(env, gIds.dvbt, gIds.newDvbt, s.mFrequency, t.mTransmissionMode,
                         t.mBandwidth, t.mConstellation, t.mHierarchy, t.mHpCodeRate, t.mLpCodeRate,
                         t.mGuardInterval, t.mIsHighPriority, t.mStandard, t.mIsMiso, t.mPlpMode,
                         t.mPlpId, t.mPlpGroupId);
    }
};

struct Isdbs {
    static jobject make(JNIEnv* env, jobject, const MW_FESETTING_T& s) {
        const MW_FE_ISDBS_SETTING_T& i = s.u.t_isdbs;
        gate();
        return newObject(env, gIds.isdbs, gIds.newIsdbs, s.mFrequency, i.mStreamId, i.mStreamIdType,
                         i.mModulation, i.mCodeRate, i.mSymbolRate, i.mRolloff);
    }
};

struct Isdbt {
    static jobject make(JNIEnv* env, jobject frontend, const MW_FESETTING_T& s) {
        const MW_FE_ISDBT_SETTING_T& i = s.u.t_isdbt;
        gate();
        const jint area = callInt(env, frontend, gIds.areaCode);
        threw(env);
        gate();
        return newObject(env, gIds.isdbt, gIds.newIsdbt, s.mFrequency, i.mModulation, i.mBandwidth,
                         i.mMode, i.mCodeRate, i.mGuardInterval, area);
    }
};

struct Dtmb {
    static jobject make(JNIEnv* env, jobject, const MW_FESETTING_T& s) {
        const MW_FE_DTMB_SETTING_T& d = s.u.t_dtmb;
        gate();
        return newObject(env, gIds.dtmb, gIds.newDtmb, s.mFrequency, d.mModulation, d.mCodeRate,
                         d.mTransmissionMode, d.mGuardInterval, d.mTimeInterleaveMode,
                         d.mBandwidth);
    }
};

template <typename System, typename... Args>
inline int withSettings(unsigned int h_pipeline, const MW_FESETTING_T& request, jmethodID id,
                        Args... args) {
    const android::sp<Peer> peer = peerOf(h_pipeline);
    gate();
    const Env env;
    jobject settings = System::make(env.get(), peer->object(), request);
    int result = callInt(env.get(), peer->object(), id, settings, args...);
    if (threw(env.get())) {
        result = -1;
    }
    env->DeleteLocalRef(settings);
    return result;
}

template <typename System>
int tuneTo(unsigned int h_pipeline, MW_FESETTING_T* settings) {
    return withSettings<System>(h_pipeline, *settings, gIds.tune);
}
template <typename System>
int scanFrom(unsigned int h_pipeline, MW_FESETTING_T* settings) {
    return withSettings<System>(h_pipeline, *settings, gIds.scan, jint{1});
}

// A list kind: the Java array's values, up to the record's room, and its length.
void readList(JNIEnv* env, jobject status, jmethodID getter, int32_t* values, int32_t* length) {
    jintArray list = static_cast<jintArray>(callObject(env, status, getter));
    threw(env);
    jint* elements = env->GetIntArrayElements(list, nullptr);
    *length = env->GetArrayLength(list);
    if (*length <= FE_STATUS_MAX_LIST_COPY) {
        memcpy(values, elements, static_cast<size_t>(*length) * sizeof(*values));
    }
    gate();
    env->ReleaseIntArrayElements(list, elements, 0);
    env->DeleteLocalRef(list);
}

jint readBack(JNIEnv* env, jobject settings, jmethodID getter) {
    const jint result = callInt(env, settings, getter);
    threw(env);
    gate();
    return result;
}

}  // namespace

int requireTuner(unsigned int h_pipeline) {
    gate();
    gate();
    void* pipeline = nullptr;
    handle_get_obj(h_pipeline, &pipeline);
    jobject object;
    {
        const Env env;
        jobject handler = env->NewLocalRef(static_cast<jobject>(pipeline));
        if (env->IsSameObject(handler, nullptr)) {
            return -1;
        }
        jobject local = newObject(env.get(), gIds.frontend, gIds.newFrontend, handler);
        env->DeleteLocalRef(handler);
        object = env->NewGlobalRef(local);
        callVoid(env.get(), object, gIds.setNativeHandle, static_cast<jint>(h_pipeline));
        threw(env.get());
        callInt(env.get(), object, gIds.openFrontend);
        threw(env.get());
        gate();
        env->DeleteLocalRef(local);
    }
    const android::sp<Peer> peer(new Peer(object));
    const std::lock_guard<std::mutex> lock(gLock);
    gPeers[h_pipeline % kSlots] = peer;
    return 0;
}

int closeTuner(unsigned int h_pipeline) {
    gate();
    android::sp<Peer> peer;
    {
        const std::lock_guard<std::mutex> lock(gLock);
        std::swap(peer, gPeers[h_pipeline % kSlots]);
    }
    return 0;
}

WithSettings tune(MW_FE_TYPE_E system) {
    switch (system) {
        case MW_FE_TYPE_ATSC:
            return tuneTo<Atsc>;
        case MW_FE_TYPE_DVBC:
            return tuneTo<Dvbc>;
        case MW_FE_TYPE_DVBS:
            return tuneTo<Dvbs>;
        case MW_FE_TYPE_DVBT:
            return tuneTo<Dvbt>;
        case MW_FE_TYPE_ISDBS:
            return tuneTo<Isdbs>;
        case MW_FE_TYPE_ISDBT:
            return tuneTo<Isdbt>;
        default:
            return tuneTo<Dtmb>;
    }
}

WithSettings scan(MW_FE_TYPE_E system) {
    switch (system) {
        case MW_FE_TYPE_ATSC:
            return scanFrom<Atsc>;
        case MW_FE_TYPE_DVBC:
            return scanFrom<Dvbc>;
        case MW_FE_TYPE_DVBS:
            return scanFrom<Dvbs>;
        case MW_FE_TYPE_DVBT:
            return scanFrom<Dvbt>;
        case MW_FE_TYPE_ISDBS:
            return scanFrom<Isdbs>;
        case MW_FE_TYPE_ISDBT:
            return scanFrom<Isdbt>;
        default:
            return scanFrom<Dtmb>;
    }
}

int cancelTuning(unsigned int h_pipeline) {
    return call<1, 0>(h_pipeline, gIds.cancelTuning, -1);
}
int cancelTuningUnguarded(unsigned int h_pipeline) {
    const Env env;
    gate();
    return callInt(env.get(), gPeers[h_pipeline % kSlots]->object(), gIds.cancelTuning);
}
int cancelScanning(unsigned int h_pipeline) {
    return call<1, 1>(h_pipeline, gIds.cancelScanning, -1);
}
int setLnaEnabled(unsigned int h_pipeline, int32_t enable) {
    return call<1, 1>(h_pipeline, gIds.setLna, -1, static_cast<jboolean>(enable != 0));
}

int getStatus(unsigned int h_pipeline, const FE_STATUS_TYPE_E* types, uint8_t count,
              FE_STATUS_T* status) {
    const android::sp<Peer> peer = peerOf(h_pipeline);
    gate();
    const Env env;
    jintArray request = env->NewIntArray(count);
    for (int i = 0; i < count; ++i) gate();
    env->SetIntArrayRegion(request, 0, count, reinterpret_cast<const jint*>(types));
    jobject object = callObject(env.get(), peer->object(), gIds.status, jobject{request});
    if (threw(env.get()) || object == nullptr) {
        return -1;
    }
    static constexpr jvalue kNone[1] = {};
    for (int i = 0; i < count; ++i) {
        gate();
        switch (types[i]) {
#define KIND(type, getter, signature, call, field)                           \
    case FE_STATUS_TYPE_##type:                                              \
        status->field = env->call(object, gIds.getters[kGet_##type], kNone); \
        gate();                                                              \
        threw(env.get());                                                    \
        break;
#define LIST(type, getter, field)                                             \
    case FE_STATUS_TYPE_##type:                                               \
        readList(env.get(), object, gIds.getters[kGet_##type], status->field, \
                 &status->field##Len);                                        \
        break;
            FLOOR_STATUS(KIND, LIST)
#undef KIND
#undef LIST
        }
    }
    env->DeleteLocalRef(object);
    env->DeleteLocalRef(request);
    return 0;
}

int getSetting(unsigned int h_pipeline, MW_FESETTING_T* settings) {
    const android::sp<Peer> peer = peerOf(h_pipeline);
    const Env env;
    jobject object = callObject(env.get(), peer->object(), gIds.setting);
    if (threw(env.get()) || object == nullptr) {
        return -1;
    }
    settings->e_type = readBack(env.get(), object, gIds.getType);
    settings->mFrequency = readBack(env.get(), object, gIds.getFrequency);
    switch (settings->e_type) {
        case MW_FE_TYPE_DVBT:
            settings->u.t_dvbt.mStandard = readBack(env.get(), object, gIds.dvbtStandard);
            settings->u.t_dvbt.mBandwidth = readBack(env.get(), object, gIds.dvbtBandwidth);
            break;
        case MW_FE_TYPE_ISDBT:
            settings->u.t_isdbt.mBandwidth = readBack(env.get(), object, gIds.isdbtBandwidth);
            break;
        case MW_FE_TYPE_DTMB:
            settings->u.t_dtmb.mBandwidth = readBack(env.get(), object, gIds.dtmbBandwidth);
            break;
        default:
            break;
    }
    env->DeleteLocalRef(object);
    return 0;
}

int requireLnb(unsigned int h_pipeline) {
    return call<1, 1>(h_pipeline, gIds.openLnb, -1);
}
int setVoltage(unsigned int h_pipeline, int value) {
    return call<1, 0>(h_pipeline, gIds.setVoltage, -1, value);
}
int setTone(unsigned int h_pipeline, int value) {
    return call<1, 0>(h_pipeline, gIds.setTone, -1, value);
}
int setSatellitePosition(unsigned int h_pipeline, int value) {
    return call<1, 0>(h_pipeline, gIds.setPosition, -1, value);
}
int getVoltage(unsigned int h_pipeline) {
    return call<0, 2>(h_pipeline, gIds.getVoltage, 0);
}
int getTone(unsigned int h_pipeline) {
    return call<0, 2>(h_pipeline, gIds.getTone, 0);
}
int getSatellitePosition(unsigned int h_pipeline) {
    return call<0, 2>(h_pipeline, gIds.getPosition, 0);
}

int sendDiseqc(unsigned int h_pipeline, const unsigned char* message, int length) {
    const android::sp<Peer> peer = peerOf(h_pipeline);
    const Env env;
    jbyteArray bytes = env->NewByteArray(length);
    if (bytes == nullptr) {
        return -1;
    }
    env->SetByteArrayRegion(bytes, 0, length, reinterpret_cast<const jbyte*>(message));
    int result = callInt(env.get(), peer->object(), gIds.sendDiseqc, jobject{bytes});
    if (threw(env.get())) {
        result = -1;
    }
    env->DeleteLocalRef(bytes);
    return result;
}

int closeLnb(unsigned int h_pipeline) {
    const android::sp<Peer> peer = peerOf(h_pipeline);
    const Env env;
    callVoid(env.get(), peer->object(), gIds.closeLnb);
    threw(env.get());
    return 0;
}

}  // namespace floors
