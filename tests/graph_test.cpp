#include "support/records.h"
#include "support/text.h"
#include "writer/dot/oxa_zunic_enquirer_interface_dot_file.h"

#include <gmock/gmock.h>

using namespace Oxa;
using namespace OxaZunic;
using TestSupport::expectedText;
using TestSupport::makeInterface;
using TestSupport::mapOf;

namespace {

constexpr auto cRegistered = eOxaZunicRegistrationStateRegistered;
constexpr auto cPreregistered = eOxaZunicRegistrationStatePreregistered;
constexpr auto cStub = eInterfaceInstanceTypeStub;
constexpr auto cUndefined = eInterfaceInstanceTypeUndefined;

class Graph : public testing::Test
{
protected:
    TestSupport::TemporaryDirectory mDirectory;

    /// Writes the graph over another file and returns it.
    std::string graph(const InterfaceMap& interfaces, const CommunicatorList& communicators, LinkMap links,
                      const OxaResult& expected = OxaResult::cOk)
    {
        const std::string path = mDirectory / "interfaces_communicators_info.dot";
        TestSupport::writeFile(path, std::string(10'000, '-'));
        OxaZunicEnquirerInterfaceDotFile writer(mDirectory.path().string());
        EXPECT_TRUE(writer.writeData(communicators, interfaces, links) == expected);
        return TestSupport::readFile(path);
    }
};

TEST_F(Graph, OrderOfClustersAndEdges)
{
    const InterfaceMap interfaces =
        mapOf({makeInterface(10, {.communicatorId = 5, .state = cPreregistered}),
               makeInterface(2, {.type = cStub, .communicatorId = 7, .state = eOxaZunicRegistrationStateUnknown}),
               makeInterface(11, {.type = cStub, .communicatorId = 5}), makeInterface(1, {.communicatorId = 5}),
               makeInterface(3, {.type = cUndefined, .communicatorId = 5}),
               makeInterface(4, {.type = cStub, .communicatorId = 4096, .state = cPreregistered})});
    const CommunicatorList communicators = {{9, 4294967295U, cRegistered},
                                            {8, 4294967294U, cRegistered},
                                            {7, 4294967293U, cRegistered},
                                            {5, 4294967294U, cRegistered}};
    std::string text;
    const TestSupport::Printed printed = TestSupport::printedBy([&] {
        text = graph(interfaces, communicators, {{10, 11}, {10, 10}, {1, 70}, {1, 2}, {4, 1}, {2, 3}, {70, 1}});
    });
    EXPECT_EQ(text, expectedText("graph_order.dot"));
    const std::string error = "ERROR: Unable to find application name from /proc/429496729";
    EXPECT_EQ(printed.output, error + "3/exe\n" + error + "4/exe\n" + error + "4/exe\n" + error + "5/exe\n");
}

TEST_F(Graph, EndsEarlyWhenNodesOrCommunicatorsAreMissing)
{
    const CommunicatorList communicators = {{2, 4294967295U, cRegistered}};
    const LinkMap links = {{1, 2}, {2, 1}};
    const auto skeleton = makeInterface(1);
    const auto stub = makeInterface(2, {.type = cStub});
    const std::string header = "digraph RegisteredInterfaces { \n\n";
    const std::string attributes = ",style=filled, shape=rectangle,label=\"Clock\\nProvider\\nlocal\\n1.0.3\"]; \n";
    const std::string skeletonNode = "Skeleton1 [fontsize=8,color= yellow" + attributes;
    EXPECT_EQ(graph(mapOf({stub}), communicators, links, OxaResult::cFailed), header + "\n}\n");
    EXPECT_EQ(graph(mapOf({skeleton}), communicators, links, OxaResult::cFailed), header + skeletonNode + "\n\n\n}\n");
    EXPECT_THAT(graph(mapOf({skeleton, stub}), {}, links, OxaResult::cFailed),
                testing::StartsWith(header + skeletonNode + "\n\nStub2 [fontsize=8,color= green" + attributes +
                                    "\n\n\n  subgraph clusterLegend {\n"));
}

} // namespace
