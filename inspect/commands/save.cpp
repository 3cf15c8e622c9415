#include "inspect/commands/save.h"
#include "inspect/commands/shared_options.h"
#include "inspect/findings/contract/write_contract.h"
#include "inspect/live/take_state.h"
#include "inspect/saved/output_file.h"
#include "inspect/saved/state_json.h"

#include <memory>

namespace Inspect {

namespace {

struct SaveOptions
{
    std::string mChannel = "OXABus";
    std::string mFile; ///< "-": standard output
    bool mAsContract = false;
};

ExitStatus runSave(const SaveOptions& options, std::ostream& out)
{
    const BusState state = takeState(options.mChannel, Wanted::everything());
    const auto write = [&](std::ostream& file) {
        options.mAsContract ? writeContract(file, BusIndex(state)) : writeState(file, state);
    };
    writeOutput(options.mFile, cOwnerOnly, out, write);
    return eExitYes;
}

Run addSaveOptions(CLI::App& part)
{
    const auto options = std::make_shared<SaveOptions>();
    part.add_option("file", options->mFile, "JSON file to write (\"-\": standard output)")
        ->required()
        ->type_name("FILE")
        ->multi_option_policy(CLI::MultiOptionPolicy::Throw);
    addChannelOption(part, options->mChannel);
    part.add_flag("--as-contract", options->mAsContract,
                  "Write a contract for check --expect instead: the present interfaces are expected");
    part.footer("The file is replaced atomically. Only its owner may read it.");
    return [options](std::ostream& out) { return runSave(*options, out); };
}

} // namespace

const Command cSaveCommand{"save", "Save the state of a bus to a file",
                           "  zunic_inspect save bus.json                    read it with --from bus.json\n"
                           "  zunic_inspect save - | gzip >bus.json.gz\n"
                           "  zcat bus.json.gz | zunic_inspect list --from - read a compressed state\n",
                           addSaveOptions};

} // namespace Inspect
