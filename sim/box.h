/*
 * What the simulated box does for a middleware: everything that needs Java. A middleware is a
 * shared object that defines middleware_main; scripts/demo --middleware runs it.
 *
 * Unless a function's comment says otherwise, any thread may call it, and it returns when its work
 * is done. The caller keeps what a pointer argument points to; it is not used after the return.
 */
#ifndef SIM_BOX_H
#define SIM_BOX_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The simulated tuners. Every pipeline has one, with an LNB behind a DiSEqC switch. They are
 * independent of each other.
 *   Tune      A tuner locks on every frequency of its band, and the tune gives 0. For DVB-S the
 *             band is 950 to 2150 MHz after the LNB, of which the library passes on those up to
 *             2147; for other systems it is 42 to 1002 MHz. Outside it the tune gives 1. Either way
 *             the settings stay in force until the next tune; cancelling changes nothing.
 *   Status    Before the first tune, the queries for status and settings give -1. After any tune,
 *             even a refused one, these kinds are reported: both locks, which are always there;
 *             SNR, MER, quality and strength, which are better at a lower frequency; AGC, which
 *             depends on the frequency too; the modulation from the settings (for ISDB-T also as a
 *             list, of one layer); the symbol rate (DVB-S, DVB-C, ISDB-S) and FEC (DVB-S, DVB-C)
 *             from the settings; and for DVB-S the LNB voltage that was set. No other kind is
 *             reported: its field becomes 0, and Java prints an exception.
 *   Scan      It starts at once, on its own thread, and never fails. It reports 0 to 100 percent in
 *             steps of 5. At 50 it locks and finds one transponder, with the values of the
 *             requested settings: frequency, symbol rate (DVB-S, DVB-C, ISDB-S), input stream and
 *             standard (DVB-S), PLP, group, standard and hierarchy (DVB-T). After 100 it stops. It
 *             ignores the end of the band, and cancelling does not end it.
 *   LNB       Voltage, tone and position are stored and returned; they are 0 until they are set.
 *   DiSEqC    A thread of its own answers a message with two bytes: e4, and the message's last
 *             byte. An empty message is accepted and never answered.
 *   ISDB-T    The service area is 42.
 *   Never     an LNB event, a filter's restart event, an exception from a method of a tuner or
 *             filter.
 */

/*
 * How the simulated section filter uses the values that mw/filter.h passes on:
 *   mainType, subType  only these two are accepted
 *   buffersize         ignored: while 1024 sections wait to be read, the stream and the callback
 *                      thread stand still
 *   value              the PID
 *   flags              ignored: sections with a wrong CRC are delivered too
 *   pattern1 to 3      value, mask and mode. Byte 0 is compared with the section's table id, byte i
 *                      with the section's byte i + 2, after the length. Only bits that are set in
 *                      the mask count. Those whose mode is 0 must be equal. Of those whose mode is
 *                      1, at least one must differ.
 * A start plays the stream once. It delivers each different section of up to FLT_MAX_READ_SIZE
 * bytes once (after 4096 others a section may come again). It does so on the filter's callback
 * thread, or on a thread that all filters without one share. It skips packets that are cut short,
 * have no sync byte or are marked as erroneous, and does not deliver a section that lacks a packet.
 * A read takes the whole oldest section; one that is larger than the requested size stays. A stop
 * ends the playing. A start is refused without a configuration, without a readable stream, or on a
 * deleted callback thread; standard error says why.
 */
enum { BOX_FILTER_MAIN_TS = 1, BOX_FILTER_SUB_SECTION = 1 };

/* Indices into ai4_arg of its section event. */
enum { BOX_EVENT_TABLE_ID = 0, BOX_EVENT_VERSION, BOX_EVENT_SECTION_NUMBER, BOX_EVENT_LENGTH };

/* i4_status of its only status event: the stream has been played to its end. None comes after a
 * stop. */
enum { BOX_STATUS_END_OF_STREAM = 1 };

typedef struct {
    /* Creates a pipeline. Result: its handle, of type HT_PIPELINE; 0 on failure. */
    uint32_t (*create_pipeline)(void);
    /* Frees the handle. Close the filters and the tuner of the pipeline first. */
    void (*destroy_pipeline)(uint32_t h_pipeline);
    /* Writes the last settings object that the pipeline's Java tuner received as a text, cut to
     * size bytes with its terminating 0; "" if there is none. */
    void (*received)(uint32_t h_pipeline, char* text, size_t size);
    /* Sets the transport stream for all section filters that are started from now on: a file of
     * 188-byte packets, of any size. */
    void (*set_stream)(const char* file);
    /* A small stream that comes with the demo; valid until the process ends. */
    const char* sample;
    /* Opens the log gate at V, D, I, W or E; anything else closes it. */
    void (*set_log_level)(const char* level);
} BOX_T;

/*
 * The middleware's main program, called once, on Java's main thread.
 *   pt_box      valid until the process ends
 *   argc, argv  like those of main; argv[0] is the middleware's file
 * Result: the exit status of the process, which ends when this returns.
 */
int middleware_main(const BOX_T* pt_box, int argc, char** argv);

#ifdef __cplusplus
}
#endif

#endif /* SIM_BOX_H */
