// The core library also registers the native methods of these classes. Nothing here calls them, and
// Debian lacks what they need: BoringSSL for big numbers, fdlibm for the strict functions. A call
// of one throws an error.

#include <jni.h>

extern "C" void register_java_lang_StrictMath(JNIEnv*) {}
void register_java_math_NativeBN(JNIEnv*) {}
void register_org_apache_harmony_dalvik_NativeTestTarget(JNIEnv*) {}
void register_org_apache_harmony_xml_ExpatParser(JNIEnv*) {}
