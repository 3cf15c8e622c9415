#include "inspect/live/message_sampler.h"

#include "inspect/live/truncation_guard.h"

#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <utility>

namespace Inspect {

namespace {

using Clock = std::chrono::steady_clock;

/// Device and inode of the object that is mapped there; empty when the system does not say. As long as one is mapped,
/// no other one has the same.
std::string objectAt(const void* address)
{
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        int place = 0;
        std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %*s %*s %n", &begin, &end, &place);
        if (place > 0 && begin <= wanted && wanted < end) {
            const auto from = static_cast<std::size_t>(place);
            return line.substr(from, line.find(' ', line.find(' ', from) + 1) - from);
        }
    }
    return {};
}

} // namespace

MessageSampler::MessageSampler(std::string channel) : mName(std::move(channel))
{
    const TruncationGuard guard;
    attachTo(attach(mName));
    guard.requireWhole(mName);
}

void MessageSampler::attachTo(Attachment channel)
{
    mSlots.emplace(*Channel::messageStorage(channel.get()), Channel::messages(channel.get()));
    mObject = objectAt(Channel::messageStorage(channel.get()));
    mSeen.assign(mSlots->readable(), {});
    mChannel = std::move(channel);
    mIsTruncated = false;
}

MessageSampler::Found MessageSampler::attachAgain()
{
    const TruncationGuard guard;
    try {
        Attachment channel = attach(mName);
        guard.requireWhole(mName);
        if (objectAt(Channel::messageStorage(channel.get())) == mObject) {
            return mIsTruncated ? Found::eNone : Found::eSame;
        }
        attachTo(std::move(channel));
        guard.requireWhole(mName);
        return Found::eAnother;
    } catch (const NoChannel&) {
        return Found::eNone;
    }
}

bool MessageSampler::take(Sample& sample)
{
    const TruncationGuard guard;
    const oxa_zunic_message_storage& header = *Channel::messageStorage(mChannel.get());
    sample.mLeft.clear();
    sample.mCame.clear();
    sample.mSlots = mSlots->size();
    sample.mInUse = 0;
    sample.mBegin = Clock::now();
    sample.mCounterBefore = Channel::loadPublished(header.writer_counter); // Before the slots.
    for (std::uint32_t index = 0; index < mSlots->readable(); ++index) {
        const Channel::SlotKey key = mSlots->key(index);
        sample.mInUse += key.mState == Channel::eSlotStateFree ? 0 : 1;
        readSlot(index, key, sample);
    }
    sample.mCounterAfter = Channel::loadPublished(header.writer_counter);
    sample.mEnd = Clock::now();
    mIsTruncated = mIsTruncated || guard.hasStruck();
    return !mIsTruncated;
}

void MessageSampler::readSlot(std::uint32_t index, const Channel::SlotKey& key, Sample& sample)
{
    Channel::SlotKey& seen = mSeen[index];
    if (key == seen) {
        return;
    }
    if (seen.mState == Channel::eSlotStateMessage) {
        sample.mLeft.push_back(index);
        seen = {};
    }
    if (key.mState != Channel::eSlotStateMessage) {
        return;
    }
    if (const auto fields = mSlots->fieldsOf(index, key)) {
        sample.mCame.push_back({index, key.mSenderId, key.mWriterCounter, fields->mUserDataSize, fields->mReceivers});
        seen = key;
    }
}

} // namespace Inspect
