/*
 * Tuner frontends and LNBs: how the middleware uses them through libhalvorin_velmora_pipeline.
 *
 * The handle of a pipeline, h_pipeline (type HT_PIPELINE), names its frontend.
 * x_native_frontend_require_tuner makes the pipeline's Java frontend object. Most other functions
 * call one method of that object.
 *
 * Unless a function says otherwise:
 *   Threads   Any thread may call it, even one that the Java virtual machine does not know. Such a
 *             thread is attached for the length of the call, which makes the call many times as
 *             expensive. A thread that calls often should attach itself once, for its whole life,
 *             to g_velmora_javaVM. That is a JavaVM* that the library exports; it is null until the
 *             library is loaded. Calls for one pipeline may overlap.
 *   Blocking  It returns when the Java method has returned. The library holds no lock meanwhile.
 *   Result    The int that the Java method returned. -1 also means that the library failed: the
 *             pipeline is not registered, it has no Java object, there is no Java environment, or
 *             Java threw an exception. The exception is described on the error stream of the
 *             virtual machine and cleared. If Java throws because it refuses an end frequency, the
 *             call does not fail, see x_native_frontend_tune.
 *   Ownership What a pointer argument points to still belongs to the caller, and the library does
 *             not use it after the return.
 */
#ifndef MW_FRONTEND_H
#define MW_FRONTEND_H

#include "mw/frontend_settings.h"
#include "mw/frontend_status.h"
#include "mw/layout.h"

#ifdef __cplusplus
extern "C" {
#endif
/* The library exports what is declared here and hides nearly everything else. */
#pragma GCC visibility push(default)

/* --- Tuner --- */

/*
 * Makes the Java frontend object of a pipeline and registers the pipeline. A pipeline that is
 * registered already keeps its object; the call makes another one, opens it and closes it. The
 * library does not check the type of the handle: a live handle of another type ends the process.
 * Result: always 0, even when the object could not be made. The pipeline is registered all the
 * same, and its later calls fail. Requiring it again does not repair that; close it first.
 */
int x_native_frontend_require_tuner(unsigned int h_pipeline);

/*
 * Unregisters a pipeline. Its Java frontend is closed before the return or, if other calls are
 * still using it, when the last of them returns. A pipeline that is still registered when the
 * process exits is unregistered then, on the exiting thread. If that thread cannot have a Java
 * environment, the Java frontend is not closed.
 * Result: always 0, even when the pipeline is not registered or its frontend was not closed.
 */
int x_native_frontend_close_tuner(unsigned int h_pipeline);

/* Tunes to *pt_fesettings. The library refuses these with -1 and without onTune: a null record, a
 * type that is not supported, a DVB-S frequency above 2147 or below -2147 MHz, and ISDB-T
 * without a service area.
 * For DVB-S, Java may refuse the end frequency by throwing, as the platform does below 1 Hz. The
 * library clears that exception without logging it, and the request has no end frequency. */
int x_native_frontend_tune(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings);

int x_native_frontend_cancel_tuning(unsigned int h_pipeline);

/* Like x_native_frontend_tune, but scans; scan_type is the platform's constant. */
int x_native_frontend_scan(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings, int scan_type);

int x_native_frontend_cancel_scanning(unsigned int h_pipeline);

/* enable: 0 switches the low-noise amplifier off; any other value switches it on. */
int x_native_frontend_set_lna_enabled(unsigned int h_pipeline, int32_t enable);

/* A record of the middleware; the library neither reads nor writes it. */
typedef struct FE_INFO_T FE_INFO_T;

/* Result: 0; -1 when the pipeline is not registered. Calls no Java method; pt_info may be null. */
int x_native_frontend_get_frontend_info(unsigned int h_pipeline, FE_INFO_T* pt_info);

/*
 * Reads status kinds of the frontend.
 *   pi4_type     the kinds: ui1_len values of 32 bits, not null; duplicates are allowed. All of
 *                them are passed to Java, which may refuse the whole query because of one. If
 *                it does not, the library skips those that are not in FE_STATUS_TYPE_E
 *   ui1_len      1 to FE_STATUS_MAX_TYPES
 *   pt_festatus  not null; receives the values, see FE_STATUS_T
 * Result: 0 when the frontend gave its status, even if some kinds are missing in it, see
 * FE_STATUS_T; otherwise -1, and nothing is written.
 */
int x_native_frontend_get_frontend_status(unsigned int h_pipeline, FE_STATUS_TYPE_E* pi4_type,
                                          unsigned char ui1_len, FE_STATUS_T* pt_festatus);

/*
 * Reads the settings in force: e_type and mFrequency (in Hz for every system); for DVB-T mStandard
 * and mBandwidth, for ISDB-T and DTMB mBandwidth. Every other byte keeps what the caller put there.
 * Result: 0, even for a type without a sub-record; -1 on failure. Then the record may hold values
 * that were read before the failure; if the first value cannot be read, it stays as it was.
 */
int x_native_frontend_get_frontend_setting(unsigned int h_pipeline, MW_FESETTING_T* pt_fesettings);

/* Only test whether the pipeline is registered: 0 if it is, -1 if not. They store nothing. */
int x_native_frontend_set_ontune_listener(unsigned int h_pipeline);
int x_native_frontend_clear_ontune_listener(unsigned int h_pipeline);

/* --- Events --- */

/*
 * Callbacks run on the Java thread that reports the event, and Java waits for their return. Several
 * may run at once. The library holds no lock then, so they may call every function of this header.
 * Their results are ignored. The handle is the one that Java passed, whether or not it is
 * registered. Arrays are valid only during the call. A list has at least one element, and may have
 * fewer than Java reported; a DiSEqC message may have length 0.
 *
 * After a callback has been replaced or cleared, an event that is under way may still call the old
 * one, with the old tag.
 */
typedef int (*fe_scan_nfy_fct)(unsigned int h_pipeline, void* pv_tag);
typedef int (*fe_scan_value_nfy_fct)(unsigned int h_pipeline, int32_t i4_value, void* pv_tag);
typedef int (*fe_scan_list_nfy_fct)(unsigned int h_pipeline, const int32_t* pi4_values,
                                    int32_t i4_count, void* pv_tag);
typedef int (*fe_lnb_nfy_fct)(unsigned int h_pipeline, int32_t i4_event_type);
typedef int (*fe_lnb_diseqc_nfy_fct)(unsigned int h_pipeline, const int8_t* pi1_message,
                                     int32_t i4_length);

/* The middleware's scan callbacks; any may be null. Values arrive as Java reports them, in the
 * platform's units. The library does not read the reserved words, which belong to the
 * middleware. */
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
    /* The last argument of every scan callback */
    void* pv_tag;
} FE_SCAN_CB_T;

