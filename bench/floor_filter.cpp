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
    Peer(const FLT_EVT_CB_T& event, void* tag) : mEvent(event), mTag(tag) { gate(); }

    FLT_EVT_CB_T mEvent;
    void* mTag;
    uint32_t mHandle = 0;
    jobject mObject = nullptr;
    jbyteArray mSection = nullptr;

  protected:
    ~Peer() override {
        gate();
        const Env env;
        env->DeleteGlobalRef(mObject);
        env->DeleteGlobalRef(mSection);
    }
};

class Thread : public android::RefBase {
  public:
    explicit Thread(jobject object) : mObject(object) {}

  protected:
    ~Thread() override {
        const Env env;
        if (!env.attachedHere()) {
            gate();
        }
        callVoid(env.get(), mObject, gIds.releaseThread);
        threw(env.get());
        env->DeleteGlobalRef(mObject);
    }

  private:
    jobject mObject;
};

struct Record {
    uint32_t semaphore;
    int64_t instance;
};

std::mutex gLock;

Record* recordOf(uint32_t handle) {
    uint16_t type = 0;
    void* object = nullptr;
    handle_get_type_obj(handle, &type, &object);
    return static_cast<Record*>(object);
}

// A filter held for one operation: found, locked, found again, its peer kept alive.
class Held {
  public:
    explicit Held(uint32_t handle) {
        {
            const std::lock_guard<std::mutex> lock(gLock);
            mSemaphore = recordOf(handle)->semaphore;
            x_sema_lock(mSemaphore, X_SEMA_OPTION_WAIT);
        }
        mPeer = android::sp<Peer>(
            reinterpret_cast<Peer*>(static_cast<uintptr_t>(recordOf(handle)->instance)));
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    void release() const { x_sema_unlock(mSemaphore); }
    Peer* operator->() const { return mPeer.get(); }

  private:
    android::sp<Peer> mPeer;
    uint32_t mSemaphore;
};

inline int call(uint32_t handle, jmethodID id) {
    const Held filter(handle);
    int result;
    {
        const Env env;
        result = callInt(env.get(), filter->mObject, id);
    }
    gate();
    filter.release();
    gate();
    return result;
}

jbyteArray newPattern(JNIEnv* env, const uint8_t* pattern) {
    jbyteArray array = env->NewByteArray(FLT_PATTERN_SIZE);
    if (array != nullptr) {
        env->SetByteArrayRegion(array, 0, FLT_PATTERN_SIZE,
                                reinterpret_cast<const jbyte*>(pattern));
    }
    return array;
}

uint8_t filterFreed(uint32_t, uint16_t, void*, void*, uint8_t) {
    gate();
    return 1;
}

}  // namespace

int openFilter(unsigned int h_pipeline, int mainType, int subType, int64_t size,
               uint32_t* ph_filter, const FLT_EVT_CB_T* event, void* tag) {
    uint32_t semaphore = 0;
    x_sema_create(&semaphore, X_SEMA_TYPE_BINARY_HELD, 0);
    gate();
    Record* record = static_cast<Record*>(x_mem_alloc(sizeof(Record)));
    const android::sp<Peer> peer(new Peer(*event, tag));
    *record = {semaphore, static_cast<int64_t>(reinterpret_cast<uintptr_t>(peer.get()))};
    uint16_t type = 0;
    void* object = nullptr;
    handle_alloc(HT_INNER_FILTER, record, nullptr, filterFreed, &peer->mHandle);
    handle_get_type_obj(peer->mHandle, &type, &object);
    handle_get_type_obj(h_pipeline, &type, &object);
    void* thread = nullptr;
    handle_get_type_obj(event->h_cb_thread, &type, &thread);
    gate();
    int result;
    {
        const Env env;
        jbyteArray section = env->NewByteArray(FLT_MAX_READ_SIZE);
        peer->mSection = static_cast<jbyteArray>(env->NewGlobalRef(section));
        env->DeleteLocalRef(section);
        jobject filter =
            newObject(env.get(), gIds.filter, gIds.newFilter, static_cast<jobject>(object));
        peer->mObject = env->NewGlobalRef(filter);
        env->DeleteLocalRef(filter);
        callVoid(env.get(), peer->mObject, gIds.setFilterHandle, static_cast<jint>(peer->mHandle));
        result = callInt(env.get(), peer->mObject, gIds.openFilter, mainType, subType, jlong{size},
                         jobject{nullptr});
    }
    gate();
    peer->incStrong(peer.get());
    gate();
    *ph_filter = peer->mHandle;
    x_sema_unlock(semaphore);
    gate();
    gate();
    return result;
}

