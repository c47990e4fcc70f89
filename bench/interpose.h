#ifndef BENCH_INTERPOSE_H
#define BENCH_INTERPOSE_H

namespace bench {

// Counts the allocations of the library that the address lies in.
void watchLibrary(const void* inLibrary);
// By the calling thread.
unsigned long libraryAllocations();
unsigned long propertyReads();

}  // namespace bench

#endif  // BENCH_INTERPOSE_H
