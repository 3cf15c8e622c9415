#include "support/inspect.h"
#include "support/live_bus.h"
#include "support/program.h"

#include "inspect/saved/json_text.h"
#include "zunic_hosting/hosted_channel.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using Inspect::jsonText;
using testing::HasSubstr;
using namespace TestSupport;
using ZunicHosting::HostedChannel;
using Json = ZunicJson::Json;

namespace {

std::string utf8(unsigned character)
{
    const auto byte = [](unsigned bits) { return static_cast<char>(bits); };
    if (character < 0x80) {
        return {byte(character)};
    }
    if (character < 0x800) {
        return {byte(0xC0 | character >> 6), byte(0x80 | (character & 0x3F))};
    }
    return {byte(0xE0 | character >> 12), byte(0x80 | (character >> 6 & 0x3F)), byte(0x80 | (character & 0x3F))};
}

/// Every character that is not to be in any output.
std::vector<std::string> unseenCharacters()
{
    std::vector<std::string> characters{utf8(0xAD), utf8(0x61C), utf8(0xFEFF)};
    const std::pair<unsigned, unsigned> ranges[] = {
        {0x01, 0x1F}, {0x7F, 0x9F}, {0x200B, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F}};
    for (const auto& [first, last] : ranges) {
        for (unsigned character = first; character <= last; ++character) {
            characters.push_back(utf8(character));
        }
    }
    return characters;
}

TEST(JsonText, EscapesWhatCannotBeSeenAndNothingElse)
{
    std::string unseen;
    for (const std::string& character : unseenCharacters()) {
        const std::string text = jsonText(character);
        EXPECT_TRUE(std::ranges::all_of(text, [](char byte) { return byte >= ' ' && byte <= '~'; })) << text;
        EXPECT_EQ(Json::parse(text), Json(character));
        unseen += character;
    }
    std::string seen;
    for (const unsigned neighbour :
         {0x7EU,   0xA0U,   0xACU,   0xAEU,   0xBFU,   0xC0U,   0x61BU,  0x61DU,  0x200AU, 0x2010U,
          0x2027U, 0x202FU, 0x205FU, 0x2070U, 0x1FFFU, 0x20ACU, 0xF900U, 0xFEFEU, 0xFF00U, 0xFFFDU}) {
        seen += utf8(neighbour);
    }
    seen += "\xF0\x9F\x98\x80";
    EXPECT_EQ(jsonText(seen), '"' + seen + '"');
    EXPECT_EQ(jsonText("\xC3\xB6\x7Fz\xE2\x80\x8D"), "\"\xC3\xB6\\u007fz\\u200d\"");
    EXPECT_EQ(Json::parse(jsonText({{unseen + seen, seen + unseen}}, 2)), Json({{unseen + seen, seen + unseen}}));
}

/// Fails if `text` has one of the characters; line ends are those of the program.
void expectNoneIn(const std::string& text, const std::string& what)
{
    EXPECT_THAT(text, HasSubstr("\\u200b")) << what;
    for (const std::string& character : unseenCharacters()) {
        EXPECT_TRUE(character == "\n" || text.find(character) == std::string::npos)
            << what << " prints " << jsonText(character);
    }
}

TEST(JsonText, IsThatOfAllCommands)
{
    std::string name;
    std::string other;
    for (const std::string& character : unseenCharacters()) {
        (name.size() < 200 ? name : other) += character;
    }
    name += utf8(0x200B);
    other += utf8(0x200B);
    HostedChannel channel = HostedChannel::create({.name = uniqueChannelName()});
    const TemporaryDirectory directory;
    const auto run = [&](std::vector<std::string> words) {
        words.insert(words.end(), {"-c", channel.name()});
        const ProgramResult result = inspect(words);
        EXPECT_EQ(result.errors, "") << words[0];
        return result.output;
    };
    const std::string before = directory / "before.json";
    run({"save", before});
    Program watch(inspectWords({"watch", "--json", "--interval", "10ms", "-c", channel.name()}));
    ASSERT_TRUE(waitUntil([&] { return !watch.output().empty(); }));
    for (const auto type : {ZunicHosting::InstanceType::stub, ZunicHosting::InstanceType::skeleton}) {
        channel.lock().registerInterface({.interfaceName = name, .roleName = other, .domainName = other, .type = type});
    }
    ASSERT_TRUE(waitUntil([&] { return watch.output().find("skeleton") != std::string::npos; }));
    expectNoneIn(watch.output(), "watch");
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"list", "--json"},
                                               {"show", "--json", name},
                                               {"check", "--json"},
                                               {"diff", "--json", before},
                                               {"save", "-"},
                                               {"save", "--as-contract", "-"}}) {
        const std::string text = run(words);
        expectNoneIn(text, words[0]);
        EXPECT_TRUE(Json::accept(text)) << text;
    }
    const std::string page = run({"page", "-"});
    expectNoneIn(page.substr(page.find("\"interfaces\"")), "page");
    const std::string after = directory / "after.json";
    run({"save", after});
    const Json read = Json::parse(inspect({"list", "--json", "--from", after}).output);
    EXPECT_EQ(read["interfaces"][0]["name"], Json(name));
    EXPECT_EQ(read["interfaces"][0]["domain"], Json(other));
}

} // namespace
