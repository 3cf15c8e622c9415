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
            "Look again after this: 500ms, 2s, 1m (1s)")
        ->type_name("TIME");
    addColorOption(part, options->mHasColors);
    part.footer("The key h shows all keys; q quits. It needs a terminal: watch follows a bus without one.");
    return [options](std::ostream&) {
        Session(*options).run();
        return eExitYes;
    };
}

} // namespace

const Command cTopCommand{"top", "Follow a bus on a full screen, as it changes",
                          "  zunic_inspect top                            the channel OXABus; h shows the keys\n"
                          "  zunic_inspect top -c other --interval 5s     another one, slowly\n",
                          addTopOptions};

} // namespace Inspect
