// The frontend peers of the pipelines. x_native_frontend_require_tuner adds one, _close_tuner
// removes it.

#ifndef FRONTEND_REGISTRY_H
#define FRONTEND_REGISTRY_H

#include <utils/RefBase.h>

#include "services/jni/connectmanager/pipeline/frontend/JNativeInnerFrontend.h"

// The pipeline's peer; null when the pipeline is not registered. Any thread may call it. The
// caller's copy keeps the peer alive, even if the tuner is closed meanwhile. Dropping the last copy
// destroys the peer, which closes the Java frontend.
android::sp<android::JNativeInnerFrontend> findFrontend(unsigned int h_pipeline);

#endif  // FRONTEND_REGISTRY_H
