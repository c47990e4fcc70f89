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

// Unregisters a pipeline, if it is registered. Unless a call still has a copy of its peer, the peer is
// destroyed before the return, which closes the Java frontend.
void closeFrontend(unsigned int h_pipeline);

#endif  // FRONTEND_REGISTRY_H
