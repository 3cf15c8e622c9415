#ifndef INSPECT_BUS_FIELDS_H
#define INSPECT_BUS_FIELDS_H

#include "inspect/bus/words.h"

#include <tuple>
#include <type_traits>

// The members of each record, once: JSON, columns of lists and differences between states are made from these tables.

namespace Inspect {

/// When another value of a member is a change of the bus.
enum class Difference : std::uint8_t
{
    eNever, ///< it identifies the record, or is compared in a way of its own
    eAlways,
    eTraffic ///< it changes with every message
};

enum class Presence : std::uint8_t
{
    eAlways,
    eUnlessEmpty ///< left out of JSON when it has the value that the record begins with
};

/// One member of a record.
template <typename Record, typename Value>
struct Field
{
    const char* mJsonName = nullptr;
    const char* mTitle = nullptr; ///< heads its column in a list
    Value Record::*mMember = nullptr;
    Words mWords = {}; ///< of a number that stands for something; else empty: its type decides how it is shown
    Difference mDifference = Difference::eNever;
    Presence mPresence = Presence::eAlways;
};

template <typename Record, typename Value, typename... More>
Field(const char*, const char*, Value Record::*, More...) -> Field<Record, Value>;

/// The fields of a record, as a tuple, in the order in which JSON has them.
template <typename Record>
inline constexpr auto cFields = std::tuple<>();

template <>
inline constexpr auto cFields<Interface> = std::tuple{
    Field{"id", "ID", &Interface::mId},
    Field{"name", "NAME", &Interface::mName},
    Field{"role", "ROLE", &Interface::mRole},
    Field{"domain", "DOMAIN", &Interface::mDomain},
    Field{"type", "TYPE", &Interface::mType, cTypeWords},
    Field{"version", "VERSION", &Interface::mVersion, Words(), Difference::eAlways},
    Field{"communicator", "COMM", &Interface::mCommunicatorId},
    Field{"state", "STATE", &Interface::mState, cStateWords, Difference::eAlways},
    Field{"function_storage", "STORAGE", &Interface::mFunctionStorage},
    Field{"functions", "FUNCTIONS", &Interface::mFunctions, Words(), Difference::eAlways},
    Field{"functions_cut", "CUT", &Interface::mFunctionsCut, Words(), Difference::eNever, Presence::eUnlessEmpty},
    Field{"receivers", "RECEIVERS", &Interface::mReceivers},
};

template <>
inline constexpr auto cFields<Communicator> = std::tuple{
    Field{"id", "ID", &Communicator::mId},
    Field{"pid", "PID", &Communicator::mProcessId},
    Field{"state", "STATE", &Communicator::mState, cStateWords},
};

/// In JSON, a process' members stand beside those of its communicator.
template <>
inline constexpr auto cFields<Process> = std::tuple{
    Field{"application", "APP", &Process::mApplication},
    Field{"started_ms_after_boot", "STARTED", &Process::mStartedAfterBoot},
    Field{"living", "LIVING", &Process::mLiving, cLivingWords},
};

template <>
inline constexpr auto cFields<Channel::MemoryManagerFigures> = std::tuple{
    Field{"block_size", "BLOCKSIZE", &Channel::MemoryManagerFigures::mBlockSize, Words(), Difference::eAlways},
    Field{"initial_blocks", "INITIAL", &Channel::MemoryManagerFigures::mInitialBlocks, Words(), Difference::eAlways},
    Field{"additional_blocks", "ADDITIONAL", &Channel::MemoryManagerFigures::mAdditionalBlocks, Words(),
          Difference::eAlways},
    Field{"total_blocks", "TOTAL", &Channel::MemoryManagerFigures::mTotalBlocks, Words(), Difference::eAlways},
    Field{"used_blocks", "USED", &Channel::MemoryManagerFigures::mUsedBlocks, Words(), Difference::eTraffic},
};

template <>
inline constexpr auto cFields<Slot> = std::tuple{
    Field{"index", "SLOT", &Slot::mIndex},
    Field{"state", "STATE", &Slot::mState, cSlotStateWords.subspan(1)}, // A free slot is no record.
    Field{"sender", "SENDER", &Slot::mSenderId},
    Field{"writer_counter", "COUNTER", &Slot::mWriterCounter},
    Field{"user_data_size", "SIZE", &Slot::mUserDataSize},
    Field{"receivers", "RECEIVERS", &Slot::mReceivers},
    Field{"chain", "DATA", &Slot::mChain, Words(), Difference::eNever, Presence::eUnlessEmpty},
    Field{"external", "EXTERNAL", &Slot::mExternal, Words(), Difference::eNever, Presence::eUnlessEmpty},
};

/// Without its slots.
template <>
inline constexpr auto cFields<MessageStorage> = std::tuple{
    Field{"size", "SLOTS", &MessageStorage::mSize},
    Field{"readable", "READABLE", &MessageStorage::mReadable},
    Field{"last_written_index", "LAST", &MessageStorage::mLastWrittenIndex},
    Field{"writer_counter", "COUNTER", &MessageStorage::mWriterCounter},
    Field{"totals", "TOTALS", &MessageStorage::mTotals, cSlotStateWords},
};

/// Where and when; without its records. Files of version 1.0.0 have no host.
template <>
inline constexpr auto cFields<BusState> = std::tuple{
    Field{"channel", "CHANNEL", &BusState::mChannel},
    Field{"taken_at", "TAKEN", &BusState::mTakenAt},
    Field{"host", "HOST", &BusState::mHost, Words(), Difference::eNever, Presence::eUnlessEmpty},
    Field{"boot_id", "BOOT", &BusState::mBootId},
    Field{"program_version", "VERSION", &BusState::mProgramVersion},
    Field{"mutex_held_ns", "MUTEX HELD", &BusState::mMutexHeld},
};

/// Calls `visit` with each field of the record.
template <typename Record, typename Visit>
constexpr void forEachField(Visit visit)
{
    std::apply([&](const auto&... fields) { (visit(fields), ...); }, cFields<Record>);
}

/// The field of that member.
template <typename Record, typename Value>
constexpr Field<Record, Value> fieldOf(Value Record::*member)
{
    Field<Record, Value> found{};
    forEachField<Record>([&](const auto& field) {
        if constexpr (std::is_same_v<decltype(field.mMember), Value Record::*>) {
            found = field.mMember == member ? field : found;
        }
    });
    return found;
}

} // namespace Inspect

#endif
