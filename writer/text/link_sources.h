#ifndef WRITER_TEXT_LINK_SOURCES_H
#define WRITER_TEXT_LINK_SOURCES_H

#include "enquirer/record_types.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Oxa {

/// The links of a LinkMap from their other end: for each interface the ones whose receiver set it is in.
/// Spares each interface a walk through all links. Costs two bytes a link.
class LinkSources
{
public:
    explicit LinkSources(const LinkMap& links);

    /// The interfaces that hold a link to `interfaceId`, in the order of the LinkMap.
    std::span<const std::uint16_t> of(std::uint16_t interfaceId) const;

private:
    std::vector<std::size_t> mEnds;
    std::vector<std::uint16_t> mSources;
};

} // namespace Oxa

#endif
