#include "table.h"

#include <cstdio>
#include <fstream>
#include <sys/utsname.h>
#include <thread>

namespace Bench {

namespace {

std::string processorModel()
{
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

void printCells(const std::string& what, const std::string& ours, const std::string& reference,
                const std::string& theirs, const std::string& ratio)
{
    std::printf("| %-52s | %11s | %-30s | %11s | %6s |\n", what.c_str(), ours.c_str(), reference.c_str(),
                theirs.c_str(), ratio.c_str());
    std::fflush(stdout);
}

/// Three digits, or all that stand before the point.
std::string figure(double value, const std::string& unit)
{
    char text[64];
    const int decimals = value >= 100 ? 0 : value >= 10 ? 1 : 2;
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return unit.empty() ? text : text + (" " + unit);
}

} // namespace

void printTableHead()
{
    utsname system{};
    uname(&system);
    std::printf("%s, %u cores, %s %s\n\n", processorModel().c_str(), std::thread::hardware_concurrency(),
                system.sysname, system.release);
    printCells("what", "ours", "reference", "its figure", "ratio");
    std::printf("|---|--:|---|--:|--:|\n");
}

void printRow(const std::string& what, double ours, const std::string& reference, double theirs,
              const std::string& unit)
{
    printCells(what, figure(ours, unit), reference, figure(theirs, unit), figure(ours / theirs, ""));
}

void printRow(const std::string& what, double ours, const std::string& unit)
{
    printCells(what, figure(ours, unit), "", "", "");
}

} // namespace Bench
