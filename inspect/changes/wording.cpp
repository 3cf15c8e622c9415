#include "inspect/changes/wording.h"

#include "inspect/bus/words.h"
#include "inspect/cli/printable.h"

#include <algorithm>
#include <array>

namespace Inspect {

namespace {

/// As in tables: an empty name is "-", and one that reads like it is told from it.
std::string nameWord(const std::string& name)
{
    return name.empty() ? "-" : name == "-" ? "\\x2d" : printable(name);
}

std::string processWords(const std::optional<std::string>& application, std::uint32_t processId)
{
    const std::string id = std::to_string(processId);
    return application ? nameWord(*application) + " (" + id + ")" : "pid " + id;
}

std::string processWords(const Communicator* owner)
{
    return owner == nullptr ? "no process" : processWords(owner->mProcess.mApplication, owner->mProcessId);
}

std::string interfaceWords(const Party& party)
{
    const Interface& interface = *party.mInterface;
    return nameWord(interface.mName) + ' ' + nameWord(interface.mRole) + ' ' + nameWord(interface.mDomain) + ' ' +
           typeWord(interface.mType) + " of " + processWords(party.mOwner);
}

std::string receiverWords(const Change& link)
{
    return link.mReceiver.mInterface == nullptr ? "id " + std::to_string(link.mNumber) : interfaceWords(link.mReceiver);
}

std::string subjectWords(const Change& change)
{
    switch (change.mKind) {
    case ChangeKind::eProcess:
        return processWords(change.mSubject.mOwner);
    case ChangeKind::eInterface:
        return interfaceWords(change.mSubject);
    case ChangeKind::eLink:
        return interfaceWords(change.mSubject) + " -> " + receiverWords(change);
    case ChangeKind::eMemory:
        return std::to_string(change.mNumber);
    case ChangeKind::eMessages:
        break;
    }
    return "";
}

/// A name in JSON as bytes.
std::string bytesOf(const Json& name)
{
    if (name.is_string()) {
        return name.get<std::string>();
    }
    std::string bytes;
    for (const Json& byte : name) {
        bytes += static_cast<char>(byte.get<unsigned char>());
    }
    return bytes;
}

std::string valueWords(const Json& value)
{
    if (value.is_null()) {
        return "no process";
    }
    if (value.is_object()) { // An owner.
        const Json& application = value["application"];
        return processWords(application.is_null() ? std::nullopt : std::optional(bytesOf(application)),
                            value["pid"].get<std::uint32_t>());
    }
    return value.is_string() ? printable(value.get<std::string>(), Blanks::eKept) : value.dump();
}

/// Which of the names are not among the others.
void appendOthers(std::string& words, const char* sign, const Json& names, const Json& others)
{
    std::vector<std::string> sorted;
    for (const Json& name : others) {
        sorted.push_back(bytesOf(name));
    }
    std::ranges::sort(sorted);
    for (const Json& name : names) {
        if (const std::string bytes = bytesOf(name); !std::ranges::binary_search(sorted, bytes)) {
            words += std::string(" ") + sign + nameWord(bytes);
        }
    }
}

std::string functionWords(const Json& before, const Json& now)
{
    std::string words;
    appendOthers(words, "-", before, now);
    appendOthers(words, "+", now, before);
    return std::to_string(before.size()) + " -> " + std::to_string(now.size()) + (words.empty() ? " reordered" : words);
}

std::string attributeWords(const Change& change)
{
    const std::string attribute = change.mAttribute + ' ';
    const std::string begin = change.mSign == Sign::eRestarted ? "restarted, " + attribute : attribute;
    if (change.mBefore.is_array() && change.mSign == Sign::eChanged) {
        return begin + functionWords(change.mBefore, change.mNow);
    }
    return begin + valueWords(change.mBefore) + " -> " + valueWords(change.mNow);
}

/// What came or went, beyond its name.
std::string detailWords(const Change& change)
{
    if (change.mKind != ChangeKind::eInterface) {
        return "";
    }
    const Interface& interface = *change.mSubject.mInterface;
    return ": version " + versionWord(interface.mVersion) + ", " + stateWord(interface.mState);
}

Json toJson(const Communicator* owner)
{
    if (owner == nullptr) {
        return nullptr;
    }
    const Process& process = owner->mProcess;
    return {{"application", process.mApplication ? nameToJson(*process.mApplication) : Json()},
            {"pid", owner->mProcessId}};
}

Json toJson(const Party& party)
{
    Interface interface = *party.mInterface;
    interface.mFunctions.reset(); // There may be thousands, and a million links.
    interface.mReceivers = IdSet();
    Json json = toJson(interface);
    for (const char* const notToldHere :
         {"communicator", "function_storage", "functions", "functions_cut", "receivers"}) {
        json.erase(notToldHere);
    }
    json["owner"] = toJson(party.mOwner);
    return json;
}

const char* signWord(Sign sign)
{
    constexpr std::array cWords{"added", "removed", "changed", "restarted"};
    return cWords.at(static_cast<std::size_t>(sign));
}

} // namespace

const char* kindWord(ChangeKind kind)
{
    constexpr std::array<const char*, cChangeKinds> cWords{"process", "interface", "link", "memory", "messages"};
    return cWords.at(static_cast<std::size_t>(kind));
}

std::string lineOf(const Change& change)
{
    constexpr std::array cSigns{"+ ", "- ", "~ ", "~ "};
    const std::string subject = subjectWords(change);
    std::string line = cSigns.at(static_cast<std::size_t>(change.mSign));
    line += kindWord(change.mKind) + (subject.empty() ? "" : ' ' + subject);
    return line + (change.mAttribute.empty() ? detailWords(change) : ": " + attributeWords(change));
}

Json toJson(const Change& change)
{
    Json json{{"change", signWord(change.mSign)}, {"kind", kindWord(change.mKind)}};
    if (change.mKind == ChangeKind::eProcess) {
        json["process"] = toJson(change.mSubject.mOwner);
    } else if (change.mKind == ChangeKind::eMemory) {
        json["memory_manager"] = change.mNumber;
    } else if (change.mKind != ChangeKind::eMessages) {
        json["interface"] = toJson(change.mSubject);
    }
    if (change.mKind == ChangeKind::eLink) {
        json["receiver"] =
            change.mReceiver.mInterface == nullptr ? Json{{"id", change.mNumber}} : toJson(change.mReceiver);
    }
    if (!change.mAttribute.empty()) {
        json["attribute"] = change.mAttribute;
        json["before"] = change.mBefore;
        json["now"] = change.mNow;
    }
    return json;
}

std::string colored(const std::string& line)
{
    const char* const color = line.starts_with('+') ? "\x1b[32m" : line.starts_with('~') ? "\x1b[33m" : "\x1b[31m";
    return color + line + "\x1b[0m";
}

} // namespace Inspect
