#ifndef ZUNIC_DEMO_MESSAGE_READER_H
#define ZUNIC_DEMO_MESSAGE_READER_H

#include "interface_references.h"
#include "scenario.h"
#include "scenario_place.h"

namespace ZunicDemo {

/// Reads the messages into `scenario`, and checks that its message slots are enough for them.
void readMessages(const JsonPlace& root, const InterfaceReferences& references, Scenario& scenario);

/// The position of one of the memory managers of `scenario`. Throws Misplaced.
std::uint16_t readMemoryManagerIndex(const JsonPlace& place, const Scenario& scenario);

/// Reads the blocks into `scenario`, and checks that its memory managers can hold them with those of the messages.
void readBlocks(const JsonPlace& root, Scenario& scenario);

} // namespace ZunicDemo

#endif
