#ifndef BENCH_INSPECT_BENCHMARKS_H
#define BENCH_INSPECT_BENCHMARKS_H

#include "folder.h"

namespace Bench {

/// Measures zunic_inspect, and prints its rows of the table.
void measureInspect(const Folder& folder);

} // namespace Bench

#endif
