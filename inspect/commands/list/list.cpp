#include "inspect/commands/list/list.h"

#include "channel/snapshot_memory.h"
#include "inspect/bus/message_filter.h"
#include "inspect/commands/list/lists.h"
#include "inspect/commands/shared_options.h"
#include "inspect/saved/json_rows.h"

#include <algorithm>
#include <array>
#include <memory>

namespace Inspect {

namespace {

constexpr std::array cKinds{&cInterfaceList, &cCommunicatorList, &cProcessList, &cMemoryList, &cMessageList};

struct ListOptions
{
    std::string mWhat = cInterfaceList.mWord;
    SourceOptions mSource;
    InterfaceFilter mFilter;
    MessageWords mMessages;
    std::string mColumns; ///< as chooseColumns takes them
    TableStyle mStyle;
    bool mJson = false;
};

/// The columns of each list, for --help.
std::string columnsHelp()
{
    std::string text;
    for (const ListKind* const kind : cKinds) {
        text += std::string(text.empty() ? "" : "\n") + "Columns of " + kind->mWord + " (* default):\n";
        for (const Column& column : kind->mColumns) {
            std::string name = std::string(column.mShown == Shown::eAlways ? "* " : "  ") + column.mName;
            name.resize(std::max<std::size_t>(name.size() + 1, 17), ' ');
            text += "  " + name + column.mMeaning + "\n";
        }
    }
    text.pop_back(); // The last newline.
    return text;
}

const ListKind& kindFor(const std::string& word)
{
    const auto found = std::ranges::find(cKinds, word, [](const ListKind* kind) { return std::string(kind->mWord); });
    if (found == cKinds.end()) {
        throw UsageMistake("unknown list " + word + " (see --help)");
    }
    return **found;
}

/// A filter that would do nothing is a mistake.
void checkFilters(const CLI::App& part, const ListKind& kind)
{
    const bool isOfInterfaces = kind.mFilters == Filters::eAll;
    const auto require = [&](bool isTaken, std::initializer_list<const char*> options) {
        for (const char* const option : options) {
            if (part.count(option) > 0 && !isTaken) {
                throw UsageMistake(std::string(option) + " does not apply to " + kind.mWord);
            }
        }
    };
    require(isOfInterfaces, {"--name", "--role", "--domain", "--type", "--state"});
    require(isOfInterfaces || kind.mFilters == Filters::eOwner, {"--app", "--pid"});
    require(kind.mFilters == Filters::eMessages, {"--to", "--sender"});
}

/// What the answer will be made of, and no more.
Wanted wantedFor(const ListKind& kind, const ListOptions& options, const std::vector<std::size_t>& places)
{
    Wanted wanted = kind.mWanted | Wanted{.mProcesses = options.mFilter.mOwner.mApplication.has_value()};
    if (options.mJson) {
        return wanted | kind.mWantedForJson;
    }
    for (const std::size_t place : places) {
        wanted = wanted | kind.mColumns[place].mWanted;
    }
    return wanted;
}

void writeJson(std::ostream& out, const ListKind& kind, const std::vector<ListRow>& rows)
{
    JsonRows array(out, cListSchema, kind.mWord);
    for (const ListRow& row : rows) {
        array.add(kind.mJson(row));
    }
    array.end();
}

ExitStatus runList(const ListKind& kind, const ListOptions& options, std::ostream& out)
{
    const auto places = chooseColumns(kind.mColumns, options.mColumns);
    const Channel::SnapshotMemory memory;
    const BusState state = readSource(options.mSource, wantedFor(kind, options, places));
    const BusIndex index(state);
    std::vector<ListRow> rows = kind.mRows(index, options.mFilter);
    if (kind.mFilters == Filters::eMessages) {
        const MessageFilter filter(options.mMessages, state);
        std::erase_if(rows, [&](const ListRow& row) { return !filter.fits(*row.record<Slot>()); });
    }
    if (options.mJson) {
        writeJson(out, kind, rows);
    } else if (!rows.empty()) {
        writeTable(out, kind, rows, places, options.mStyle);
    }
    if (rows.empty()) {
        complain(std::string("no matching ") + kind.mOne);
        return eExitNo;
    }
    return eExitYes;
}

void addMessageFilter(CLI::App& part, const char* option, std::optional<std::string>& word, const char* meaning)
{
    part.add_option(option, word, meaning)->type_name("NAME|ID")->group("Filters");
}

Run addListOptions(CLI::App& part)
{
    const auto options = std::make_shared<ListOptions>();
    part.add_option("what", options->mWhat,
                    "What to list: interfaces (default), communicators, processes, memory or messages")
        ->type_name("")
        ->multi_option_policy(CLI::MultiOptionPolicy::Throw);
    addSourceOptions(part, options->mSource);
    auto* const json = part.add_flag("--json", options->mJson, "Print JSON instead of a table");
    part.add_option("-o,--output", options->mColumns, "Print these columns only; +COLUMN,... adds to the default ones")
        ->type_name("COLUMN,...")
        ->excludes(json);
    part.add_flag("--all", options->mStyle.mIsWhole,
                  "Print lists in cells and lines whole: without it, 1,2,3,4,5,6,7,8,+16more stands for a list of 24");
    addStyleOptions(part, options->mStyle);
    part.add_option("--name", options->mFilter.mName, "Only names that match the shell pattern")
        ->type_name("PATTERN")
        ->group("Filters");
    addFilterOptions(part, options->mFilter);
    addMessageFilter(part, "--to", options->mMessages.mReceiver, "Only messages to this interface");
    addMessageFilter(part, "--sender", options->mMessages.mSender, "Only messages from this interface");
    part.footer(columnsHelp());
    return [options, &part](std::ostream& out) {
        const ListKind& kind = kindFor(options->mWhat);
        checkFilters(part, kind);
        return runList(kind, *options, out);
    };
}

} // namespace

const Command cListCommand{"list", "List interfaces, processes, memory or messages",
                           "  zunic_inspect list                           interfaces on the channel OXABus\n"
                           "  zunic_inspect list --name Clock -o ROLE,APP  providers and users of Clock\n"
                           "  zunic_inspect list --type stub --app 'nav*'  interfaces that nav* uses\n"
                           "  zunic_inspect list processes -c other        processes on another channel\n"
                           "  zunic_inspect list messages --from bus.json  messages of a saved state\n"
                           "  zunic_inspect list messages --to Clock       messages that Clock has to read\n"
                           "  zunic_inspect list memory -o +UNKNOWN        with blocks that nothing refers to\n",
                           addListOptions};

} // namespace Inspect
