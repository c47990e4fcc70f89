// Which pipeline has which frontend peer. x_native_frontend_require_tuner and _close_tuner change that.

#ifndef FRONTEND_REGISTRY_H
#define FRONTEND_REGISTRY_H

#include <utils/RefBase.h>

#include "services/jni/connectmanager/pipeline/frontend/JNativeInnerFrontend.h"

// The pipeline's peer; null when the pipeline is not registered. Any thread may call it. The caller's
// copy keeps the peer alive, so a close meanwhile does not destroy it: whoever drops the last copy does,
// which closes the Java frontend.
android::sp<android::JNativeInnerFrontend> findFrontend(unsigned int h_pipeline);

#endif  // FRONTEND_REGISTRY_H
