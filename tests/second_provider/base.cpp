#include "oxa/oxa_result.h"

// Other codes than platform/ has.
const OxaResult OxaResult::cOk(0, 0, 0);
const OxaResult OxaResult::cFailed(101, 0, 1);
const OxaResult OxaResult::cNotInitialized(102, 0, 1);
const OxaResult OxaResult::cObjectInvalid(103, 0, 1);
const OxaResult OxaResult::cObjectNotFound(104, 0, 1);
const OxaResult OxaResult::cParameterInvalid(105, 0, 1);

std::string OxaResult::toString() const
{
    return "second provider: " + std::to_string(mCode);
}
