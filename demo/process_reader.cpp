#include "process_reader.h"

#include "zunic_hosting/channel_format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <optional>

namespace ZunicDemo {

namespace {

using ZunicHosting::cCommunicatorCapacity;
using ZunicHosting::cInterfaceCapacity;
using ZunicHosting::InstanceType;
using ZunicHosting::RegistrationState;

constexpr std::uint64_t cMostCopies = 4096;
constexpr std::size_t cMostProcesses = cCommunicatorCapacity;
constexpr std::size_t cLongestName = 255;
constexpr std::uint64_t cLargestCommunicatorId = 4095;
constexpr std::size_t cMostFunctions = 256;

RegistrationState readState(const JsonPlace& place, WordTable<RegistrationState> words)
{
    const std::optional<JsonPlace> state = place.find("state");
    return state ? readWord(*state, words) : RegistrationState::registered;
}

/// "1.0.3", with nothing around it.
std::array<std::uint16_t, 3> readVersion(const JsonPlace& place)
{
    const std::string text = readText(place, {}, cLongestName);
    std::array<std::uint16_t, 3> version{};
    const char* next = text.data();
    const char* const end = text.data() + text.size();
    for (std::size_t i = 0; i < version.size(); ++i) {
        const auto [stop, error] = std::from_chars(next, end, version[i]);
        const bool isLast = i + 1 == version.size();
        if (error != std::errc{} || (isLast ? stop != end : stop == end || *stop != '.')) {
            place.expected("a version like \"1.0.3\" with numbers up to 65535");
        }
        next = stop + 1;
    }
    return version;
}

/// Hands out the ids of one table: the one that an entry asks for, or the one behind that of the entry before.
class IdSequence
{
public:
    explicit IdSequence(std::uint64_t largest) : mLargest(largest) {}

    /// `copy` counts the copies of the entry at `place`; the id that it asks for is that of its first one.
    std::uint16_t take(const JsonPlace& place, std::uint64_t copy)
    {
        const std::optional<JsonPlace> wanted = place.find("id");
        const std::uint64_t id = wanted && copy == 0 ? wanted->unsignedWithin({0, mLargest}) : mNext;
        if (id > mLargest) {
            place.fail("expected ids up to " + std::to_string(mLargest) + ", but this one would be " +
                       std::to_string(id));
        }
        if (const auto [taken, isNew] = mOwners.emplace(id, place); !isNew) {
            place.fail("expected an unused id, but " + std::to_string(id) + " belongs to " +
                       pathText(taken->second.pointer()));
        }
        mNext = id + 1;
        return static_cast<std::uint16_t>(id);
    }

    std::size_t taken() const { return mOwners.size(); }

private:
    std::uint64_t mLargest;
    std::uint64_t mNext = 0;
    std::map<std::uint64_t, JsonPlace> mOwners;
};

std::size_t functionStorageSize(const std::vector<std::string>& names)
{
    std::size_t size = sizeof(ZunicFormat::FunctionStorageHeader);
    for (const std::string& name : names) {
        size += sizeof(ZunicFormat::FunctionRecord) + name.size();
    }
    return size;
}

std::size_t largestBlock(const std::vector<ZunicHosting::MemoryManagerOptions>& managers)
{
    std::size_t largest = 0;
    for (const ZunicHosting::MemoryManagerOptions& manager : managers) {
        largest = std::max<std::size_t>(largest, manager.blockSize);
    }
    return largest;
}

class ProcessReader
{
public:
    explicit ProcessReader(Scenario& scenario) : mScenario(&scenario) {}

    void readProcess(const JsonPlace& place, std::uint64_t copy);

    InterfaceReferences takeReferences() { return std::move(mReferences); }

private:
    CommunicatorEntry readCommunicator(const JsonPlace& place, PlaceholderNumbers numbers);
    InterfaceEntry readInterface(const JsonPlace& place, const PlaceholderNumbers& numbers);
    std::vector<std::string> readFunctions(const JsonPlace& place, const PlaceholderNumbers& numbers) const;

