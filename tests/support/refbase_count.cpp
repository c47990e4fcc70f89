// Counts objects by replacing the constructor and destructor of the platform's RefBase: a class
// that derives from RefBase finds these first. This file also tells the thread sanitizer about
// references.
#include <dlfcn.h>

#include <atomic>

#include "tests/support/fault_injection.h"

#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#endif

namespace {

std::atomic<int> gLive;

// On ARM, constructors and destructors return the object. Elsewhere the result is not used.
using Structor = void* (*)(void*);

template <typename Function = Structor>
Function platforms(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

int tests::liveRefBases() {
    return gLive;
}

// NOLINTBEGIN(bugprone-reserved-identifier): names of RefBase::RefBase() and RefBase::~RefBase()
extern "C" {

void* _ZN7android7RefBaseC2Ev(void* object) {
    static const Structor construct = platforms(__func__);
    ++gLive;
    return construct(object);
}

void* _ZN7android7RefBaseD2Ev(void* object) {
    static const Structor destroy = platforms(__func__);
    --gLive;
    return destroy(object);
}

#ifdef __SANITIZE_THREAD__
// The platform's libutils is not instrumented. Without this, the thread that drops the last
// reference and destroys the object seems to race with threads that used it and dropped their
// reference before. The names are those of RefBase::decStrong(const void*) and
// RefBase::onLastStrongRef(const void*).
void _ZNK7android7RefBase9decStrongEPKv(void* object, const void* id) {
    using Drop = void (*)(void*, const void*);
    static const Drop drop = platforms<Drop>(__func__);
    __tsan_release(object);
    drop(object, id);
}

void _ZN7android7RefBase15onLastStrongRefEPKv(void* object, const void* /* id */) {
    __tsan_acquire(object);
}
#endif
}
// NOLINTEND(bugprone-reserved-identifier)
