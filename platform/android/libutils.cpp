#include <utils/RefBase.h>

#include <cstdio>
#include <cstdlib>

namespace android {

// The count before the first reference, which nothing else reaches.
static constexpr int32_t kNeverReferenced = 1 << 28;

RefBase::RefBase() : mStrong(kNeverReferenced) {}

RefBase::~RefBase() = default;

void RefBase::incStrong(const void* /* id */) const {
    if (mStrong++ == kNeverReferenced) {
        mStrong -= kNeverReferenced;
        const_cast<RefBase*>(this)->onFirstRef();
    }
}

void RefBase::decStrong(const void* id) const {
    const int32_t before = mStrong--;
    if (before < 1 || before >= kNeverReferenced) {
        fprintf(stderr, "RefBase %p: a strong reference too many was dropped\n",
                static_cast<const void*>(this));
        abort();
    }
    if (before == 1) {
        const_cast<RefBase*>(this)->onLastStrongRef(id);
        delete this;
    }
}

int32_t RefBase::getStrongCount() const {
    return mStrong;
}

void RefBase::onFirstRef() {}
void RefBase::onLastStrongRef(const void* /* id */) {}
bool RefBase::onIncStrongAttempted(uint32_t flags, const void* /* id */) {
    return (flags & FIRST_INC_STRONG) != 0;
}
void RefBase::onLastWeakRef(const void* /* id */) {}

}  // namespace android
