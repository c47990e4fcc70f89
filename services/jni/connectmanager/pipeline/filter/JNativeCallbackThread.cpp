#include "services/jni/connectmanager/pipeline/filter/JNativeCallbackThread.h"

#include <mutex>

#include "mw/basic_services.h"
#include "mw/filter.h"
#include "services/jni/connectmanager/pipeline/core/java_vm.h"
#include "services/jni/connectmanager/pipeline/filter/FilterEnv.h"
#include "services/jni/connectmanager/pipeline/filter/filter_java.h"
#include "services/jni/connectmanager/pipeline/filter/filter_log.h"

namespace android {

int JNativeCallbackThread::createThread() {
    if (javaVm() == nullptr) {
        FILTER_LOG("<%s:%4d> attach java env in callback failed.");
        return -1;
    }
    const FilterEnv scope(FilterEnv::kCallbackThread);
    if (!scope.attachedHere()) {
        FILTER_LOG("<%s:%4d> Attached already.");
    }
    JNIEnv* env = scope.env();
    const ScopedLocalRef<jobject> object = gCallbackThreadFields.constructorId.newObject(
        env, gCallbackThreadFields.callbackThreadClazz);
    if (object.get() != nullptr) {
        mObject = newGlobalRef(env, object.get());
    }
    if (mObject == nullptr) {
        FILTER_LOG("<%s:%4d>  constructor mObject failed.");
        return -1;
    }
    return 0;
}

JNativeCallbackThread::~JNativeCallbackThread() {
    if (javaVm() == nullptr) {
        FILTER_LOG("<%s:%4d> attach java env in callback failed.");
        return;
    }
    const FilterEnv scope(FilterEnv::kCallbackThread);
    if (!scope.attachedHere()) {
        FILTER_LOG("<%s:%4d> Attached already.");
    }
    if (mObject != nullptr) {
        JNIEnv* env = scope.env();
        gCallbackThreadFields.release.call(env, mObject);
        clearException(env);
        env->DeleteGlobalRef(mObject);
    }
}

}  // namespace android

using android::JNativeCallbackThread;
using android::sp;

namespace {

// A deletion holds it from the lookup of the handle until the handle is freed. Otherwise two
// threads that delete the same callback thread could both find it, and both drop the handle's one
// reference.
std::mutex& gDeletionMutex = *new std::mutex();

// It releases nothing: the code that frees a handle also releases what the handle referred to.
uint8_t _native_filter_callback_thread_handle_free(uint32_t, uint16_t e_type, void*, void*,
                                                   uint8_t) {
    if (e_type != HT_FILTER_CALLBACK_THREAD) {
        FILTER_LOG("<%s:%4d> handle free invalid type: %d", e_type);
        return 0;
    }
    FILTER_LOG("<%s:%4d> handle free type: %d", e_type);
    return 1;
}

// Null when the handle names no callback thread.
sp<JNativeCallbackThread> findCallbackThread(uint32_t hthread) {
    uint16_t type = 0;
    void* object = nullptr;
    if (handle_get_type_obj(hthread, &type, &object) != 0 || type != HT_FILTER_CALLBACK_THREAD) {
        object = nullptr;
    }
    return sp<JNativeCallbackThread>(static_cast<JNativeCallbackThread*>(object));
}

}  // namespace

int x_velmora_filter_create_callback_thread(uint32_t* ph_thread) {
    if (ph_thread == nullptr) {
        return -1;
    }
    const sp<JNativeCallbackThread> thread(new JNativeCallbackThread());
    const int created = thread->createThread();
    if (created != 0) {
        return created;
    }
    uint32_t hthread = 0;
    thread->incStrong(thread.get());
    const int32_t i4_rc = handle_alloc(HT_FILTER_CALLBACK_THREAD, thread.get(), nullptr,
                                       _native_filter_callback_thread_handle_free, &hthread);
    if (i4_rc != 0) {
        FILTER_LOG("<%s:%4d>  handle alloc fail: %d\n", i4_rc);
        thread->decStrong(thread.get());
    }
    *ph_thread = hthread;
    return i4_rc == 0 ? 0 : -1;
}

int x_velmora_filter_delete_callback_thread(uint32_t hthread) {
    sp<JNativeCallbackThread> thread;  // destroyed after the mutex is released, as that calls Java
    const std::lock_guard<std::mutex> lock(gDeletionMutex);
    thread = findCallbackThread(hthread);
    if (thread.get() == nullptr) {
        FILTER_LOG("<%s:%4d>  handle: 0x%x, is free.\n", hthread);
        return -1;
    }
    // Fixed from outside: the handle's reference is dropped before the handle is freed.
    thread->decStrong(thread.get());
    handle_free(hthread, 1);
    return 0;
}

jobject callbackThreadObject(uint32_t hthread) {
    const sp<JNativeCallbackThread> thread = findCallbackThread(hthread);
    return thread.get() != nullptr ? thread->object() : nullptr;
}
