#ifndef INSPECT_COMMANDS_LINE_LIMIT_H
#define INSPECT_COMMANDS_LINE_LIMIT_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace Inspect {

/// Lets the first lines of each kind pass, so that one kind cannot bury the others.
class LineLimit
{
public:
    /// Without a limit if `isWhole`.
    explicit LineLimit(bool isWhole) : mIsWhole(isWhole) {}

    /// Counts one more line of the kind. Returns whether it is to be printed.
    bool admits(const std::string& kind);
    /// A sentence for each kind of which lines were left out.
    std::vector<std::string> remarks() const;

private:
    bool mIsWhole;
    std::map<std::string, std::size_t> mCounts; ///< by kind
};

} // namespace Inspect

#endif
