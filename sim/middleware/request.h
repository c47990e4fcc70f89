/* Entries of a scan file as tuning requests. */
#ifndef SIM_REQUEST_H
#define SIM_REQUEST_H

#include <libdvbv5/dvb-file.h>
#include <libdvbv5/dvb-sat.h>
#include <stdbool.h>
#include <stddef.h>

#include "mw/frontend_settings.h"

/* A request and what it borrows. */
typedef struct {
    MW_FESETTING_T t_settings;
    MW_FE_DVBS_CODE_RATE_T t_code_rate;
} REQUEST_T;

/* Fills the request of an entry. False when entry_values cannot express it. */
bool request_from_entry(struct dvb_entry* pt_entry, const struct dvb_sat_lnb* pt_lnb,
                        REQUEST_T* pt_request);

/*
 * What Java must receive for an entry: the text of the platform's settings object, made from the
 * entry alone.
 */
void expected_text(struct dvb_entry* pt_entry, const struct dvb_sat_lnb* pt_lnb, char* text,
                   size_t size);

/* The family of an entry's delivery system: "DVB-S". */
const char* entry_system(struct dvb_entry* pt_entry);

/* "DVBS2 11362.000 MHz H" */
void entry_name(struct dvb_entry* pt_entry, char* text, size_t size);

/* Values of an entry's properties as the platform counts them. */
typedef struct {
    uint32_t delsys;
    int32_t frequency;   /* MHz after the LNB for satellites, Hz for the others */
    bool high_band;      /* of a satellite's LNB */
    bool horizontal;     /* or circular left */
    int32_t symbol_rate; /* symbols per second */
    int32_t modulation;
    int64_t fec;
    int32_t inversion;
    int32_t rolloff;
    int32_t pilot;
    int32_t stream_id;
    int32_t bandwidth;
    int32_t mode;
    int32_t hierarchy;
    int32_t hp_rate;
    int32_t lp_rate;
    int32_t guard;
} ENTRY_VALUES_T;

/* False when the delivery system is none of the library's, a number does not fit, or a satellite is
 * out of the LNB's reach. */
bool entry_values(struct dvb_entry* pt_entry, const struct dvb_sat_lnb* pt_lnb,
                  ENTRY_VALUES_T* pt_values);

#endif /* SIM_REQUEST_H */
