#include "inspect/commands/line_limit.h"

namespace Inspect {

namespace {

constexpr std::size_t cLinesOfKind = 100;

} // namespace

bool LineLimit::admits(const std::string& kind)
{
    return ++mCounts[kind] <= cLinesOfKind || mIsWhole;
}

std::vector<std::string> LineLimit::remarks() const
{
    std::vector<std::string> remarks;
    for (const auto& [kind, count] : mCounts) {
        if (count > cLinesOfKind && !mIsWhole) {
            remarks.push_back("and " + std::to_string(count - cLinesOfKind) + " more of " + kind +
                              " (--all prints them)");
        }
    }
    return remarks;
}

} // namespace Inspect
