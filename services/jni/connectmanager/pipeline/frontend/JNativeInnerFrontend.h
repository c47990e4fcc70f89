// The native peer of one pipeline's Java frontend object.

#ifndef J_NATIVE_INNER_FRONTEND_H
#define J_NATIVE_INNER_FRONTEND_H

#include <jni.h>
#include <utils/RefBase.h>

#include "mw/frontend.h"
#include "services/jni/connectmanager/pipeline/core/java_method.h"
#include "services/jni/connectmanager/pipeline/core/java_vm.h"

namespace android {

// Always held by sp. The constructor makes the Java object and opens it; the destructor closes it.
// If the construction fails, the peer never has a Java object, and its operations fail without
// calling Java.
//
// Any thread may call any operation, and several may run at once: nothing changes after
// construction. An operation leaves no local reference and no Java exception behind. It returns the
// int of the Java method. Without an environment or a Java object, or when Java throws, it returns
// its failure value: -1, or 0 for the LNB getters. If Java throws because it refuses an end
// frequency, the operation does not fail.
//
// Note: the destructor calls Java on whichever thread drops the last reference, so no lock may be
// held there. Without an environment it cannot close the Java object, and its reference leaks.
class JNativeInnerFrontend : public RefBase {
  public:
    explicit JNativeInnerFrontend(unsigned int h_pipeline);

    int tune(MW_FESETTING_T* pt_fesettings);
    int scan(MW_FESETTING_T* pt_fesettings, int scan_type);
    int cancelTuning();
    int cancelScanning();
    int setLnaEnabled(bool enable);
    int getFrontendInfo(FE_INFO_T* pt_info);
    int getFrontendSetting(MW_FESETTING_T* pt_fesettings);
    int getFrontendStatus(FE_STATUS_TYPE_E* pi4_type, uint8_t ui1_len, FE_STATUS_T* pt_festatus);

    int requiredLnb();
    int lnbSetVoltage(int voltage);
    int lnbSetTone(int tone);
    int lnbSetSatellitePosition(int position);
    int lnbGetVoltage();
    int lnbGetTone();
    int lnbGetSatellitePosition();
    int lnbSendDiseqcMessage(unsigned char* message, int length);
    void lnbClose();

    // Copies a list of 1 to FE_STATUS_MAX_LIST_COPY values. A list of any other length is not
    // copied.
    static void StatusArrayContentExtract(const int32_t* src, int32_t* dst, int32_t len);

  protected:
    ~JNativeInnerFrontend() override;

  private:
    // The platform's settings object for a request; null (logged) when it cannot be made.
    ScopedLocalRef<jobject> transMW2FrontendSettings(JNIEnv* env,
                                                     const MW_FESETTING_T* pt_fesettings) const;

    // Runs operation(env) in an environment scope. Returns failure when there is no Java object or
    // no environment.
    template <typename Operation>
    int withJava(int failure, const Operation& operation) const {
        if (mObject == nullptr) {
            return failure;
        }
        const JniEnvOption scope;
        return scope.env() != nullptr ? operation(scope.env()) : failure;
    }

    // Calls a method of the Java object. Returns failure when it throws.
    template <typename... Args>
    int callJava(JNIEnv* env, const JavaMethod<jint(Args...)>& method, int failure,
                 Args... args) const;

    // Like callJava, for a method that returns an object; null when it throws.
    template <typename... Args>
    ScopedLocalRef<jobject> callForObject(JNIEnv* env, const JavaMethod<jobject(Args...)>& method,
                                          Args... args) const {
        ScopedLocalRef<jobject> result = method.call(env, mObject, args...);
        if (clearException(env)) {
            result.reset();
        }
        return result;
    }

    jobject mObject = nullptr;  // global reference
};

}  // namespace android

#endif  // J_NATIVE_INNER_FRONTEND_H
