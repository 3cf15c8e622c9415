#include "support/live_bus.h"

#include <gmock/gmock.h>

using namespace TestSupport;

namespace {

/// Neither the call that keeps the library silent, nor the one that keeps it from waiting in the end, is there always.
TEST(Dlt, RegistersFirstOfAllWithALibraryThatLacksWhatIsNotNeeded)
{
    const LiveBus bus(SCENARIO_DIR "/small.json");
    const std::string folder = std::filesystem::path(BARE_DLT).parent_path();
    const ProgramResult result =
        runEnquirer({"-l", "-i", "Clock", bus.channelName()}, {.environment = {{"LD_LIBRARY_PATH", folder}}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output + result.errors, "2.17 OZEN Zunic Enquirer, printing\n");
    EXPECT_EQ(runEnquirer({"--nonsense"}, {.environment = {{"LD_LIBRARY_PATH", folder}}}).output,
              "2.17 OZEN Zunic Enquirer")
        << "registered before the command line is read";
}

} // namespace
