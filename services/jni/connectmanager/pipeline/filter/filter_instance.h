// The instance of a filter: the address of its peer as the 64-bit value in which it travels through the
// middleware and is logged.

#ifndef FILTER_INSTANCE_H
#define FILTER_INSTANCE_H

#include <utils/RefBase.h>

#include <cstdint>

#include "services/jni/connectmanager/pipeline/filter/JNativeInnerFilter.h"

inline int64_t widened(const void* pointer) {
    return static_cast<int64_t>(reinterpret_cast<uintptr_t>(pointer));
}

// The address in an instance: what is left of it in a pointer, widened again. An instance that is no
// address differs from it; there can be one only where pointers have 32 bits.
inline int64_t addressIn(int64_t instance) {
    return widened(reinterpret_cast<void*>(static_cast<uintptr_t>(instance)));
}

// The peer at an instance: null when the value is no address, and then nothing is dereferenced.
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
