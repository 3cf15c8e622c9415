#ifndef TESTS_SUPPORT_HEALTHY_BUS_H
#define TESTS_SUPPORT_HEALTHY_BUS_H

#include "inspect/findings/findings.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>

namespace TestSupport {

using namespace Inspect;

inline Interface interface(std::uint16_t id, std::uint32_t type)
{
    Interface made;
    made.mId = id;
    made.mName = "Clock";
    made.mRole = type == Oxa::eInterfaceInstanceTypeStub ? "User" : "Provider";
    made.mDomain = "local";
    made.mType = type;
    made.mVersion = {1, 2, 3};
    made.mCommunicatorId = 7;
    made.mState = oxa_zunic_registration_state_registered;
    made.mFunctions = {"now"};
    return made;
}

/// A bus in perfect health: a provider, a user, a message, a pool that cannot grow and one that can.
inline BusState healthy()
{
    BusState state;
    state.mInterfaces = {interface(1, Oxa::eInterfaceInstanceTypeSkeleton),
                         interface(2, Oxa::eInterfaceInstanceTypeStub)};
    state.mInterfaces[0].mReceivers = {2};
    state.mCommunicators = {{7, 100, 1, {"clockd", std::chrono::seconds(5), Living::eYes}}};
    state.mMemoryManagers = {{64, 40, 0, 40, 4}, {64, 8, 8, 20, 20}};
    state.mMessages.mSize = 40;
    state.mMessages.mTotals[Channel::eSlotStateFree] = 20;
    state.mMessages.mSlots = {{.mIndex = 0,
                               .mState = Channel::eSlotStateMessage,
                               .mSenderId = 1,
                               .mWriterCounter = 9,
                               .mUserDataSize = 8,
                               .mReceivers = {2},
                               .mChain = {{{1, 1}}, Channel::ChainEnd::eWhole, 0},
                               .mExternal = {}}};
    return state;
}

/// "error dead-process" and the like, each once.
inline std::set<std::string> told(const BusState& now, const BusState* before = nullptr)
{
    const std::map<Severity, std::string> words{
        {Severity::eError, "error "}, {Severity::eWarning, "warning "}, {Severity::eNote, "note "}};
    std::set<std::string> all;
    const BusIndex indexBefore(before != nullptr ? *before : now);
    for (const Finding& finding : findAll(BusIndex(now), before != nullptr ? &indexBefore : nullptr)) {
        const FindingKind& kind = *finding.mKind;
        all.insert(words.at(finding.mSeverity) + kind.mCode);
        EXPECT_FALSE(finding.mEvidence.empty() || std::string(kind.mAdvice).empty()) << kind.mCode;
    }
    return all;
}

/// What is done to a healthy bus.
using Edit = std::function<void(BusState&)>;

inline BusState healthyBut(const Edit& edit)
{
    BusState state = healthy();
    edit(state);
    return state;
}

inline Slot& slot(BusState& state)
{
    return state.mMessages.mSlots[0];
}

} // namespace TestSupport

#endif
