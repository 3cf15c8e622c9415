#include "inspect/cli/command_line.h"

#include "inspect/cli/help_formatter.h"
#include "inspect/cli/printable.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <unistd.h>

namespace Inspect {

namespace {

constexpr auto cExamples = "  zunic_inspect list                     interfaces on the channel OXABus\n"
                           "  zunic_inspect show Clock               its providers and users\n"
                           "  zunic_inspect wait Clock --timeout 10s wait until it is registered\n"
                           "  zunic_inspect check                    report problems\n"
                           "  zunic_inspect save bus.json            save the state of the bus\n"
                           "  zunic_inspect list --from bus.json     list the saved state\n";

std::string exitStatuses()
{
    std::string text = "Exit status:\n";
    for (std::size_t status = 0; status < cExitStatusMeanings.size(); ++status) {
        text += "  " + std::to_string(status) + "  " + cExitStatusMeanings[status] + "\n";
    }
    return text;
}

/// A stream that is closed is opened so that it cannot be used. Else a file would take its place, and what is printed.
void openStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) == -1) {
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

/// CLI11's own messages may be several lines long.
std::string firstLine(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

/// Adds a command to the command line; `chosen` becomes what runs it when it is the one.
void addCommand(CLI::App& app, const Command& command, Run& chosen)
{
    CLI::App* const part = app.add_subcommand(command.mName, command.mSummary);
    part->formatter(std::make_shared<HelpFormatter>(command.mExamples));
    part->group("Commands");
    part->option_defaults()->take_last();
    part->footer("");
    part->callback([&chosen, run = command.mAddOptions(*part)] { chosen = run; });
    part->footer(part->get_footer() + (part->get_footer().empty() ? "" : "\n\n") + exitStatuses());
}

/// None when the command line asked for help or the version, which have then been printed.
Run readCommandLine(CLI::App& app, int argc, char** argv, std::span<const Command* const> commands)
{
    app.formatter(std::make_shared<HelpFormatter>(cExamples));
    app.footer(std::string("Run zunic_inspect COMMAND --help for the options of a command.\n\n") + exitStatuses());
    app.set_version_flag("--version", std::string("zunic_inspect ") + ZUNIC_INSPECT_VERSION,
                         "Show the version and exit");
    app.require_subcommand(0, 1);
    Run chosen;
    for (const Command* const command : commands) {
        addCommand(app, *command, chosen);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        app.exit(request, std::cout, std::cerr);
        return nullptr;
    } catch (const CLI::ParseError& error) {
        throw UsageMistake(firstLine(error.what()) + " (see --help)");
    }
    if (!chosen) {
        throw UsageMistake("missing command (see --help)");
    }
    return chosen;
}

ExitStatus fail(ExitStatus status, const std::string& why)
{
    complain(why);
    return status;
}

/// A reader may close the pipe when it has read enough: no error.
ExitStatus afterFailedStream(const std::ios::failure& failure, int error)
{
    if (std::cout.good()) {
        return fail(eExitFailed, failure.what()); // It was another stream.
    }
    if (error == EPIPE) {
        return eExitYes;
    }
    return fail(eExitFailed, std::string("cannot write to standard output: ") + std::strerror(error));
}

ExitStatus answer(int argc, char** argv, std::span<const Command* const> commands)
{
    CLI::App app("Inspects a Zunic bus, live or from a saved state.", "zunic_inspect");
    const Run run = readCommandLine(app, argc, argv, commands);
    const ExitStatus status = run ? run(std::cout) : eExitYes;
    std::cout.flush();
    return status;
}

/// The text with words that no name is as long as, such as a number of a thousand digits, without their middle.
std::string abbreviated(std::string_view text)
{
    constexpr std::size_t cLongest = 300;
    constexpr std::size_t cKept = 40; // at each end
    const auto isInCharacter = [&](std::size_t place) {
        return (static_cast<unsigned char>(text[place]) & 0xC0) == 0x80;
    };
    std::string shorter;
    while (!text.empty()) {
        const std::size_t word = std::min(text.find(' '), text.size() - 1) + 1;
        if (word > cLongest) {
            std::size_t begin = cKept;
            std::size_t end = word - cKept;
            for (; begin > 0 && isInCharacter(begin); --begin) {
            }
            for (; end < word && isInCharacter(end); ++end) {
            }
            shorter.append(text.substr(0, begin)).append("...").append(text.substr(end, word - end));
        } else {
            shorter += text.substr(0, word);
        }
        text.remove_prefix(word);
    }
    return shorter;
}

} // namespace

void complain(const std::string& text)
{
    std::cerr << "zunic_inspect: " + printable(abbreviated(text), Blanks::eKept) + "\n";
}

void appendQuoted(std::string& names, const std::string& name)
{
    names += names.empty() ? "\"" : ", \"";
    names += name + '"';
}

ExitStatus runCommandLine(int argc, char** argv, std::span<const Command* const> commands)
{
    openStandardStreams();
    std::setlocale(LC_CTYPE, "");
    std::ios::sync_with_stdio(false);
    std::cout.exceptions(std::ios::badbit | std::ios::failbit);
    std::cerr.tie(nullptr); // What cannot be written shall not keep us from saying so.
    try {
        return answer(argc, argv, commands);
    } catch (const Failure& failure) {
        return fail(failure.status(), failure.what());
    } catch (const std::ios::failure& failure) {
        return afterFailedStream(failure, errno);
    } catch (const std::bad_alloc&) {
        return fail(eExitFailed, "out of memory");
    } catch (const std::exception& error) {
        return fail(eExitFailed, error.what());
    }
}

} // namespace Inspect
