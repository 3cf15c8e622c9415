#include "support/live_bus.h"

#include "oxa/oxa_result.h"

#include <gmock/gmock.h>
#include <memory>

using TestSupport::LiveBus;
using TestSupport::ProgramResult;
using TestSupport::runEnquirer;

namespace {

constexpr auto cScenario = R"({
  "processes": [
    { "name": "provider", "communicators": [ { "interfaces": [
      { "name": "Clock", "role": "First", "type": "stub", "version": "1.0.0" },
      { "name": "Clock", "role": "Second", "type": "skeleton", "version": "1.0.0" },
      { "name": "Map", "role": "Second", "type": "stub", "version": "1.0.0", "domain": "cloud" },
      { "name": "Radio", "role": "Third", "type": "skeleton", "version": "1.0.0", "state": "preregistered" },
      { "name": "Door", "role": "Third", "type": "undefined", "version": "1.0.0" },
      { "name": "Gone", "role": "Gone", "type": "stub", "version": "1.0.0", "state": "unregistered" } ] } ] } ]
})";

const int cFound = 0;
const int cNotFound = static_cast<int>(OxaResult::cObjectNotFound.code());
const int cBadParameter = static_cast<int>(OxaResult::cParameterInvalid.code());
const int cNoChannel = static_cast<int>(OxaResult::cObjectInvalid.code());
const int cNoLock = static_cast<int>(OxaResult::cFailed.code());

constexpr auto cCombination = "Error: -t and -s can only be used with -i and/or -r\n";

std::string typeWarning(const std::string& word)
{
    return "Warning: ignoring unrecognised interface type \"" + word + "\"\n";
}

std::string stateWarning(const std::string& word)
{
    return "Warning: ignoring unrecognised registration state \"" + word + "\"\n";
}

std::string noChannel(const std::string& name)
{
    return "Failed to initialise (using shared memory channel name \"" + name + "\")\n";
}

class Query : public testing::Test
{
protected:
    TestSupport::TemporaryDirectory mWorkingDirectory;
    TestSupport::TemporaryDirectory mScenarioDirectory;
    std::unique_ptr<LiveBus> mBus;

    void SetUp() override
    {
        const std::string scenario = mScenarioDirectory / "scenario.json";
        TestSupport::writeFile(scenario, cScenario);
        mBus = std::make_unique<LiveBus>(scenario);
    }

    /// A run that prints nothing on standard output and leaves the working directory empty.
    void expect(const std::vector<std::string>& arguments, int status, const std::string& errors,
                const std::map<std::string, std::string>& environment = {})
    {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const ProgramResult result =
            runEnquirer(arguments, {.workingDirectory = mWorkingDirectory.path().string(), .environment = environment});
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors, errors);
        EXPECT_THAT(mWorkingDirectory.entries(), testing::IsEmpty());
    }
};

