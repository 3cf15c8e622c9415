#include "inspect/commands/list/list.h"

#include "inspect/commands/shared_options.h"

#include <algorithm>
#include <array>
#include <memory>

namespace Inspect {

namespace {

constexpr std::array cKinds{&cInterfaceList, &cCommunicatorList, &cProcessList, &cMemoryList, &cMessageList};

struct ListCommandLine
{
    std::string mWhat = cInterfaceList.mWord;
    ListOptions mOptions;
};

/// The columns of each list, for --help.
std::string columnsHelp()
{
    std::string text;
    for (const ListKind* const kind : cKinds) {
        text +=
            std::string(text.empty() ? "" : "\n") + "Columns of " + kind->mWord + " (* unless others are chosen):\n";
        for (const ColumnHead& head : kind->mColumns()) {
            std::string name = std::string(head.mShown == Shown::eAlways ? "* " : "  ") + head.mName;
            name.resize(std::max<std::size_t>(name.size() + 1, 17), ' ');
            text += "  " + name + head.mMeaning + "\n";
        }
    }
    text.pop_back(); // The last newline.
    return text;
}

const ListKind& kindFor(const std::string& word)
{
    const auto found = std::ranges::find(cKinds, word, [](const ListKind* kind) { return std::string(kind->mWord); });
    if (found == cKinds.end()) {
        throw UsageMistake("cannot list " + word + " (see --help)");
    }
    return **found;
}

/// A filter that would do nothing is a mistake.
void checkFilters(const CLI::App& part, const ListKind& kind)
{
    for (const char* const option : {"--name", "--role", "--domain", "--type", "--state", "--app", "--pid"}) {
        const bool isOfOwner = std::string_view(option) == "--app" || std::string_view(option) == "--pid";
        const bool isTaken = kind.mFilters == Filters::eAll || (kind.mFilters == Filters::eOwner && isOfOwner);
        if (part.count(option) > 0 && !isTaken) {
            throw UsageMistake(std::string(option) + " does not apply to " + kind.mWord);
        }
    }
}

Run addListOptions(CLI::App& part)
{
    const auto line = std::make_shared<ListCommandLine>();
    ListOptions& options = line->mOptions;
    part.add_option("what", line->mWhat, "interfaces (if nothing is said), communicators, processes, memory, messages")
        ->type_name("")
        ->multi_option_policy(CLI::MultiOptionPolicy::Throw);
    addSourceOptions(part, options.mSource);
    auto* const json = part.add_flag("--json", options.mJson, "JSON instead of a table");
    part.add_option("-o,--output", options.mColumns, "These columns only; +COLUMN,... adds some")
        ->type_name("COLUMN,...")
        ->excludes(json);
    addLookOptions(part, options.mLook);
    part.add_option("--name", options.mFilter.mName, "Interfaces with names like this")
        ->type_name("PATTERN")
        ->group("Filters");
    addFilterOptions(part, options.mFilter);
    part.footer(columnsHelp());
    return [line, &part](std::ostream& out) {
        const ListKind& kind = kindFor(line->mWhat);
        checkFilters(part, kind);
        return kind.mRun(line->mOptions, out);
    };
}

} // namespace

const Command cListCommand{"list", "Show what is on a bus, as a table",
                           "  zunic_inspect list                           the interfaces on the channel OXABus\n"
                           "  zunic_inspect list --name Clock -o ROLE,APP  who provides and who uses Clock\n"
                           "  zunic_inspect list --type stub --app 'nav*'  what the applications nav* use\n"
                           "  zunic_inspect list processes -c other        the processes on another channel\n"
                           "  zunic_inspect list messages --from bus.json  what lay in the message storage then\n",
                           addListOptions};

} // namespace Inspect
