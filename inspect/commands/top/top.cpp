#include "inspect/commands/top/top.h"

#include "inspect/cli/durations.h"
#include "inspect/commands/shared_options.h"
#include "inspect/commands/top/session.h"

#include <memory>

namespace Inspect {

namespace {

Run addTopOptions(CLI::App& part)
{
    const auto options = std::make_shared<TopOptions>();
    addChannelOption(part, options->mChannel);
    part.add_option_function<std::string>(
            "--interval",
            [options](const std::string& text) {
                options->mInterval = readInterval("--interval", text, cShortestInterval);
            },
            "Time between two looks: 500ms, 2s, 1m (default: 1s)")
        ->type_name("TIME");
    addColorOption(part, options->mHasColors);
    part.footer("Press h for help, q to quit. Without a terminal, use watch or list.");
    return [options](std::ostream&) {
        Session(*options).run();
        return eExitYes;
    };
}

} // namespace

const Command cTopCommand{"top", "Follow a bus on the full screen",
                          "  zunic_inspect top                            the channel OXABus\n"
                          "  zunic_inspect top -c other --interval 5s     another channel, every 5 seconds\n",
                          addTopOptions};

} // namespace Inspect
