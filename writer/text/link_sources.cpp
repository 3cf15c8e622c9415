#include "writer/text/link_sources.h"

#include <algorithm>
#include <numeric>

namespace Oxa {

namespace {

std::size_t idsUpToLargestReceiver(const LinkMap& links)
{
    std::size_t count = 0;
    for (const auto& [source, receiver] : links) {
        count = std::max(count, receiver + std::size_t{1});
    }
    return count;
}

} // namespace

// A counting sort by receiver: count, turn the counts into the places where each receiver's sources begin, and move
// each place on while filling it, so that it ends up where the sources end.
LinkSources::LinkSources(const LinkMap& links) : mEnds(idsUpToLargestReceiver(links)), mSources(links.size())
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
    if (interfaceId >= mEnds.size()) {
        return {};
    }
    const std::size_t begin = interfaceId == 0 ? 0 : mEnds[interfaceId - 1U];
    return std::span(mSources).subspan(begin, mEnds[interfaceId] - begin);
}

} // namespace Oxa
