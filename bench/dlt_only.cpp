// What a program pays that registers with DLT as the tool does, and does nothing else.
#include <dlt/dlt.h>
#include <dlt/dlt_common.h>
#include <syslog.h>

int main()
{
    dlt_log_set_level(LOG_ERR);
    dlt_check_library_version("2", "17");
    dlt_register_app("OZEN", "Zunic Enquirer");
    dlt_set_resend_timeout_atexit(0);
    return 0;
}
