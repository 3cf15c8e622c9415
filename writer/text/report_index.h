#ifndef WRITER_TEXT_REPORT_INDEX_H
#define WRITER_TEXT_REPORT_INDEX_H

#include "channel/record_types.h"

#include <bitset>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace Writer {

/// What spares the sections of one report a walk through all links for each interface, and a look-up for each receiver
/// of each message. Costs two bytes a link.
class ReportIndex
{
public:
    /// Both have to stay as they are as long as this object is used.
    ReportIndex(const Oxa::InterfaceMap& interfaces, const Oxa::LinkMap& links);

    /// Whether this is the very container that the index was made for.
    bool isOf(const Oxa::InterfaceMap& interfaces) const { return &interfaces == &mInterfaces; }
    bool isOf(const Oxa::LinkMap& links) const { return &links == &mLinks; }

    /// The interfaces whose receiver set `interfaceId` is in, in the order of the LinkMap.
    std::span<const std::uint16_t> holdersOf(std::uint16_t interfaceId) const;

    /// Role name and id of an interface as the report shows them, "Navigator(5)"; null when there is no such interface.
    const std::string* nameOf(std::uint16_t interfaceId) const;

    bool isRegistered(std::uint16_t interfaceId) const { return mRegistered.test(interfaceId); }

private:
    void indexHolders();

    const Oxa::InterfaceMap& mInterfaces;
    const Oxa::LinkMap& mLinks;
    std::vector<std::size_t>
        mHolderEnds; ///< by interface id: where its holders end, which is where the next one's begin
    std::vector<std::uint16_t> mHolders;
    std::unordered_map<std::uint16_t, std::string> mNames;
    std::bitset<std::size_t{1} << 16> mRegistered;
};

} // namespace Writer

#endif
