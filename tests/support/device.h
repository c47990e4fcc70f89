// What is around the library on a device: pipelines, the framework's objects with the scripted model
// behind them, and the events that they report.

#ifndef TESTS_DEVICE_H
#define TESTS_DEVICE_H

#include "tests/support/java.h"

namespace tests {

// --- Events, as Java reports them: name, and native method ---

// The methods from kLnb on are of the LNB callback, from kSection on of the filter callback, and
// those before of the scan callback.
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

// Calls the event's Java method on the calling thread, which is attached. The list is an array, for
// kFrequencies to kStreamIds and kDiseqc. The numbers are, for these, the length to report; for
// kSection four values; for every other but kLocked and kStopped one. Returns the method's result,
// 0 when it has none.
jint reportEvent(Event event, uint32_t handle, const std::vector<jint>& numbers, jarray list);
const char* methodOf(Event event);

// Registers a callback of its own for every event, or takes all back. They count the events and, if
// there is a listener, tell it each as "method(handle, value...)". The pipeline must not be
// registered.
void registerCountingCallbacks(uint32_t h_pipeline, bool registers = true);
int takeHeard();  // events that reached them on the calling thread since the last time
extern void (*gListener)(const std::string& event);
extern int gTag;  // its address is the tag of these registrations

// --- What only the headers and the library's own sources tell ---

// The status kinds of the middleware's header, in its order.
std::vector<int32_t> statusKinds();
// Of an open filter, from the record that the library keeps with the handle service: the address of
// its object.
int64_t& instanceOf(uint32_t hfilter);

// --- The scripted device model, see tests.ScriptedModel ---

// Puts it in force; it then answers nothing and remembers nothing.
void resetModel();
// What a method does: returns "nothing", a number, "true" or "[1, 2]", or an object of a class of the
// tuner's package, whose members are 0; or "throws".
void script(const std::string& method, const std::string& does);

// A pipeline as another component of the device makes it.
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
