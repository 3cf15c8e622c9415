#ifndef ZUNIC_DEMO_TRAFFIC_MEMORY_H
#define ZUNIC_DEMO_TRAFFIC_MEMORY_H

#include "descriptor.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace ZunicDemo {

/// CLOCK_MONOTONIC in nanoseconds.
std::uint64_t monotonicNow();

/// One message that was sent, or found no room.
struct TrafficRecord
{
    std::uint64_t counter = 0; ///< the writer counter as if it had 64 bits; 0: dropped
    std::uint64_t sent = 0;    ///< just before the message was there
    std::uint64_t freed = 0;   ///< just after its slot was free; 0: it is still there
    std::uint32_t slot = 0;
    std::uint32_t flow = 0; ///< position in the scenario
};

/// Says to a process that there is a message to it.
struct Mail
{
    std::uint64_t record = 0; ///< for `setFreed`
    std::uint64_t sent = 0;
    std::uint32_t slot = 0;
    std::uint32_t flow = 0;
};

/// What the processes of a bus with traffic share beside the channel: the record of their messages, and for each
/// process a mailbox. It lives as long as the last process that has it open.
///
/// Except where it says otherwise, a function is to be called with the registry mutex held.
class TrafficMemory
{
public:
    /// Creates one with a mailbox for each of `processes`, where at most `messageSlots` messages wait, and with the
    /// last counter that was given. With `isRecording`, it has room for cMostRecords. Without mutex; std::system_error.
    TrafficMemory(std::uint32_t processes, std::uint32_t messageSlots, bool isRecording, std::uint16_t writerCounter);
    /// Opens one that another process created. Without mutex; throws std::system_error.
    explicit TrafficMemory(const std::string& path);
    ~TrafficMemory();

    TrafficMemory(const TrafficMemory&) = delete;
    TrafficMemory& operator=(const TrafficMemory&) = delete;

    /// Where others find it while this process lives. Without mutex.
    std::string path() const;

    /// The time of creation. Without mutex.
    std::uint64_t start() const;

    /// From then on nobody sends and nothing is freed.
    void stop();
    /// With or without mutex.
    bool isStopped() const;

    /// The 64 bits of the counter that a message has just got.
    std::uint64_t count(std::uint16_t writerCounter);
    /// Messages that found no room. Without mutex.
    std::uint64_t drops() const;

    /// Adds a record as long as there is room for it; a dropped message counts in any case. Returns its position.
    std::uint64_t add(const TrafficRecord& record);
    void setFreed(std::uint64_t record);
    std::span<const TrafficRecord> records() const;
    /// Whether there was no room for some of the records.
    bool isFull() const;

    void deliver(std::uint32_t process, const Mail& mail);
    /// Wakes the process up. Without mutex.
    void ring(std::uint32_t process);

    /// The number of mails that came since the creation, which `process` knows; mail `i` is there until there are
    /// `messageSlots` more. Without mutex, by `process` alone.
    std::uint32_t mailCount(std::uint32_t process) const;
    const Mail& mail(std::uint32_t process, std::uint32_t i) const;
    /// Waits until there are other than `known` mails, or until the time `until`. Without mutex.
    void waitForMail(std::uint32_t process, std::uint32_t known, std::uint64_t until) const;

private:
    struct Header;

    void map(std::size_t size);
    std::uint32_t& mailCountWord(std::uint32_t process) const;
    Mail* mailsOf(std::uint32_t process) const;
    TrafficRecord* recordTable() const;

    Descriptor mFile;
    Header* mHeader = nullptr;
    std::size_t mSize = 0;
};

} // namespace ZunicDemo

#endif
