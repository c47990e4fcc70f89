#include "services/jni/connectmanager/pipeline/filter/filter_instance.h"

#include "services/jni/connectmanager/pipeline/filter/filter_log.h"

using android::JNativeInnerFilter;
using android::sp;

int addInnerFilterReference(int64_t instance) {
    if (addressIn(instance) != instance) {
        FILTER_LOG(
            "<%s:%4d> addInnerFilterReferencefailed, filter.get: 0x%llx, instance: "
            "0x%llx,failed.\n",
            shown(addressIn(instance)), shown(instance));
        return -1;
    }
    const sp<JNativeInnerFilter> filter = peerOf(instance);
    if (filter.get() != nullptr) {
        filter->incStrong(filter.get());
    }
    FILTER_LOG("<%s:%4d> addInnerFilterReference, setInnerFilter = 0x%llx\n", shown(instance));
    return 0;
}

int subInnerFilterReference(int64_t instance) {
    if (addressIn(instance) != instance) {
        FILTER_LOG(
            "<%s:%4d> subInnerFilterReferencefailed, filter.get: 0x%llx, instance: "
            "0x%llx,failed.\n",
            shown(addressIn(instance)), shown(instance));
        return -1;
    }
    const sp<JNativeInnerFilter> filter = peerOf(instance);
    if (filter.get() != nullptr) {
        filter->decStrong(filter.get());
    }
    FILTER_LOG("<%s:%4d> subInnerFilterReference, setInnerFilter = 0x%llx\n", shown(instance));
    return 0;
}
