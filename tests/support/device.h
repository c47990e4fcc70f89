// What surrounds the library on a device: pipelines, the framework's objects with the scripted
// model behind them, and the events that they report.

#ifndef TESTS_DEVICE_H
#define TESTS_DEVICE_H

#include "tests/support/host.h"

namespace tests {

// --- Events, as Java reports them: name, and native method ---

// Events from kSection on belong to the filter callback, those from kLnb on before it to the LNB
// callback, and all others to the scan callback.
#define EVENTS(EVENT)                                               \
    EVENT(kLocked, "notifyScanOnLocked", "(I)I")                    \
    EVENT(kStopped, "notifyScanOnScanStopped", "(I)I")              \
    EVENT(kProgress, "notifyScanOnProgress", "(II)I")               \
    EVENT(kFrequencies, "notifyScanOnFrequenciesReport", "(I[II)I") \
    EVENT(kSymbolRates, "notifyScanOnSymbolRates", "(I[II)I")       \
    EVENT(kPlpIds, "notifyScanOnPlpIds", "(I[II)I")                 \
    EVENT(kGroupIds, "notifyScanOnGroupIds", "(I[II)I")             \
    EVENT(kStreamIds, "notifyScanOnInputStreamIds", "(I[II)I")      \
    EVENT(kDvbsStandard, "notifyScanOnDvbsStandard", "(II)I")       \
    EVENT(kDvbtStandard, "notifyScanOnDvbtStandard", "(II)I")       \
    EVENT(kHierarchy, "notifyScanOnHierarchy", "(II)I")             \
    EVENT(kSignalType, "notifyScanOnSignalType", "(II)I")           \
    EVENT(kLnb, "notifyLnbEvent", "(II)I")                          \
    EVENT(kDiseqc, "onDiseqcMessage", "(I[BI)I")                    \
    EVENT(kSection, "nativeFilterSectionEvent", "(IIIII)V")         \
    EVENT(kRestart, "nativeFilterRestartEvent", "(II)V")            \
    EVENT(kFilterStatus, "nativeFilterStatusChanged", "(II)V")

enum class Event {
#define EVENT_NAME(name, ...) name,
    EVENTS(EVENT_NAME)
#undef EVENT_NAME
};

// Calls the event's Java method on the calling thread, which must be attached. kFrequencies to
// kStreamIds and kDiseqc need a list, with the length to report as the only number. kSection needs
// four numbers, kLocked and kStopped none, all others one; more are ignored. Returns the method's
// result, or 0 when it has none.
jint reportEvent(Event event, uint32_t handle, const std::vector<jint>& numbers, jarray list);
const char* methodOf(Event event);

// Registers a callback for every event, or removes all of them. The callbacks count the events and
// pass each to the listener, if there is one, as "method(handle, value...)". The pipeline must not
// have a tuner.
void registerCountingCallbacks(uint32_t h_pipeline, bool registers = true);
int takeHeard();  // events that reached the callbacks on the calling thread since the last time
extern void (*gListener)(const std::string& event);
extern int gTag;  // its address is the tag of these registrations

// --- Facts that only the headers and the library's own sources know ---

// The status kinds in the middleware's header, in its order.
std::vector<int32_t> statusKinds();
// The address of an open filter's object, in the record that the library keeps with the handle
// service.
int64_t& instanceOf(uint32_t hfilter);

// --- The scripted device model, see tests.ScriptedModel ---

// Makes it the current model, without answers. Closed tuners are still remembered.
void resetModel();
// Sets what a method does. It returns "nothing", a number, "true", "false", "[1, 2]", or an object
// of a class of the tuner's package, whose members are 0. With "throws" it throws.
void script(const std::string& method, const std::string& does);

// A pipeline, made as another component of the device makes it.
class Pipeline {
  public:
    Pipeline();
    ~Pipeline();
    Pipeline(Pipeline&&) = delete;
    uint32_t handle() const { return mHandle; }

  private:
    jobject mObject = nullptr;
    jweak mWeak = nullptr;
    uint32_t mHandle = 0;
};

}  // namespace tests

#endif  // TESTS_DEVICE_H
