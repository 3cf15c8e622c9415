#ifndef TESTS_SUPPORT_CHURN_REPORT_H
#define TESTS_SUPPORT_CHURN_REPORT_H

#include <set>
#include <string>
#include <sys/types.h>

namespace TestSupport {

/// Holds the interfaces of a text report against the rule of a churning bus (demo/churn.h). Empty when they keep it,
/// else what is wrong. The interfaces of processes that are not among `alive` have to be whole, but may lack their
/// counterparts. Each of `alive` has to be in the report.
std::string churnFaultIn(const std::string& report, const std::set<pid_t>& alive);

} // namespace TestSupport

#endif
