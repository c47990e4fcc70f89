/*
 * Tuner frontends and LNBs, as the middleware drives them through libhalvorin_velmora_pipeline.
 *
 * A frontend is named by its pipeline handle, h_pipeline (type HT_PIPELINE).
 * x_native_frontend_require_tuner makes the pipeline's Java frontend object; each further call
 * becomes one call of a method of that object.
 *
 * Unless a function says otherwise:
 *   Threads   any thread may call it, also one that the Java virtual machine has never seen: such a
 *             thread is attached for the length of the call, which costs some 150 times what a call
 *             on an attached one does. A thread that calls often attaches itself, once for its
 *             life, to g_velmora_javaVM: a JavaVM* that the library exports, null until it is
 *             loaded. Calls for one pipeline may overlap.
 *   Blocking  it returns when the Java method has returned. No lock of the library is held
 *             meanwhile.
 *   Result    the Java method's int, unchanged. -1 is also the library's own failure: the pipeline
 *             is not registered, it has no Java object, there is no Java environment, or Java threw
 *             an exception (which is described on the error stream of the virtual machine and
 *             cleared). Only one that refuses an end frequency is no failure, see
 *             x_native_frontend_tune.
 *   Ownership what a pointer argument points to stays the caller's and is not used after the
 *             return.
 */
#ifndef MW_FRONTEND_H
#define MW_FRONTEND_H

#include "mw/frontend_settings.h"
#include "mw/frontend_status.h"
#include "mw/layout.h"

