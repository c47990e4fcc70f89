// Counts by standing before the platform's constructor and destructor of RefBase: what a class that
// derives from it calls is looked for here first, whichever library has the platform's.
#include "tests/refbase_count.h"

#include <dlfcn.h>

#include <atomic>

namespace {

std::atomic<int> gLive;

// On ARM constructors and destructors return the object; elsewhere the result is not used.
using Structor = void* (*)(void*);

Structor platforms(const char* name) {
    return reinterpret_cast<Structor>(dlsym(RTLD_NEXT, name));
}

}  // namespace

int desk::liveRefBases() {
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
}
// NOLINTEND(bugprone-reserved-identifier)
