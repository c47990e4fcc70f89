// What the load entry calls: each side registers its natives and binds the Java classes and methods
// that it calls.

#ifndef ONLOAD_PIPELINE_H
#define ONLOAD_PIPELINE_H

#include <jni.h>

// Return non-zero, or 0 (logged) when natives cannot be registered. A class or method that is called
// and missing ends the process.
int register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFrontend(JNIEnv* env);
int register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFilter(JNIEnv* env);

#endif  // ONLOAD_PIPELINE_H
