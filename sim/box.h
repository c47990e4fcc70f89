/*
 * What the rest of the simulated box does for a middleware: everything that needs Java. A
 * middleware is a shared object that defines middleware_main; scripts/demo --middleware runs it.
 *
 * Unless a function says otherwise any thread may call it, it returns when its work is done, and
 * what a pointer argument points to stays the caller's and is not used after the return.
 */
#ifndef SIM_BOX_H
#define SIM_BOX_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * What the simulated section filter understands of the values that mw/filter.h passes on:
 *   mainType, subType  these two; another type is refused
 *   value              the PID
 *   flags              nothing: sections with a wrong CRC are delivered too
 *   pattern1 to 3      value, mask and mode. Byte 0 is compared with the section's table id, byte i
 *                      with the section's byte i + 2, behind the length. Only bits that are set in
 *                      the mask count. Where the mode is 0 they must be equal; where the mode is 1,
 *                      at least one of all those bits must differ.
 * A start plays the stream once and delivers each different section of up to FLT_MAX_READ_SIZE
 * bytes once, on the filter's callback thread, or on a thread that all filters without one share. A
 * read takes the oldest section whole; one that is larger than the size asked for stays.
 */
enum { BOX_FILTER_MAIN_TS = 1, BOX_FILTER_SUB_SECTION = 1 };

/* ai4_arg of its section event. */
enum { BOX_EVENT_TABLE_ID = 0, BOX_EVENT_VERSION, BOX_EVENT_SECTION_NUMBER, BOX_EVENT_LENGTH };

/* i4_status of its one status event, when the stream has been played to its end. */
enum { BOX_STATUS_END_OF_STREAM = 1 };

typedef struct {
    /* Makes a pipeline. Result: its handle, of type HT_PIPELINE; 0 on a failure. */
    uint32_t (*create_pipeline)(void);
    /* Frees the handle. The filters and the tuner of the pipeline are to be closed before. */
    void (*destroy_pipeline)(uint32_t h_pipeline);
    /* Writes the text of the settings object that the pipeline's Java tuner received last, cut to
     * size bytes with its terminating 0; "" when there is none. */
    void (*received)(uint32_t h_pipeline, char* text, size_t size);
    /* Names the transport stream that section filters started from now on work on: a file of
     * 188-byte packets. Without one that can be read they refuse to start. */
    void (*set_stream)(const char* file);
    /* A small stream that comes with the demo; valid until the process ends. */
    const char* sample;
    /* Opens the log gate: V, D, I, W or E; anything else closes it. */
    void (*set_log_level)(const char* level);
} BOX_T;

/*
 * The middleware's main program, called once, on Java's main thread.
 *   pt_box      valid until the process ends
 *   argc, argv  as main gets them; argv[0] is the middleware's file
 * Result: the exit status of the process, which ends when this returns.
 */
int middleware_main(const BOX_T* pt_box, int argc, char** argv);

#ifdef __cplusplus
}
#endif

#endif /* SIM_BOX_H */
