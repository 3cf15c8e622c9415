#include "support/program.h"
#include "support/records.h"
#include "writer/dot/oxa_zunic_enquirer_interface_dot_file.h"

#include <gmock/gmock.h>
#include <optional>

using namespace Oxa;
using namespace OxaZunic;
using TestSupport::makeInterface;
using TestSupport::mapOf;
using TestSupport::readFile;

namespace {

constexpr auto cHeader = "digraph RegisteredInterfaces { \n";

constexpr auto cLegend = R"(

  subgraph clusterLegend {
  label="Legend"
  "Skeleton \nInterface" [fontsize=8,shape=rectangle,style=filled, color="yellow"]
  "Stub \nInterface" [fontsize=8,shape=rectangle, style=filled, color="green"]
  "Required \nInterface" [fontsize=8,shape=rectangle,style=filled, color="lightblue"]
  }

)";

OxaZunicInterfaceInformation makeStub(std::uint16_t id, std::uint16_t communicatorId = 2)
{
    return makeInterface(id, {.type = eInterfaceInstanceTypeStub, .communicatorId = communicatorId});
}

std::string node(const std::string& id, const std::string& colour)
{
    return id + " [fontsize=8,color= " + colour +
           ",style=filled, shape=rectangle,label=\"Clock\\nProvider\\nlocal\\n1.0.3\"]; \n";
}

class Graph : public testing::Test
{
protected:
    TestSupport::TemporaryDirectory mDirectory;

    /// Writes the graph over another file and returns it.
    std::string graph(const InterfaceMap& interfaces, const CommunicatorList& communicators, LinkMap links,
                      OxaResult expected = OxaResult::cOk)
    {
        const std::string path = mDirectory / "interfaces_communicators_info.dot";
        TestSupport::writeFile(path, "of an earlier run");
        OxaZunicEnquirerInterfaceDotFile writer(mDirectory.path().string());
        EXPECT_TRUE(writer.writeData(communicators, interfaces, links) == expected);
        return readFile(path);
    }

    /// The path of a program of that name, which sleeps for the seconds that it is given.
    std::string executable(const std::string& name)
    {
        const std::string path = mDirectory / name;
        std::filesystem::copy_file("/bin/sleep", path, std::filesystem::copy_options::skip_existing);
        return path;
    }
};

constexpr auto cExample = R"(digraph RegisteredInterfaces { )"
                          R"(

Skeleton1 [fontsize=8,color= yellow,style=filled, shape=rectangle,label="Clock\nProvider\nDemo\n1.0.0"]; )"
                          R"(
Skeleton3 [fontsize=8,color= lightblue,style=filled, shape=rectangle,label="Logger\nProvider\nDemo\n2.1.0"]; )"
                          R"(


Stub2 [fontsize=8,color= green,style=filled, shape=rectangle,label="Clock\nConsumer\nDemo\n1.0.0"]; )"
                          R"(
Stub4 [fontsize=8,color= green,style=filled, shape=rectangle,label="Logger\nConsumer\nDemo\n2.1.0"]; )"
                          R"(

subgraph cluster_0  {
   style=filled;
   color=lightgrey;
   node [style=filled,color=white];
   label = "Comunicator #1 - ProcessId : 4711 - AppName : clockd"
   Skeleton1;Skeleton3;
   }


subgraph cluster_1  {

   subgraph cluster_101  {
   style=filled;
   color=lightgrey;
   node [style=filled,color=white];
   label = "Comunicator #2 - ProcessId : 4800 - AppName : viewer"
   Stub2;
   }



   subgraph cluster_102  {
   style=filled;
   color=lightgrey;
   node [style=filled,color=white];
   label = "Comunicator #3 - ProcessId : 4800 - AppName : viewer"
   Stub4;
   }

}



Stub2->Skeleton1[color="black"]
Stub4->Skeleton3[style = dotted, color="blue"]


  subgraph clusterLegend {
  label="Legend"
  "Skeleton \nInterface" [fontsize=8,shape=rectangle,style=filled, color="yellow"]
  "Stub \nInterface" [fontsize=8,shape=rectangle, style=filled, color="green"]
  "Required \nInterface" [fontsize=8,shape=rectangle,style=filled, color="lightblue"]
  }

}
)";

std::string replaced(std::string text, const std::string& what, const std::string& with)
{
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
        text.replace(at, what.size(), with);
    }
    return text;
}

TEST_F(Graph, OfTwoProcessesByteForByte)
{
    const TestSupport::Program clockd({executable("clockd"), "300"});
    std::optional<TestSupport::Program> viewer;
    do { // process ids start again from the low ones now and then
        viewer.emplace(std::vector<std::string>{executable("viewer"), "300"});
    } while (viewer->processId() < clockd.processId());
    const auto clockdId = static_cast<std::uint32_t>(clockd.processId());
    const auto viewerId = static_cast<std::uint32_t>(viewer->processId());

    const auto interface = [](std::uint16_t id, const char* name, const char* role, InterfaceInstanceType type,
                              Version version, std::uint16_t communicatorId, OxaZunicRegistrationState state) {
        return makeInterface(id, {name, role, "Demo", type, version, communicatorId, state});
    };
    const auto registered = eOxaZunicRegistrationStateRegistered;
    const InterfaceMap interfaces =
        mapOf({interface(1, "Clock", "Provider", eInterfaceInstanceTypeSkeleton, {1, 0, 0}, 1, registered),
               interface(2, "Clock", "Consumer", eInterfaceInstanceTypeStub, {1, 0, 0}, 2, registered),
               interface(3, "Logger", "Provider", eInterfaceInstanceTypeSkeleton, {2, 1, 0}, 1,
                         eOxaZunicRegistrationStatePreregistered),
               interface(4, "Logger", "Consumer", eInterfaceInstanceTypeStub, {2, 1, 0}, 3, registered)});
    EXPECT_EQ(graph(interfaces, {{2, viewerId, registered}, {1, clockdId, registered}, {3, viewerId, registered}},
                    {{1, 2}, {3, 4}}),
              replaced(replaced(cExample, "4711", std::to_string(clockdId)), "4800", std::to_string(viewerId)));
}

