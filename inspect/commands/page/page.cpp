#include "inspect/commands/page/page.h"

#include "inspect/commands/page/page_data.h"
#include "inspect/commands/page/page_text.h"
#include "inspect/commands/shared_options.h"
#include "inspect/saved/output_file.h"

#include <memory>

namespace Inspect {

namespace {

struct PageOptions
{
    SourceOptions mSource;
    std::string mFile; ///< "-": standard output
};

ExitStatus runPage(const PageOptions& options, std::ostream& out)
{
    const BusState state = readSource(options.mSource, Wanted::everything());
    const std::vector<Finding> findings = findAll(BusIndex(state));
    writeOutput(options.mFile, cOwnerOnly, out, [&](std::ostream& file) { writePage(file, state, findings); });
    return eExitYes;
}

Run addPageOptions(CLI::App& part)
{
    const auto options = std::make_shared<PageOptions>();
    part.add_option("file", options->mFile, "HTML file to write (\"-\": standard output)")
        ->required()
        ->type_name("FILE")
        ->multi_option_policy(CLI::MultiOptionPolicy::Throw);
    addSourceOptions(part, options->mSource);
    part.footer("The page needs no network and no other file. It is replaced atomically, and only\n"
                "its owner may read it.");
    return [options](std::ostream& out) { return runPage(*options, out); };
}

} // namespace

void writePage(std::ostream& out, const BusState& state, const std::vector<Finding>& findings)
{
    out << cPageBeforeData;
    writePageData(out, state, findings);
    out << cPageAfterData;
}

const Command cPageCommand{"page", "Write an HTML page to search and browse a state",
                           "  zunic_inspect page bus.html                  the live bus\n"
                           "  zunic_inspect page bus.html --from bus.json  a saved state\n",
                           addPageOptions};

} // namespace Inspect
