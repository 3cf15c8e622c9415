#ifndef INSPECT_CHANGES_LINK_CHANGES_H
#define INSPECT_CHANGES_LINK_CHANGES_H

#include "inspect/changes/changes.h"
#include "inspect/changes/matching.h"

namespace Inspect {

/// Links are the same when both ends are of the same classes, whatever their ids are.
void forEachLinkChange(const Matching& matching, const ChangeVisitor& visit);

} // namespace Inspect

#endif
