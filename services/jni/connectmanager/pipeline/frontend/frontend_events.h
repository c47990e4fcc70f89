// Scan, LNB and DiSEqC events: from the natives that Java calls to the one set of callbacks that the
// middleware registered.

#ifndef FRONTEND_EVENTS_H
#define FRONTEND_EVENTS_H

#include <jni.h>

// Register the natives of a callback class. Return 0 or -1.
int registerScanNatives(JNIEnv* env);
int registerLnbNatives(JNIEnv* env);

#endif  // FRONTEND_EVENTS_H
