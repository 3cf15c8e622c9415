#ifndef INSPECT_SAVED_NO_STATE_H
#define INSPECT_SAVED_NO_STATE_H

#include "inspect/exit_status.h"

namespace Inspect {

/// The text is not the document that was expected; `what` says why, with line and place, in one line.
class NoState : public Failure
{
public:
    explicit NoState(const std::string& why) : Failure(eExitNoStateFile, why) {}
};

} // namespace Inspect

#endif
