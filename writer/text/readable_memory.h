#ifndef WRITER_TEXT_READABLE_MEMORY_H
#define WRITER_TEXT_READABLE_MEMORY_H

#include <cstddef>

namespace Oxa {

/// How many of the `size` bytes from `start` on can be read without a fault.
/// The kernel is asked, page by page; where it does not offer that service, the answer is `size`.
std::size_t readableBytes(const void* start, std::size_t size);

} // namespace Oxa

#endif
