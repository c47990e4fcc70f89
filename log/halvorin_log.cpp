#include "log/halvorin_log.h"

#include <cutils/properties.h>

#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char kPersist[] = "persist.";
constexpr char kPersistentLogLevelProperty[] = "persist.vendor.zyt.broadcast.log.level";

// The lowest gate level that a property's value lets through.
int threshold(const char* value) {
    switch (value[0]) {
        case 'V':
        case 'v':
            return 1;
        case 'D':
        case 'd':
            return 2;
        case 'I':
        case 'i':
            return 3;
        case 'W':
        case 'w':
            return 4;
        case 'E':
        case 'e':
            return 5;
        default:
            return INT_MAX;
    }
}

// The gate for a property whose name has that length, which is a constant for the library's own.
inline bool isLoggable(int level, const char* propertyName, size_t length) {
    char value[PROPERTY_VALUE_MAX];
    value[0] = '\0';
    property_get(propertyName, value, "");
    if (value[0] == '\0') {
        char* name = static_cast<char*>(malloc(sizeof(kPersist) + length));
        if (name != nullptr) {
            memcpy(name, kPersist, sizeof(kPersist) - 1);
            memcpy(name + sizeof(kPersist) - 1, propertyName, length + 1);
            property_get(name, value, "");
            free(name);
        }
    }
    return level >= threshold(value);
}

}  // namespace

extern "C" int __halvorin_log_is_loggable(int level, const char* propertyName) {
    if (propertyName == nullptr) {
        return level >= threshold("") ? 1 : 0;
    }
    return isLoggable(level, propertyName, strlen(propertyName)) ? 1 : 0;
}

namespace halvorin {

bool isLoggable(int level) {
    return ::isLoggable(level, kLogLevelProperty, sizeof(kLogLevelProperty) - 1);
}

bool isLoggableInSignalHandler(int level) {
    char value[PROPERTY_VALUE_MAX] = "";
    property_get(kLogLevelProperty, value, "");
    if (value[0] == '\0') {
        property_get(kPersistentLogLevelProperty, value, "");
    }
    return level >= threshold(value);
}

}  // namespace halvorin
