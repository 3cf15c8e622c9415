#include "writer/text/connections.h"

#include "writer/line_writer.h"

#include <algorithm>

namespace Oxa {

Connections::Connections(const InterfaceMap& interfaces, const LinkMap& links) : mLinks(links), mSources(links)
{
    mNames.reserve(interfaces.size());
    for (const auto& [id, info] : interfaces) {
        mNames.emplace(id, info.mUuid.mRoleName + "(" + std::to_string(id) + ")");
    }
}

void Connections::write(std::ostream& out, std::uint16_t id) const
{
    LineWriter lines(out);
    const auto writeSkeleton = [&](std::uint16_t connected) { writeLine(lines, "Connected Skeleton: ", connected); };

    // Links to the interface that lower ids hold, its own links, and those that higher ids hold.
    const auto holders = mSources.of(id);
    const auto lowerEnd = std::lower_bound(holders.begin(), holders.end(), id);
    const auto higherBegin = std::upper_bound(lowerEnd, holders.end(), id);

    std::for_each(holders.begin(), lowerEnd, writeSkeleton);
    const auto [ownBegin, ownEnd] = mLinks.equal_range(id);
    for (auto link = ownBegin; link != ownEnd; ++link) {
        if (link->second == id) {
            writeSkeleton(id);
        }
        writeLine(lines, "Connected Stub: ", link->second);
    }
    std::for_each(higherBegin, holders.end(), writeSkeleton);
}

void Connections::writeLine(LineWriter& lines, const char* label, std::uint16_t connectedId) const
{
    const auto name = mNames.find(connectedId);
    if (name != mNames.end()) {
        lines << label << name->second << endLine;
    }
}

} // namespace Oxa
