#include "services/jni/connectmanager/pipeline/frontend/scan_callbacks.h"

#include <atomic>
#include <cstring>
#include <mutex>

#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"

namespace {

static_assert(sizeof(ScanCallback) == 12 * sizeof(void*), "compared as bytes, so nothing between");

// A registration is never changed and never freed, because an event may be using it at any time. If
// it is equal to an earlier one, the earlier one is used again. So memory grows only with each
// different registration.
struct ScanRegistration {
    ScanCallback callbacks;
    const ScanRegistration* older;
};
constexpr ScanRegistration kNothingRegistered = {};

std::atomic<const ScanCallback*> gScanCallback{&kNothingRegistered.callbacks};

// A registration holds it while it searches the earlier ones; an event never takes it. Like every
// mutex of the library, it is never destroyed: other threads may still be calling while the process
// ends.
std::mutex& gScanRegistrationMutex = *new std::mutex();
const ScanRegistration* gScanRegistrations = &kNothingRegistered;

}  // namespace

const ScanCallback& scanCallbacks() {
    return *gScanCallback;
}

void x_native_frontend_register_scan_callback(FE_SCAN_CB_T* pt_scan_cb) {
    LOG_INFO("x_native_frontend_register_scan_callback");
    static constexpr FE_SCAN_CB_T kNone = {};
    const FE_SCAN_CB_T& from = pt_scan_cb != nullptr ? *pt_scan_cb : kNone;
    const ScanCallback callbacks = {
        from.pv_tag,
        from.pf_locked_nfy,
        from.pf_stopped_nfy,
        from.pf_progress_nfy,
        from.pf_freq_report_nfy,
        from.pf_symbol_rate_nfy,
        from.pf_plp_id_nfy,
        from.pf_group_id_nfy,
        from.pf_stream_id_nfy,
        from.pf_dvbs_standard_nfy,
        from.pf_dvbt_standard_nfy,
        from.pf_hierarchy_nfy,
    };
    {
        const std::lock_guard<std::mutex> lock(gScanRegistrationMutex);
        const ScanRegistration* known = gScanRegistrations;
        while (known != nullptr && memcmp(&known->callbacks, &callbacks, sizeof(callbacks)) != 0) {
            known = known->older;
        }
        if (known == nullptr) {
            known = gScanRegistrations = new ScanRegistration{callbacks, gScanRegistrations};
        }
        gScanCallback = &known->callbacks;
    }
    LOG_INFO("[locked][ds]: %p", reinterpret_cast<void*>(callbacks.pf_locked_nfy));
    LOG_INFO("[stopped][ds]: %p", reinterpret_cast<void*>(callbacks.pf_stopped_nfy));
    LOG_INFO("[progress][ds]: %p", reinterpret_cast<void*>(callbacks.pf_progress_nfy));
}
