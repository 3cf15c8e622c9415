#include "writer/text/readable_memory.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <sys/uio.h>
#include <unistd.h>

namespace Oxa {

namespace {

/// Pages asked for in one call, the most that the kernel takes.
constexpr std::size_t cBatch = 1024;

/// Copies one byte of each of `count` pages, and returns how many of them, from the first, could be read.
std::size_t readablePages(std::uintptr_t firstPage, std::size_t count, std::size_t pageSize)
{
    std::array<char, cBatch> bytes;
    std::array<iovec, cBatch> pages;
    for (std::size_t i = 0; i < count; ++i) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): reckoned in numbers, as there may be nothing to point to.
        pages[i] = {reinterpret_cast<void*>(firstPage + i * pageSize), 1};
    }
    const iovec target{bytes.data(), count};
    const ssize_t copied = process_vm_readv(getpid(), &target, 1, pages.data(), count, 0);
    if (copied < 0) {
        return errno == EFAULT ? 0 : count;
    }
    return static_cast<std::size_t>(copied);
}

} // namespace

std::size_t readableBytes(const void* start, std::size_t size)
{
    const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const auto begin = reinterpret_cast<std::uintptr_t>(start);
    const std::uintptr_t firstPage = begin - begin % pageSize;
    const std::size_t pageCount = (begin - firstPage + size + pageSize - 1) / pageSize;

    std::size_t readable = 0;
    while (readable < pageCount) {
        const std::size_t asked = std::min(cBatch, pageCount - readable);
        const std::size_t answered = readablePages(firstPage + readable * pageSize, asked, pageSize);
        readable += answered;
        if (answered < asked) {
            break;
        }
    }
    const std::size_t end = readable * pageSize;
    const std::size_t offset = begin - firstPage;
    return end <= offset ? 0 : std::min(size, end - offset);
}

} // namespace Oxa
