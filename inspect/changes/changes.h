#ifndef INSPECT_CHANGES_CHANGES_H
#define INSPECT_CHANGES_CHANGES_H

#include "inspect/bus/bus_state.h"
#include "inspect/saved/record_json.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

// What differs between two states of a bus.

namespace Inspect {

enum class Sign : std::uint8_t
{
    eAdded,
    eRemoved,
    eChanged,
    eRestarted ///< the same as before, with another id or process id
};

enum class ChangeKind : std::uint8_t
{
    eProcess,
    eInterface,
    eLink,
    eMemory, ///< a memory manager
    eMessages
};
constexpr std::size_t cChangeKinds = 5;

/// An interface and whose it is. Of a process: only `mOwner`.
struct Party
{
    const Interface* mInterface = nullptr; ///< null: there is none of that id
    const Communicator* mOwner = nullptr;  ///< the first one of its process; null: not known
};

/// One difference. It points into the states that it was found in; those who are still there are as they are now.
struct Change
{
    Sign mSign = Sign::eChanged;
    ChangeKind mKind = ChangeKind::eProcess;
    Party mSubject{};         ///< of a link, the interface whose receiver set it is in
    Party mReceiver{};        ///< of a link
    std::size_t mNumber = 0;  ///< of a link, the receiver's id; of a memory manager, its index
    std::string mAttribute{}; ///< what of it is another one; "" where it came or went
    Json mBefore = nullptr;   ///< the attribute: a number, a word, a name, an owner, or an array of names or ids
    Json mNow = nullptr;      ///< as well
};

using ChangeVisitor = std::function<void(const Change& change)>;

/// Messages come and go all the time, and so do the blocks that they lie in.
enum class Traffic : std::uint8_t
{
    eTold, ///< as totals
    eLeftOut
};

/// Calls `visit` with every difference between the states, one by one, as there may be millions: processes, interfaces,
/// links, memory managers, messages. No id alone identifies anything: interfaces are the same by name, role, domain and
/// type, and in the same process if there are several; processes by id while they run, else by application and place,
/// or by what they have registered when the application is unknown; links by the interfaces at both ends. A value that
/// is unknown in one of the states is no difference.
void forEachChange(const BusState& before, const BusState& now, Traffic traffic, const ChangeVisitor& visit);

} // namespace Inspect

#endif
