#include "oxa/oxa_result.h"

#include <array>
#include <system_error>
#include <utility>

// Constant-initialised, so that initialisers in any library may use them.
constinit const OxaResult OxaResult::cOk{};
constinit const OxaResult OxaResult::cHelpRequested{0, cOriginCommandLine, cSeverityNone};
constinit const OxaResult OxaResult::cFailed{44, cOriginLibrary, cSeverityError};
constinit const OxaResult OxaResult::cNotInitialized{45, cOriginLibrary, cSeverityError};
constinit const OxaResult OxaResult::cObjectInvalid{46, cOriginLibrary, cSeverityError};
constinit const OxaResult OxaResult::cObjectNotFound{47, cOriginLibrary, cSeverityError};
constinit const OxaResult OxaResult::cParameterInvalid{48, cOriginLibrary, cSeverityError};

OxaResult::~OxaResult() = default;

std::string OxaResult::toString() const
{
    if (mOrigin == cOriginErrno) {
        return std::generic_category().message(static_cast<int>(mCode));
    }
    static constexpr std::array<std::pair<const OxaResult*, const char*>, 7> cTexts{{
        {&cOk, "ok"},
        {&cHelpRequested, "help requested"},
        {&cFailed, "failed"},
        {&cNotInitialized, "not initialized"},
        {&cObjectInvalid, "object invalid"},
        {&cObjectNotFound, "object not found"},
        {&cParameterInvalid, "parameter invalid"},
    }};
    for (const auto& [constant, text] : cTexts) {
        if (*this == *constant) {
            return text;
        }
    }
    return "code " + std::to_string(mCode) + ", origin " + std::to_string(mOrigin) + ", severity " +
           std::to_string(mSeverity);
}
