#include "writer/text/report_index.h"

#include <algorithm>
#include <numeric>

namespace Writer {

ReportIndex::ReportIndex(const Oxa::InterfaceMap& interfaces, const Oxa::LinkMap& links)
    : mInterfaces(interfaces), mLinks(links), mHolders(links.size())
{
    mNames.reserve(interfaces.size());
    for (const auto& [id, info] : interfaces) {
        mNames.emplace(id, info.mUuid.mRoleName + "(" + std::to_string(id) + ")");
        mRegistered[id] = info.mRegistrationState == OxaZunic::eOxaZunicRegistrationStateRegistered;
    }
    indexHolders();
}

// A counting sort by receiver: count, turn the counts into the places where each receiver's holders begin, and move
// each place on while filling it, so that it ends up where the holders end.
void ReportIndex::indexHolders()
{
    for (const auto& [holder, receiver] : mLinks) {
        mHolderEnds.resize(std::max(mHolderEnds.size(), receiver + std::size_t{1}));
        ++mHolderEnds[receiver];
    }
    std::exclusive_scan(mHolderEnds.begin(), mHolderEnds.end(), mHolderEnds.begin(), std::size_t{0});
    for (const auto& [holder, receiver] : mLinks) {
        mHolders[mHolderEnds[receiver]++] = holder;
    }
}

std::span<const std::uint16_t> ReportIndex::holdersOf(std::uint16_t interfaceId) const
{
    if (interfaceId >= mHolderEnds.size()) {
        return {};
    }
    const std::size_t begin = interfaceId == 0 ? 0 : mHolderEnds[interfaceId - 1U];
    return std::span(mHolders).subspan(begin, mHolderEnds[interfaceId] - begin);
}

const std::string* ReportIndex::nameOf(std::uint16_t interfaceId) const
{
    const auto found = mNames.find(interfaceId);
    return found != mNames.end() ? &found->second : nullptr;
}

} // namespace Writer
