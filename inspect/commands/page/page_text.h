#ifndef INSPECT_COMMANDS_PAGE_PAGE_TEXT_H
#define INSPECT_COMMANDS_PAGE_PAGE_TEXT_H

#include <string_view>

namespace Inspect {

/// The parts of the page that are the same for each bus, made of the files in web/ by the build.
extern const std::string_view cPageBeforeData;
extern const std::string_view cPageAfterData;

} // namespace Inspect

#endif