int closeFilter(uint32_t hfilter) {
    Record* record;
    uint32_t semaphore;
    {
        const std::lock_guard<std::mutex> lock(gLock);
        record = recordOf(hfilter);
        semaphore = record->semaphore;
        x_sema_lock(semaphore, X_SEMA_OPTION_WAIT);
        handle_free(hfilter, 1);
    }
    const android::sp<Peer> peer(reinterpret_cast<Peer*>(static_cast<uintptr_t>(record->instance)));
    {
        const Env env;
        callInt(env.get(), peer->mObject, gIds.closeFilter);
    }
    gate();
    peer->decStrong(peer.get());
    gate();
    x_mem_free(record);
    x_sema_unlock(semaphore);
    x_sema_delete(semaphore);
    gate();
    return 0;
}

int startFilter(uint32_t hfilter) {
    return call(hfilter, gIds.start);
}
int stopFilter(uint32_t hfilter) {
    return call(hfilter, gIds.stop);
}
int flushFilter(uint32_t hfilter) {
    return call(hfilter, gIds.flush);
}

int readFilter(uint32_t hfilter, int8_t* buffer, int64_t position, int64_t size) {
    const Held filter(hfilter);
    int result;
    {
        const Env env;
        result = callInt(env.get(), filter->mObject, gIds.read, jobject{filter->mSection},
                         jlong{position}, jlong{size});
        if (result >= 1 && result <= FLT_MAX_READ_SIZE && result <= size) {
            jbyte* elements = env->GetByteArrayElements(filter->mSection, nullptr);
            memcpy(buffer, elements, static_cast<size_t>(result));
            env->ReleaseByteArrayElements(filter->mSection, elements, 0);
        }
    }
    filter.release();
    gate();
    return result;
}

int configureFilter(uint32_t hfilter, int value, uint8_t flag1, uint8_t flag2, uint8_t flag3,
                    const uint8_t* pattern1, const uint8_t* pattern2, const uint8_t* pattern3) {
    const Held filter(hfilter);
    int result;
    {
        const Env env;
        jbyteArray array1 = newPattern(env.get(), pattern1);
        jbyteArray array2 = newPattern(env.get(), pattern2);
        jbyteArray array3 = newPattern(env.get(), pattern3);
        result = callInt(env.get(), filter->mObject, gIds.configure, value, flag1, flag2, flag3,
                         jobject{array1}, jobject{array2}, jobject{array3});
        env->DeleteLocalRef(array1);
        env->DeleteLocalRef(array2);
        env->DeleteLocalRef(array3);
    }
    gate();
    filter.release();
    gate();
    return result;
}

int createCallbackThread(uint32_t* ph_thread) {
    jobject object;
    {
        const Env env;
        if (!env.attachedHere()) {
            gate();
        }
        jobject local = newObject(env.get(), gIds.thread, gIds.newThread);
        object = env->NewGlobalRef(local);
        env->DeleteLocalRef(local);
    }
    const android::sp<Thread> thread(new Thread(object));
    thread->incStrong(thread.get());
    return handle_alloc(HT_FILTER_CALLBACK_THREAD, thread.get(), nullptr, filterFreed, ph_thread);
}

int deleteCallbackThread(uint32_t hthread) {
    static std::mutex deletion;
    android::sp<Thread> thread;
    const std::lock_guard<std::mutex> lock(deletion);
    uint16_t type = 0;
    void* object = nullptr;
    handle_get_type_obj(hthread, &type, &object);
    thread = android::sp<Thread>(static_cast<Thread*>(object));
    thread->decStrong(thread.get());
    handle_free(hthread, 1);
    return 0;
}

