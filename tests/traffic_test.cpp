#include "support/live_bus.h"

#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <map>
#include <optional>
#include <span>
#include <sstream>
#include <system_error>

namespace {

using namespace TestSupport;
using nlohmann::json;
using ZunicHosting::HostedChannel;
using ZunicHosting::SlotState;

/// Processes a to d with the interfaces I/a to I/d: 1 to 4.
std::string withProcesses(const std::string& more)
{
    std::string processes;
    for (const std::string name : {"a", "b", "c", "d"}) {
        processes += (processes.empty() ? "" : ",") + (R"({"name": ")" + name) +
                     R"(", "communicators": [{"interfaces": [{)" + (processes.empty() ? R"("id": 1,)" : "") +
                     R"("name": "I", "role": ")" + name + R"(", "type": "stub", "version": "1.0.0"}]}]})";
    }
    return R"({"processes": [)" + processes + "], " + more + "}";
}

/// A bus with traffic that is recorded.
class Traffic : public testing::Test
{
protected:
    void start(const std::string& scenario)
    {
        writeFile(mFolder / "s.json", scenario);
        const std::string channel = uniqueChannelName();
        mHost.emplace(std::vector<std::string>{DEMO_BUS_BINARY, "--channel", channel, "--truth", mFolder / "truth",
                                               mFolder / "s.json"});
        ASSERT_TRUE(waitUntil([&] { return mHost->output().ends_with('\n') || !mHost->isRunning(); }));
        ASSERT_EQ(mHost->errors(), "");
        mChannel.emplace(HostedChannel::attach(channel));
    }

    /// Ends the bus and reads what it recorded.
    void end()
    {
        mHost->send(SIGTERM);
        EXPECT_EQ(mHost->wait(), 0) << mHost->errors();
        EXPECT_EQ(mHost->errors(), "");
        std::istringstream lines(readFile(mFolder / "truth"));
        std::string line;
        std::getline(lines, line);
        mHead = json::parse(line);
        while (std::getline(lines, line)) {
            mRecords.push_back(json::parse(line));
        }
        std::copy_if(mRecords.begin(), mRecords.end(), std::back_inserter(mMessages),
                     [](const json& record) { return record.contains("writerCounter"); });
        EXPECT_EQ(mHead["sent"], mMessages.size());
        EXPECT_EQ(mHead["dropped"], mRecords.size() - mMessages.size());
    }

    std::uint16_t writerCounter() { return mChannel->lock().writerCounter(); }

    std::vector<SlotState> slotStates() const
    {
        const std::span slots(reinterpret_cast<ZunicFormat::MessageSlot*>(mChannel->messages()),
                              mChannel->messageSlots());
        std::vector<SlotState> states;
        for (ZunicFormat::MessageSlot& slot : slots) {
            states.push_back(
                static_cast<SlotState>(std::atomic_ref(slot.stateAndSender).load() & ZunicFormat::cSlotStateMask));
        }
        return states;
    }

    std::ptrdiff_t usedSlots() const
    {
        const std::vector<SlotState> states = slotStates();
        return std::ranges::count_if(states, [](SlotState state) { return state != SlotState::free; });
    }

    /// How many blocks can still be taken.
    std::size_t takeAllBlocks(std::uint16_t manager)
    {
        auto registry = mChannel->lock();
        for (std::size_t count = 0;; ++count) {
            try {
                registry.allocateBlock(manager);
            } catch (const std::system_error& error) {
                EXPECT_EQ(error.code().value(), ENOSPC);
                return count;
            }
        }
    }

    /// The messages of a flow that were still there at the end.
    std::ptrdiff_t unfreed(std::uint32_t flow) const
    {
        return std::ranges::count_if(
            mMessages, [flow](const json& message) { return message["flow"] == flow && message["freed"].is_null(); });
    }

    void expectCountersFrom(std::uint64_t first) const
    {
        for (const json& message : mMessages) {
            ASSERT_EQ(message["writerCounter"], first) << message;
            ++first;
        }
    }

    /// Checks that no slot was taken before the message in it had been freed, and that all times lie in the window.
    void expectOneMessageInASlot() const
    {
        std::map<std::uint64_t, json> freed;
        for (const json& message : mMessages) {
            EXPECT_GE(message["sent"], mHead["from"]);
            const auto [before, isFirst] = freed.try_emplace(message["slot"], message["freed"]);
            if (!isFirst) {
                ASSERT_FALSE(before->second.is_null()) << message;
                EXPECT_LE(before->second, message["sent"]);
                before->second = message["freed"];
            }
            if (!message["freed"].is_null()) {
                EXPECT_GT(message["freed"], message["sent"]);
                EXPECT_LE(message["freed"], mHead["to"]);
            }
        }
    }

    TemporaryDirectory mFolder;
    std::optional<Program> mHost;
    std::optional<HostedChannel> mChannel;
    json mHead;
    std::vector<json> mRecords;
    std::vector<json> mMessages;
};

/// There is room for all messages at the same time, so none is dropped however slowly they are read. Sender 0 makes the
/// first message one that nobody reads, which leaves the writer counter near its overflow.
TEST_F(Traffic, NumbersEachMessageOnceAndLeavesNothingBehind)
{
    start(withProcesses(R"("messageSlots": 2048,
        "memoryManagers": [{"blockSize": 8}, {"initialBlocks": 2, "additionalBlocks": 3, "maximumBlocks": 500}],
        "blocks": [{"memoryManager": 1, "count": 2}],
        "messages": [{"state": "message", "sender": 0, "writerCounter": 65400}],
        "traffic": [
          {"sender": "I/a", "rate": 5000, "limit": 500, "userDataSize": 64,
           "receivers": [{"interfaces": ["I/b", "I/c"], "readingTime": "10 us"}, {"interfaces": ["I/d", "I/a"]}]},
          {"sender": "I/b", "burst": {"count": 70, "every": "1 ms"}, "limit": 300, "external": 1,
           "receivers": [{"interfaces": "I/a"}]},
          {"sender": "I/c", "rate": 3000, "limit": 200, "dataEntries": 2,
           "receivers": [{"interfaces": "I/d", "readingTime": "50 us"}]}])"));
    EXPECT_TRUE(waitUntil([&] { return writerCounter() == (65400 + 1000) % 65536; })) << writerCounter();
    EXPECT_TRUE(waitUntil([&] { return usedSlots() == 1; })) << usedSlots();
    EXPECT_EQ(takeAllBlocks(1), 500U - 2U);
    end();

    EXPECT_EQ(mHead["dropped"], 0);
    EXPECT_EQ(mHead["flows"][0]["sent"], 500);
    EXPECT_EQ(mHead["flows"][1]["sent"], 300);
    EXPECT_EQ(mHead["flows"][2]["sent"], 200);
    expectCountersFrom(65401);
    expectOneMessageInASlot();
    for (const json& message : mMessages) {
        EXPECT_FALSE(message["freed"].is_null()) << message;
    }
    const json first = *std::ranges::find_if(mMessages, [](const json& message) { return message["flow"] == 0; });
    EXPECT_EQ(first["receivers"], json({1, 2, 3, 4}));
    EXPECT_EQ(first["sender"], 1);
    EXPECT_EQ(first["userDataSize"], 64);
}

/// The reader takes one message and stops until there is no room for another. There are far fewer slots than messages
/// that the test waits for.
TEST_F(Traffic, GoesOnAfterTheStorageWasFull)
{
    start(withProcesses(R"("messageSlots": 8, "memoryManagers": [{"maximumBlocks": 16}], "traffic": [
        {"sender": "I/a", "rate": 1000, "dataEntries": 1,
         "receivers": [{"interfaces": "I/b", "stopsAfter": "0 us", "resumesAfter": "0 us"}]},
        {"sender": "I/a", "rate": 1000, "external": 0, "receivers": [{"interfaces": "I/d"}]}])"));
    EXPECT_TRUE(waitUntil([&] { return writerCounter() > 100; })) << writerCounter();
    end();

    expectCountersFrom(1);
    expectOneMessageInASlot();
    EXPECT_GT(mHead["dropped"], 0);
    const auto firstDrop =
        std::ranges::find_if(mRecords, [](const json& record) { return record.contains("dropped"); });
    EXPECT_TRUE(std::any_of(firstDrop, mRecords.end(), [](const json& record) { return record.contains("sent"); }));
    // The mapping outlives the bus: what was still there was neither freed nor damaged by its end.
    const std::ptrdiff_t left = unfreed(0);
    const std::ptrdiff_t leftWithBlock = unfreed(1);
    const std::vector<SlotState> states = slotStates();
    EXPECT_EQ(std::ranges::count(states, SlotState::message), left + leftWithBlock);
    EXPECT_EQ(std::ranges::count(states, SlotState::data), left);
    EXPECT_EQ(usedSlots(), 2 * left + leftWithBlock);
    EXPECT_EQ(takeAllBlocks(0), static_cast<std::size_t>(16 - leftWithBlock));
}

} // namespace
