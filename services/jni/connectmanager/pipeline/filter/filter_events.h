// Filter events: from the Java side's natives to the functions that the middleware registered.

#ifndef FILTER_EVENTS_H
#define FILTER_EVENTS_H

#include <jni.h>

#include "mw/filter.h"

// Registers the natives of the filter's callback class. Returns 0 or -1.
int registerFilterEventNatives(JNIEnv* env);

// Store the middleware's functions, from any thread at any time; each is one atomic word.
void setSectionCallback(flt_section_nfy_fct callback);
void setFilterStatusCallback(flt_status_nfy_fct callback);

#endif  // FILTER_EVENTS_H
