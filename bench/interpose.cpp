// What the executable puts in the place of the process's own functions: property reads that take no
// lock, as a device's, and allocations that tell whether the library asked for them.

#include "bench/interpose.h"

#include <cutils/properties.h>
#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

extern "C" void* __libc_malloc(size_t size);

namespace bench {

namespace {

std::atomic<uintptr_t> gLibraryStart;
std::atomic<uintptr_t> gLibraryEnd;
thread_local unsigned long tAllocations;
thread_local unsigned long tPropertyReads;
using PropertyGet = int (*)(const char*, char*, const char*);
std::atomic<PropertyGet> gDeskPropertyGet;

void* allocate(size_t size, void* caller) {
    const uintptr_t address = reinterpret_cast<uintptr_t>(caller);
    if (address >= gLibraryStart.load(std::memory_order_relaxed) &&
        address < gLibraryEnd.load(std::memory_order_relaxed)) {
        ++tAllocations;
    }
    return __libc_malloc(size);
}

}  // namespace

void watchLibrary(const void* inLibrary) {
    Dl_info info = {};
    dladdr(inLibrary, &info);
    const uintptr_t base = reinterpret_cast<uintptr_t>(info.dli_fbase);
    dl_iterate_phdr(
        [](dl_phdr_info* object, size_t, void* wanted) {
            if (object->dlpi_addr != *static_cast<uintptr_t*>(wanted)) {
                return 0;
            }
            for (int i = 0; i < object->dlpi_phnum; ++i) {
                const ElfW(Phdr)& segment = object->dlpi_phdr[i];
                if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0) {
                    gLibraryEnd = object->dlpi_addr + segment.p_vaddr + segment.p_memsz;
                    gLibraryStart = object->dlpi_addr + segment.p_vaddr;
                }
            }
            return 1;
        },
        const_cast<uintptr_t*>(&base));
}

unsigned long libraryAllocations() {
    return tAllocations;
}

unsigned long propertyReads() {
    return tPropertyReads;
}

void useDeskProperties(bool on) {
    gDeskPropertyGet =
        on ? reinterpret_cast<PropertyGet>(dlsym(RTLD_NEXT, "property_get")) : nullptr;
}

}  // namespace bench

extern "C" __attribute__((visibility("default"))) void* malloc(size_t size) {
    return bench::allocate(size, __builtin_return_address(0));
}

__attribute__((visibility("default"))) void* operator new(size_t size) {
    void* block = bench::allocate(size, __builtin_return_address(0));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

// Every property is unset: but one, which makes the search one.
extern "C" int property_get(const char* key, char* value, const char* default_value) {
    ++bench::tPropertyReads;
    if (const auto desk = bench::gDeskPropertyGet.load(std::memory_order_relaxed)) {
        return desk(key, value, default_value);
    }
    if (strcmp(key, "persist.sys.language") == 0) {
        default_value = "en";
    }
    const size_t length = strlen(default_value);
    memcpy(value, default_value, length + 1);
    return static_cast<int>(length);
}
