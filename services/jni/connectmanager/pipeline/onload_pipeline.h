// What the load entry calls. Each side registers its native methods, and binds the Java classes and
// methods that it calls.

#ifndef ONLOAD_PIPELINE_H
#define ONLOAD_PIPELINE_H

#include <jni.h>

// Return 1; 0 (logged) when native methods cannot be registered. If a class or method that the
// library calls is missing, the process ends.
int register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFrontend(JNIEnv* env);
int register_com_halvorin_tv_velmora_connectmanager_ZytTvInnerFilter(JNIEnv* env);

#endif  // ONLOAD_PIPELINE_H
