// Ends the process in one of the ways of exit_test.cpp. The library is loaded after the virtual
// machine, as on a device, and so ends before it.

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace {

void (*gReport)();

void* loaded(const char* path) {
    void* library = dlopen(path, RTLD_NOW);
    if (library == nullptr) {
        fprintf(stderr, "%s\n", dlerror());
        _Exit(1);
    }
    return library;
}

}  // namespace

int main(int argc, char** argv) {
    loaded(DESK_JAVA_HOME "/lib/server/libjvm.so");
    // Registered before the library is loaded: runs when the library has ended.
    atexit([] { gReport(); });
    void* test = loaded(DESK_EXIT_TEST);
    gReport = reinterpret_cast<void (*)()>(dlsym(test, "reportEnd"));
    const auto end = reinterpret_cast<int (*)(const char*)>(dlsym(test, "endProcess"));
    return end(argc > 1 ? argv[1] : "");
}
