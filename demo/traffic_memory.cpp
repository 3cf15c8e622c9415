#include "traffic_memory.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <climits>
#include <ctime>
#include <system_error>

namespace ZunicDemo {

namespace {

constexpr std::uint64_t cNanosecondsPerSecond = 1'000'000'000;
/// Three hours of 3,000 messages a second. The memory of a record is taken when it is written.
constexpr std::uint64_t cMostRecords = std::uint64_t{1} << 25;
/// A mailbox: the number of mails in front, each process in cache lines of its own.
constexpr std::size_t cMailsOffset = 64;

void require(bool isDone)
{
    if (!isDone) {
        throw std::system_error(errno, std::generic_category(), "cannot share the memory of the traffic");
    }
}

std::size_t mailboxSize(std::uint32_t mailCapacity)
{
    return cMailsOffset + (mailCapacity * sizeof(Mail) + cMailsOffset - 1) / cMailsOffset * cMailsOffset;
}

} // namespace

struct TrafficMemory::Header
{
    std::uint32_t processes;
    std::uint32_t mailCapacity; // a power of two, so that the number of mails can overflow
    std::uint64_t start;
    std::uint64_t recordCapacity;
    std::uint64_t recordCount; // also of those without room
    std::uint64_t counter;
    std::uint64_t drops;
    std::uint32_t isStopped;
};

std::uint64_t monotonicNow()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * cNanosecondsPerSecond + static_cast<std::uint64_t>(time.tv_nsec);
}

TrafficMemory::TrafficMemory(std::uint32_t processes, std::uint32_t messageSlots, bool isRecording,
                             std::uint16_t writerCounter)
    : mFile(memfd_create("zunic_demo_traffic", MFD_CLOEXEC))
{
    const std::uint64_t capacity = isRecording ? cMostRecords : 0;
    const std::uint32_t mails = std::bit_ceil(messageSlots);
    const std::size_t size = cMailsOffset * 2 + processes * mailboxSize(mails) + capacity * sizeof(TrafficRecord);
    require(mFile.number() >= 0 && ftruncate(mFile.number(), static_cast<off_t>(size)) == 0);
    map(size);
    *mHeader = {.processes = processes,
                .mailCapacity = mails,
                .start = monotonicNow(),
                .recordCapacity = capacity,
                .recordCount = 0,
                .counter = writerCounter,
                .drops = 0,
                .isStopped = 0};
}

TrafficMemory::TrafficMemory(const std::string& path) : mFile(open(path.c_str(), O_RDWR | O_CLOEXEC))
{
    struct stat status
    {};
    require(mFile.number() >= 0 && fstat(mFile.number(), &status) == 0);
    map(static_cast<std::size_t>(status.st_size));
}

TrafficMemory::~TrafficMemory()
{
    munmap(mHeader, mSize);
}

void TrafficMemory::map(std::size_t size)
{
    void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, mFile.number(), 0);
    require(memory != MAP_FAILED);
    static_assert(sizeof(Header) <= cMailsOffset * 2);
    mHeader = static_cast<Header*>(memory);
    mSize = size;
}

std::string TrafficMemory::path() const
{
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(mFile.number());
}

std::uint64_t TrafficMemory::start() const
{
    return mHeader->start;
}

void TrafficMemory::stop()
{
    std::atomic_ref(mHeader->isStopped).store(1);
}

bool TrafficMemory::isStopped() const
{
    return std::atomic_ref(mHeader->isStopped).load() != 0;
}

std::uint64_t TrafficMemory::count(std::uint16_t writerCounter)
{
    return mHeader->counter += static_cast<std::uint16_t>(writerCounter - mHeader->counter);
}

std::uint64_t TrafficMemory::drops() const
{
    return std::atomic_ref(mHeader->drops).load();
}

std::uint64_t TrafficMemory::add(const TrafficRecord& record)
{
    if (record.counter == 0) {
        ++std::atomic_ref(mHeader->drops);
    }
    const std::uint64_t position = mHeader->recordCount;
    if (position < mHeader->recordCapacity) {
        recordTable()[position] = record;
    }
    ++mHeader->recordCount;
    return position;
}

void TrafficMemory::setFreed(std::uint64_t record)
{
    if (record < mHeader->recordCapacity) {
        recordTable()[record].freed = monotonicNow();
    }
}

std::span<const TrafficRecord> TrafficMemory::records() const
{
    return {recordTable(), std::min(mHeader->recordCount, mHeader->recordCapacity)};
}

bool TrafficMemory::isFull() const
{
    return mHeader->recordCount > mHeader->recordCapacity;
}

void TrafficMemory::deliver(std::uint32_t process, const Mail& mail)
{
    const auto count = std::atomic_ref(mailCountWord(process));
    const std::uint32_t number = count.load(std::memory_order_relaxed);
    mailsOf(process)[number % mHeader->mailCapacity] = mail;
    count.store(number + 1, std::memory_order_release);
}

void TrafficMemory::ring(std::uint32_t process)
{
    syscall(SYS_futex, &mailCountWord(process), FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

std::uint32_t TrafficMemory::mailCount(std::uint32_t process) const
{
    return std::atomic_ref(mailCountWord(process)).load(std::memory_order_acquire);
}

const Mail& TrafficMemory::mail(std::uint32_t process, std::uint32_t i) const
{
    return mailsOf(process)[i % mHeader->mailCapacity];
}

void TrafficMemory::waitForMail(std::uint32_t process, std::uint32_t known, std::uint64_t until) const
{
    const timespec time{.tv_sec = static_cast<time_t>(until / cNanosecondsPerSecond),
                        .tv_nsec = static_cast<long>(until % cNanosecondsPerSecond)};
    // Unlike FUTEX_WAIT, it takes a point in time of CLOCK_MONOTONIC.
    syscall(SYS_futex, &mailCountWord(process), FUTEX_WAIT_BITSET, known, &time, nullptr, FUTEX_BITSET_MATCH_ANY);
}

std::uint32_t& TrafficMemory::mailCountWord(std::uint32_t process) const
{
    auto* const mailboxes = reinterpret_cast<std::byte*>(mHeader) + cMailsOffset * 2;
    return *reinterpret_cast<std::uint32_t*>(mailboxes + process * mailboxSize(mHeader->mailCapacity));
}

Mail* TrafficMemory::mailsOf(std::uint32_t process) const
{
    return reinterpret_cast<Mail*>(reinterpret_cast<std::byte*>(&mailCountWord(process)) + cMailsOffset);
}

TrafficRecord* TrafficMemory::recordTable() const
{
    return reinterpret_cast<TrafficRecord*>(&mailCountWord(mHeader->processes));
}

} // namespace ZunicDemo
