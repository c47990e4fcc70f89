// Scan, LNB and DiSEqC events: from the natives that Java calls to the one set of callbacks that the
// middleware registered.

#ifndef FRONTEND_EVENTS_H
#define FRONTEND_EVENTS_H

#include <jni.h>

#include "mw/frontend.h"

// Register the natives of a callback class. Return 0 or -1.
int registerScanNatives(JNIEnv* env);
int registerLnbNatives(JNIEnv* env);

// Store the middleware's callbacks, from any thread at any time. A scan event that arrives meanwhile
// takes its callback and its tag from the same record.
void setScanCallbacks(const FE_SCAN_CB_T& callbacks);
void setLnbCallback(fe_lnb_nfy_fct callback);
void setDiseqcCallback(fe_lnb_diseqc_nfy_fct callback);

#endif  // FRONTEND_EVENTS_H
