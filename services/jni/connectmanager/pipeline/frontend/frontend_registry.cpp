#include "services/jni/connectmanager/pipeline/frontend/frontend_registry.h"

#include <map>
#include <mutex>

#include "mw/frontend.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"

using android::JNativeInnerFrontend;
using android::sp;

namespace {

// Lookups for two pipelines take different mutexes, so that two tuners that work at once do not wait
// for each other; a change of the map takes them all, in order. Each mutex has a cache line to
// itself: processors that share a line wait for each other as if they shared the mutex.
class RegistryLock {
  public:
    std::mutex& ofPipeline(unsigned int h_pipeline) { return mRow[h_pipeline % kMutexes].mutex; }
    void lock() {
        for (Padded& padded : mRow) padded.mutex.lock();
    }
    void unlock() {
        for (Padded& padded : mRow) padded.mutex.unlock();
    }

  private:
    static constexpr int kMutexes = 8;
    struct alignas(64) Padded {
        std::mutex mutex;
    };
    Padded mRow[kMutexes];
};

// Lock and map are never destroyed: other threads may still be calling when the process ends.
using FrontendMap = std::map<unsigned int, sp<JNativeInnerFrontend>>;
RegistryLock& gRegistryLock = *new RegistryLock();
FrontendMap& gFrontendMap = *new FrontendMap();

// When the process ends, the peers that are still registered are destroyed, which closes their Java
// objects. They are taken out first, so that other threads find an empty map and no peer that is
// being destroyed.
struct ReleaseAtExit {
    ~ReleaseAtExit() {
        FrontendMap peers;
        const std::lock_guard<RegistryLock> lock(gRegistryLock);
        peers.swap(gFrontendMap);
    }
} gReleaseAtExit;

}  // namespace

sp<JNativeInnerFrontend> findFrontend(unsigned int h_pipeline) {
    const std::lock_guard<std::mutex> lock(gRegistryLock.ofPipeline(h_pipeline));
    const auto entry = gFrontendMap.find(h_pipeline);
    return entry != gFrontendMap.end() ? entry->second : sp<JNativeInnerFrontend>();
}

int x_native_frontend_require_tuner(unsigned int h_pipeline) {
    LOG_DEBUG("require_tuner:%x\n", h_pipeline);
    // Fixed from outside: the object is made before the registry is asked, so a pipeline that is
    // registered already sees a second one opened and closed.
    const sp<JNativeInnerFrontend> peer(new JNativeInnerFrontend(h_pipeline));
    const std::lock_guard<RegistryLock> lock(gRegistryLock);
    gFrontendMap.try_emplace(h_pipeline, peer);
    return 0;
}

int x_native_frontend_close_tuner(unsigned int h_pipeline) {
    LOG_DEBUG("close_tuner:%x\n", h_pipeline);
    FrontendMap::node_type closed;  // destroyed after the lock is free: that calls Java
    const std::lock_guard<RegistryLock> lock(gRegistryLock);
    closed = gFrontendMap.extract(h_pipeline);
    return 0;
}
