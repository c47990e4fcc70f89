// The platform's <cutils/properties.h> takes these sizes from a device's C library.
#ifndef SYS_SYSTEM_PROPERTIES_H
#define SYS_SYSTEM_PROPERTIES_H

#define PROP_NAME_MAX 32
#define PROP_VALUE_MAX 92

#endif  // SYS_SYSTEM_PROPERTIES_H
