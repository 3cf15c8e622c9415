#include "support/records.h"
#include "support/temporary_directory.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <functional>
#include <gmock/gmock.h>
#include <random>
#include <sstream>
#include <unistd.h>

using namespace Oxa;
using namespace OxaZunic;
using TestSupport::makeInterface;
using TestSupport::mapOf;
using TestSupport::readFile;

namespace {

std::string box(const std::string& title)
{
    const std::string edge(43, '#');
    const std::string sides = "#" + std::string(41, ' ') + "#";
    return "\n\n" + edge + "\n" + sides + "\n#      " + title + "               #\n" + sides + "\n" + edge + "\n\n";
}

class TextReport : public testing::Test
{
protected:
    TestSupport::TemporaryDirectory mDirectory;
    OxaZunicEnquirerInterfaceTextFile mWriter{mDirectory.path().string()};
    std::string mReportPath = mDirectory / "interfaces_communicators_info.txt";

    /// What `write` writes to the stream that it is given.
    std::string written(const std::function<void(std::ofstream*)>& write)
    {
        const std::string path = mDirectory / "section";
        std::ofstream out(path);
        write(&out);
        out.close();
        return readFile(path);
    }

    std::string interfacesSection(const InterfaceMap& interfaces, LinkMap links)
    {
        return written([&](std::ofstream* out) {
            EXPECT_EQ(mWriter.writeInterfacesFile(interfaces, out, links) == OxaResult::cOk, !interfaces.empty());
        });
    }

    /// Returns what is written to standard output.
    std::string writeData(const CommunicatorList& communicators, const InterfaceMap& interfaces, OxaResult expected)
    {
        LinkMap links;
        testing::internal::CaptureStdout();
        EXPECT_TRUE(mWriter.writeData(communicators, interfaces, links) == expected);
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(TextReport, InterfaceBlocks)
{
    const InterfaceMap interfaces =
        mapOf({makeInterface(9, {.role = "Consumer", .type = eInterfaceInstanceTypeStub, .communicatorId = 4096}),
               makeInterface(5, {.state = eOxaZunicRegistrationStatePreregistered, .functions = {0, 65535}}),
               makeInterface(1023, {.name = "", .role = "Watcher", .domain = "", .version = {65535, 0, 1}})});
    const LinkMap links = {{5, 1023}, {5, 9}, {5, 600}, {9, 9}, {600, 5}, {1023, 5}};
    EXPECT_EQ(interfacesSection(interfaces, links), box("INTERFACES LIST     ") + R"(InterfaceName:   Clock
RoleName:   Provider
DomainName:   local
Type:   Skeleton
Version:   1.0.3
InterfaceId:  5
CommunicatorId:  2
RegistrationState:  Required
FunctionStorageRangeLocation:  0 65535
Connected Stub: Watcher(1023)
Connected Stub: Consumer(9)
Connected Skeleton: Watcher(1023)

InterfaceName:   Clock
RoleName:   Consumer
DomainName:   local
Type:   Stub
Version:   1.0.3
InterfaceId:  9
CommunicatorId:  n/a
RegistrationState:  Registered
FunctionStorageRangeLocation:  1 4
Connected Skeleton: Provider(5)
Connected Skeleton: Consumer(9)
Connected Stub: Consumer(9)

InterfaceName:   )"
                                                                                  R"(
RoleName:   Watcher
DomainName:   )"
                                                                                  R"(
Type:   Skeleton
Version:   65535.0.1
InterfaceId:  1023
CommunicatorId:  2
RegistrationState:  Registered
FunctionStorageRangeLocation:  1 4
Connected Skeleton: Provider(5)
Connected Stub: Provider(5)



Number of communicator threads running: 1

)");
}

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
    const std::string id = std::to_string(info.mInterfaceId);
    return "InterfaceName:   Clock\nRoleName:   " + info.mUuid.mRoleName +
           "\nDomainName:   local\nType:   Skeleton\nVersion:   1.0.3\nInterfaceId:  " + id +
           "\nCommunicatorId:  2\nRegistrationState:  Registered\nFunctionStorageRangeLocation:  1 4\n" +
           connectionsByWalk(interfaces, info.mInterfaceId, links) + "\n";
}

