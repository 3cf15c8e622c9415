#include "inspect/view/cells.h"

#include "inspect/bus/words.h"

#include <array>
#include <cstdio>

namespace Inspect {

void appendListed(std::string& text, std::uint64_t number)
{
    if (!text.empty()) {
        text += ',';
    }
    text += std::to_string(number);
}

Cell numberCell(std::uint64_t number)
{
    return {std::to_string(number)};
}

Cell stateCell(std::uint32_t state)
{
    return {stateWord(state), state == oxa_zunic_registration_state_registered ? nullptr : cUneasyColor};
}

Cell livingCell(Living living)
{
    return {livingWord(living), living == Living::eNo ? cBadColor : nullptr};
}

Cell applicationCell(const Process& process)
{
    return {process.mApplication.value_or("")};
}

Cell startedCell(const Process& process)
{
    if (!process.mStartedAfterBoot) {
        return {};
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f", static_cast<double>(process.mStartedAfterBoot->count()) / 1000);
    return {text.data()};
}

Cell idsCell(const IdSet& ids)
{
    std::string text;
    for (const std::uint16_t id : ids) {
        appendListed(text, id);
    }
    return {text};
}

Cell applicationCell(const Communicator* owner)
{
    return owner == nullptr ? Cell{} : applicationCell(owner->mProcess);
}

Cell processIdCell(const Communicator* owner)
{
    return owner == nullptr ? Cell{} : numberCell(owner->mProcessId);
}

Cell livingCell(const Communicator* owner)
{
    return owner == nullptr ? Cell{} : livingCell(owner->mProcess.mLiving);
}

Cell communicatorIdCell(const Interface& interface)
{
    return interface.mCommunicatorId == Channel::cNoCommunicator ? Cell{} : numberCell(interface.mCommunicatorId);
}

} // namespace Inspect
