#ifndef BENCH_DLT_CALLS_H
#define BENCH_DLT_CALLS_H

#include <dlt/dlt.h>
#include <dlt/dlt_common.h>
#include <syslog.h>

namespace Bench {

/// The calls with which the tool registers with DLT.
inline void makeDltCalls()
{
    dlt_log_set_level(LOG_ERR);
    dlt_check_library_version("2", "17");
    dlt_register_app("OZEN", "Zunic Enquirer");
    dlt_set_resend_timeout_atexit(0);
}

} // namespace Bench

#endif
