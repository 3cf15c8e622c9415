#include "oxa/oxa_result.h"

#include <gtest/gtest.h>

TEST(OxaResultTest, ExitStatusesAndTextsNeverChange)
{
    const std::tuple<OxaResult, std::uint32_t, const char*> results[] = {
        {OxaResult::cOk, 0, "ok"},
        {OxaResult::cHelpRequested, 0, "help requested"},
        {OxaResult::cFailed, 44, "failed"},
        {OxaResult::cNotInitialized, 45, "not initialized"},
        {OxaResult::cObjectInvalid, 46, "object invalid"},
        {OxaResult::cObjectNotFound, 47, "object not found"},
        {OxaResult::cParameterInvalid, 48, "parameter invalid"},
        // The code of cFailed means something else when it comes from the system.
        {OxaResult(44, OxaResult::cOriginErrno, OxaResult::cSeverityError), 44, "Channel number out of range"},
        {OxaResult(48, 3, 2), 48, "code 48, origin 3, severity 2"},
    };
    for (const auto& [result, code, text] : results) {
        EXPECT_EQ(result.code(), code) << text;
        EXPECT_EQ(result.toString(), text);
    }
}
