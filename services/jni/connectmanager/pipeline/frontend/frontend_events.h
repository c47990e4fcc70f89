// Scan and LNB events: from the Java side's natives to the one set of callbacks that the middleware
// registered.

#ifndef FRONTEND_EVENTS_H
#define FRONTEND_EVENTS_H

#include <jni.h>

#include "mw/frontend.h"

// Registers the natives of the two callback classes. Returns 0, or -1 (logged).
int registerFrontendEventNatives(JNIEnv* env);

// Store the middleware's callbacks, from any thread at any time. An event that arrives meanwhile
// takes its callback and its tag from the same record.
void setScanCallbacks(const FE_SCAN_CB_T& callbacks);
void setLnbCallback(fe_lnb_nfy_fct callback);
void setDiseqcCallback(fe_lnb_diseqc_nfy_fct callback);

#endif  // FRONTEND_EVENTS_H
