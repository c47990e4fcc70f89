#include "log/halvorin_log.h"

#include <cutils/properties.h>

#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

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

}  // namespace

extern "C" int __halvorin_log_is_loggable(int level, const char* propertyName) {
    static constexpr char kPersist[] = "persist.";
    char value[PROPERTY_VALUE_MAX] = "";
    if (propertyName != nullptr) {
        property_get(propertyName, value, "");
    }
    if (propertyName != nullptr && value[0] == '\0') {
        const size_t length = strlen(propertyName);
        char* name = static_cast<char*>(malloc(sizeof(kPersist) + length));
        if (name != nullptr) {
            memcpy(name, kPersist, sizeof(kPersist) - 1);
            memcpy(name + sizeof(kPersist) - 1, propertyName, length + 1);
            property_get(name, value, "");
            free(name);
        }
    }
    return level >= threshold(value) ? 1 : 0;
}

namespace halvorin {

const char* tagIfLoggable(int level, const char* tag) {
    char value[PROPERTY_VALUE_MAX];
    value[0] = '\0';
    property_get("vendor.zyt.broadcast.log.level", value, "");
    if (value[0] == '\0') {
        property_get("persist.vendor.zyt.broadcast.log.level", value, "");
    }
    return level >= threshold(value) ? tag : nullptr;
}

}  // namespace halvorin
