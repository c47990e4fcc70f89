// Scan, LNB and DiSEqC events: Java calls native methods, which call the callbacks that the
// middleware registered.

#ifndef FRONTEND_EVENTS_H
#define FRONTEND_EVENTS_H

#include <jni.h>

// Register the native methods of a callback class. Return 0; -1 on failure.
int registerScanNatives(JNIEnv* env);
int registerLnbNatives(JNIEnv* env);

#endif  // FRONTEND_EVENTS_H
