// The instance of a filter: the address of its peer as a 64-bit value. The middleware passes it
// around in this form, and the log shows it.

#ifndef FILTER_INSTANCE_H
#define FILTER_INSTANCE_H

#include <utils/RefBase.h>

#include <cstdint>

#include "services/jni/connectmanager/pipeline/filter/JNativeInnerFilter.h"

inline int64_t widened(const void* pointer) {
    return static_cast<int64_t>(reinterpret_cast<uintptr_t>(pointer));
}

// The address in an instance: the instance, cut to the size of a pointer and widened again. If the
// result is not the instance, the instance was no address. That can happen only where pointers have
// 32 bits.
inline int64_t addressIn(int64_t instance) {
    return widened(reinterpret_cast<void*>(static_cast<uintptr_t>(instance)));
}

// The peer of an instance; null when the instance is not an address, and then nothing is
// dereferenced.
inline android::sp<android::JNativeInnerFilter> peerOf(int64_t instance) {
    return android::sp<android::JNativeInnerFilter>(
        addressIn(instance) == instance
            ? reinterpret_cast<android::JNativeInnerFilter*>(static_cast<uintptr_t>(instance))
            : nullptr);
}

// A 64-bit value as log lines show it with %llx.
inline unsigned long long shown(int64_t value) {
    return static_cast<unsigned long long>(value);
}

#endif  // FILTER_INSTANCE_H
