#include "services/jni/connectmanager/pipeline/frontend/JNativeInnerFrontend.h"

#include <nativehelper/scoped_local_ref.h>

#include "mw/basic_services.h"
#include "services/jni/connectmanager/pipeline/core/java_vm.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_java.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"

namespace android {

JNativeInnerFrontend::JNativeInnerFrontend(unsigned int h_pipeline) {
    LOG_DEBUG("JNativeInnerFrontend, constructor instance with pipeline handle: 0x%x", h_pipeline);
    void* pipeline = nullptr;
    if (handle_get_obj(h_pipeline, &pipeline) != 0 || pipeline == nullptr) {
        LOG_ERROR("JNativeInnerFrontend, handle_get_obj fail, pipeline handle: 0x%x", h_pipeline);
        return;
    }
    const JniEnvOption scope;
    JNIEnv* env = scope.env();
    if (env == nullptr) {
        return;
    }
    // The handle holds a weak reference. The object may be collected until there is a local
    // reference.
    ScopedLocalRef<jobject> handler(env, env->NewLocalRef(static_cast<jobject>(pipeline)));
    if (clearException(env) || env->IsSameObject(handler.get(), nullptr)) {
        LOG_ERROR("JNativeInnerFrontend, pipeline maybe already release.");
        return;
    }
    const ScopedLocalRef<jobject> object =
        ::gFields.frontendConstructorID.newObject(env, ::gFields.frontendClazz, handler.get());
    handler.reset();
    mObject = object.get() != nullptr ? newGlobalRef(env, object.get()) : nullptr;
    if (mObject == nullptr) {
        LOG_ERROR("JNativeInnerFrontend, nativeOpen, constructor mObject failed.");
        return;
    }
    ::gFields.onSetNativeHandleId.call(env, mObject, static_cast<jint>(h_pipeline));
    clearException(env);
    ::gFields.onOpenFrontendId.call(env, mObject);
    clearException(env);
    LOG_DEBUG("native inner frontend create pipeline, use Globalref this: %p, mObject: %p",
              static_cast<void*>(this), static_cast<void*>(mObject));
}

JNativeInnerFrontend::~JNativeInnerFrontend() {
    if (mObject == nullptr) {
        return;
    }
    const JniEnvOption scope;
    JNIEnv* env = scope.env();
    if (env == nullptr) {
        return;
    }
    ::gFields.onCloseFrontendId.call(env, mObject);
    clearException(env);
    env->DeleteGlobalRef(mObject);
    mObject = nullptr;
}

template <typename... Args>
int JNativeInnerFrontend::callJava(JNIEnv* env, const JavaMethod<jint(Args...)>& method,
                                   int failure, Args... args) const {
    const jint result = method.call(env, mObject, args...);
    return clearException(env) ? failure : result;
}

int JNativeInnerFrontend::tune(MW_FESETTING_T* pt_fesettings) {
    if (pt_fesettings != nullptr) {
        LOG_DEBUG("tune, fe_type: %d, freq: %d", pt_fesettings->e_type, pt_fesettings->mFrequency);
    }
    return withJava(-1, [&](JNIEnv* env) {
        const auto settings = transMW2FrontendSettings(env, pt_fesettings);
        if (settings.get() == nullptr) {
            LOG_ERROR("tune, generate frontendsettings failed.");
            return -1;
        }
        return callJava(env, ::gFields.onTuneId, -1, settings.get());
    });
}

int JNativeInnerFrontend::scan(MW_FESETTING_T* pt_fesettings, int scan_type) {
    if (pt_fesettings != nullptr) {
        LOG_DEBUG("scan, fe_type: %d, freq: %d, scan_type: %d", pt_fesettings->e_type,
                  pt_fesettings->mFrequency, scan_type);
    }
    return withJava(-1, [&](JNIEnv* env) {
        const auto settings = transMW2FrontendSettings(env, pt_fesettings);
        if (settings.get() == nullptr) {
            LOG_ERROR("scan, generate frontendsettings failed.");
            return -1;
        }
        return callJava(env, ::gFields.onScanId, -1, settings.get(), scan_type);
    });
}

int JNativeInnerFrontend::cancelTuning() {
    LOG_DEBUG("cancelTuning, here...");
    return withJava(-1,
                    [this](JNIEnv* env) { return callJava(env, ::gFields.onCancelTuningId, -1); });
}

int JNativeInnerFrontend::cancelScanning() {
    LOG_DEBUG("cancelScanning, here...");
    return withJava(-1, [this](JNIEnv* env) {
        const int result = callJava(env, ::gFields.onCancelScanningId, -1);
        LOG_DEBUG("cancelScanning, ret_val: %d", result);
        return result;
    });
}

int JNativeInnerFrontend::setLnaEnabled(bool enable) {
    LOG_DEBUG("setLnaEnabled, enable: %d", enable);
    return withJava(-1, [this, enable](JNIEnv* env) {
        const jboolean on = enable ? JNI_TRUE : JNI_FALSE;
        const int result = callJava(env, ::gFields.onSetLnaEnabledId, -1, on);
        LOG_DEBUG("setLnaEnabled, ret_val: %d", result);
        return result;
    });
}

int JNativeInnerFrontend::getFrontendInfo(FE_INFO_T* /* pt_info */) {
    LOG_DEBUG("getFrontendInfo, here...");
    return 0;
}

int JNativeInnerFrontend::requiredLnb() {
    return withJava(-1, [this](JNIEnv* env) {
        LOG_DEBUG("requiredLnb, mObject:%p", static_cast<void*>(mObject));
        const int result = callJava(env, ::gFields.onOpenLnbId, -1);
        LOG_DEBUG("requiredLnb, ret_val:%d.", result);
        return result;
    });
}

int JNativeInnerFrontend::lnbSetVoltage(int voltage) {
    return withJava(-1, [this, voltage](JNIEnv* env) {
        LOG_DEBUG("lnbSetVoltage, voltage:%d.", voltage);
        return callJava(env, ::gFields.onLnbSetVoltageID, -1, voltage);
    });
}

int JNativeInnerFrontend::lnbSetTone(int tone) {
    return withJava(-1, [this, tone](JNIEnv* env) {
        LOG_DEBUG("lnbSetTone, tone:%d.", tone);
        return callJava(env, ::gFields.onLnbSetToneID, -1, tone);
    });
}

int JNativeInnerFrontend::lnbSetSatellitePosition(int position) {
    return withJava(-1, [this, position](JNIEnv* env) {
        LOG_DEBUG("lnbSetSatellitePosition, position:%d", position);
        return callJava(env, ::gFields.onLnbSetSatellitePositionID, -1, position);
    });
}

int JNativeInnerFrontend::lnbGetVoltage() {
    return withJava(0, [this](JNIEnv* env) {
        const int voltage = callJava(env, ::gFields.onLnbGetVoltageID, 0);
        LOG_DEBUG("lnbGetVoltage, voltage:%d.", voltage);
        return voltage;
    });
}

int JNativeInnerFrontend::lnbGetTone() {
    return withJava(0, [this](JNIEnv* env) {
        const int tone = callJava(env, ::gFields.onLnbGetToneID, 0);
        LOG_DEBUG("lnbGetTone, tone:%d.", tone);
        return tone;
    });
}

int JNativeInnerFrontend::lnbGetSatellitePosition() {
    return withJava(0, [this](JNIEnv* env) {
        const int position = callJava(env, ::gFields.onLnbGetSatellitePositionID, 0);
        LOG_DEBUG("lnbGetSatellitePosition, position:%d", position);
        return position;
    });
}

int JNativeInnerFrontend::lnbSendDiseqcMessage(unsigned char* message, int length) {
    if (length < 0 || (message == nullptr && length > 0)) {
        return -1;
    }
    return withJava(-1, [&](JNIEnv* env) {
        const auto bytes = newByteArray(env, message, length);
        if (bytes.get() == nullptr) {
            return -1;
        }
        return callJava(env, ::gFields.onLnbSendDiseqcMessageID, -1, bytes.get());
    });
}

void JNativeInnerFrontend::lnbClose() {
    withJava(0, [this](JNIEnv* env) {
        ::gFields.onLnbCloseID.call(env, mObject);
        clearException(env);
        return 0;
    });
}

}  // namespace android
