#ifndef ZUNIC_DEMO_OPTIONS_H
#define ZUNIC_DEMO_OPTIONS_H

#include <optional>
#include <stdexcept>
#include <string>
#include <sys/types.h>

namespace ZunicDemo {

struct Options
{
    std::optional<std::string> scenarioFile;
    std::optional<std::string> channel;
    std::optional<gid_t> group;
    /// Rounds of each process in a second; 0: as fast as it can.
    std::optional<unsigned> churnRate;
    /// Where to write what was sent.
    std::optional<std::string> truthFile;
    bool checkOnly = false;
};

/// A command line that cannot be understood; what() is one line.
class UsageMistake : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Reads the command line. Absent when it asked for help, which is then on standard output. Throws UsageMistake.
std::optional<Options> readOptions(int argumentCount, char** arguments);

} // namespace ZunicDemo

#endif
