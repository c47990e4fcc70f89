#include <cstdint>

#include "mw/basic_services.h"
#include "mw/filter.h"
#include "services/jni/connectmanager/pipeline/filter/JNativeCallbackThread.h"
#include "services/jni/connectmanager/pipeline/filter/JNativeInnerFilter.h"
#include "services/jni/connectmanager/pipeline/filter/filter_handles.h"
#include "services/jni/connectmanager/pipeline/filter/filter_instance.h"
#include "services/jni/connectmanager/pipeline/filter/filter_log.h"

using android::JNativeInnerFilter;
using android::sp;

int x_velmora_filter_open(uint32_t h_pipeline, int mainType, int subType, int64_t buffersize,
                          uint32_t* ph_filter, FLT_EVT_CB_T* pt_evt, void* pv_tag) {
    if (ph_filter == nullptr || pt_evt == nullptr) {
        FILTER_LOG("<%s:%4d>  ph_filter or pt_evt is null.");
        return -1;
    }
    uint32_t h_sema = 0;
    int32_t i4_rc = x_sema_create(&h_sema, X_SEMA_TYPE_BINARY_HELD, 0);
    if (i4_rc != 0) {
        FILTER_LOG("<%s:%4d> create sema for mwl filter failed, ret=%d\r\n", i4_rc);
        return i4_rc;
    }
    FILTER_LOG("<%s:%4d> create sema for mwl filter succ, ret=%d\r\n", 0);
    FLT_INST_T* ptFltInst = static_cast<FLT_INST_T*>(x_mem_alloc(sizeof(FLT_INST_T)));
    if (ptFltInst == nullptr) {
        FILTER_LOG("<%s:%4d>  ptFltInst is NULL.");
        undoFilter(0, nullptr, h_sema);
        return -1;
    }
    const sp<JNativeInnerFilter> filter(new JNativeInnerFilter());
    const int64_t instance = widened(filter.get());
    *ptFltInst = {h_sema, instance};

    // From here on, a failure releases everything. The peer is destroyed last, at the return.
    const auto giveBack = [=](uint32_t issued) {
        *ph_filter = 0;
        undoFilter(issued, ptFltInst, h_sema);
        return -1;
    };
    uint32_t hfilter = 0;
    i4_rc = allocFilterHandle(ptFltInst, &hfilter);
    if (i4_rc != 0) {
        FILTER_LOG("<%s:%4d>  handle alloc fail: %d\n", i4_rc);
        return giveBack(0);
    }
    // Fixed from outside: the handle is read back before it is used. This fails only if the service
    // is broken.
    uint16_t type = 0;
    void* object = nullptr;
    if (handle_get_type_obj(hfilter, &type, &object) != 0 || object != ptFltInst) {
        FILTER_LOG("<%s:%4d>  handle: 0x%x, failed.\n", hfilter);
        return giveBack(hfilter);
    }
    filter->nativeSetFilterHandle(hfilter);
    filter->nativeSetFilterEvt(pt_evt);
    filter->nativeSetFilterTag(pv_tag);

    void* pipeline = nullptr;
    i4_rc = handle_get_type_obj(h_pipeline, &type, &pipeline);
    if (i4_rc != 0 || type != HT_PIPELINE) {
        FILTER_LOG("<%s:%4d>  handle: 0x%x, fail: %d.\n", h_pipeline, i4_rc);
        return giveBack(hfilter);
    }
    const int opened = filter->nativeOpen(widened(pipeline), mainType, subType, buffersize,
                                          callbackThreadObject(pt_evt->h_cb_thread));
    if (opened != 0) {
        FILTER_LOG("<%s:%4d> x_velmora_filter_open, nativeOpen fail: %d, instance: 0x%llx.", opened,
                   shown(instance));
        return giveBack(hfilter);
    }
    addInnerFilterReference(instance);
    *ph_filter = hfilter;
    x_filter_unlock(h_sema);  // from here on the filter may be closed at any moment
    FILTER_LOG("<%s:%4d>  handle: 0x%x, instance: 0x%llx\n", hfilter, shown(instance));
    FILTER_LOG("<%s:%4d>  handle from sp: 0x%x get instance: 0x%llx\n",
               filter->nativeGetFilterHandle(), shown(instance));
    return 0;
}
