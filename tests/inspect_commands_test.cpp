#include "support/churning_bus.h"
#include "support/inspect.h"
#include "support/json_schema.h"
#include "support/live_bus.h"

#include "zunic_hosting/channel_format.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <sys/stat.h>
#include <thread>

using namespace TestSupport;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using ZunicHosting::HostedChannel;
using ZunicHosting::InstanceType;

namespace {

/// Runs a line for the shell in which "$0" is the program.
ProgramResult inspectInShell(const std::string& line, const std::string& channel)
{
    return runProgram({"/bin/sh", "-c", line, INSPECT_BINARY, channel});
}

/// Without what makes columns of words.
std::string squeezed(const std::string& table)
{
    return std::regex_replace(std::regex_replace(table, std::regex(" +"), " "), std::regex("(^|\n) "), "$1");
}

/// One line that says no, in words, and nothing else.
void expectComplaint(const ProgramResult& result, int status, const std::string& words)
{
    EXPECT_EQ(result.status, status) << words << result.errors;
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, StartsWith("zunic_inspect: "));
    EXPECT_THAT(result.errors, HasSubstr(words));
    EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1);
}

class InspectScenario : public testing::TestWithParam<const char*>
{};

TEST_P(InspectScenario, LooksTheSameLiveAndSaved)
{
    const LiveBus bus(std::string(SCENARIO_DIR "/") + GetParam());
    const TemporaryDirectory directory;
    const std::string file = directory / "state.json";
    ASSERT_EQ(inspect({"save", file, "-c", bus.channelName()}).status, eYes);
    const std::vector<std::string> commands[] = {{"list"},
                                                 {"list", "communicators"},
                                                 {"list", "memory"},
                                                 {"list", "processes", "-o", "+COMMUNICATORS"},
                                                 {"list", "messages"},
                                                 {"list", "interfaces", "--json"},
                                                 {"show", "1"},
                                                 {"show", "--memory", "0"},
                                                 {"list", "memory", "-o", "+FUNCTIONS,MESSAGES,UNKNOWN"},
                                                 {"list", "processes", "-o", "+ADDRESSED"},
                                                 {"list", "-o", "+ADDRESSED,OLDEST"},
                                                 {"list", "-o", "NAME,FUNCTIONS,RECEIVERS,LIVING", "--noheadings"},
                                                 {"list", "-o", "NAME,LIVING"},
                                                 {"list", "-o", "NAME,APP"},
                                                 {"list", "-o", "ID,FUNCTIONS"},
                                                 {"list", "communicators", "-o", "INTERFACES,STARTED"}};
    for (auto words : commands) {
        words.insert(words.end(), {"-c", bus.channelName()});
        const ProgramResult live = inspect(words);
        words.resize(words.size() - 2);
        words.insert(words.end(), {"--from", file});
        const ProgramResult saved = inspect(words);
        EXPECT_EQ(live.status, eYes) << live.errors;
        EXPECT_TRUE(live.output == saved.output && live.status == saved.status) << words[0] << ' ' << words[1];
        EXPECT_EQ(live.errors + saved.errors, "");
    }
    for (const std::string kind : {"interfaces", "communicators", "processes", "memory", "messages"}) {
        writeFile(directory / kind, inspect({"list", kind, "--json", "--from", file}).output);
        EXPECT_EQ(invalidity("bus_list.schema.json", directory / kind), "") << kind;
    }
    for (const std::string manager : {"0", "1"}) {
        writeFile(directory / "holders", inspect({"show", "--memory", manager, "--json", "--from", file}).output);
        EXPECT_EQ(invalidity("bus_list.schema.json", directory / "holders"), "") << manager;
    }
}

INSTANTIATE_TEST_SUITE_P(Buses, InspectScenario, testing::Values("small.json", "full.json"), [](const auto& tested) {
    return std::string(tested.param, 0, std::strlen(tested.param) - 5);
});

