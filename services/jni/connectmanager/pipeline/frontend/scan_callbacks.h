// The scan callbacks that the middleware registered.

#ifndef SCAN_CALLBACKS_H
#define SCAN_CALLBACKS_H

#include "mw/frontend.h"

// The callbacks of one registration, and their tag.
struct ScanCallback {
    void* pv_tag;
    fe_scan_nfy_fct pf_locked_nfy;
    fe_scan_nfy_fct pf_stopped_nfy;
    fe_scan_value_nfy_fct pf_progress_nfy;
    fe_scan_list_nfy_fct pf_freq_report_nfy;
    fe_scan_list_nfy_fct pf_symbol_rate_nfy;
    fe_scan_list_nfy_fct pf_plp_id_nfy;
    fe_scan_list_nfy_fct pf_group_id_nfy;
    fe_scan_list_nfy_fct pf_stream_id_nfy;
    fe_scan_value_nfy_fct pf_dvbs_standard_nfy;
    fe_scan_value_nfy_fct pf_dvbt_standard_nfy;
    fe_scan_value_nfy_fct pf_hierarchy_nfy;
};

// The callbacks in force; all are null until some are registered. They are never freed. An event
// must call this once, so that its callback and its tag come from the same registration. Otherwise
// a callback could receive the tag of another registration, and would take it for an object of its
// own. Any thread may call it; it takes no lock.
const ScanCallback& scanCallbacks();

#endif  // SCAN_CALLBACKS_H
