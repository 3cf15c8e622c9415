#include "app/query_filters.h"
#include "enquirer/record_types.h"
#include "support/records.h"

#include <functional>
#include <gmock/gmock.h>

using namespace Oxa;
using namespace OxaZunic;

namespace {

template <typename Record>
void expectEachChangeToDiffer(const Record& record, const std::vector<std::function<void(Record&)>>& changes)
{
    for (std::size_t i = 0; i < changes.size(); ++i) {
        SCOPED_TRACE(i);
        Record other(record);
        EXPECT_TRUE(other == record);
        changes[i](other);
        EXPECT_FALSE(other == record);
        EXPECT_TRUE(other != record);
        Record assigned;
        assigned = other;
        EXPECT_TRUE(assigned == other);
    }
}

TEST(RecordTypes, DifferInEachSingleField)
{
    using Info = OxaZunicInterfaceInformation;
    expectEachChangeToDiffer<Info>(
        TestSupport::makeInterface(7),
        {[](Info& i) { i.mUuid.mInterfaceName = "clock"; }, [](Info& i) { i.mUuid.mRoleName += " "; },
         [](Info& i) { i.mUuid.mDomainName.clear(); }, [](Info& i) { i.mUuid.mType = eInterfaceInstanceTypeStub; },
         [](Info& i) { i.mUuid.mVersion.mMajor = 2; },
         [](Info& i) { std::swap(i.mUuid.mVersion.mMinor, i.mUuid.mVersion.mRevision); },
         [](Info& i) { i.mUuid.mVersion.mRevision = 4; }, [](Info& i) { i.mCommunicatorId = 3; },
         [](Info& i) { i.mInterfaceId = 8; },
         [](Info& i) { i.mRegistrationState = eOxaZunicRegistrationStatePreregistered; },
         [](Info& i) { i.mFunctionStorageRangeLocation.mMemoryManagerIndex = 0; },
         [](Info& i) { i.mFunctionStorageRangeLocation.mRangeIndex = 5; }});

    using Communicator = OxaZunicCommunicatorInformation;
    expectEachChangeToDiffer<Communicator>({2, 100, eOxaZunicRegistrationStateRegistered},
                                           {[](Communicator& c) { c.mCommunicatorId = 100; },
                                            [](Communicator& c) { c.mProcessId = 2; },
                                            [](Communicator& c) { c.mRegistrationState = {}; }});
}

TEST(RecordTypes, DefaultIdentityIsInTheLocalDomain)
{
    EXPECT_TRUE(UUID() == UUID("", "", "local", eInterfaceInstanceTypeUndefined, Version(0, 0, 0)));
    EXPECT_FALSE(UUID() == UUID("", "", "", eInterfaceInstanceTypeUndefined, Version(0, 0, 0)));
    const OxaZunicInterfaceInformation none({}, 0, 0, eOxaZunicRegistrationStateInvalid, {0, 0});
    EXPECT_TRUE(OxaZunicInterfaceInformation() == none);
    EXPECT_TRUE(OxaZunicCommunicatorInformation() ==
                OxaZunicCommunicatorInformation(0, 0, eOxaZunicRegistrationStateInvalid));
}

TEST(RecordTypes, StatesThatTheBusDoesNotDefineBecomeUnknown)
{
    for (const std::uint32_t state : {0U, 1U, 2U, 3U}) {
        EXPECT_EQ(convertRegistrationState(static_cast<oxa_zunic_registration_state>(state)), state);
    }
    for (const std::uint32_t state : {4U, 17U, 0x80000001U, 0xFFFFFFFFU}) {
        EXPECT_EQ(convertRegistrationState(static_cast<oxa_zunic_registration_state>(state)),
                  eOxaZunicRegistrationStateUnknown);
    }
}

TEST(QueryWords, AreMatchedWholeAndWithCase)
{
    const std::map<std::string, unsigned> types = {{"eInterfaceInstanceTypeUndefined", 0},
                                                   {"eInterfaceInstanceTypeStub", 1},
                                                   {"eInterfaceInstanceTypeSkeleton", 2},
                                                   {"skeleton", 2},
                                                   {"stub", 1}};
    const std::map<std::string, unsigned> states = {{"eOxaZunicRegistrationStateInvalid", 0},
                                                    {"eOxaZunicRegistrationStateRegistered", 1},
                                                    {"eOxaZunicRegistrationStateUnregistered", 2},
                                                    {"eOxaZunicRegistrationStatePreregistered", 3},
                                                    {"eOxaZunicRegistrationStateUnknown", 4},
                                                    {"invalid", 0},
                                                    {"registered", 1},
                                                    {"unregistered", 2},
                                                    {"preregistered", 3},
                                                    {"unknown", 4}};
    for (const auto& [word, value] : types) {
        auto type = static_cast<InterfaceInstanceType>(99);
        EXPECT_TRUE(getInterfaceType(word.c_str(), type)) << word;
        EXPECT_EQ(type, value) << word;
    }
    for (const auto& [word, value] : states) {
        auto state = static_cast<OxaZunicRegistrationState>(99);
        EXPECT_TRUE(getRegistrationState(word.c_str(), state)) << word;
        EXPECT_EQ(state, value) << word;
    }
    for (const char* const word : {"", "Skeleton", "undefined", "stub ", "stu", "skeletons", "Registered", "register",
                                   "required", "eInterfaceInstanceType", "EOXAZUNICREGISTRATIONSTATEINVALID", "1"}) {
        auto type = static_cast<InterfaceInstanceType>(99);
        auto state = static_cast<OxaZunicRegistrationState>(99);
        EXPECT_FALSE(getInterfaceType(word, type)) << word;
        EXPECT_FALSE(getRegistrationState(word, state)) << word;
        EXPECT_EQ(type, 99U);
        EXPECT_EQ(state, 99U);
    }
}

} // namespace
