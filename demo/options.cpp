#include "options.h"

#include <CLI/CLI.hpp>

#include <grp.h>

#include <charconv>

namespace ZunicDemo {

namespace {

gid_t findGroup(const std::string& nameOrId)
{
    gid_t id = 0;
    const char* const end = nameOrId.data() + nameOrId.size();
    const auto [stop, error] = std::from_chars(nameOrId.data(), end, id);
    if (error == std::errc{} && stop == end) {
        return id;
    }
    const group* const found = getgrnam(nameOrId.c_str());
    if (found == nullptr) {
        throw UsageMistake("--group: expected the name or id of a group, not " + nameOrId);
    }
    return found->gr_gid;
}

/// CLI11's own messages may be several lines long.
std::string firstLine(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

} // namespace

std::optional<Options> readOptions(int argumentCount, char** arguments)
{
    Options options;
    std::string groupName;
    CLI::App app("Hosts a Zunic channel with real processes, as described in a scenario file.", "zunic_demo_bus");
    app.option_defaults()->take_last();
    app.add_option("scenario", options.scenarioFile, "Scenario file (JSON; default: a small bus)")
        ->type_name("SCENARIO.json")
        ->multi_option_policy(CLI::MultiOptionPolicy::Throw);
    app.add_option("--channel", options.channel, "Name of the channel (default: as in the scenario)")
        ->type_name("NAME");
    app.add_option("--group", groupName, "Group whose members may also open the channel")->type_name("GROUP");
    app.add_option("--churn", options.churnRate,
                   "Let each process register, connect, post and\n"
                   "remove again and again, RATE times per second\n"
                   "(0: as fast as possible)")
        ->check(CLI::Range(0, 1'000'000).description(""))
        ->type_name("RATE");
    app.add_option("--truth", options.truthFile,
                   "When the bus stops, write each message of the\n"
                   "traffic to FILE, with the times at which it was\n"
                   "sent and freed (JSON lines)")
        ->type_name("FILE");
    app.add_flag("--check", options.checkOnly, "Check the scenario and exit");
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::CallForHelp& help) {
        app.exit(help);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw UsageMistake(firstLine(error.what()) + " (see --help)");
    }
    if (!groupName.empty()) {
        options.group = findGroup(groupName);
    }
    return options;
}

} // namespace ZunicDemo
