// Replaces OpenSSL's header: the core library only reports this version to Java.

#define OPENSSL_VERSION_TEXT "none"
