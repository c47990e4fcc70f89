// Replaces libcap's header, which Debian does not install with its C library.

#include <linux/capability.h>

extern "C" int capget(cap_user_header_t header, cap_user_data_t data);
extern "C" int capset(cap_user_header_t header, const cap_user_data_t data);
