#include "services/jni/connectmanager/pipeline/frontend/frontend_registry.h"

#include <map>
#include <mutex>

using android::JNativeInnerFrontend;
using android::sp;

namespace {

// Lock and map are never destroyed: other threads may still be calling when the process ends.
using FrontendMap = std::map<unsigned int, sp<JNativeInnerFrontend>>;
std::mutex& gFrontendMutex = *new std::mutex();
FrontendMap& gFrontendMap = *new FrontendMap();

// When the process ends, the peers that are still registered are destroyed, which closes their Java
// objects. They are taken out first, so that other threads find an empty map and no peer that is
// being destroyed.
struct ReleaseAtExit {
    ~ReleaseAtExit() {
        FrontendMap peers;
        const std::lock_guard<std::mutex> lock(gFrontendMutex);
        peers.swap(gFrontendMap);
    }
} gReleaseAtExit;

}  // namespace

void registerFrontend(unsigned int h_pipeline, const sp<JNativeInnerFrontend>& peer) {
    const std::lock_guard<std::mutex> lock(gFrontendMutex);
    gFrontendMap.try_emplace(h_pipeline, peer);
}

sp<JNativeInnerFrontend> findFrontend(unsigned int h_pipeline) {
    const std::lock_guard<std::mutex> lock(gFrontendMutex);
    const auto entry = gFrontendMap.find(h_pipeline);
    return entry != gFrontendMap.end() ? entry->second : sp<JNativeInnerFrontend>();
}

sp<JNativeInnerFrontend> takeFrontend(unsigned int h_pipeline) {
    sp<JNativeInnerFrontend> peer;
    const std::lock_guard<std::mutex> lock(gFrontendMutex);
    const auto entry = gFrontendMap.find(h_pipeline);
    if (entry != gFrontendMap.end()) {
        peer = entry->second;
        gFrontendMap.erase(entry);
    }
    return peer;
}
