#include "inspect/commands/show.h"

#include "inspect/bus/message_filter.h"
#include "inspect/commands/shared_options.h"
#include "inspect/saved/json_rows.h"
#include "inspect/view/holders.h"
#include "inspect/view/interface_tree.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace Inspect {

namespace {

std::vector<const Interface*> fitting(const std::vector<std::string>& words, const BusState& state)
{
    std::vector<const Interface*> found;
    for (const Interface& interface : state.mInterfaces) {
        if (std::ranges::any_of(words, [&](const std::string& word) { return isCalled(interface, word); })) {
            found.push_back(&interface);
        }
    }
    return found;
}

/// Those of the words that fit none, for a complaint.
std::string missing(const std::vector<std::string>& words, const std::vector<const Interface*>& found)
{
    std::string text;
    for (const std::string& word : words) {
        if (std::ranges::none_of(found, [&](const Interface* interface) { return isCalled(*interface, word); })) {
            appendQuoted(text, word);
        }
    }
    return text;
}

Json ownerJson(const BusIndex& index, const Interface& interface)
{
    const Communicator* const owner = index.ownerOf(interface);
    return owner == nullptr ? Json() : toJson(*owner);
}

/// An interface beside something else: who it is, and whose.
Json otherSide(const BusIndex& index, const Interface& interface)
{
    Interface plain = interface;
    plain.mFunctions.reset(); // There may be thousands.
    plain.mReceivers = IdSet();
    Json json = toJson(plain);
    for (const char* const notShownHere : {"functions", "functions_cut", "receivers"}) {
        json.erase(notShownHere);
    }
    json["owner"] = ownerJson(index, interface);
    return json;
}

/// The other sides are many where all interfaces of a damaged bus have one id: each is written when it is made.
void writeWhole(std::ostream& out, const BusIndex& index, const Interface& interface)
{
    Json json = toJson(interface);
    json["owner"] = ownerJson(index, interface);
    std::string own = jsonText(json);
    own.pop_back(); // The closing brace.
    const char* separator = "";
    const auto add = [&](const Interface& other) {
        out << std::exchange(separator, ",") << jsonText(otherSide(index, other));
    };
    out << own << ",\"providers\":[";
    for (const Interface* const holder : index.holdersOf(interface.mId)) {
        add(*holder);
    }
    out << "],\"users\":[";
    separator = "";
    for (const std::uint16_t id : interface.mReceivers) {
        std::ranges::for_each(index.interfacesWithId(id), add);
    }
    out << "]}";
}

Run addShowOptions(CLI::App& part)
{
    const auto options = std::make_shared<ShowOptions>();
    addWords(part, options->mWords, "NAME|ID", "Name or id of the interfaces to show");
    part.get_option("NAME|ID")->required(false);
    part.add_option("--memory", options->mMemory, "Show who holds the blocks of this memory manager instead")
        ->type_name("INDEX");
    addSourceOptions(part, options->mSource);
    part.add_flag("--json", options->mJson, "Print JSON instead of a tree or table");
    part.add_flag("--all", options->mStyle.mIsWhole, "Print lists in cells and lines whole");
    addStyleOptions(part, options->mStyle);
    return [options](std::ostream& out) {
        if (options->mWords.empty() != options->mMemory.has_value()) {
            throw UsageMistake("expected either NAME|ID or --memory (see --help)");
        }
        return runShow(*options, out);
    };
}

void writeJson(std::ostream& out, const std::vector<const Interface*>& interfaces, const BusIndex& index)
{
    JsonRows rows(out, cListSchema, "interfaces");
    for (const Interface* const interface : interfaces) {
        writeWhole(rows.begin(), index, *interface);
    }
    rows.end();
}

/// One after the other: all together may be more than fits into memory.
void writeTrees(std::ostream& out, const std::vector<const Interface*>& interfaces, const BusIndex& index,
                const TableStyle& style)
{
    const char* separator = "";
    for (const Interface* const interface : interfaces) {
        out << separator << interfaceTree(*interface, index, style);
        separator = style.mHeadings ? "\n" : "";
    }
}

Json referenceJson(const BlockReference& reference, const BusIndex& index)
{
    if (reference.mSlot == nullptr) {
        return {{"range", reference.mRange}, {"functions_of", otherSide(index, *reference.mInterface)}};
    }
    const Interface* const sender = index.interfaceWithId(reference.mSlot->mSenderId);
    return {{"range", reference.mRange},
            {"message", toJson(*reference.mSlot)},
            {"sender", sender == nullptr ? Json() : otherSide(index, *sender)}};
}

void writeMemoryJson(std::ostream& out, std::size_t manager, const BusIndex& index)
{
    const BlockHolders& holders = index.blockHolders()[manager];
    Json json{{"manager", manager}};
    json.update(toJson(index.state().mMemoryManagers[manager]));
    json["function_blocks"] = holders.mFunctionBlocks;
    json["message_blocks"] = holders.mMessageBlocks;
    json["unknown_blocks"] = holders.mUnknownBlocks;
    std::string own = jsonText(json);
    own.pop_back(); // The closing brace.
    JsonRows rows(out, cListSchema, "memory");
    rows.begin() << own << ",\"holders\":[";
    const char* separator = "";
    for (const BlockReference& reference : holders.mReferences) {
        out << std::exchange(separator, ",") << jsonText(referenceJson(reference, index));
    }
    out << "]}";
    rows.end();
}

ExitStatus showMemory(const ShowOptions& options, std::ostream& out)
{
    const BusState state = readSource(options.mSource, Wanted::everything());
    const BusIndex index(state);
    const std::size_t manager = *options.mMemory;
    if (manager >= state.mMemoryManagers.size()) {
        complain("no such memory manager: " + std::to_string(manager));
        return eExitNo;
    }
    if (options.mJson) {
        writeMemoryJson(out, manager, index);
    } else {
        out << holdersTable(manager, index, options.mStyle);
    }
    return eExitYes;
}

} // namespace

ExitStatus runShow(const ShowOptions& options, std::ostream& out)
{
    if (options.mMemory) {
        return showMemory(options, out);
    }
    const BusState state = readSource(options.mSource, {.mFunctions = true, .mProcesses = true});
    const BusIndex index(state);
    const auto found = fitting(options.mWords, state);
    if (options.mJson) {
        writeJson(out, found, index);
    } else {
        writeTrees(out, found, index, options.mStyle);
    }
    const std::string absent = missing(options.mWords, found);
    if (!absent.empty()) {
        complain("no such interface: " + absent);
    }
    return absent.empty() ? eExitYes : eExitNo;
}

const Command cShowCommand{"show", "Show interfaces and their links, or who holds memory",
                           "  zunic_inspect show Clock                     every interface of that name\n"
                           "  zunic_inspect show 5                         the interface with that id\n"
                           "  zunic_inspect show Clock --from bus.json     from a saved state\n"
                           "  zunic_inspect show --json Clock | jq .       as JSON\n"
                           "  zunic_inspect show --memory 0                who holds blocks of memory manager 0\n",
                           addShowOptions};

} // namespace Inspect
