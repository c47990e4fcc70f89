#include <desk/refbase_count.h>
#include <utils/RefBase.h>

#include <cstdio>
#include <cstdlib>

namespace {
std::atomic<int> gLive;
}

int desk_refbase_live() {
    return gLive;
}

namespace android {

RefBase::RefBase() : mStrong(0), mReferenced(false) {
    ++gLive;
}

RefBase::~RefBase() {
    --gLive;
}

void RefBase::incStrong(const void* /* id */) const {
    ++mStrong;
    if (!mReferenced.exchange(true)) {
        const_cast<RefBase*>(this)->onFirstRef();
    }
}

void RefBase::decStrong(const void* id) const {
    const int32_t before = mStrong--;
    if (before < 1) {
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
bool RefBase::onIncStrongAttempted(uint32_t /* flags */, const void* /* id */) {
    return false;
}
void RefBase::onLastWeakRef(const void* /* id */) {}

}  // namespace android
