// Filter events: from the Java side's natives to the functions that the middleware registered.

#ifndef FILTER_EVENTS_H
#define FILTER_EVENTS_H

#include <jni.h>

// Registers the natives of the filter's callback class. Returns 0 or -1.
int registerFilterEventNatives(JNIEnv* env);

#endif  // FILTER_EVENTS_H
