/*
 * Section filters: how the middleware uses them through libhalvorin_velmora_pipeline.
 *
 * x_velmora_filter_open makes a filter and issues the handle that names it. Start, stop, flush,
 * read, configuration and close each call one method of the filter's Java object.
 *
 * Unless a function says otherwise:
 *   Threads   Any thread may call it, even one that the Java virtual machine does not know. Such a
 *             thread is attached for the length of the Java call, which makes the call many
 *             times as expensive. A thread that calls often should attach itself once, for its
 *             whole life, to g_velmora_javaVM. That is a JavaVM* that the library exports; it is
 *             null until the library is loaded. If a thread cannot be attached or detached, the
 *             process ends.
 *   Blocking  Calls for one filter run one after the other: each waits for the filter, holds it
 *             during its Java call and then releases it. While a thread waits for a filter, every
 *             other call and event that names a filter by its handle waits as well.
 *   From Java A filter's Java method must not use any filter: no call, no event, and no waiting for
 *             a thread that makes one. Opening a filter is the only exception. Otherwise all
 *             filters can come to a standstill for good. Java locks are the usual cause: a lock
 *             that a filter's method takes must never be held while an event is reported or one of
 *             these functions is called.
 *   Result    The int that the Java method returned. -1 when the handle names no open filter or the
 *             library failed.
 *   Ownership What a pointer argument points to still belongs to the caller, and the library does
 *             not use it after the return.
 *   Throwing  The Java methods of a filter must not throw. Except for the constructor, the library
 *             neither checks for an exception nor clears it. If it attached the thread, it detaches
 *             it with the exception pending, and on a device that ends the process.
 */
#ifndef MW_FILTER_H
#define MW_FILTER_H

#include "mw/layout.h"

#ifdef __cplusplus
extern "C" {
#endif
/* The library exports what is declared here and hides nearly everything else. */
#pragma GCC visibility push(default)

/* The most bytes that one read can give, and the bytes of one section pattern. */
#define FLT_MAX_READ_SIZE 4096
#define FLT_PATTERN_SIZE 16

/* Open copies this record; events pass the address of the copy. */
typedef struct {
    /* For the middleware; the library does not read them. */
    uint32_t ui4_private0;
    uint32_t ui4_private1;
    /* The handle of the callback thread to use; any other value means no callback thread. */
    uint32_t h_cb_thread;
} FLT_EVT_CB_T;

/* e_kind of FLT_EVT_DATA_T. */
typedef enum { FLT_EVT_KIND_SECTION = 0, FLT_EVT_KIND_RESTART = 1 } FLT_EVT_KIND_E;

typedef struct {
    /* Section: four values from the Java filter. Restart: one value, then zeros. */
    int32_t ai4_arg[4];
    /* FLT_EVT_KIND_E */
    int32_t e_kind;
} FLT_EVT_DATA_T;

/*
 * Callbacks of events. They run on the Java thread that reports the event. The library holds no
 * lock then, so they may call every function of this header, even to close the filter. Events of
 * one filter may arrive at the same time and out of order. An event that was under way when the
 * filter was closed may arrive after the close has returned. pt_evt and pt_data are valid only
 * during the call.
 *   hfilter  the filter's handle
 *   pt_evt   the filter's copy of the record that open received
 *   pv_tag   the tag that open received
 */
typedef void (*flt_section_nfy_fct)(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, FLT_EVT_DATA_T* pt_data,
                                    void* pv_tag);
typedef void (*flt_status_nfy_fct)(uint32_t hfilter, FLT_EVT_CB_T* pt_evt, int32_t i4_status,
                                   void* pv_tag);

MW_PIN_SIZE(FLT_EVT_CB_T, 12);
MW_PIN_OFFSET(FLT_EVT_CB_T, h_cb_thread, 8);
MW_PIN_SIZE(FLT_EVT_DATA_T, 20);
MW_PIN_OFFSET(FLT_EVT_DATA_T, e_kind, 16);

/* Register the section callback and the filter status callback of the process; null clears one.
 * Register them before the first filter is opened: an event that is under way may still call the
 * previous callback. Result: always 0. They do not block. */
int x_velmora_filter_register_section_callback(flt_section_nfy_fct pf_nfy);
int x_velmora_filter_register_filter_status_callback(flt_status_nfy_fct pf_nfy);

/*
 * Makes and opens the Java filter of a pipeline.
 *   h_pipeline         the pipeline, of type HT_PIPELINE
 *   mainType, subType  the platform's filter type, passed to Java
 *   buffersize         the size of the filter's buffer in bytes
 *   ph_filter          not null; receives the handle, or 0 on failure. It is not written when the
 *                      filter's semaphore or record could not be made
 *   pt_evt             not null; copied
 *   pv_tag             passed to the callbacks unread
 * Result: 0; -1 on failure, including when Java refuses to open; or the semaphore service's error.
 */
int x_velmora_filter_open(uint32_t h_pipeline, int mainType, int subType, int64_t buffersize,
                          uint32_t* ph_filter, FLT_EVT_CB_T* pt_evt, void* pv_tag);

/* Waits for calls in progress on the filter, closes the Java filter and frees the handle. Result: 0
 * or -1. */
int x_velmora_filter_close(uint32_t hfilter);

int x_velmora_filter_start(uint32_t hfilter);
int x_velmora_filter_stop(uint32_t hfilter);
int x_velmora_filter_flush(uint32_t hfilter);

/*
 * Copies section data.
 *   buffer    not null; receives the data. It needs room for size bytes, but never for more than
 *             FLT_MAX_READ_SIZE
 *   position  passed to Java
 *   size      the number of bytes wanted; more than FLT_MAX_READ_SIZE is reduced to that
 * Result: the number of bytes copied, 1 to FLT_MAX_READ_SIZE; -1 when there are none, or on
 * failure.
 */
int x_velmora_filter_read(uint32_t hfilter, int8_t* buffer, int64_t position, int64_t size);

/* Says which sections to deliver. The patterns have FLT_PATTERN_SIZE bytes each and are copied. A
 * flag other than 0 reaches Java as 1. The framework defines what value, flags and patterns
 * mean. */
int x_velmora_filter_setSectionConfig(uint32_t hfilter, int value, uint8_t flag1, uint8_t flag2,
                                      uint8_t flag3, uint8_t* pattern1, uint8_t* pattern2,
                                      uint8_t* pattern3);

/* Makes a Java callback thread and stores its handle in *ph_thread. Result: 0; -1 on failure, also
 * for a null ph_thread. Then nothing remains, and *ph_thread may have been set to 0. */
int x_velmora_filter_create_callback_thread(uint32_t* ph_thread);

/* Releases a callback thread. It must not be called while an open that names the thread is running.
 * Result: 0; -1 when the handle names no callback thread. */
int x_velmora_filter_delete_callback_thread(uint32_t hthread);

/* Add and drop one strong reference of the filter peer at the address instance. The peer must be
 * alive. 0 is allowed and changes nothing. Result: 0; -1 when the value is not an address. */
int addInnerFilterReference(int64_t instance);
int subInnerFilterReference(int64_t instance);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif /* MW_FILTER_H */
