#ifndef BENCH_TABLE_H
#define BENCH_TABLE_H

#include <string>

namespace Bench {

/// Opens the table, and names the machine above it.
void printTableHead();

/// One row: what was measured, our figure, what it is compared with, the figure of that, and the ratio of the two.
void printRow(const std::string& what, double ours, const std::string& reference, double theirs,
              const std::string& unit);

/// A row for a figure that is only reported.
void printRow(const std::string& what, double ours, const std::string& unit);

} // namespace Bench

#endif
