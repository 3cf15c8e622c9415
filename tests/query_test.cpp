#include "support/live_bus.h"
#include "support/text.h"

#include "oxa/oxa_result.h"
#include "zunic_hosting/hosted_channel.h"

#include <gmock/gmock.h>

using TestSupport::ProgramResult;
using TestSupport::runEnquirer;
using ZunicHosting::InstanceType;
using ZunicHosting::RegistrationState;

namespace {

const int cFound = 0;
const int cNotFound = static_cast<int>(OxaResult::cObjectNotFound.code());
const int cBadParameter = static_cast<int>(OxaResult::cParameterInvalid.code());
const int cNoChannel = static_cast<int>(OxaResult::cObjectInvalid.code());

constexpr auto cCombination = "Error: -t and -s can only be used with -i and/or -r\n";

std::string ignored(const std::string& what, const std::string& word)
{
    return "Warning: ignoring unrecognised " + what + " \"" + word + "\"\n";
}

std::string noChannel(const std::string& name)
{
    return "Failed to initialise (using shared memory channel name \"" + name + "\")\n";
}

class Query : public testing::Test
{
protected:
    TestSupport::TemporaryDirectory mWorkingDirectory;
    ZunicHosting::HostedChannel mChannel =
        ZunicHosting::HostedChannel::create({.name = TestSupport::uniqueChannelName()});
    std::string mName = mChannel.name();

    void SetUp() override
    {
        const ZunicHosting::InterfaceDescription interfaces[] = {
            {.interfaceName = "Clock", .roleName = "First", .type = InstanceType::stub},
            {.interfaceName = "Clock", .roleName = "Second", .type = InstanceType::skeleton},
            {.interfaceName = "Map", .roleName = "Second", .domainName = "cloud", .type = InstanceType::stub},
            {.interfaceName = "Radio",
             .roleName = "Third",
             .type = InstanceType::skeleton,
             .state = RegistrationState::preregistered},
            {.interfaceName = "Gone", .roleName = "Gone", .state = RegistrationState::unregistered},
        };
        for (const ZunicHosting::InterfaceDescription& interface : interfaces) {
            mChannel.lock().registerInterface(interface);
        }
    }

    /// A run that prints nothing on standard output and leaves the working directory empty; returns the errors.
    std::string errorsOf(const std::vector<std::string>& arguments, int status)
    {
        const ProgramResult result = runEnquirer(arguments, {.workingDirectory = mWorkingDirectory.path().string()});
        EXPECT_EQ(result.status, status) << testing::PrintToString(arguments);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(mWorkingDirectory.entries(), testing::IsEmpty());
        return result.errors;
    }
};

TEST_F(Query, AnswersByExitStatus)
{
    const struct
    {
        std::vector<std::string> options;
        int status;
        std::string errors = {};
    } cases[] = {
        {{"-i", "Clock"}, cFound},
        {{"-i", "clock"}, cNotFound},
        {{"-i", "Cloc"}, cNotFound},
        {{"-i", "Gone"}, cNotFound},
        {{"-i", "Map"}, cNotFound},
        {{"-i", "Map", "-m", "cloud"}, cFound},
        {{"-i", "Map", "-m", ""}, cFound},
        {{"-r", "Second"}, cFound},
        {{"-i", "Radio", "-r", "Second"}, cNotFound},
        {{"-m", "cloud"}, cFound},
        {{"-m", "moon"}, cNotFound},
        {{"-m", ""}, cNotFound},
        {{"-i", "", "-r", "", "-m", ""}, cNotFound},
        {{"-i", ""}, cFound},
        {{"-i", "Clock", "-r", "First", "-t", "skeleton"}, cNotFound},
        {{"-i", "Clock", "-t", "eInterfaceInstanceTypeUndefined"}, cNotFound},
        {{"-i", "Radio", "-s", "registered"}, cNotFound},
        {{"-i", "Radio", "-s", "preregistered", "-t", "skeleton"}, cFound},
        {{"-i", "Radio", "-t", "stub", "-s", ""}, cNotFound, ignored("registration state", "")},
        {{"-i", "Radio", "-s", "Required", "-t", "x"},
         cFound,
         ignored("interface type", "x") + ignored("registration state", "Required")},
        {{"-b", "-d", "-i", "Clock", "-o", "made"}, cFound},
        {{"-i", "Clock", "another"}, cFound},
        {{"-t", "stub"}, cBadParameter, cCombination},
        {{"-s", "nonsense"}, cBadParameter, cCombination},
    };
    for (const auto& [options, status, errors] : cases) {
        std::vector<std::string> arguments{mName};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_EQ(errorsOf(arguments, status), errors) << testing::PrintToString(options);
    }
}

TEST_F(Query, WithoutAUsableChannel)
{
    for (const std::string& name : {mName + ".missing", std::string("a/b"), std::string(), std::string(300, 'n')}) {
        EXPECT_EQ(errorsOf({name}, cNoChannel), noChannel(name));
        EXPECT_EQ(errorsOf({"-t", "stub", name, mName}, cNoChannel), noChannel(name));
    }
    // Another test or the machine itself may be hosting a channel of the default name at the moment.
    const ProgramResult result = runEnquirer({"-i", "no such interface"});
    EXPECT_TRUE(result.status == cNotFound || result.errors == noChannel("OXABus")) << result.errors;
}

TEST_F(Query, CommandLineThatCannotBeRead)
{
    for (const std::string word : {"--nonsense", "-x", "-i", "-o"}) {
        const std::string errors = errorsOf({mName, word}, cBadParameter);
        EXPECT_EQ(errors.find('\n'), errors.size() - 1) << errors;
        EXPECT_THAT(errors, testing::HasSubstr("'" + word + "'"));
    }
}

TEST(Help, TellsEveryOption)
{
    const ProgramResult result = runEnquirer({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output, TestSupport::expectedText("help.txt"));
}

} // namespace
