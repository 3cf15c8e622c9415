#include "support/healthy_bus.h"

#include <gmock/gmock.h>

using namespace Inspect;
using namespace TestSupport;

// Findings that need two looks, and first looks that differ so that nothing may be told.

namespace {

constexpr std::uint32_t cPreregistered = oxa_zunic_registration_state_preregistered;

struct TwoLooks
{
    const char* mName;
    Edit mBefore; ///< of a healthy bus
    Edit mNow;
    std::set<std::string> mTold;
};

void nothing(BusState& /*healthy*/) {}

void processEnded(BusState& s)
{
    s.mCommunicators[0].mProcess.mLiving = Living::eNo;
}

void unlinked(BusState& s)
{
    s.mInterfaces[0].mReceivers = {};
}

void providerPreregistered(BusState& s)
{
    s.mInterfaces[0].mState = cPreregistered;
}

void slotReserved(BusState& s)
{
    slot(s).mState = Channel::eSlotStateReserved;
}

void slotWritten(BusState& s)
{
    slot(s).mState = Channel::eSlotStateWritten;
}

void receiverMissing(BusState& s)
{
    slot(s).mReceivers = {2, 70};
}

void chainLoops(BusState& s)
{
    slot(s).mChain.mEnd = Channel::ChainEnd::eLoop;
}

void poolFull(BusState& s)
{
    s.mMemoryManagers[0].mUsedBlocks = 40;
}

void poolWrong(BusState& s)
{
    s.mMemoryManagers[0].mTotalBlocks = 41;
}

void noSlotFree(BusState& s)
{
    s.mMessages.mTotals[Channel::eSlotStateFree] = 0;
}

/// One after the other.
Edit both(const Edit& first, const Edit& second)
{
    return [first, second](BusState& s) {
        first(s);
        second(s);
    };
}

const Edit cNextMessage = [](BusState& s) { ++slot(s).mWriterCounter; };
const Edit cOtherSender = [](BusState& s) { slot(s).mSenderId = 2; };
const Edit cOtherSlot = [](BusState& s) { slot(s).mIndex = 1; };
const Edit cOtherProcess = [](BusState& s) { s.mCommunicators[0].mProcessId = 101; };
const Edit cOtherCommunicator = [](BusState& s) {
    s.mCommunicators[0].mId = s.mInterfaces[0].mCommunicatorId = s.mInterfaces[1].mCommunicatorId = 8;
};
const Edit cLaterStart = [](BusState& s) { s.mCommunicators[0].mProcess.mStartedAfterBoot = std::chrono::seconds(6); };
const Edit cUnknownStart = [](BusState& s) { s.mCommunicators[0].mProcess.mStartedAfterBoot.reset(); };
const Edit cUserPreregistered = [](BusState& s) { s.mInterfaces[1].mState = cPreregistered; };
const Edit cOtherRole = [](BusState& s) { s.mInterfaces[0].mRole = "Spare"; };
const Edit cNoOwner = [](BusState& s) { s.mInterfaces[0].mCommunicatorId = Channel::cNoCommunicator; };
const Edit cNoSender = [](BusState& s) { slot(s).mSenderId = 70; };
const Edit cUnknownProcess = [](BusState& s) { s.mCommunicators[0].mProcess.mLiving = Living::eUnknown; };
const Edit cOtherReceiver = [](BusState& s) { slot(s).mReceivers = {2, 71}; };
const Edit cNotData = [](BusState& s) { slot(s).mChain.mEnd = Channel::ChainEnd::eNotData; };
const Edit cOneSlotFree = [](BusState& s) { s.mMessages.mTotals[Channel::eSlotStateFree] = 1; };
const Edit cNoPools = [](BusState& s) { s.mMemoryManagers.clear(); };

const std::set<std::string> cDead{"error dead-process"};
const std::set<std::string> cNotConnected{"warning not-connected"};
const std::set<std::string> cRequired{"warning stuck-required"};
const std::set<std::string> cStuck{"warning stuck-slot"};
const std::set<std::string> cLost{"error stuck-slot"};
const std::set<std::string> cBroken{"error broken-chain"};

const TwoLooks cTwoLooks[] = {
    {"ended", nothing, processEnded, cDead},
    {"ended before", processEnded, processEnded, cDead},
    {"communicator of another process before", cOtherProcess, processEnded, {}},
    {"another communicator before", cOtherCommunicator, processEnded, {}},
    {"process id given to another", nothing, cLaterStart, cDead},
    {"start unknown before", cUnknownStart, nothing, {}},
    {"start unknown now", nothing, cUnknownStart, {}},

    {"never connected", unlinked, unlinked, cNotConnected},
    {"connected before", nothing, unlinked, {}},
    {"provider not registered before", both(unlinked, providerPreregistered), unlinked, {}},
    {"user not registered before", both(unlinked, cUserPreregistered), unlinked, {}},
    {"user not registered now", unlinked, both(unlinked, cUserPreregistered), {}},
    {"provider not registered now", unlinked, both(unlinked, providerPreregistered), {}},

    {"required", providerPreregistered, providerPreregistered, cRequired},
    {"required since the first look", nothing, providerPreregistered, {}},
    {"another was required", both(providerPreregistered, cOtherRole), providerPreregistered, {}},

    {"reserved", slotReserved, slotReserved, cStuck},
    {"written", slotWritten, slotWritten, cStuck},
    {"reserved, then written", slotReserved, slotWritten, {}},
    {"reserved since the first look", nothing, slotReserved, {}},
    {"reserved for the next message", slotReserved, both(slotReserved, cNextMessage), {}},
    {"reserved by another", both(slotReserved, cOtherSender), slotReserved, {}},
    {"another slot", both(slotReserved, cOtherSlot), slotReserved, {}},
    {"reserved by a dead process",
     slotReserved,
     both(slotReserved, processEnded),
     {"error dead-process", "error stuck-slot"}},
    {"reserved without an owner", slotReserved, both(slotReserved, cNoOwner), cLost},
    {"reserved by nobody", both(slotReserved, cNoSender), both(slotReserved, cNoSender), cLost},
    {"reserved by the unknown",
     slotReserved,
     both(slotReserved, cUnknownProcess),
     {"note dead-process", "warning stuck-slot"}},

    {"undelivered", receiverMissing, receiverMissing, {"error undelivered"}},
    {"receiver gone since the first look", nothing, receiverMissing, {}},
    {"another receiver missing before", cOtherReceiver, receiverMissing, {}},
    {"another message undelivered", receiverMissing, both(receiverMissing, cNextMessage), {}},

    {"loop", chainLoops, chainLoops, cBroken},
    {"loop in one look", nothing, chainLoops, {}},
    {"loop, but not data before", cNotData, chainLoops, {}},
    {"loop of another message", chainLoops, both(chainLoops, cNextMessage), {}},

    {"full", poolFull, poolFull, {"error pool-full"}},
    {"full since the first look", nothing, poolFull, {"warning pool-full"}},
    {"full pool that is new", cNoPools, poolFull, {"warning pool-full"}},
    {"wrong", poolWrong, poolWrong, {"error pool-accounting"}},
    {"wrong in one look", nothing, poolWrong, {}},
    {"wrong pool that is new", cNoPools, poolWrong, {"error pool-accounting"}},

    {"no slot free", noSlotFree, noSlotFree, {"error slots-low"}},
    {"one slot free before", cOneSlotFree, noSlotFree, {"warning slots-low"}},
    {"one slot free now", noSlotFree, cOneSlotFree, {"warning slots-low"}},
};

TEST(CheckLooks, WhatMayPassIsToldOnlyWhenItStays)
{
    for (const TwoLooks& tried : cTwoLooks) {
        const BusState before = healthyBut(tried.mBefore);
        EXPECT_EQ(told(healthyBut(tried.mNow), &before), tried.mTold) << tried.mName;
    }
}

} // namespace