TEST(Inspect, AnswersByFiltersColumnsAndStatus)
{
    const LiveBus bus(SCENARIO_DIR "/small.json");
    const auto list = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"list", "-c", bus.channelName(), "--noheadings"});
        return squeezed(inspect(words).output);
    };
    EXPECT_EQ(list({"--name", "Clo?k", "--type", "stub", "-o", "ROLE"}), "Navigator\nDashboard\nLogger\n");
    EXPECT_EQ(list({"--app", "nav*", "--state", "preregistered", "-o", "NAME,DOMAIN"}), "Traffic cloud\n");
    EXPECT_EQ(list({"processes", "--app", "dash*", "-o", "PROVIDES,USES,COMMUNICATORS,LIVING"}), "0 4 4,5 yes\n");
    EXPECT_THAT(list({"processes", "-o", "LIVING,APP"}), HasSubstr("no -\n"));
    expectComplaint(inspect({"list", "--name", "clock", "-c", bus.channelName()}), eNo, "no matching interface");
    expectComplaint(inspect({"list", "memory", "--name", "x", "-c", bus.channelName()}), eFailed, "--name");
    expectComplaint(inspect({"list", "-o", "COLOUR", "-c", bus.channelName()}), eFailed, "COLOUR");
    expectComplaint(inspect({"lis", "-c", bus.channelName()}), eFailed, "lis");

    const ProgramResult shown = inspect({"show", "Tuner", "99", "-c", bus.channelName()});
    EXPECT_EQ(shown.status, eNo);
    EXPECT_EQ(shown.errors, "zunic_inspect: no such interface: \"99\"\n");
    EXPECT_THAT(shown.output, testing::ContainsRegex("provided by.*\n.*Tuner +Provider .*registered [0-9]+ no"));
}

/// Twenty interfaces of one name, each in the receiver set of the first two, and a message to all of them.
void fill(HostedChannel& channel)
{
    ZunicHosting::LockedRegistry lock = channel.lock();
    std::vector<std::uint16_t> ids;
    ids.reserve(20);
    for (int i = 0; i < 20; ++i) {
        ids.push_back(lock.registerInterface({.interfaceName = "Clock", .roleName = "r"}));
    }
    for (const std::uint16_t id : ids) {
        lock.connect(0, id);
        lock.connect(1, id);
    }
    lock.writeSlot(0, {.state = ZunicHosting::SlotState::message, .senderId = 1, .dataIndex = 1, .receivers = ids});
    for (std::uint32_t slot = 1; slot <= 9; ++slot) {
        lock.writeSlot(slot, {.state = ZunicHosting::SlotState::data,
                              .dataIndex = slot < 9 ? slot + 1 : ZunicHosting::cNoDataEntry});
    }
}

TEST(Inspect, ShortensListsToOneWordUnlessAllIsAskedFor)
{
    HostedChannel channel = HostedChannel::create({.name = uniqueChannelName()});
    fill(channel);
    const auto list = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"list", "messages", "-c", channel.name()});
        const std::string output = inspect(words).output;
        return output.substr(0, output.find('\n', output.find('\n') + 1) + 1); // The message, without its data.
    };
    const std::string columns = "SLOT,RECEIVERS,DATA,STATE";
    const std::string all = "0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19";
    EXPECT_EQ(list({"-o", columns}), "SLOT RECEIVERS               DATA                   STATE\n"
                                     "   0 0,1,2,3,4,5,6,7,+12more 1,2,3,4,5,6,7,8,+1more message\n");
    EXPECT_EQ(list({"-o", columns, "--all"}),
              "SLOT RECEIVERS DATA STATE\n   0 " + all + " 1,2,3,4,5,6,7,8,9 message\n");
    EXPECT_EQ(list({"-o", "DATA,SLOT", "--all", "--noheadings"}).find("1,2,3,4,5,6,7,8,9 0\n- 1\n"), 0U);
    const auto json = nlohmann::json::parse(inspect({"list", "messages", "--json", "-c", channel.name()}).output);
    EXPECT_EQ(json["messages"][0]["receivers"].size(), 20U);
}

