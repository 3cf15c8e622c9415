#include "inspect/commands/page/page_data.h"
#include "inspect/commands/page/page_text.h"
#include "inspect/saved/state_json.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace Inspect;

namespace {

TEST(PageData, OfNonsenseIsJsonThatCannotEndItsElement)
{
    BusState state;
    state.mChannel = "</script><!--\xE2\x80\xA8\x7F\xC3\xB6";
    state.mInterfaces.resize(3);
    state.mInterfaces[0].mName = "\xFF<";
    state.mInterfaces[0].mType = 4294967295;
    state.mInterfaces[0].mReceivers = {0, 1, 2, 7, 65534, 65535};
    state.mInterfaces[0].mFunctions = {"\"", "\\"};
    state.mInterfaces[2].mReceivers = state.mInterfaces[0].mReceivers;
    state.mMemoryManagers.push_back({UINT64_MAX, 1, 2, 3, 4});
    state.mMessages.mSlots.resize(2);
    state.mMessages.mSlots[1].mChain = {{{9, 1}, {8, 1}}, Channel::ChainEnd::eLoop, 9};
    state.mMessages.mSlots[1].mExternal = OxaZunic::OxaZunicRangeLocation(5, 6);
    const Subject subject{SubjectKind::eSlot, 7, "<"};
    const Finding finding{"full", Severity::eError, subject, "\n", "Look."};

    const std::string text = pageData(state, {finding});
    EXPECT_TRUE(std::ranges::all_of(text, [](char c) { return c == '\n' || (c >= ' ' && c <= '~' && c != '<'); }));
    const Json data = Json::parse(text);
    EXPECT_EQ(data["channel"], state.mChannel);
    EXPECT_EQ(data["interfaces"][0][1], Json({255, 60}));
    EXPECT_EQ(data["interfaces"][0][4], "4294967295");
    EXPECT_EQ(data["interfaces"][0][8], Json({"\"", "\\"}));
    EXPECT_TRUE(data["interfaces"][1][8].is_null());
    EXPECT_EQ(data["interfaces"][2][7][3], data["interfaces"][0][7][3]);
    EXPECT_EQ(data["sets"], Json::parse("[[0,2,7,7,65534,65535],[]]"));
    EXPECT_EQ(data["memory"], Json::parse(R"([["18446744073709551615",1,2,3,4]])"));
    EXPECT_EQ(data["chains"], Json::parse(R"([[1,"loop",9,9,8]])"));
    EXPECT_EQ(data["externals"], Json::parse("[[1,5,6]]"));
    EXPECT_EQ(data["findings"], Json::parse(R"([[2,"full",5,7,"<","\n","Look."]])"));
    EXPECT_TRUE(cPageBeforeData.ends_with("json\">") && cPageAfterData.starts_with("</script>"));
}

} // namespace