    Scenario* mScenario;
    IdSequence mCommunicatorIds{cLargestCommunicatorId};
    IdSequence mInterfaceIds{cInterfaceCapacity - 1};
    InterfaceReferences mReferences;
};

std::string readProcessName(const JsonPlace& place, const PlaceholderNumbers& numbers)
{
    std::string name = readText(place, numbers, cLongestName);
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos) {
        place.expected("a file name");
    }
    return name;
}

void ProcessReader::readProcess(const JsonPlace& place, std::uint64_t copy)
{
    requireKeys(place, {"count", "name", "leaves", "communicators"});
    if (mScenario->processes.size() == cMostProcesses) {
        place.fail("expected at most " + std::to_string(cMostProcesses) + " processes in all");
    }
    ProcessEntry process;
    process.name = readProcessName(require(place, "name"), {{"n", copy}, {"process", copy}});
    const std::optional<JsonPlace> leaves = place.find("leaves");
    process.leaves = leaves && leaves->boolean();
    forEachOf(place, "communicators", [&](const JsonPlace& communicator) {
        for (std::uint64_t n = 0, copies = readCount(communicator); n < copies; ++n) {
            process.communicators.push_back(
                readCommunicator(communicator, {{"n", n}, {"process", copy}, {"communicator", n}}));
        }
    });
    mScenario->processes.push_back(std::move(process));
}

CommunicatorEntry ProcessReader::readCommunicator(const JsonPlace& place, PlaceholderNumbers numbers)
{
    requireKeys(place, {"count", "id", "state", "interfaces"});
    if (mCommunicatorIds.taken() == cCommunicatorCapacity) {
        place.fail("expected at most " + std::to_string(cCommunicatorCapacity) + " communicators in all");
    }
    CommunicatorEntry communicator;
    communicator.id = mCommunicatorIds.take(place, numbers["n"]);
    communicator.state = readState(place, {{"registered", RegistrationState::registered},
                                           {"preregistered", RegistrationState::preregistered},
                                           {"unregistered", RegistrationState::unregistered},
                                           {"invalid", RegistrationState::invalid}});
    forEachOf(place, "interfaces", [&](const JsonPlace& interface) {
        for (std::uint64_t n = 0, copies = readCount(interface); n < copies; ++n) {
            numbers["n"] = n;
            communicator.interfaces.push_back(readInterface(interface, numbers));
            mReferences.add(communicator.interfaces.back());
        }
    });
    return communicator;
}

InterfaceEntry ProcessReader::readInterface(const JsonPlace& place, const PlaceholderNumbers& numbers)
{
    requireKeys(place, {"count", "id", "name", "role", "domain", "type", "version", "state", "functions"});
    InterfaceEntry interface;
    interface.id = mInterfaceIds.take(place, numbers.at("n"));
    interface.name = readText(require(place, "name"), numbers, cLongestName);
    interface.role = readText(require(place, "role"), numbers, cLongestName);
    const std::optional<JsonPlace> domain = place.find("domain");
    interface.domain = domain ? readText(*domain, numbers, cLongestName) : "local";
    interface.type = readWord<InstanceType>(
        require(place, "type"),
        {{"skeleton", InstanceType::skeleton}, {"stub", InstanceType::stub}, {"undefined", InstanceType::undefined}});
    interface.version = readVersion(require(place, "version"));
    // No invalid one: the next interface would take its place in the table.
    interface.state = readState(place, {{"registered", RegistrationState::registered},
                                        {"preregistered", RegistrationState::preregistered},
                                        {"unregistered", RegistrationState::unregistered}});
    interface.functions = readFunctions(place, numbers);
    return interface;
}

std::vector<std::string> ProcessReader::readFunctions(const JsonPlace& place, const PlaceholderNumbers& numbers) const
{
    std::vector<std::string> functions;
    forEachOf(place, "functions", [&](const JsonPlace& function) {
        if (functions.size() == cMostFunctions) {
            function.fail("expected at most " + std::to_string(cMostFunctions) + " functions of an interface");
        }
        functions.push_back(readText(function, numbers, cLongestName));
    });
    if (!functions.empty() && functionStorageSize(functions) > largestBlock(mScenario->memoryManagers)) {
        place.fail("expected a memory manager with blocks of " + std::to_string(functionStorageSize(functions)) +
                   " bytes or more, for the functions");
    }
    return functions;
}

} // namespace

std::uint64_t readCount(const JsonPlace& place)
{
    const std::optional<JsonPlace> count = place.find("count");
    return count ? count->unsignedWithin({1, cMostCopies}) : 1;
}

InterfaceReferences readProcesses(const JsonPlace& root, Scenario& scenario)
{
    ProcessReader reader(scenario);
    forEachOf(root, "processes", [&](const JsonPlace& place) {
        for (std::uint64_t copy = 0, copies = readCount(place); copy < copies; ++copy) {
            reader.readProcess(place, copy);
        }
    });
    return reader.takeReferences();
}

} // namespace ZunicDemo