TEST(Inspect, ShowsOneTreeAfterTheOtherAndEndsNoLineWithBlanks)
{
    HostedChannel channel = HostedChannel::create({.name = uniqueChannelName()});
    fill(channel);
    const auto show = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"show", "-c", channel.name()});
        return inspect(words).output;
    };
    EXPECT_EQ(show({"0", "1"}), show({"0"}) + '\n' + show({"1"}));
    EXPECT_EQ(show({"0", "1", "--noheadings"}), show({"0", "--noheadings"}) + show({"1", "--noheadings"}));
    for (const std::string color : {"always", "never"}) {
        for (const std::string& output : {show({"0", "2", "--color", color}),
                                          inspect({"list", "messages", "-c", channel.name(), "--color", color}).output,
                                          inspect({"list", "--all", "-c", channel.name(), "--color", color}).output}) {
            EXPECT_THAT(output, Not(testing::ContainsRegex(" (\x1b\\[[0-9;]*m)*\n"))) << output;
        }
    }
}

TEST(Inspect, NamesForgeNothing)
{
    HostedChannel channel = HostedChannel::create({.name = uniqueChannelName()});
    const std::string name = "\x1b[31mred\nTeapot Provider\t\xC3\xB6\xFF\xE2\x80\xAE";
    channel.lock().registerInterface({.interfaceName = name, .roleName = "-", .type = InstanceType::skeleton});
    const ProgramResult listed = inspect({"list", "--noheadings", "-o", "NAME,ROLE,ID", "-c", channel.name()});
    EXPECT_EQ(squeezed(listed.output),
              "\\x1b[31mred\\x0aTeapot\\x20Provider\\x09\xC3\xB6\\xff\\xe2\\x80\\xae \\x2d 0\n");
    for (const std::string& text : {inspect({"show", name, "-c", channel.name()}).output,
                                    inspect({"show", "\x1b\n", "-c", channel.name()}).errors}) {
        EXPECT_THAT(text, Not(testing::AnyOf(HasSubstr("\x1b"), HasSubstr("\xAE"), HasSubstr("\nTea"))));
    }
    const auto json = nlohmann::json::parse(inspect({"list", "--json", "-c", channel.name()}).output);
    EXPECT_EQ(json["interfaces"][0]["name"], nlohmann::json(std::vector<unsigned char>(name.begin(), name.end())));
}

TEST(Inspect, TellsAWriteThatFailsAndNothingOfAReaderThatHasEnough)
{
    const LiveBus bus(SCENARIO_DIR "/full.json");
    const ProgramResult full = inspectInShell("\"$0\" list messages -c \"$1\" >/dev/full", bus.channelName());
    expectComplaint(full, eFailed, "No space left on device");
    const ProgramResult closed =
        inspectInShell("{ \"$0\" save - -c \"$1\"; echo $? >&2; } | head -n 1", bus.channelName());
    EXPECT_EQ(closed.output + closed.errors, "{\n141\n"); // As SIGPIPE ends everybody.
}

TEST(Inspect, TellsAChannelThatIsOfNoUse)
{
    for (const std::string command : {"list", "save"}) {
        std::vector<std::string> words{command, "-c", "there-is-none"};
        if (command == "save") {
            words.emplace_back("-");
        }
        expectComplaint(inspect(words), eNoChannel, "no usable channel \"there-is-none\"");
    }
    HostedChannel channel = HostedChannel::create({.name = uniqueChannelName()});
    const Gate held;
    const Gate release;
    ForkedChild holder([&] {
        const ZunicHosting::LockedRegistry lock(channel);
        return held.open() && release.await() ? 0 : 1;
    });
    ASSERT_TRUE(held.await());
    holder.stop();
    expectComplaint(inspect({"show", "1", "-c", channel.name()}), eNoChannel, "mutex");
    holder.send(SIGCONT);
    release.open();
    EXPECT_EQ(holder.wait(), 0);

    const std::span<std::byte> bytes = channel.bytes();
    std::fill(bytes.begin() + ZunicFormat::cSuperblockSize, bytes.end(), std::byte{0xA5});
    EXPECT_EQ(inspect({"save", "-", "-c", channel.name()}).status, eNoChannel);
    expectComplaint(inspect({"wait", "Clock", "--gone", "-c", channel.name(), "--timeout", "0"}), eTimeIsUp, "channel");
    ASSERT_EQ(truncate(("/dev/shm/zunic." + channel.name()).c_str(), 4096), 0);
    expectComplaint(inspect({"list", "-c", channel.name()}), eNoChannel, "no usable channel");
}

