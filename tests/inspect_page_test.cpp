#include "inspect/commands/page/page_data.h"
#include "inspect/commands/page/page_text.h"
#include "inspect/saved/state_json.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sstream>

using namespace Inspect;

namespace {

TEST(PageData, OfNonsenseIsJsonThatCannotEndItsElement)
{
    BusState state;
    state.mChannel = "</script><!--\xE2\x80\xA8\x7F\xC3\xB6";
    state.mInterfaces.resize(3);
    state.mInterfaces[0].mName = "\xFF<";
    state.mInterfaces[0].mType = 4294967295;
    state.mInterfaces[1].mType = Oxa::eInterfaceInstanceTypeStub;
    state.mInterfaces[0].mReceivers = {0, 1, 2, 7, 65534, 65535};
    state.mInterfaces[0].mFunctions = {"\"", "\\"};
    state.mInterfaces[2].mReceivers = state.mInterfaces[0].mReceivers;
    state.mMemoryManagers.push_back({UINT64_MAX, 1, 2, 3, 4});
    state.mMessages.mSlots.resize(2);
    state.mMessages.mSlots[1].mChain = {{{9, 1}, {8, 1}}, Channel::ChainEnd::eLoop, 9};
    state.mMessages.mSlots[1].mExternal = OxaZunic::OxaZunicRangeLocation(5, 6);
    const Subject subject{SubjectKind::eSlot, 7, "<"};
    const FindingKind kind{"full", Severity::eError, "", "", "", "Look."};
    const Finding finding{&kind, Severity::eError, subject, "\n"};

    std::ostringstream out;
    writePageData(out, state, {finding});
    const std::string text = out.str();
    EXPECT_TRUE(std::ranges::all_of(text, [](char c) { return c == '\n' || (c >= ' ' && c <= '~' && c != '<'); }));
    const Json data = Json::parse(text);
    EXPECT_EQ(data["state"]["channel"], state.mChannel);
    const Json& interfaces = data["interfaces"];
    EXPECT_EQ(interfaces["name"], Json({{255, 60}, "", ""}));
    EXPECT_EQ(interfaces["type"]["words"], Json::parse(R"({"0":"undefined","1":"stub","2":"skeleton"})"));
    EXPECT_EQ(interfaces["type"]["values"], Json({4294967295, 1, 0}));
    EXPECT_EQ(interfaces["functions"], Json({{"\"", "\\"}, nullptr, nullptr}));
    EXPECT_EQ(interfaces["receivers"], Json({0, 1, 0}));
    EXPECT_EQ(data["receiver_sets"], Json::parse("[[0,2,7,7,65534,65535],[]]"));
    EXPECT_EQ(data["memory_managers"]["block_size"], Json({"18446744073709551615"}));
    EXPECT_EQ(data["memory_managers"]["unknown_blocks"], Json({3})) << "one holds the functions";
    EXPECT_EQ(data["interfaces"]["addressed"], Json({0, 0, 0}));
    EXPECT_EQ(data["interfaces"]["oldest"], Json({nullptr, nullptr, nullptr}));
    EXPECT_EQ(data["slots"]["receivers"], Json({1, 1}));
    EXPECT_EQ(data["slots"]["chain"],
              Json::parse(R"({"rows":[1],"values":[{"entries":[9,8],"end":"loop","next_index":9}]})"));
    EXPECT_EQ(data["slots"]["external"], Json::parse(R"({"rows":[1],"values":[[5,6]]})"));
    EXPECT_EQ(data["findings"], Json::array({toJson(finding)}));
    EXPECT_TRUE(cPageBeforeData.ends_with("json\">") && cPageAfterData.starts_with("</script>"));
}

} // namespace
