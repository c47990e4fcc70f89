/*
 * Section filters, as the middleware drives them through libhalvorin_velmora_pipeline.
 *
 * A filter is named by the handle that x_velmora_filter_open issues. Each call becomes one call of
 * a method of the filter's Java object.
 *
 * Unless a function says otherwise:
 *   Threads   any thread may call it, also one that the Java virtual machine has never seen: such a
 *             thread is attached for the length of the Java call, which costs some 150 times what a
 *             call on an attached one does. A thread that calls often attaches itself, once for its
 *             life, to g_velmora_javaVM: a JavaVM* that the library exports, null until it is
 *             loaded. Failing to attach or detach a thread ends the process.
 *   Blocking  calls for one filter run one after the other: each waits for the filter, holds it
 *             through its Java call and releases it. While a thread waits for a filter, every call
 *             and every event of any filter, but an open, waits behind it.
 *   From Java from inside a Java method of a filter, no filter may be used but to open one: neither
 *             that filter nor any other, neither by a call nor by an event, neither on that thread
 *             nor on one that is waited for there. Otherwise all filters stand still for good. It
 *             happens most easily through a Java lock: one that a filter's method takes must never
 *             be held while an event is reported or these functions are called.
 *   Result    the Java method's int, unchanged; -1 when the handle names no open filter, or the
 *             library failed.
 *   Ownership what a pointer argument points to stays the caller's and is not used after the
 *             return.
 *   Exceptions of a Java filter method other than its constructor are neither tested nor cleared. A
 *             thread that the call attached is detached with the exception pending, which ends the
 *             process of a device: these methods must not throw.
 */
#ifndef MW_FILTER_H
#define MW_FILTER_H

#include "mw/layout.h"

#ifdef __cplusplus
extern "C" {
#endif
/* The library is built with everything hidden but what is declared here. */
#pragma GCC visibility push(default)

/* Bytes of one read at most, and of one section pattern. */
#define FLT_MAX_READ_SIZE 4096
#define FLT_PATTERN_SIZE 16

/* Given to open and copied; events hand back the address of the copy. */
typedef struct {
    /* The middleware's, handed back unread. */
    uint32_t ui4_private0;
    uint32_t ui4_private1;
    /* The callback thread to use; any value that names none means none. */
    uint32_t h_cb_thread;
} FLT_EVT_CB_T;

/* e_kind of FLT_EVT_DATA_T. */
typedef enum { FLT_EVT_KIND_SECTION = 0, FLT_EVT_KIND_RESTART = 1 } FLT_EVT_KIND_E;

typedef struct {
    /* Section: the four values of the Java filter. Restart: one value, then zeros. */
    int32_t ai4_arg[4];
    /* FLT_EVT_KIND_E */
    int32_t e_kind;
} FLT_EVT_DATA_T;

/*
 * Event functions. They run on the Java thread that reports the event, with no lock of the library
 * held, and may call every function of this header, also to close the filter. Events of one filter
 * may arrive at the same time and out of order; one that was on its way when the filter was closed
 * may arrive after the close has returned. pt_evt and pt_data are valid only during the call.
 *   hfilter  the filter's handle
 *   pt_evt   the filter's copy of the record given to open
 *   pv_tag   the tag given to open
 */
typedef void (*flt_section_nfy_fct)(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, FLT_EVT_DATA_T* pt_data,
                                    void* pv_tag);
typedef void (*flt_status_nfy_fct)(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, int32_t i4_status,
                                   void* pv_tag);

MW_PIN_SIZE(FLT_EVT_CB_T, 12);
MW_PIN_OFFSET(FLT_EVT_CB_T, h_cb_thread, 8);
MW_PIN_SIZE(FLT_EVT_DATA_T, 20);
MW_PIN_OFFSET(FLT_EVT_DATA_T, e_kind, 16);

/* Set the process-wide event functions; null clears. They are to be set before the first filter is
 * opened: an event under way may still call the function before. Always 0, and they do not block. */
int x_velmora_filter_register_section_callback(flt_section_nfy_fct pf_nfy);
int x_velmora_filter_register_filter_status_callback(flt_status_nfy_fct pf_nfy);

/*
 * Makes and opens the Java filter of a pipeline.
 *   h_pipeline         the pipeline, of type HT_PIPELINE
 *   mainType, subType  the platform's filter type, passed on
 *   buffersize         the filter's buffer, bytes
 *   ph_filter          receives the handle, or 0 on a failure; unwritten when not even the filter's
 *                      semaphore and record could be made
 *   pt_evt             copied, not null
 *   pv_tag             opaque, handed to the event functions
 * Result: 0; -1, also when Java refused to open; or the semaphore service's error.
 */
int x_velmora_filter_open(uint32_t h_pipeline, int mainType, int subType, int64_t buffersize,
                          uint32_t* ph_filter, FLT_EVT_CB_T* pt_evt, void* pv_tag);

/* Closes the Java filter and frees the handle, after the calls in progress on it. Result: 0 or
 * -1. */
int x_velmora_filter_close(uint32_t hfilter);

int x_velmora_filter_start(uint32_t hfilter);
int x_velmora_filter_stop(uint32_t hfilter);
int x_velmora_filter_flush(uint32_t hfilter);

/*
 * Copies section data.
 *   buffer    receives it: room for size bytes, but never for more than FLT_MAX_READ_SIZE
 *   position  passed to Java unread
 *   size      bytes wanted; what is above FLT_MAX_READ_SIZE is reduced to it
 * Result: bytes copied, 1 to FLT_MAX_READ_SIZE; -1 when there are none or on a failure.
 */
int x_velmora_filter_read(uint32_t hfilter, int8_t* buffer, int64_t position, int64_t size);

/* Configures the sections to deliver. The patterns have FLT_PATTERN_SIZE bytes each and are
 * copied. A flag other than 0 reaches Java as 1. What value, flags and patterns mean is the
 * framework's. */
int x_velmora_filter_setSectionConfig(uint32_t hfilter, int value, uint8_t flag1, uint8_t flag2,
                                      uint8_t flag3, uint8_t* pattern1, uint8_t* pattern2,
                                      uint8_t* pattern3);

/* Makes a Java callback thread and stores its handle in *ph_thread. Result: 0; -1, nothing made. */
int x_velmora_filter_create_callback_thread(uint32_t* ph_thread);

/* Releases a callback thread. Not to be called while an open that names it is running. Result:
 * 0; -1 for a handle that names none. */
int x_velmora_filter_delete_callback_thread(uint32_t hthread);

/* Add and drop one strong reference of the filter peer at address instance, which must be alive;
 * 0 is allowed and changes nothing. Result: 0; -1 for a value that is no address. */
int addInnerFilterReference(int64_t instance);
int subInnerFilterReference(int64_t instance);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif /* MW_FILTER_H */