TEST(Inspect, TellsAFileThatIsNoState)
{
    const LiveBus bus(SCENARIO_DIR "/small.json");
    const std::string whole = inspect({"save", "-", "-c", bus.channelName()}).output;
    const TemporaryDirectory directory;
    const std::string file = directory / "state.json";
    const auto with = [&](const std::string& old, const std::string& mistake) {
        std::string text = whole;
        return text.replace(text.find(old), old.size(), mistake);
    };
    const std::pair<std::string, std::string> cases[] = {
        {whole.substr(0, whole.size() - 3), "not JSON"},  {"", "line 1"},
        {with("bus-state/1", "bus-list/1"), "/schema"},   {with("\"id\":2", "\"id\":0"), "/interfaces/1/id"},
        {std::string(100'000'000, '['), "nested deeper"}, // NOLINT(bugprone-string-constructor)
    };
    for (const auto& [text, words] : cases) {
        writeFile(file, text);
        expectComplaint(inspect({"list", "--from", file}), eNoState, words);
    }
    expectComplaint(inspect({"list", "--from", directory / "none"}), eNoState, "No such file");
    expectComplaint(inspect({"list", "--from", "/dev/zero"}), eNoState, "/dev/zero: line 1, column 1: not JSON");
    const ProgramResult endless = inspectInShell("yes | \"$0\" list --from -", "");
    expectComplaint(endless, eNoState, "standard input: line 1, column 1: not JSON");
    writeFile(file, whole);
    const ProgramResult piped = inspectInShell("\"$0\" list memory --from - <\"$1\"", file);
    EXPECT_TRUE(piped.status == eYes && piped.output == inspect({"list", "memory", "--from", file}).output);
}

TEST(Inspect, ChecksAChannelTwiceUnlessToldNotTo)
{
    HostedChannel channel = HostedChannel::create({.name = uniqueChannelName()});
    channel.lock().registerInterface({.interfaceName = "Late",
                                      .type = InstanceType::skeleton,
                                      .state = ZunicHosting::RegistrationState::preregistered});
    for (const std::string again : {"1ms", "0", "none"}) {
        const std::string told = inspect({"check", "-c", channel.name(), "--again", again}).output;
        EXPECT_EQ(told.find("stuck-required") != std::string::npos, again == "1ms") << told;
    }
}

TEST(Inspect, AbbreviatesInComplaintsWhatIsTooLongToRead)
{
    const std::string digits(5000, '7');
    const TemporaryDirectory directory;
    const std::string file = directory / "state.json";
    writeFile(file, digits);
    for (const ProgramResult& result :
         {inspect({"list", "--from", file}), inspect({"list", digits}), inspect({digits}),
          inspect({"watch", "--interval", digits + "s"}), inspect({"show", digits, "-c", "there-is-" + digits}),
          inspect({"save", directory / digits})}) {
        expectComplaint(result, result.status, "");
        EXPECT_NE(result.status, eYes);
        EXPECT_LT(result.errors.size(), 500U) << result.errors;
    }
    const std::string longest(255, 'n'); // A name may be as long.
    EXPECT_THAT(inspect({"list", longest}).errors, HasSubstr(longest));
    std::string umlauts = ".";
    for (int i = 0; i < 1000; ++i) {
        umlauts += "\xC3\xB6";
    }
    EXPECT_THAT(inspect({"list", umlauts}).errors, Not(HasSubstr("\\x")));
}

