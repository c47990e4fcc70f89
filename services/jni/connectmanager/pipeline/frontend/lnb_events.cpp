#include <atomic>
#include <iterator>

#include "mw/frontend.h"
#include "services/jni/connectmanager/pipeline/core/java_method.h"
#include "services/jni/connectmanager/pipeline/frontend/array_elements.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_events.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_registry.h"

namespace {

std::atomic<fe_lnb_nfy_fct> gLnbNotifyFct;
std::atomic<fe_lnb_diseqc_nfy_fct> gLnbOnDiseqcMessageFct;

jint com_halvorin_tv_velmora_lnb_event_notify(JNIEnv*, jobject, jint pipeline, jint type) {
    LOG_INFO("%s, pipeline: 0x%x, type: %d", __func__, pipeline, type);
    const fe_lnb_nfy_fct callback = gLnbNotifyFct;
    if (callback == nullptr) {
        LOG_ERROR("%s, lnb notify is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, pipeline: 0x%x", __func__, reinterpret_cast<void*>(callback),
             pipeline);
    callback(static_cast<unsigned int>(pipeline), type);
    return 0;
}

jint com_halvorin_tv_velmora_lnb_onDiseqcMessage(JNIEnv* env, jobject, jint pipeline,
                                                 jbyteArray message, jint length) {
    LOG_INFO("%s, pipeline: 0x%x, msgLength: %d", __func__, pipeline, length);
    const fe_lnb_diseqc_nfy_fct callback = gLnbOnDiseqcMessageFct;
    if (callback == nullptr) {
        LOG_ERROR("%s, gLnbOnDiseqcMessageFct is null.", __func__);
        return -1;
    }
    if (message == nullptr || length < 0) {
        LOG_ERROR("%s, message Array is null.", __func__);
        return -1;
    }
    LOG_INFO("%s, callback: %p, handle: 0x%x", __func__, reinterpret_cast<void*>(callback),
             pipeline);
    const ArrayElements<jbyteArray, jbyte> bytes(env, message, length, 0);
    if (bytes.get() == nullptr) {
        LOG_ERROR("%s, message Array is null.", __func__);
        return -1;
    }
    callback(static_cast<unsigned int>(pipeline), bytes.get(), bytes.count());
    return 0;
}

const JNINativeMethod kLnbNatives[] = {
    NATIVE_METHOD("notifyLnbEvent", "(II)I", com_halvorin_tv_velmora_lnb_event_notify),
    NATIVE_METHOD("onDiseqcMessage", "(I[BI)I", com_halvorin_tv_velmora_lnb_onDiseqcMessage),
};

}  // namespace

int registerLnbNatives(JNIEnv* env) {
    return registerNativeMethods(
        env, "com/halvorin/tv/velmora/services/selector/connectmanager/ZytTvInnerLnbCallback",
        kLnbNatives, std::size(kLnbNatives));
}

int x_native_frontend_register_lnb_callback(unsigned int h_pipeline, fe_lnb_nfy_fct pf_nfy) {
    if (findFrontend(h_pipeline).get() == nullptr) {
        return -1;
    }
    LOG_INFO("x_native_frontend_register_lnb_callback, callback: %p",
             reinterpret_cast<void*>(pf_nfy));
    gLnbNotifyFct = pf_nfy;
    return 0;
}

int x_native_frontend_register_lnb_DiseqcMessage_callback(unsigned int h_pipeline,
                                                          fe_lnb_diseqc_nfy_fct pf_nfy) {
    if (findFrontend(h_pipeline).get() == nullptr) {
        return -1;
    }
    LOG_INFO("x_native_frontend_register_lnb_DiseqcMessage_callback, callback: %p",
             reinterpret_cast<void*>(pf_nfy));
    gLnbOnDiseqcMessageFct = pf_nfy;
    return 0;
}