TEST_F(Graph, EndsEarlyWhenNodesOrCommunicatorsAreMissing)
{
    const CommunicatorList communicators = {{2, 4294967295U, eOxaZunicRegistrationStateRegistered}};
    const LinkMap links = {{1, 2}, {2, 1}};
    const std::string none = std::string(cHeader) + "\n\n}\n";
    EXPECT_EQ(graph({}, communicators, links, OxaResult::cFailed), none);
    EXPECT_EQ(graph(mapOf({makeStub(2)}), communicators, links, OxaResult::cFailed), none);
    EXPECT_EQ(graph(mapOf({makeInterface(1), makeInterface(2, {.type = eInterfaceInstanceTypeUndefined})}),
                    communicators, links, OxaResult::cFailed),
              cHeader + ("\n" + node("Skeleton1", "yellow")) + "\n\n\n}\n");
    EXPECT_EQ(graph(mapOf({makeInterface(1), makeStub(2)}), {}, links, OxaResult::cFailed),
              cHeader + ("\n" + node("Skeleton1", "yellow")) + "\n\n" + node("Stub2", "green") + "\n" + cLegend +
                  "}\n");
}

/// A cluster of a process that has ended.
std::string cluster(unsigned communicatorId, const std::string& processId, const std::string& nodes)
{
    return "   style=filled;\n   color=lightgrey;\n   node [style=filled,color=white];\n   label = \"Comunicator #" +
           std::to_string(communicatorId) + " - ProcessId : " + processId + "\"\n   " + nodes + "\n   }\n\n";
}

TEST_F(Graph, ClustersAreNumberedByCommunicator)
{
    const InterfaceMap interfaces =
        mapOf({makeInterface(10, {.communicatorId = 5}), makeStub(2, 7), makeStub(11, 5),
               makeInterface(3, {.type = eInterfaceInstanceTypeUndefined, .communicatorId = 5}), makeStub(4, 4096)});
    const auto state = eOxaZunicRegistrationStateInvalid;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const std::string text =
        graph(interfaces,
              {{9, 4294967295U, state}, {8, 4294967294U, state}, {7, 4294967293U, state}, {5, 4294967294U, state}}, {});
    EXPECT_EQ(testing::internal::GetCapturedStderr().size(),
              4 * std::string("readlink error: No such file or directory\n").size());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ERROR: Unable to find application name from /proc/4294967293/exe\n"
              "ERROR: Unable to find application name from /proc/4294967294/exe\n"
              "ERROR: Unable to find application name from /proc/4294967294/exe\n"
              "ERROR: Unable to find application name from /proc/4294967295/exe\n");
    const std::size_t begin = text.find("subgraph cluster_0");
    ASSERT_NE(begin, std::string::npos);
    EXPECT_EQ(text.substr(begin),
              "subgraph cluster_0  {\n" + cluster(7, "4294967293", "Stub2;") + "\n" +
                  "subgraph cluster_1  {\n\n   subgraph cluster_101  {\n" + cluster(8, "4294967294", "") +
                  "\n\n   subgraph cluster_102  {\n" + cluster(5, "4294967294", "Undefined3;Skeleton10;Stub11;") +
                  "}\n\n\n" + "subgraph cluster_3  {\n" + cluster(9, "4294967295", "") + "\n" + "\n" + cLegend + "}\n");
}

TEST_F(Graph, EdgesAndColours)
{
    InterfaceMap interfaces = mapOf({makeInterface(3), makeStub(4), makeInterface(1), makeStub(2)});
    interfaces.at(3).mRegistrationState = eOxaZunicRegistrationStatePreregistered;
    interfaces.at(4).mRegistrationState = eOxaZunicRegistrationStatePreregistered;
    interfaces.at(2).mRegistrationState = eOxaZunicRegistrationStateUnknown;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const std::string text = graph(interfaces, {{2, 4294967295U, eOxaZunicRegistrationStateRegistered}},
                                   {{3, 4}, {3, 3}, {1, 70}, {1, 2}, {4, 1}, {2, 3}, {70, 1}});
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    EXPECT_THAT(text,
                testing::StartsWith(cHeader + ("\n" + node("Skeleton1", "yellow")) + node("Skeleton3", "lightblue") +
                                    "\n\n" + node("Stub2", "green") + node("Stub4", "lightblue") + "\n"));
    const std::string dotted = "[style = dotted, color=\"blue\"]\n";
    const std::string solid = "[color=\"black\"]\n";
    EXPECT_THAT(text, testing::HasSubstr("   }\n\n\n\nStub70->Skeleton1" + solid + "Stub2->Skeleton1" + solid +
                                         "Stub3->Skeleton2" + solid + "Stub4->Skeleton3" + dotted + "Stub3->Skeleton3" +
                                         dotted + "Stub1->Skeleton4" + dotted + cLegend + "}\n"));
}

} // namespace