TEST(InspectWait, SeesWhatComesGoesAndIsHostedAnew)
{
    const std::string name = uniqueChannelName();
    std::vector<std::string> words{"wait", "Clock", "Audio", "-c", name, "--timeout", "50s"};
    Program waiting(inspectWords(words));
    const auto host = [&] { return std::make_unique<HostedChannel>(HostedChannel::create({.name = name})); };
    auto channel = host();
    channel->lock().registerInterface({.interfaceName = "Clock"});
    channel->lock().registerInterface(
        {.interfaceName = "Audio", .state = ZunicHosting::RegistrationState::preregistered});
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_TRUE(waiting.isRunning()); // Nobody provides Audio yet.
    channel.reset();
    channel = host();
    const auto clock = channel->lock().registerInterface({.interfaceName = "Clock"});
    channel->lock().registerInterface({.interfaceName = "Audio"});
    EXPECT_EQ(waiting.wait(), eYes);
    EXPECT_EQ(waiting.output() + waiting.errors(), "");

    expectComplaint(inspect({"wait", "Clock", "Teapot", "-c", name, "--timeout", "200ms"}), eTimeIsUp,
                    "missing: \"Teapot\"");
    expectComplaint(inspect({"wait", "Clock", "--gone", "-c", name, "--timeout", "0"}), eTimeIsUp,
                    "still present: \"Clock\"");
    words.insert(words.end(), {"--gone"});
    Program goneWaiting(inspectWords(words));
    channel->lock().unregisterInterface(clock);
    channel.reset();
    EXPECT_EQ(goneWaiting.wait(), eYes) << goneWaiting.errors();
    expectComplaint(inspect({"wait", "Clock", "-c", name, "--timeout", "0"}), eTimeIsUp, "no usable channel");
}

/// What a saved state of a scenario tells each time, of any machine and version.
nlohmann::json lasting(const std::string& state)
{
    nlohmann::json json = nlohmann::json::parse(state);
    for (const char* const member : {"channel", "taken_at", "host", "boot_id", "program_version", "mutex_held_ns"}) {
        json.erase(member);
    }
    for (auto& communicator : json["communicators"]) {
        for (const char* const number : {"pid", "started_ms_after_boot"}) {
            communicator[number] = communicator[number].type_name();
        }
    }
    return json;
}

TEST(InspectSave, OfAScenarioIsWhatEarlierVersionsSaved)
{
    for (const std::string scenario : {"/small.json", "/sick.json"}) {
        const LiveBus bus(SCENARIO_DIR + scenario);
        EXPECT_EQ(lasting(inspect({"save", "-", "-c", bus.channelName()}).output),
                  lasting(readFile(EXPECTED_DIR "/../saved/1.0.0" + scenario)));
    }
}

TEST(InspectSave, OfABusThatChurnsIsWhole)
{
    ChurningBus bus(2);
    const TemporaryDirectory directory;
    const std::string file = directory / "state.json";
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(inspect({"save", file, "-c", bus.name()}).status, eYes);
        EXPECT_EQ(invalidity("bus_state.schema.json", file), "");
        const auto state = nlohmann::json::parse(readFile(file));
        for (const auto& interface : state["interfaces"]) {
            EXPECT_EQ(interface["receivers"].size(), 1U) << interface; // Pairs, each of one moment.
        }
    }
    EXPECT_TRUE(bus.goesOn());
}

TEST(InspectSave, ThatFailsKeepsTheFileOfBefore)
{
    const LiveBus bus(SCENARIO_DIR "/full.json");
    const TemporaryDirectory directory;
    const std::string file = directory / "state.json";
    writeFile(file, "before");
    // A file may not grow beyond some kilobytes: as full as a disk.
    const ProgramResult result = runProgram({"/bin/sh", "-c", "ulimit -f 8; trap '' XFSZ; \"$0\" save \"$2\" -c \"$1\"",
                                             INSPECT_BINARY, bus.channelName(), file});
    expectComplaint(result, eFailed, "state.json: File too large");
    EXPECT_EQ(readFile(file), "before");
    EXPECT_THAT(directory.entries(), testing::ElementsAre("state.json"));
}

} // namespace
