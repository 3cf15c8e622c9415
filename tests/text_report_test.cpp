#include "support/records.h"
#include "support/text.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <gmock/gmock.h>
#include <random>
#include <set>
#include <unistd.h>

using namespace Oxa;
using namespace OxaZunic;
using TestSupport::makeInterface;
using TestSupport::mapOf;
using TestSupport::writtenBy;

namespace {

constexpr auto cCountOfThreads = "\n\nNumber of communicator threads running: ";

class TextReport : public testing::Test
{
protected:
    TestSupport::TemporaryDirectory mDirectory;
    OxaZunicEnquirerInterfaceTextFile mWriter{mDirectory.path().string()};

    /// The report, of which writing is to fail.
    std::string failedReport(const CommunicatorList& communicators, const InterfaceMap& interfaces)
    {
        LinkMap links;
        TestSupport::printedBy(
            [&] { EXPECT_TRUE(mWriter.writeData(communicators, interfaces, links) == OxaResult::cFailed); });
        EXPECT_THAT(mDirectory.entries(), testing::ElementsAre("interfaces_communicators_info.txt"));
        return TestSupport::readFile(mDirectory / "interfaces_communicators_info.txt");
    }
};

/// The lines about the connections of an interface, by a walk through all links.
std::string connectionsByWalk(const InterfaceMap& interfaces, unsigned id, const LinkMap& links)
{
    std::ostringstream lines;
    for (const auto& [first, second] : links) {
        if (second == id && interfaces.count(first) != 0) {
            lines << "Connected Skeleton: " << interfaces.at(first).mUuid.mRoleName << "(" << first << ")\n";
        }
        if (first == id && interfaces.count(second) != 0) {
            lines << "Connected Stub: " << interfaces.at(second).mUuid.mRoleName << "(" << second << ")\n";
        }
    }
    return lines.str();
}

std::string blockByWalk(const InterfaceMap& interfaces, const OxaZunicInterfaceInformation& info, const LinkMap& links)
{
    const std::string communicator = info.mCommunicatorId == 4096 ? "n/a" : std::to_string(info.mCommunicatorId);
    return "InterfaceName:   Clock\nRoleName:   " + info.mUuid.mRoleName +
           "\nDomainName:   local\nType:   Skeleton\nVersion:   1.0.3\nInterfaceId:  " +
           std::to_string(info.mInterfaceId) + "\nCommunicatorId:  " + communicator +
           "\nRegistrationState:  Registered\nFunctionStorageRangeLocation:  1 4\n" +
           connectionsByWalk(interfaces, info.mInterfaceId, links) + "\n";
}

TEST_F(TextReport, InterfacesAreThoseOfAWalkThroughAllLinks)
{
    // Few ids make self links, links both ways, repeated links and links to what is not there; the highest ones are at
    // the end of their range.
    const std::vector<std::uint16_t> ids = {0, 1, 2, 3, 4, 5, 1023, 65535};
    const std::vector<std::uint16_t> communicatorIds = {0, 2, 1023, 4095, 4096, 4097};
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        InterfaceMap interfaces;
        std::set<std::uint16_t> threads;
        for (const std::uint16_t id : ids) {
            if (interfaces.empty() || random() % 3 != 0) {
                const std::uint16_t communicatorId = communicatorIds[random() % communicatorIds.size()];
                const std::string role = "Role" + std::to_string(random() % 100);
                interfaces.emplace(id, makeInterface(id, {.role = role, .communicatorId = communicatorId}));
                threads.insert(communicatorId);
            }
        }
        threads.erase(4096);
        LinkMap links;
        for (unsigned count = static_cast<unsigned>(random() % 60); count > 0; --count) {
            links.emplace(ids[random() % ids.size()], ids[random() % ids.size()]);
        }

        std::string expected;
        for (const auto& [id, info] : interfaces) {
            expected += blockByWalk(interfaces, info, links);
            const std::string connections =
                writtenBy([&, of = id](auto* out) { mWriter.showConnectedInterfaces(interfaces, of, out, links); });
            EXPECT_THAT(expected, testing::HasSubstr(connections));
        }
        expected += cCountOfThreads + std::to_string(threads.size()) + "\n\n";
        const std::string section = writtenBy(
            [&](auto* out) { EXPECT_TRUE(mWriter.writeInterfacesFile(interfaces, out, links) == OxaResult::cOk); });
        EXPECT_EQ(section.substr(section.find("InterfaceName")), expected);
    }
}

TEST_F(TextReport, WordsForNumbersOutsideTheirRange)
{
    EXPECT_EQ(mWriter.createType(eInterfaceInstanceTypeUndefined), "Undefined");
    EXPECT_EQ(mWriter.createType(static_cast<InterfaceInstanceType>(0xFFFFFFFF)), "Undefined");
    EXPECT_EQ(mWriter.convertRegistrationState(static_cast<OxaZunicRegistrationState>(0xFFFFFFFF)), "Unknown");
    EXPECT_EQ(mWriter.versionNumberToString(Version(10, 0, 4294967295U)), "10.0.4294967295");
}

TEST_F(TextReport, CommunicatorBlocks)
{
    const CommunicatorList communicators = {
        {65535, 4294967295U, eOxaZunicRegistrationStateUnregistered},
        {2, static_cast<std::uint32_t>(getpid()), eOxaZunicRegistrationStateUnknown},
        {8, 0, eOxaZunicRegistrationStateInvalid}};
    std::string section;
    const TestSupport::Printed printed = TestSupport::printedBy([&] {
        section = writtenBy(
            [&](auto* out) { EXPECT_TRUE(mWriter.writeCommunicatorsFile(communicators, out) == OxaResult::cOk); });
    });
    EXPECT_EQ(section.substr(section.find("ProcessId")),
              "ProcessId:  4294967295\nCommunicatorId:   65535\nRegistrationState:  unRegistered\n\n"
              "ProcessId:  " +
                  std::to_string(getpid()) +
                  "\nCommunicatorId:   2\nRegistrationState:  Unknown\n"
                  "ApplicationName:    text_report_test\n\n"
                  "ProcessId:  0\nCommunicatorId:   8\nRegistrationState:  Invalid\n\n");
    const std::string error = "readlink error: No such file or directory\n";
    EXPECT_EQ(printed.errors, error + error);
    EXPECT_EQ(printed.output, "ERROR: Unable to find application name from /proc/4294967295/exe\n"
                              "ERROR: Unable to find application name from /proc/0/exe\n");
}

TEST_F(TextReport, EndsEarlyWithoutInterfacesOrCommunicators)
{
    alignas(8) std::byte storage[64] = {};
    mWriter.setMessageStorage(reinterpret_cast<oxa_zunic_message_storage*>(storage), nullptr);
    EXPECT_THAT(failedReport({{1, 4294967295U, eOxaZunicRegistrationStateRegistered}}, {}),
                testing::EndsWith("\n\n" + (cCountOfThreads + std::string("0\n\n"))));
    const std::string report = failedReport({}, mapOf({makeInterface(1)}));
    EXPECT_THAT(report, testing::HasSubstr("COMMUNICATORS LIST"));
    EXPECT_THAT(report, testing::Not(testing::HasSubstr("MemoryMgrsInfo")));
}

} // namespace
