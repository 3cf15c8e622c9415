#include "inspect/command_line/options.h"
#include "inspect/show/show.h"

#include <memory>

namespace Inspect {

namespace {

Run addShowOptions(CLI::App& part)
{
    const auto options = std::make_shared<ShowOptions>();
    addWords(part, options->mWords, "NAME|ID", "Its name, or its id; of several each is shown");
    addSourceOptions(part, options->mSource);
    part.add_flag("--json", options->mJson, "JSON instead of a tree");
    addLookOptions(part, options->mLook);
    return [options](std::ostream& out) { return runShow(*options, out); };
}

} // namespace

const Command cShowCommand{"show", "Show an interface whole: owner, functions, who provides it and who uses it",
                           "  zunic_inspect show Clock                     every interface of that name\n"
                           "  zunic_inspect show 5                         the interface with that id\n"
                           "  zunic_inspect show Clock --from bus.json     as it was when the state was saved\n"
                           "  zunic_inspect show --json Clock | jq .       for a program\n",
                           addShowOptions};

} // namespace Inspect
