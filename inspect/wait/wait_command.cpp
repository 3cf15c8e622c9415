#include "inspect/command_line/durations.h"
#include "inspect/command_line/options.h"
#include "inspect/wait/wait.h"

#include <memory>

namespace Inspect {

namespace {

Run addWaitOptions(CLI::App& part)
{
    const auto options = std::make_shared<WaitOptions>();
    options->mFilter.mState = oxa_zunic_registration_state_registered;
    addWords(part, options->mNames, "NAME", "The names of the interfaces to wait for");
    addChannelOption(part, options->mChannel);
    part.add_flag("--gone", options->mIsForGone, "Wait until none of them is there any more");
    part.add_option_function<std::string>(
            "--timeout", [options](const std::string& text) { options->mTimeout = readDuration("--timeout", text); },
            "Give up after this: 10s, 500ms, 2m, 1h, or none (30s)")
        ->type_name("TIME");
    addFilterOptions(part, options->mFilter);
    part.footer("An interface is there when it is registered (see --state) and fits the filters.");
    return [options](std::ostream&) { return runWait(*options); };
}

} // namespace

const Command cWaitCommand{"wait", "Wait until interfaces are registered, or gone",
                           "  zunic_inspect wait Clock --type skeleton     until somebody provides Clock\n"
                           "  zunic_inspect wait Clock Audio --timeout 2m  until both are there, two minutes at most\n"
                           "  zunic_inspect wait Clock --gone --app clockd until clockd has taken it back\n",
                           addWaitOptions};

} // namespace Inspect
