// The platform's system properties.
#ifndef CUTILS_PROPERTIES_H
#define CUTILS_PROPERTIES_H

#ifdef __cplusplus
extern "C" {
#endif

#define PROPERTY_KEY_MAX 92
#define PROPERTY_VALUE_MAX 92

// Copies a property's value, or default_value (null: nothing) when it is unset or empty, to value,
// which has room for PROPERTY_VALUE_MAX bytes. Returns the length. Any thread and a signal handler
// may call it: it allocates nothing. On a desk a property starts with the value of the environment
// variable PROPERTY_ and its name with underscores for dots.
int property_get(const char* key, char* value, const char* default_value)
    __attribute__((visibility("default")));

// Returns 0; -1, nothing changed, for a name or value that is null or too long, or when there is no
// room.
int property_set(const char* key, const char* value) __attribute__((visibility("default")));

#ifdef __cplusplus
}
#endif

#endif  // CUTILS_PROPERTIES_H