namespace {

flt_section_nfy_fct gSection;
flt_status_nfy_fct gStatus;

// What an event needs of its filter, which is let go before the middleware is called.
void sectionEvent(uint32_t handle, FLT_EVT_DATA_T data) {
    const Held filter(handle);
    filter.release();
    gSection(filter->mHandle, &filter->mEvent, &data, filter->mTag);
}

void onSection(JNIEnv*, jobject, jint handle, jint arg0, jint arg1, jint arg2, jint arg3) {
    sectionEvent(static_cast<uint32_t>(handle), {{arg0, arg1, arg2, arg3}, FLT_EVT_KIND_SECTION});
}

void onRestart(JNIEnv*, jobject, jint handle, jint arg) {
    sectionEvent(static_cast<uint32_t>(handle), {{arg, 0, 0, 0}, FLT_EVT_KIND_RESTART});
}

void onStatus(JNIEnv*, jobject, jint handle, jint status) {
    const Held filter(static_cast<uint32_t>(handle));
    filter.release();
    gStatus(filter->mHandle, &filter->mEvent, status, filter->mTag);
}

FE_SCAN_CB_T gScan;
fe_lnb_nfy_fct gLnb;
fe_lnb_diseqc_nfy_fct gDiseqc;

template <fe_scan_nfy_fct FE_SCAN_CB_T::*slot>
jint scanEvent(JNIEnv*, jobject, jint pipeline) {
    gate();
    gate();
    (gScan.*slot)(static_cast<unsigned int>(pipeline), gScan.pv_tag);
    return 0;
}

template <fe_scan_value_nfy_fct FE_SCAN_CB_T::*slot>
jint scanValueEvent(JNIEnv*, jobject, jint pipeline, jint value) {
    gate();
    gate();
    (gScan.*slot)(static_cast<unsigned int>(pipeline), value, gScan.pv_tag);
    return 0;
}

template <fe_scan_list_nfy_fct FE_SCAN_CB_T::*slot>
jint scanListEvent(JNIEnv* env, jobject, jint pipeline, jintArray values, jint length) {
    gate();
    if (values == nullptr || length <= 0) {
        return -1;
    }
    const jint real = env->GetArrayLength(values);
    jint* elements = env->GetIntArrayElements(values, nullptr);
    gate();
    (gScan.*slot)(static_cast<unsigned int>(pipeline), elements, length < real ? length : real,
                  gScan.pv_tag);
    env->ReleaseIntArrayElements(values, elements, JNI_ABORT);
    return 0;
}

jint onSignalType(JNIEnv*, jobject, jint, jint) {
    gate();
    return 0;
}

jint onLnbEvent(JNIEnv*, jobject, jint pipeline, jint type) {
    gate();
    gate();
    gLnb(static_cast<unsigned int>(pipeline), type);
    return 0;
}

jint onDiseqc(JNIEnv* env, jobject, jint pipeline, jbyteArray message, jint length) {
    gate();
    if (message == nullptr || length < 0) {
        return -1;
    }
    const jint real = env->GetArrayLength(message);
    jbyte* bytes = env->GetByteArrayElements(message, nullptr);
    gate();
    gDiseqc(static_cast<unsigned int>(pipeline), bytes, length < real ? length : real);
    env->ReleaseByteArrayElements(message, bytes, JNI_ABORT);
    return 0;
}

}  // namespace

void registerCallbacks(const FE_SCAN_CB_T& scan, fe_lnb_nfy_fct lnb, fe_lnb_diseqc_nfy_fct diseqc,
                       flt_section_nfy_fct section, flt_status_nfy_fct status) {
    gScan = scan;
    gLnb = lnb;
    gDiseqc = diseqc;
    gSection = section;
    gStatus = status;
}

#define NATIVE(name, signature, ...) \
    { const_cast<char*>(name), const_cast<char*>(signature), reinterpret_cast<void*>(__VA_ARGS__) }
#define VALUE(name, slot) NATIVE(name, "(II)I", scanValueEvent<&FE_SCAN_CB_T::slot>)
#define LIST(name, slot) NATIVE(name, "(I[II)I", scanListEvent<&FE_SCAN_CB_T::slot>)

const JNINativeMethod kScanNatives[12] = {
    NATIVE("notifyScanOnLocked", "(I)I", scanEvent<&FE_SCAN_CB_T::pf_locked_nfy>),
    NATIVE("notifyScanOnScanStopped", "(I)I", scanEvent<&FE_SCAN_CB_T::pf_stopped_nfy>),
    VALUE("notifyScanOnProgress", pf_progress_nfy),
    LIST("notifyScanOnFrequenciesReport", pf_freq_report_nfy),
    LIST("notifyScanOnSymbolRates", pf_symbol_rate_nfy),
    LIST("notifyScanOnPlpIds", pf_plp_id_nfy),
    LIST("notifyScanOnGroupIds", pf_group_id_nfy),
    LIST("notifyScanOnInputStreamIds", pf_stream_id_nfy),
    VALUE("notifyScanOnDvbsStandard", pf_dvbs_standard_nfy),
    VALUE("notifyScanOnDvbtStandard", pf_dvbt_standard_nfy),
    VALUE("notifyScanOnHierarchy", pf_hierarchy_nfy),
    NATIVE("notifyScanOnSignalType", "(II)I", onSignalType),
};
const JNINativeMethod kLnbNatives[2] = {
    NATIVE("notifyLnbEvent", "(II)I", onLnbEvent),
    NATIVE("onDiseqcMessage", "(I[BI)I", onDiseqc),
};
const JNINativeMethod kFilterNatives[3] = {
    NATIVE("nativeFilterSectionEvent", "(IIIII)V", onSection),
    NATIVE("nativeFilterRestartEvent", "(II)V", onRestart),
    NATIVE("nativeFilterStatusChanged", "(II)V", onStatus),
};

}  // namespace floors
