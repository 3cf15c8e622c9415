#ifndef INSPECT_BUS_BUS_STATE_H
#define INSPECT_BUS_BUS_STATE_H

#include "channel/data_chains.h"
#include "channel/memory_managers.h"
#include "channel/message_slots.h"
#include "channel/record_types.h"

#include "inspect/bus/function_names.h"
#include "inspect/bus/id_set.h"
#include "inspect/bus/times.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The state of a bus at one moment, as plain values. Names are bytes as the bus has them, in no particular character
// set; ids, states and types are the bus's own numbers, whatever they are.

namespace Inspect {

struct Interface
{
    std::uint16_t mId = 0;
    std::string mName;
    std::string mRole;
    std::string mDomain;
    std::uint32_t mType = 0; ///< Oxa::InterfaceInstanceType, or any other number
    Oxa::Version mVersion;
    std::uint16_t mCommunicatorId = 0; ///< Channel::cNoCommunicator: none is recorded
    std::uint32_t mState = 0;          ///< registered or preregistered
    OxaZunic::OxaZunicRangeLocation mFunctionStorage;
    /// None when the function storage could not be read, or its names were left out.
    std::optional<FunctionNames> mFunctions;
    bool mFunctionsCut = false; ///< there are more names: they end at a limit, or were left out because of it
    IdSet mReceivers;           ///< the interfaces connected to this one

    bool operator==(const Interface& other) const = default;
};

enum class Living : std::uint8_t
{
    eNo, ///< there is no such process, or only its zombie
    eYes,
    eUnknown ///< the system hides it from this user
};

/// What the system said of a process at that moment.
struct Process
{
    std::optional<std::string> mApplication;                    ///< name of its executable; none: unknown
    std::optional<std::chrono::milliseconds> mStartedAfterBoot; ///< in the kernel's clock ticks, mostly 10 ms
    Living mLiving = Living::eUnknown;

    bool operator==(const Process& other) const = default;
};

struct Communicator
{
    std::uint16_t mId = 0;
    std::uint32_t mProcessId = 0;
    std::uint32_t mState = 0; ///< oxa_zunic_registration_state, or any other number
    Process mProcess;

    bool operator==(const Communicator& other) const = default;
};

/// A message slot in use.
struct Slot
{
    std::uint32_t mIndex = 0;
    Channel::SlotState mState = Channel::eSlotStateFree; ///< never free
    std::uint16_t mSenderId = 0;
    std::uint16_t mWriterCounter = 0;
    std::uint32_t mUserDataSize = 0; ///< as the slot has it
    IdSet mReceivers;
    /// Of a message (written or there to be read) with internal data; else empty, and whole.
    Channel::DataChain mChain;
    std::optional<OxaZunic::OxaZunicRangeLocation> mExternal; ///< of a message with an external data entry

    bool operator==(const Slot& other) const = default;
};

/// The number of slots in each Channel::SlotState.
using SlotTotals = std::array<std::uint32_t, Channel::cSlotStates>;

struct MessageStorage
{
    std::uint32_t mSize = 0;             ///< slots, as the storage's header says
    std::uint32_t mReadable = 0;         ///< of these, how many there are to be read; less only when memory is damaged
    std::uint32_t mLastWrittenIndex = 0; ///< of a slot
    std::uint16_t mWriterCounter = 0;    ///< counts messages, modulo 65,536
    SlotTotals mTotals{};
    std::vector<Slot> mSlots; ///< those in use, in ascending order of index

    bool operator==(const MessageStorage& other) const = default;
};

/// Interfaces and communicators are of one moment, copied under the registry mutex. Functions, processes, memory
/// managers and message slots were read right after it, one by one, while the bus went on.
struct BusState
{
    std::string mChannel;        ///< its name, as it was asked for
    WallTime mTakenAt;           ///< when it was copied
    std::string mHost;           ///< name of the machine, from uname(2); empty: unknown
    std::string mBootId;         ///< of the machine's boot, from the kernel; empty: unknown
    std::string mProgramVersion; ///< of the zunic_inspect that took it
    std::chrono::nanoseconds mMutexHeld{};
    std::vector<Interface> mInterfaces;       ///< those in use, by id, those of one id in the order of the table
    std::vector<Communicator> mCommunicators; ///< those in use, in the order of the table
    std::vector<Channel::MemoryManagerFigures> mMemoryManagers; ///< by index
    MessageStorage mMessages;

    bool operator==(const BusState& other) const = default;
};

} // namespace Inspect

#endif
