// Ends the process in one of the ways of exit_test.cpp. As on a device, the library is loaded after
// the virtual machine, so it ends first.

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

static void (*gReport)();

int main(int, char** argv) {
    dlopen(TESTS_JAVA_HOME "/lib/server/libjvm.so", RTLD_NOW);
    // Registered before the library is loaded, so it runs after the library has ended.
    atexit([] { gReport(); });
    void* test = dlopen(TESTS_EXIT_TEST, RTLD_NOW);
    if (test == nullptr) {
        fprintf(stderr, "%s\n", dlerror());
        _Exit(1);
    }
    gReport = reinterpret_cast<void (*)()>(dlsym(test, "reportEnd"));
    return reinterpret_cast<int (*)(const char*)>(dlsym(test, "endProcess"))(argv[1]);
}
