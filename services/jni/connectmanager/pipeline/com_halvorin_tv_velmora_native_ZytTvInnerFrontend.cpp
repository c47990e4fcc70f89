// The frontend and LNB functions that only pass a call on to a pipeline's peer, and the
// registration of the frontend side with Java. Everything else that the middleware calls is defined
// in frontend/: requiring and closing a tuner, and the registration of callbacks.

#include <jni.h>
#include <utils/RefBase.h>

#include "mw/frontend.h"
#include "services/jni/connectmanager/pipeline/frontend/JNativeInnerFrontend.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_events.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_java.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_registry.h"
#include "services/jni/connectmanager/pipeline/onload_pipeline.h"

using android::JNativeInnerFrontend;
using android::sp;

int x_native_frontend_tune(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    const int result = peer->tune(pt_fesettings);
    if (result != 0) {
        LOG_ERROR("x_native_frontend_tune, native tune fail: %d.", result);
    }
    return result;
}

int x_native_frontend_cancel_tuning(unsigned int h_pipeline) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    const int result = peer->cancelTuning();
    if (result != 0) {
        LOG_ERROR("x_native_frontend_cancel_tuning, native cancel tuning fail: %d.", result);
    }
    return result;
}

int x_native_frontend_scan(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings, int scan_type) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    const int result = peer->scan(pt_fesettings, scan_type);
    if (result != 0) {
        LOG_ERROR("x_native_frontend_scan, native scan fail: %d.", result);
    }
    return result;
}

int x_native_frontend_cancel_scanning(unsigned int h_pipeline) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    const int result = peer->cancelScanning();
    if (result != 0) {
        LOG_ERROR("x_native_frontend_cancel_scanning, native cancel scanning fail: %d.", result);
    }
    return result;
}

int x_native_frontend_set_lna_enabled(unsigned int h_pipeline, int32_t enable) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    const int result = peer->setLnaEnabled(enable != 0);
    if (result != 0) {
        LOG_ERROR("x_native_frontend_set_lna_enabled, fail: %d.", result);
    }
    return result;
}

int x_native_frontend_get_frontend_info(unsigned int h_pipeline, FE_INFO_T* pt_info) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    return peer->getFrontendInfo(pt_info);
}

int x_native_frontend_get_frontend_status(unsigned int h_pipeline, FE_STATUS_TYPE_E* pi4_type,
                                          unsigned char ui1_len, FE_STATUS_T* pt_festatus) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    const int result = peer->getFrontendStatus(pi4_type, ui1_len, pt_festatus);
    if (result != 0) {
        LOG_ERROR("x_native_frontend_get_frontend_status, fail: %d.", result);
    }
    return result;
}

int x_native_frontend_get_frontend_setting(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    const int result = peer->getFrontendSetting(pt_fesettings);
    if (result != 0) {
        LOG_ERROR("x_native_frontend_get_frontend_setting, fail: %d.", result);
    }
    return result;
}

int x_native_frontend_set_ontune_listener(unsigned int h_pipeline) {
    return findFrontend(h_pipeline).get() != nullptr ? 0 : -1;
}

int x_native_frontend_clear_ontune_listener(unsigned int h_pipeline) {
    return findFrontend(h_pipeline).get() != nullptr ? 0 : -1;
}

int x_native_frontend_require_lnb(unsigned int h_pipeline) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    const int result = peer->requiredLnb();
    if (result != 0) {
        LOG_ERROR("x_native_frontend_require_lnb, ret fail: %d.", result);
    }
    return result;
}

int x_native_frontend_lnb_set_voltage(unsigned int h_pipeline, int voltage) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    const int result = peer->lnbSetVoltage(voltage);
    if (result != 0) {
        LOG_ERROR("x_native_frontend_lnb_set_voltage, set voltage fail: %d, voltage:%d.", result,
                  voltage);
    }
    return result;
}

int x_native_frontend_lnb_set_tone(unsigned int h_pipeline, int tone) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    const int result = peer->lnbSetTone(tone);
    if (result != 0) {
        LOG_ERROR("x_native_frontend_lnb_set_tone, set tone fail: %d, tone:%d.", result, tone);
    }
    return result;
}

int x_native_frontend_lnb_set_SatellitePosition(unsigned int h_pipeline, int position) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    const int result = peer->lnbSetSatellitePosition(position);
    if (result != 0) {
        LOG_ERROR(
            "x_native_frontend_lnb_set_SatellitePosition, set SatellitePosition fail: %d, "
            "position:%d.",
            result, position);
    }
    return result;
}

int x_native_frontend_lnb_get_voltage(unsigned int h_pipeline) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return 0;
    }
    const int voltage = peer->lnbGetVoltage();
    LOG_ERROR("x_native_frontend_lnb_get_voltage, get voltage, voltage:%d.",
              voltage);  // Fixed from outside: an error line, whatever the value
    return voltage;
}

int x_native_frontend_lnb_get_tone(unsigned int h_pipeline) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return 0;
    }
    const int tone = peer->lnbGetTone();
    LOG_ERROR("x_native_frontend_lnb_get_tone, get tone, tone:%d.",
              tone);  // Fixed from outside: an error line, whatever the value
    return tone;
}

int x_native_frontend_lnb_get_SatellitePosition(unsigned int h_pipeline) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return 0;
    }
    const int position = peer->lnbGetSatellitePosition();
    LOG_ERROR("x_native_frontend_lnb_get_SatellitePosition, get SatellitePosition, position:%d.",
              position);  // Fixed from outside: an error line, whatever the value
    return position;
}

int x_native_frontend_lnb_send_diseqcmessage(unsigned int h_pipeline, unsigned char* message,
                                             int length) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    return peer->lnbSendDiseqcMessage(message, length);
}

int x_native_frontend_lnb_close(unsigned int h_pipeline) {
    const sp<JNativeInnerFrontend> peer = findFrontend(h_pipeline);
    if (peer.get() == nullptr) {
        return -1;
    }
    peer->lnbClose();
    return 0;
}

int register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFrontend(JNIEnv* env) {
    if (registerScanNatives(env) != 0) {
        LOG_ERROR("Failed to register resource scan callback native methods");
        return 0;
    }
    if (registerLnbNatives(env) != 0) {
        LOG_ERROR("Failed to register lnb callback native methods");
        return 0;
    }
    bindFrontendClasses(env);
    return 1;
}
