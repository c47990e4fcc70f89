// In place of OpenSSL's header: the core library only tells Java its version.

#define OPENSSL_VERSION_TEXT "none"
