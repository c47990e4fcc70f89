#include "services/jni/connectmanager/pipeline/frontend/frontend_registry.h"

#include <map>
#include <mutex>

#include "mw/frontend.h"
#include "services/jni/connectmanager/pipeline/frontend/frontend_log.h"

using android::JNativeInnerFrontend;
using android::sp;

namespace {

// A lookup takes one of eight mutexes, which depends on the pipeline. So two tuners that work at
// once need not wait for each other. A change of the map takes all mutexes, in order. Each mutex
// has a cache line of its own, because processors that share a line wait for each other as if they
// shared the mutex.
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

// Lock and map are never destroyed: other threads may still be calling while the process ends.
using FrontendMap = std::map<unsigned int, sp<JNativeInnerFrontend>>;
RegistryLock& gRegistryLock = *new RegistryLock();
FrontendMap& gFrontendMap = *new FrontendMap();

// When the process ends, the peers that are still registered are destroyed, which closes their Java
// objects. They are removed from the map first, so that no other thread finds a peer that is being
// destroyed.
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
    // Fixed from outside: the object is made before the map is searched. So for a pipeline that is
    // registered already, a second object is opened and closed.
    const sp<JNativeInnerFrontend> peer(new JNativeInnerFrontend(h_pipeline));
    const std::lock_guard<RegistryLock> lock(gRegistryLock);
    gFrontendMap.try_emplace(h_pipeline, peer);
    return 0;
}

int x_native_frontend_close_tuner(unsigned int h_pipeline) {
    LOG_DEBUG("close_tuner:%x\n", h_pipeline);
    FrontendMap::node_type closed;  // destroyed after the lock is released, as that calls Java
    const std::lock_guard<RegistryLock> lock(gRegistryLock);
    closed = gFrontendMap.extract(h_pipeline);
    return 0;
}
