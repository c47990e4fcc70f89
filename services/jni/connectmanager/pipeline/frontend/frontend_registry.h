// Which pipeline has which frontend peer.

#ifndef FRONTEND_REGISTRY_H
#define FRONTEND_REGISTRY_H

#include <utils/RefBase.h>

#include "services/jni/connectmanager/pipeline/frontend/JNativeInnerFrontend.h"

// Any thread may call these. None holds a lock while a peer's operation or destructor runs, both of
// which call Java.

// Registers a peer, unless the pipeline has one already.
void registerFrontend(unsigned int h_pipeline,
                      const android::sp<android::JNativeInnerFrontend>& peer);

// The pipeline's peer; null when the pipeline is not registered. The caller's copy keeps the peer
// alive, so a close meanwhile does not destroy it.
android::sp<android::JNativeInnerFrontend> findFrontend(unsigned int h_pipeline);

// Unregisters a pipeline and returns its peer, or null. The peer dies with the last copy.
android::sp<android::JNativeInnerFrontend> takeFrontend(unsigned int h_pipeline);

#endif  // FRONTEND_REGISTRY_H