#ifdef __cplusplus
extern "C" {
#endif
/* The library is built with everything hidden but what is declared here. */
#pragma GCC visibility push(default)

/* --- Tuner --- */

/*
 * Makes the Java frontend object of a pipeline and registers it. A pipeline that is registered
 * already keeps the object it has; the second one is opened and closed during the call. The
 * handle's object is taken for a Java reference, whatever the handle's type is: a live handle of
 * something else ends the process.
 * Result: always 0, also when the object could not be made. The pipeline is registered all the same,
 * and its later calls fail; requiring it again does not repair that, closing it first does.
 */
int x_native_frontend_require_tuner(unsigned int h_pipeline);

/*
 * Unregisters a pipeline. Its Java frontend is closed before the return or, when other calls are
 * still using it, when the last of them returns. A pipeline that is still registered when the process
 * exits is unregistered then, on the exiting thread. A thread that cannot have a Java environment
 * leaves the Java frontend unclosed.
 * Result: always 0, also when the pipeline is not registered or its frontend is left unclosed.
 */
int x_native_frontend_close_tuner(unsigned int h_pipeline);

/* Tunes to *pt_fesettings. A null record, a type that is not supported, a DVB-S frequency above
 * 2147 MHz and, for ISDB-T, a frontend without a service area give -1 and are not passed to
 * Java. When Java throws at the end frequency of DVB-S, as the platform does below 1, the
 * exception is cleared in silence, and the request has no end. */
int x_native_frontend_tune(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings);

int x_native_frontend_cancel_tuning(unsigned int h_pipeline);

/* As x_native_frontend_tune, for a scan; scan_type is the platform's constant. */
int x_native_frontend_scan(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings, int scan_type);

int x_native_frontend_cancel_scanning(unsigned int h_pipeline);

/* enable: 0 switches the low-noise amplifier off, any other value on. */
int x_native_frontend_set_lna_enabled(unsigned int h_pipeline, int32_t enable);

/* The middleware's record; this library neither reads nor writes it. */
typedef struct FE_INFO_T FE_INFO_T;

/* Result: 0; -1 when the pipeline is not registered. Calls no Java method; pt_info may be null. */
int x_native_frontend_get_frontend_info(unsigned int h_pipeline, FE_INFO_T* pt_info);

/*
 * Reads status kinds of the frontend.
 *   pi4_type     the kinds, ui1_len values of 32 bits; duplicates are allowed. All are passed to
 *                Java, which may refuse the whole query because of one; those that are no
 *                FE_STATUS_TYPE_E are then not read
 *   ui1_len      1 to FE_STATUS_MAX_TYPES
 *   pt_festatus  receives them, see FE_STATUS_T
 * Result: 0 when the frontend gave its status, even if it lacks single kinds, see FE_STATUS_T;
 * otherwise -1, nothing written.
 */
int x_native_frontend_get_frontend_status(unsigned int h_pipeline, FE_STATUS_TYPE_E* pi4_type,
                                          unsigned char ui1_len, FE_STATUS_T* pt_festatus);

/*
 * Reads the settings in force: e_type and mFrequency (in Hz for every system); for DVB-T mStandard
 * and mBandwidth, for ISDB-T and DTMB mBandwidth. Every other byte keeps what the caller put there.
 * Result: 0, also for a type without a sub-record; -1 on a failure. A failure before the first
 * value is read leaves the record as it was.
 */
int x_native_frontend_get_frontend_setting(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings);

/* Test only whether the pipeline is registered: 0 if it is, -1 if not. They store nothing. */
int x_native_frontend_set_ontune_listener(unsigned int h_pipeline);
int x_native_frontend_clear_ontune_listener(unsigned int h_pipeline);

/* --- Events --- */

/*
 * Callbacks run on the Java thread that reports the event, without a lock of the library held, and
 * several may run at once; Java waits for their return. They may call every function of this
 * header. Their results are ignored. The handle is the one that Java gave, whether or not it is
 * registered. Arrays are valid only during the call. A list has at least one element, and may have
 * fewer than Java said; a DiSEqC message may have length 0.
 *
 * After a callback was registered anew or cleared, an event under way may still call the old one,
 * with the old tag.
 */
typedef int (*fe_scan_nfy_fct)(unsigned int h_pipeline, void* pv_tag);
typedef int (*fe_scan_value_nfy_fct)(unsigned int h_pipeline, int32_t i4_value, void* pv_tag);
typedef int (*fe_scan_list_nfy_fct)(unsigned int h_pipeline, const int32_t* pi4_values,
                                    int32_t i4_count, void* pv_tag);
typedef int (*fe_lnb_nfy_fct)(unsigned int h_pipeline, int32_t i4_event_type);
typedef int (*fe_lnb_diseqc_nfy_fct)(unsigned int h_pipeline, const int8_t* pi1_message,
                                     int32_t i4_length);

/* The middleware's scan callbacks; any may be null. Values are passed on as Java reports them: the
 * units are the platform's. The reserved words are the middleware's and not read. */
typedef struct {
    void* apv_reserved0[5];
    fe_scan_nfy_fct pf_locked_nfy;
    fe_scan_nfy_fct pf_stopped_nfy;
    /* Percent */
    fe_scan_value_nfy_fct pf_progress_nfy;
    /* Hz */
    fe_scan_list_nfy_fct pf_freq_report_nfy;
    /* Symbols per second */
    fe_scan_list_nfy_fct pf_symbol_rate_nfy;
    /* PLP ids */
    fe_scan_list_nfy_fct pf_plp_id_nfy;
    /* PLP group ids */
    fe_scan_list_nfy_fct pf_group_id_nfy;
    /* Input stream ids */
    fe_scan_list_nfy_fct pf_stream_id_nfy;
    /* The platform's DVB-S standard */
    fe_scan_value_nfy_fct pf_dvbs_standard_nfy;
    /* The platform's DVB-T standard */
    fe_scan_value_nfy_fct pf_dvbt_standard_nfy;
    void* apv_reserved1[2];
    /* The platform's DVB-T hierarchy */
    fe_scan_value_nfy_fct pf_hierarchy_nfy;
    void* apv_reserved2[1];
    /* Handed back as the last argument of every scan callback */
    void* pv_tag;
} FE_SCAN_CB_T;

/*
 * Registers the scan callbacks of every pipeline. The record is copied whole: a member that is null
 * clears the one registered before. A null record clears them all. An event takes its callback and
 * its tag from the same registration. Waits for nothing but another registration.
 *
 * The library keeps a copy of each registration that differs from every earlier one until the
 * process ends, because an event may still be using it. So memory grows with each different
 * registration: a tag that stays the same keeps it constant. Without memory the process ends.
 */
void x_native_frontend_register_scan_callback(FE_SCAN_CB_T* pt_scan_cb);

/*
 * Register the one LNB event callback and the one DiSEqC message callback of the process; null
 * clears it. The latest registration serves every pipeline. They do not block.
 * Result: 0; -1 when the pipeline is not registered (the callback registered before then stays).
 */
int x_native_frontend_register_lnb_callback(unsigned int h_pipeline, fe_lnb_nfy_fct pf_nfy);
int x_native_frontend_register_lnb_DiseqcMessage_callback(unsigned int h_pipeline,
                                                          fe_lnb_diseqc_nfy_fct pf_nfy);

MW_PIN_SIZE_32(FE_SCAN_CB_T, 80);
MW_PIN_OFFSET_32(FE_SCAN_CB_T, pf_locked_nfy, 20);
MW_PIN_OFFSET_32(FE_SCAN_CB_T, pf_stopped_nfy, 24);
MW_PIN_OFFSET_32(FE_SCAN_CB_T, pf_progress_nfy, 28);
MW_PIN_OFFSET_32(FE_SCAN_CB_T, pf_freq_report_nfy, 32);
MW_PIN_OFFSET_32(FE_SCAN_CB_T, pf_symbol_rate_nfy, 36);
MW_PIN_OFFSET_32(FE_SCAN_CB_T, pf_plp_id_nfy, 40);
MW_PIN_OFFSET_32(FE_SCAN_CB_T, pf_group_id_nfy, 44);
MW_PIN_OFFSET_32(FE_SCAN_CB_T, pf_stream_id_nfy, 48);
MW_PIN_OFFSET_32(FE_SCAN_CB_T, pf_dvbs_standard_nfy, 52);
MW_PIN_OFFSET_32(FE_SCAN_CB_T, pf_dvbt_standard_nfy, 56);
MW_PIN_OFFSET_32(FE_SCAN_CB_T, pf_hierarchy_nfy, 68);
MW_PIN_OFFSET_32(FE_SCAN_CB_T, pv_tag, 76);

/* --- LNB --- */

/* Voltage, tone and position are codes of the Java side, passed through and not kept. Closing
 * the tuner does not close the LNB. */
int x_native_frontend_require_lnb(unsigned int h_pipeline);
int x_native_frontend_lnb_set_voltage(unsigned int h_pipeline, int voltage);
int x_native_frontend_lnb_set_tone(unsigned int h_pipeline, int tone);
int x_native_frontend_lnb_set_SatellitePosition(unsigned int h_pipeline, int position);

/* Result: the value that Java gave; 0 on every failure of the library. */
int x_native_frontend_lnb_get_voltage(unsigned int h_pipeline);
int x_native_frontend_lnb_get_tone(unsigned int h_pipeline);
int x_native_frontend_lnb_get_SatellitePosition(unsigned int h_pipeline);

/*
 * Sends a DiSEqC message of length bytes, which is copied. A length of 0 sends an empty message. A
 * negative length, or a null message with a length above 0, gives -1.
 */
int x_native_frontend_lnb_send_diseqcmessage(unsigned int h_pipeline, unsigned char* message,
                                             int length);

/* Result: 0; -1 when the pipeline is not registered. */
int x_native_frontend_lnb_close(unsigned int h_pipeline);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif /* MW_FRONTEND_H */
