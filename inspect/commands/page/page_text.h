#ifndef INSPECT_COMMANDS_PAGE_PAGE_TEXT_H
#define INSPECT_COMMANDS_PAGE_PAGE_TEXT_H

#include <string_view>

namespace Inspect {

/// What of the page is the same for each bus. The build makes it of the files in web/.
extern const std::string_view cPageBeforeData;
extern const std::string_view cPageAfterData;

} // namespace Inspect

#endif
