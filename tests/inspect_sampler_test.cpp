#include "inspect/commands/traffic/tally.h"
#include "support/forked_child.h"
#include "support/live_bus.h"

#include "zunic_hosting/channel_format.h"
#include "zunic_hosting/hosted_channel.h"

#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <span>
#include <sys/mman.h>

using namespace Inspect;
using testing::ElementsAre;
using testing::IsEmpty;
using ZunicHosting::HostedChannel;
using ZunicHosting::SlotDescription;
using ZunicHosting::SlotState;

namespace {

/// The key of each message that came.
std::vector<std::pair<std::uint32_t, std::uint16_t>> cameIn(const Sample& sample)
{
    std::vector<std::pair<std::uint32_t, std::uint16_t>> came;
    for (const NewMessage& message : sample.mCame) {
        came.emplace_back(message.mSlot, message.mWriterCounter);
    }
    return came;
}

SlotDescription messageOf(std::uint16_t sender, std::uint16_t counter, SlotState state = SlotState::message)
{
    return {.state = state,
            .senderId = sender,
            .writerCounter = counter,
            .receivers = {static_cast<std::uint16_t>(counter % 1024)},
            .userDataSize = counter};
}

TEST(MessageSampler, SeesWhatCameAndLeftBetweenSamples)
{
    HostedChannel channel = HostedChannel::create({.name = TestSupport::uniqueChannelName(), .messageSlots = 8});
    channel.lock().postMessage(messageOf(3, 0), 2);
    channel.lock().writeSlot(5, messageOf(3, 9, SlotState::reserved));
    channel.lock().writeSlot(6, messageOf(3, 9, SlotState::written));
    channel.lock().writeSlot(7, messageOf(1'024, 9)); // As good as free.
    MessageSampler sampler(channel.name());
    Sample sample;
    sampler.take(sample);
    EXPECT_THAT(cameIn(sample), ElementsAre(std::pair(0, 1)));
    EXPECT_EQ(sample.mInUse, 5U);
    EXPECT_EQ(sample.mSlots, 8U);
    EXPECT_EQ(sample.mCounterAfter, 1U);

    sampler.take(sample);
    EXPECT_THAT(sample.mCame, IsEmpty());
    EXPECT_THAT(sample.mLeft, IsEmpty());

    channel.lock().writeSlot(0, messageOf(3, 2)); // In place of the other.
    channel.lock().writeSlot(6, messageOf(3, 9)); // It is complete.
    sampler.take(sample);
    EXPECT_THAT(sample.mLeft, ElementsAre(0));
    EXPECT_THAT(cameIn(sample), ElementsAre(std::pair(0, 2), std::pair(6, 9)));

    channel.lock().writeSlot(0, messageOf(4, 2)); // The same number of another sender.
    channel.lock().releaseMessage(6);
    sampler.take(sample);
    EXPECT_THAT(sample.mLeft, ElementsAre(0, 6));
    EXPECT_THAT(cameIn(sample), ElementsAre(std::pair(0, 2)));
}

TEST(MessageSampler, DiscardsFieldsOfASlotThatHasChangedMeanwhile)
{
    HostedChannel channel = HostedChannel::create({.name = TestSupport::uniqueChannelName(), .messageSlots = 2});
    const Attachment attachment = attach(channel.name());
    const Channel::MessageSlots slots(*Channel::messageStorage(attachment.get()), Channel::messages(attachment.get()));
    channel.lock().writeSlot(1, messageOf(3, 0xABCD));
    const Channel::SlotKey key = slots.key(1);
    EXPECT_EQ(key, (Channel::SlotKey{Channel::eSlotStateMessage, 3, 0xABCD}));
    ASSERT_TRUE(slots.fieldsOf(1, key));
    EXPECT_EQ(slots.fieldsOf(1, key)->mUserDataSize, 0xABCDU);
    for (const SlotDescription& other :
         {messageOf(3, 0xABCE), messageOf(4, 0xABCD), messageOf(3, 0xABCD, SlotState::reserved)}) {
        channel.lock().writeSlot(1, other);
        EXPECT_FALSE(slots.fieldsOf(1, key));
    }
}

TEST(MessageSampler, SeesNoMessageWithFieldsOfAnother)
{
    HostedChannel channel = HostedChannel::create({.name = TestSupport::uniqueChannelName(), .messageSlots = 2});
    TestSupport::ForkedChild writer([&] {
        for (std::uint16_t counter = 0;; ++counter) {
            channel.lock().writeSlot(counter % 2, messageOf(static_cast<std::uint16_t>(counter % 1023 + 1), counter));
        }
        return 0;
    });
    MessageSampler sampler(channel.name());
    Sample sample;
    int seen = 0;
    while (seen < 20'000) {
        sampler.take(sample);
        for (const NewMessage& message : sample.mCame) {
            ++seen;
            const std::uint16_t counter = message.mWriterCounter;
            ASSERT_EQ(message.mUserDataSize, counter);
            ASSERT_EQ(message.mSenderId, counter % 1023 + 1);
            ASSERT_EQ(Channel::countReceivers(message.mReceivers), 1U);
            ASSERT_NE(message.mReceivers.words[counter % 1024 / 64] & std::uint64_t{1} << (counter % 64), 0U);
        }
    }
}

TEST(MessageSampler, NeverWritesNorTakesTheMutex)
{
    HostedChannel channel = HostedChannel::create({.name = TestSupport::uniqueChannelName(), .messageSlots = 8});
    channel.lock().postMessage(messageOf(3, 0), 2);
    TestSupport::ForkedChild child([&] {
        MessageSampler sampler(channel.name());
        // The pages of the mutex are the only ones that can be written to: make them like the rest, in any mapping.
        std::ifstream maps("/proc/self/maps");
        int writable = 0;
        for (std::string line; std::getline(maps, line);) {
            std::uintptr_t begin = 0;
            std::uintptr_t end = 0;
            if (line.find(channel.name()) != std::string::npos &&
                std::sscanf(line.c_str(), "%lx-%lx rw", &begin, &end) == 2) {
                writable += line.find(" rw") != std::string::npos ? 1 : 0;
                // NOLINTNEXTLINE(performance-no-int-to-ptr): as the kernel names it.
                mprotect(reinterpret_cast<void*>(begin), end - begin, PROT_READ);
            }
        }
        if (writable < 2) { // This one's own, and the sampler's page of the mutex.
            return 2;
        }
        Tally tally(true);
        Sample sample;
        for (int i = 0; i < 10; ++i) {
            sampler.take(sample);
            tally.add(sample);
        }
        return tally.senders().size() == 1 ? 0 : 1;
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST(MessageSampler, SurvivesAnyContentsOfTheStorage)
{
    HostedChannel channel = HostedChannel::create({.name = TestSupport::uniqueChannelName(), .messageSlots = 64});
    MessageSampler sampler(channel.name());
    Tally tally(true);
    Sample sample;
    std::uint32_t number = 1;
    const std::span slots(channel.messages(), 64 * sizeof(ZunicFormat::MessageSlot));
    for (int round = 0; round < 50; ++round) {
        for (std::byte& byte : slots) {
            number = number * 1'664'525 + 1'013'904'223;
            byte = static_cast<std::byte>(number >> 24);
        }
        channel.lock().setStorageHeader(number, static_cast<std::uint16_t>(number));
        sampler.take(sample);
        tally.add(sample);
    }
    EXPECT_GT(tally.seen(), 0U);
    EXPECT_EQ(tally.counted(), std::nullopt);
    EXPECT_LE(tally.pairs().size(), 8'192U);
    for (const auto& [route, figures] : tally.senders()) {
        EXPECT_GE(route.mSenderId, 1);
        EXPECT_LE(route.mSenderId, 1'023);
    }
}

TEST(MessageSampler, NoticesThatTheChannelWasHostedAgain)
{
    const std::string name = TestSupport::uniqueChannelName();
    auto channel = std::make_optional(HostedChannel::create({.name = name, .messageSlots = 8}));
    channel->lock().postMessage(messageOf(3, 0), 0);
    MessageSampler sampler(name);
    Sample sample;
    sampler.take(sample);
    EXPECT_EQ(sampler.attachAgain(), MessageSampler::Found::eSame);
    sampler.take(sample);
    EXPECT_THAT(sample.mCame, IsEmpty());

    channel.reset();
    EXPECT_EQ(sampler.attachAgain(), MessageSampler::Found::eNone);
    sampler.take(sample);
    EXPECT_THAT(sample.mLeft, IsEmpty());

    channel.emplace(HostedChannel::create({.name = name, .messageSlots = 4}));
    channel->lock().postMessage(messageOf(3, 0), 0);
    EXPECT_EQ(sampler.attachAgain(), MessageSampler::Found::eAnother);
    sampler.take(sample);
    EXPECT_EQ(sample.mSlots, 4U);
    EXPECT_THAT(cameIn(sample), ElementsAre(std::pair(0, 1)));
}

} // namespace
