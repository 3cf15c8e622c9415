#include "inspect/findings/rule.h"

#include "inspect/cli/printable.h"
#include "inspect/view/cells.h"

#include <algorithm>

namespace Inspect {

std::string quoted(const std::string& name)
{
    return '"' + printable(name, Blanks::eEscaped) + '"';
}

std::string listed(const std::vector<std::uint16_t>& ids)
{
    constexpr std::size_t cShown = 8;
    std::string text;
    for (std::size_t i = 0; i < std::min(ids.size(), cShown); ++i) {
        appendListed(text, ids[i]);
    }
    return ids.size() <= cShown ? text : text + " and " + std::to_string(ids.size() - cShown) + " more";
}

const Slot* sameBefore(const Looks& looks, const Slot& slot)
{
    const Slot* const before = looks.mBefore == nullptr ? nullptr : looks.mBefore->slot(slot.mIndex);
    const bool isSame = before != nullptr && before->mState == slot.mState && before->mSenderId == slot.mSenderId &&
                        before->mWriterCounter == slot.mWriterCounter;
    return isSame ? before : nullptr;
}

} // namespace Inspect