TEST_F(Query, AnswersByExitStatus)
{
    const struct
    {
        std::vector<std::string> arguments;
        int status;
        std::string errors = {};
    } cases[] = {
        {{"-i", "Clock"}, cFound},
        {{"-i", "clock"}, cNotFound},
        {{"-i", "Cloc"}, cNotFound},
        {{"-i", "Gone"}, cNotFound},
        {{"--checkInterfaceName=Clock"}, cFound},
        {{"-i", "Map"}, cNotFound},
        {{"-i", "Map", "-m", "cloud"}, cFound},
        {{"-i", "Map", "-m", ""}, cFound},
        {{"-r", "Second"}, cFound},
        {{"-r", "Nobody"}, cNotFound},
        {{"-i", "Clock", "-r", "Second"}, cFound},
        {{"-i", "Radio", "-r", "Second"}, cNotFound},
        {{"-m", "cloud"}, cFound},
        {{"-m", "moon"}, cNotFound},
        {{"-m", ""}, cNotFound},
        {{"-i", "", "-r", "", "-m", ""}, cNotFound},
        {{"-i", ""}, cFound},
        {{"-i", "Clock", "-t", "skeleton"}, cFound},
        {{"-i", "Radio", "-t", "stub"}, cNotFound},
        {{"-i", "Clock", "-r", "First", "-t", "skeleton"}, cNotFound},
        {{"-i", "Door", "-t", "eInterfaceInstanceTypeUndefined"}, cFound},
        {{"-i", "Clock", "-t", "eInterfaceInstanceTypeUndefined"}, cNotFound},
        {{"-i", "Radio", "-s", "registered"}, cNotFound},
        {{"-i", "Radio", "-s", "preregistered"}, cFound},
        {{"-i", "Clock", "-s", "eOxaZunicRegistrationStateRegistered", "-t", "stub"}, cFound},
        {{"-i", "Radio", "-t", "Skeleton"}, cFound, typeWarning("Skeleton")},
        {{"-i", "Nothing", "-t", "undefined"}, cNotFound, typeWarning("undefined")},
        {{"-i", "Radio", "-t", "stub", "-s", ""}, cNotFound, stateWarning("")},
        {{"-i", "Radio", "-s", "Required", "-t", "x"}, cFound, typeWarning("x") + stateWarning("Required")},
        {{"-b", "-d", "-i", "Clock", "-o", "made"}, cFound},
        {{"-i", "Clock", "another"}, cFound},
        {{"-t", "stub"}, cBadParameter, cCombination},
        {{"-s", "registered"}, cBadParameter, cCombination},
        {{"-t", "nonsense", "-s", "nonsense"}, cBadParameter, cCombination},
    };
    for (const auto& [options, status, errors] : cases) {
        std::vector<std::string> arguments{mBus->channelName()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        expect(arguments, status, errors);
    }
}

TEST_F(Query, WithoutAUsableChannel)
{
    const std::string missing = mBus->channelName() + ".missing";
    expect({missing}, cNoChannel, noChannel(missing));
    expect({"-i", "Clock", missing}, cNoChannel, noChannel(missing));
    expect({"-t", "stub", missing, mBus->channelName()}, cNoChannel, noChannel(missing));
    expect({"a/b"}, cNoChannel, noChannel("a/b"));
    expect({""}, cNoChannel, noChannel(""));
    expect({std::string(300, 'n')}, cNoChannel, noChannel(std::string(300, 'n')));
}

TEST_F(Query, WithoutTheRegistryMutex)
{
    // The platform's libraries can be replaced beneath the program; the sanitizers would object to the order.
    expect({"-i", "Clock", mBus->channelName()}, cNoLock, noChannel(mBus->channelName()),
           {{"LD_PRELOAD", MUTEX_THAT_FAILS}, {"ASAN_OPTIONS", "verify_asan_link_order=0"}});
}

TEST_F(Query, CommandLineThatCannotBeRead)
{
    const std::string channel = mBus->channelName();
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{channel, "--nonsense"}, {channel, "-x"}, {channel, "-i"}, {channel, "-o"}}) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const ProgramResult result = runEnquirer(arguments, {.workingDirectory = mWorkingDirectory.path().string()});
        EXPECT_EQ(result.status, cBadParameter);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
        EXPECT_THAT(result.errors, testing::HasSubstr(arguments.back()));
    }
    EXPECT_THAT(mWorkingDirectory.entries(), testing::IsEmpty());
}

TEST(Help, TellsEveryOption)
{
    const ProgramResult result = runEnquirer({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    std::string words = result.output;
    words.erase(std::unique(words.begin(), words.end(),
                            [](char a, char b) { return std::isspace(a) != 0 && std::isspace(b) != 0; }),
                words.end());
    std::replace(words.begin(), words.end(), '\n', ' ');
    for (const char* const text :
         {"-b",
          "--no_bak",
          "Don't create a back up file",
          "-d",
          "--dot",
          "Create a dot file output",
          "-l",
          "--consoleLog",
          "Console log",
          "-o",
          "--outputDir",
          "output directory",
          "Specify the output directory",
          "-i",
          "--checkInterfaceName",
          "interface name",
          "Return 0 if any interfaces with the specified name are registered (can be combined with )",
          "-r",
          "--checkInterfaceRolename",
          "role name",
          "Return 0 if any interfaces with the specified role name are registered (can be combined with )",
          "-m",
          "--checkDomainArg",
          "domain name",
          "Return 0 if any domain with the specified name are registered (can be combined with )",
          "-t",
          "--checkInterfaceType",
          "skeleton | stub",
          "Used in combination with -i, -r and -s; only return 0 if an interface is registered with the specified type",
          "-s",
          "--checkInterfaceRegState",
          "invalid | registered | unregistered | preregistered | unknown",
          "Used in combination with -i, -r and -s; only return 0 if an interface is in the specified registration "
          "state",
          "ZUNIC channel name"}) {
        EXPECT_THAT(words, testing::HasSubstr(text));
    }
}

TEST(DefaultChannel, IsTheOneOfTheBus)
{
    // Another test or the machine itself may be hosting a channel of that name at the moment.
    const ProgramResult result = runEnquirer({"-i", "no such interface"});
    EXPECT_TRUE(result.status == cNotFound ? result.errors.empty()
                                           : result.status == cNoChannel && result.errors == noChannel("OXABus"))
        << result.status << result.errors;
}

} // namespace
