#include "inspect/page/page.h"

#include "inspect/page/page_data.h"
#include "inspect/page/page_text.h"

namespace Inspect {

void writePage(std::ostream& out, const BusState& state, const std::vector<Finding>& findings)
{
    out << cPageBeforeData << pageData(state, findings) << cPageAfterData;
}

} // namespace Inspect