/*
 * Registers the scan callbacks of all pipelines. The whole record is copied: a null member clears
 * the callback registered before, and a null record clears them all. An event takes its callback
 * and its tag from the same registration. The call waits for nothing but another registration.
 *
 * The library keeps a copy of each different registration until the process ends, because an event
 * may still be using it. So memory grows with each different registration: keep the tag the same.
 * If there is no memory left, the process ends.
 */
void x_native_frontend_register_scan_callback(FE_SCAN_CB_T* pt_scan_cb);

/*
 * Register the LNB event callback and the DiSEqC message callback; null clears one. The process has
 * one of each, so the latest registration serves all pipelines. They do not block.
 * Result: 0; -1 when the pipeline is not registered, and the callback registered before stays.
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

/* Voltage, tone and position are codes that Java defines; the library passes them on and does not
 * keep them. Closing the tuner does not close the LNB. */
int x_native_frontend_require_lnb(unsigned int h_pipeline);
int x_native_frontend_lnb_set_voltage(unsigned int h_pipeline, int voltage);
int x_native_frontend_lnb_set_tone(unsigned int h_pipeline, int tone);
int x_native_frontend_lnb_set_SatellitePosition(unsigned int h_pipeline, int position);

/* Result: the value that Java returned; 0 when the library failed. */
int x_native_frontend_lnb_get_voltage(unsigned int h_pipeline);
int x_native_frontend_lnb_get_tone(unsigned int h_pipeline);
int x_native_frontend_lnb_get_SatellitePosition(unsigned int h_pipeline);

/*
 * Sends a DiSEqC message of length bytes, which is copied. A length of 0 sends an empty message.
 * The result is -1 for a negative length, and for a null message with a length above 0.
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
