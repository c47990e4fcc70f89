// Filter events: Java calls native methods, which call the callbacks that the middleware
// registered.

#ifndef FILTER_EVENTS_H
#define FILTER_EVENTS_H

#include <jni.h>

// Registers the native methods of the filter's callback class. Returns 0; -1 on failure.
int registerFilterEventNatives(JNIEnv* env);

#endif  // FILTER_EVENTS_H
