#include "inspect/live/message_sampler.h"

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
    attachTo(attach(mName));
}

void MessageSampler::attachTo(Attachment channel)
{
    mSlots.emplace(*Channel::messageStorage(channel.get()), Channel::messages(channel.get()));
    mObject = objectAt(Channel::messageStorage(channel.get()));
    mSeen.assign(mSlots->readable(), {});
    mChannel = std::move(channel);
}

MessageSampler::Found MessageSampler::attachAgain()
{
    try {
        Attachment channel = attach(mName);
        if (objectAt(Channel::messageStorage(channel.get())) == mObject) {
            return Found::eSame;
        }
        attachTo(std::move(channel));
        return Found::eAnother;
    } catch (const NoChannel&) {
        return Found::eNone;
    }
}

void MessageSampler::take(Sample& sample)
{
    const oxa_zunic_message_storage& header = *Channel::messageStorage(mChannel.get());
    sample.mLeft.clear();
    sample.mCame.clear();
    sample.mSlots = mSlots->size();
    sample.mInUse = 0;
    sample.mBegin = Clock::now();
    sample.mCounterBefore = Channel::loadShared(header.writer_counter);
    for (std::uint32_t index = 0; index < mSlots->readable(); ++index) {
        const Channel::SlotKey key = mSlots->key(index);
        sample.mInUse += key.mState == Channel::eSlotStateFree ? 0 : 1;
        readSlot(index, key, sample);
    }
    sample.mCounterAfter = __atomic_load_n(&header.writer_counter, __ATOMIC_ACQUIRE);
    sample.mEnd = Clock::now();
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
