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
 * The simulated tuners. Every pipeline has one, with an LNB behind a DiSEqC switch; they do not
 * know each other.
 *   Tune      in its band a tuner locks on every frequency, and the tune gives 0: for satellites
 *             950 to 2150 MHz behind the LNB, for other systems 42 to 1002 MHz. Outside it gives 1.
 *             The settings of either are in force until the next tune; cancelling changes nothing.
 *   Status    before the first tune none can be had: the query gives -1, and so does that for the
 *             settings. After it, also one that was refused, these kinds are reported: both locks,
 *             which are there; SNR, MER, quality and strength, which are the better the lower the
 *             frequency is; AGC, which follows from it too; and as in the settings modulation (of
 *             ISDB-T also as a list, of one layer), of DVB-S and DVB-C symbol rate and FEC, and of
 *             DVB-S the LNB's voltage, which is the one that was set. Another kind is not reported:
 *             its field becomes 0, and Java prints an exception.
 *   Scan      starts at once, on a thread of its own, and never fails. It reports 0 to 100 percent
 *             in steps of 5. At 50 it locks and finds one transponder, which is the settings that
 *             were asked for: frequency, symbol rate (DVB-S, DVB-C, ISDB-S), input stream and
 *             standard (DVB-S), PLP, group, standard and hierarchy (DVB-T). After 100 it stops. The
 *             end of the band counts for nothing, and cancelling does not end it.
 *   LNB       voltage, tone and position are kept and given back; 0 before they are set.
 *   DiSEqC    a message is answered on a thread of its own by two bytes: e4, and the message's last
 *             one. An empty message is taken and never answered.
 *   ISDB-T    the service area is 42.
 *   Never     an LNB event, a filter's restart event, an exception from any method.
 */

/*
 * What the simulated section filter understands of the values that mw/filter.h passes on:
 *   mainType, subType  these two; another type is refused
 *   buffersize         nothing: the stream stands still while 1024 sections wait to be read, and so
 *                      does the callback thread
 *   value              the PID
 *   flags              nothing: sections with a wrong CRC are delivered too
 *   pattern1 to 3      value, mask and mode. Byte 0 is compared with the section's table id, byte i
 *                      with the section's byte i + 2, behind the length. Only bits that are set in
 *                      the mask count. Where the mode is 0 they must be equal; where the mode is 1,
 *                      at least one of all those bits must differ.
 * A start plays the stream once and delivers each different section of up to FLT_MAX_READ_SIZE
 * bytes once (one that comes after 4096 others may come again), on the filter's callback thread, or
 * on a thread that all filters without one share. Packets that are cut short, have no sync byte or
 * are marked as erroneous are skipped, and a section that lacks a packet is not delivered. A read
 * takes the oldest section whole; one that is larger than the size asked for stays. A stop ends the
 * playing. A start without a configuration, without a stream that can be read, or on a callback
 * thread that was deleted is refused, and standard error says why.
 */
enum { BOX_FILTER_MAIN_TS = 1, BOX_FILTER_SUB_SECTION = 1 };

/* ai4_arg of its section event. */
enum { BOX_EVENT_TABLE_ID = 0, BOX_EVENT_VERSION, BOX_EVENT_SECTION_NUMBER, BOX_EVENT_LENGTH };

/* i4_status of its one status event, when the stream has been played to its end; not after a
 * stop. */
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
     * 188-byte packets, of any size. */
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
