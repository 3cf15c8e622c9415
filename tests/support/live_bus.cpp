#include "support/live_bus.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace TestSupport {

std::string uniqueChannelName()
{
    static std::atomic<unsigned> count{0};
    return "enquirer_test." + std::to_string(getpid()) + "." + std::to_string(count++);
}

std::map<std::string, pid_t> childrenOf(pid_t process)
{
    std::map<std::string, pid_t> found;
    const std::string id = std::to_string(process);
    std::ifstream children("/proc/" + id + "/task/" + id + "/children");
    for (pid_t child = 0; children >> child;) {
        std::error_code error;
        const auto executable = std::filesystem::read_symlink("/proc/" + std::to_string(child) + "/exe", error);
        found.emplace(executable.filename().string(), child);
    }
    return found;
}

LiveBus::LiveBus(const std::string& scenarioFile)
    : mHost({DEMO_BUS_BINARY, "--channel", mChannelName, scenarioFile}, {.watchdog = std::chrono::seconds(300)})
{
    const auto isUp = [&] { return mHost.output().find(" is ready") != std::string::npos; };
    EXPECT_TRUE(waitUntil([&] { return isUp() || !mHost.isRunning(); }) && isUp()) << mHost.output() << mHost.errors();
}

LiveBus::~LiveBus()
{
    kill(mHost.processId(), SIGTERM);
    EXPECT_EQ(mHost.wait(), 0) << mHost.errors();
}

} // namespace TestSupport
