#ifndef BENCH_RECORDED_WRITE_H
#define BENCH_RECORDED_WRITE_H

#include <cstdint>

namespace Bench {

/// Stands in a recording in front of the name of the file written to, without its folders, and the bytes written.
struct RecordedWrite
{
    std::uint32_t nameSize;
    std::uint32_t size;
};

} // namespace Bench

#endif
