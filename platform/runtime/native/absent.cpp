// The core library registers the natives of these classes too. Nothing here calls them, and Debian lacks what they are
// built on: big numbers need BoringSSL, the strict functions fdlibm. Java throws when they are called.

#include <jni.h>

extern "C" void register_java_lang_StrictMath(JNIEnv*) {}
void register_java_math_NativeBN(JNIEnv*) {}
void register_org_apache_harmony_dalvik_NativeTestTarget(JNIEnv*) {}
void register_org_apache_harmony_xml_ExpatParser(JNIEnv*) {}
