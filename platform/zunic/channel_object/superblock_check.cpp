#include "channel_object/channel_object.h"

#include <algorithm>
#include <array>

namespace ZunicChannelObject {
namespace {

using ZunicFormat::Area;
using ZunicFormat::Superblock;

/// As many as a range location can name.
constexpr std::uint32_t cMaximumMemoryManagers = 1U << 16;

bool isAligned(const Area& area)
{
    return area.offset % ZunicFormat::cAreaAlignment == 0;
}

/// For areas that are known to lie inside the object, so that no sum overflows.
bool overlap(const Area& first, const Area& second)
{
    return first.offset < second.offset + second.size && second.offset < first.offset + first.size;
}

bool areDisjoint(const std::array<Area, 4>& areas)
{
    for (std::size_t i = 0; i < areas.size(); ++i) {
        for (std::size_t k = i + 1; k < areas.size(); ++k) {
            if (overlap(areas[i], areas[k])) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

bool contains(const Area& area, std::uint64_t offset, std::uint64_t size)
{
    return offset >= area.offset && size <= area.size && offset - area.offset <= area.size - size;
}

bool isPlausible(const Superblock& superblock, std::uint64_t objectSize)
{
    if (superblock.magic != ZunicFormat::cMagic || superblock.version != ZunicFormat::cVersion ||
        superblock.objectSize != objectSize || objectSize < ZunicFormat::cSuperblockSize) {
        return false;
    }

    const Area behindSuperblock{ZunicFormat::cSuperblockSize, objectSize - ZunicFormat::cSuperblockSize};
    const std::array areas{superblock.registry, superblock.messages, superblock.memoryManagers, superblock.pools};
    return std::ranges::all_of(areas,
                               [&](const Area& area) {
                                   return isAligned(area) && contains(behindSuperblock, area.offset, area.size);
                               }) &&
           areDisjoint(areas) && superblock.registry.offset == ZunicFormat::cSuperblockSize &&
           superblock.registry.size >= sizeof(ZunicFormat::Registry) &&
           superblock.memoryManagerCount <= cMaximumMemoryManagers &&
           superblock.memoryManagerCount <= superblock.memoryManagers.size / sizeof(ZunicFormat::MemoryManagerEntry);
}

} // namespace ZunicChannelObject
