// The fake of the system properties. A property's first value is that of the environment variable
// whose name is PROPERTY_ and the property's name, with underscores for dots. Any thread and a
// signal handler may call these functions: they do not allocate.

#include <cutils/properties.h>
#include <errno.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

constexpr size_t kKeySize = 92;  // newer devices allow names longer than PROPERTY_KEY_MAX

struct Property {
    char key[kKeySize];
    char value[PROPERTY_VALUE_MAX];
};

Property gProperties[64];
size_t gPropertyCount;
pthread_mutex_t gLock = PTHREAD_MUTEX_INITIALIZER;

// Holds the lock with all signals blocked, so no handler can interrupt its holder and wait for it.
class Locked {
  public:
    Locked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &mSignals);
        pthread_mutex_lock(&gLock);
    }
    ~Locked() {
        pthread_mutex_unlock(&gLock);
        pthread_sigmask(SIG_SETMASK, &mSignals, nullptr);
        errno = mErrno;
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

  private:
    int mErrno = errno;
    sigset_t mSignals;
};

bool fits(const char* text, size_t size) {
    return text != nullptr && strlen(text) < size;
}

const char* startValue(const char* key) {
    char name[sizeof("PROPERTY_") + kKeySize];
    snprintf(name, sizeof(name), "PROPERTY_%s", key);
    std::replace(std::begin(name), std::end(name), '.', '_');
    const char* value = getenv(name);
    return fits(value, PROPERTY_VALUE_MAX) ? value : "";
}

// The property, made with its first value when it is first used; null when there is no room. The
// caller holds the lock.
Property* find(const char* key) {
    for (size_t i = 0; i < gPropertyCount; ++i) {
        if (strcmp(gProperties[i].key, key) == 0) {
            return &gProperties[i];
        }
    }
    if (gPropertyCount == sizeof(gProperties) / sizeof(gProperties[0])) {
        return nullptr;
    }
    Property* property = &gProperties[gPropertyCount++];
    strcpy(property->key, key);
    strcpy(property->value, startValue(key));
    return property;
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value) {
    const Locked locked;
    value[0] = '\0';
    const Property* property = fits(key, kKeySize) ? find(key) : nullptr;
    if (property != nullptr && property->value[0] != '\0') {
        strcpy(value, property->value);
    } else if (default_value != nullptr) {
        strncat(value, default_value, PROPERTY_VALUE_MAX - 1);
    }
    return static_cast<int>(strlen(value));
}

int property_set(const char* key, const char* value) {
    if (!fits(key, kKeySize) || key[0] == '\0' || !fits(value, PROPERTY_VALUE_MAX)) {
        return -1;
    }
    const Locked locked;
    Property* property = find(key);
    if (property == nullptr) {
        return -1;
    }
    strcpy(property->value, value);
    return 0;
}
