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

// Those in force; all null until some are registered. An event asks once, and so takes its callback and
// its tag from the same registration: otherwise the middleware could be given the tag of another one, and
// would take it for an object of its own. They live for good. Any thread may call it; it takes no lock.
const ScanCallback& scanCallbacks();

#endif  // SCAN_CALLBACKS_H