TEST_F(TextReport, ConnectionsAreThoseOfAWalkThroughAllLinks)
{
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        // Few ids make self links, links both ways, repeated links and links to what is not there; the highest ones
        // are at the end of their range.
        std::vector<std::uint16_t> ids = {0, 1, 2, 3, 4, 5, 1023, 65535};
        InterfaceMap interfaces;
        for (const std::uint16_t id : ids) {
            if (interfaces.empty() || random() % 3 != 0) {
                interfaces.emplace(id, makeInterface(id, {.role = "Role" + std::to_string(random() % 100)}));
            }
        }
        LinkMap links;
        for (unsigned count = static_cast<unsigned>(random() % 60); count > 0; --count) {
            links.emplace(ids[random() % ids.size()], ids[random() % ids.size()]);
        }

        std::string blocks;
        for (const auto& [id, info] : interfaces) {
            blocks += blockByWalk(interfaces, info, links);
        }
        EXPECT_EQ(interfacesSection(interfaces, links),
                  box("INTERFACES LIST     ") + blocks + "\n\nNumber of communicator threads running: 1\n\n");
        for (const std::uint32_t id : {0U, 2U, 65535U, 65536U, 65538U}) {
            EXPECT_EQ(written([&](auto* out) { mWriter.showConnectedInterfaces(interfaces, id, out, links); }),
                      connectionsByWalk(interfaces, id, links));
        }
    }
}

TEST_F(TextReport, CommunicatorBlocks)
{
    const auto own = static_cast<std::uint32_t>(getpid());
    const std::string name = std::filesystem::read_symlink("/proc/self/exe").filename();
    const CommunicatorList communicators = {{65535, own, eOxaZunicRegistrationStateRegistered},
                                            {7, 4294967295U, eOxaZunicRegistrationStateUnregistered},
                                            {2, own, eOxaZunicRegistrationStateUnknown}};
    const auto block = [](const std::string& process, const std::string& rest) {
        return "ProcessId:  " + process + "\nCommunicatorId:   " + rest + "\n";
    };
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(
        written([&](auto* out) { EXPECT_TRUE(mWriter.writeCommunicatorsFile(communicators, out) == OxaResult::cOk); }),
        box("COMMUNICATORS LIST  ") +
            block(std::to_string(own), "65535\nRegistrationState:  Registered\nApplicationName:    " + name + "\n") +
            block("4294967295", "7\nRegistrationState:  unRegistered\n") +
            block(std::to_string(own), "2\nRegistrationState:  Unknown\nApplicationName:    " + name + "\n"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ERROR: Unable to find application name from /proc/4294967295/exe\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "readlink error: No such file or directory\n");
}

TEST_F(TextReport, EndsEarlyWithoutInterfacesOrCommunicators)
{
    const std::string interfacesEnd = "\n\nNumber of communicator threads running: ";
    const CommunicatorList communicators = {{1, 4294967295U, eOxaZunicRegistrationStateRegistered}};
    alignas(8) std::byte storage[64] = {};
    mWriter.setMessageStorage(reinterpret_cast<oxa_zunic_message_storage*>(storage), nullptr);

    EXPECT_EQ(writeData(communicators, {}, OxaResult::cFailed), "path " + mReportPath + "\n");
    EXPECT_EQ(readFile(mReportPath), box("INTERFACES LIST     ") + interfacesEnd + "0\n\n");

    EXPECT_EQ(writeData({}, mapOf({makeInterface(1)}), OxaResult::cFailed), "path " + mReportPath + "\n");
    EXPECT_THAT(readFile(mReportPath), testing::EndsWith(interfacesEnd + "1\n\n" + box("COMMUNICATORS LIST  ")));
    EXPECT_THAT(mDirectory.entries(), testing::ElementsAre("interfaces_communicators_info.txt"));
}

TEST_F(TextReport, ReportThatCannotBeOpened)
{
    std::filesystem::create_directory(mReportPath);
    EXPECT_EQ(writeData({}, mapOf({makeInterface(1)}), OxaResult::cFailed), "Error opening the output file!\n");
}

TEST_F(TextReport, BackupReplacesAnOlderOne)
{
    const std::string path = mDirectory / "dump";
    const auto backUp = [&] {
        testing::internal::CaptureStdout();
        const bool result = mWriter.createBackupFile(path);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "path " + path + "\n");
        return result;
    };
    TestSupport::writeFile(path, "previous");
    EXPECT_TRUE(backUp());
    EXPECT_THAT(mDirectory.entries(), testing::ElementsAre("dump"));

    mWriter.setHistory(true);
    TestSupport::writeFile(path + ".bak", "older");
    EXPECT_TRUE(backUp());
    EXPECT_TRUE(backUp());
    EXPECT_THAT(mDirectory.entries(), testing::ElementsAre("dump.bak"));
    EXPECT_EQ(readFile(path + ".bak"), "previous");
}

} // namespace
