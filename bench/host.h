// The process of the measurements: a real Java virtual machine with nothing in its way, the library
// loaded into it, and the counters of what the library asks of its process.

#ifndef BENCH_HOST_H
#define BENCH_HOST_H

#include <jni.h>

#include <cstdint>
#include <string>

namespace bench {

// Starts the virtual machine, loads the library through a class loader of its own for the
// platform's classes, and binds the floor. Ends the process when that fails.
void startVm();
JNIEnv* env();  // of the calling thread, which is attached

// A global reference to a class of the class loader, for example "desk.BenchModel".
jclass findClass(const std::string& name);

// A new pipeline's handle; it lives as long as the process.
uint32_t makePipeline();

// What the device model answers from now on: null, a number, or an object of that class.
void answerNothing();
void answer(jint number);
void answerNew(const char* className, const char* signature, const jvalue* arguments);

// Reports an event, see desk.BenchEvents.
int report(bool floor, int event, uint32_t handle, int length, int count);
// Loads the library's or the floor's table again, in the same way.
int load(bool floor);

// Keeps the calling thread attached for its own life.
class Attached {
  public:
    Attached();
    ~Attached();
    Attached(const Attached&) = delete;
    Attached& operator=(const Attached&) = delete;
};

// What a call has asked for: to see that floor and library do the same, and what is allocated.
struct Demands {
    unsigned long javaCalls;
    unsigned long serviceCalls;
    unsigned long propertyReads;
    unsigned long libraryAllocations;  // malloc and operator new, called by the library's own code
    bool sameCalls(const Demands& other) const {
        return javaCalls == other.javaCalls && serviceCalls == other.serviceCalls &&
               propertyReads == other.propertyReads;
    }
};
Demands operator-(const Demands& left, const Demands& right);

// The demands so far. Calls of the device model are counted only between startCounting and
// stopCounting.
void startCounting();
void stopCounting();
Demands demands();

// Reads properties through the desk's own service, which locks and masks signals. Without it a read
// does neither, as on a device.
void useDeskProperties(bool on);

}  // namespace bench

#endif  // BENCH_HOST_H
