#include "writer/text/link_sources.h"

#include <limits>
#include <numeric>

namespace Oxa {

// A counting sort by receiver: count, turn the counts into the places where each receiver's sources begin, and move
// each place on while filling it, so that it ends up where the sources end.
LinkSources::LinkSources(const LinkMap& links)
    : mEnds(std::numeric_limits<std::uint16_t>::max() + std::size_t{1}), mSources(links.size())
{
    for (const auto& [source, receiver] : links) {
        ++mEnds[receiver];
    }
    std::exclusive_scan(mEnds.begin(), mEnds.end(), mEnds.begin(), std::size_t{0});
    for (const auto& [source, receiver] : links) {
        mSources[mEnds[receiver]++] = source;
    }
}

std::span<const std::uint16_t> LinkSources::of(std::uint16_t interfaceId) const
{
    const std::size_t begin = interfaceId == 0 ? 0 : mEnds[interfaceId - 1U];
    return std::span(mSources).subspan(begin, mEnds[interfaceId] - begin);
}

} // namespace Oxa
