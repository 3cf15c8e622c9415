#include "oxa/oxa_result.h"

#include <gtest/gtest.h>

namespace {

TEST(OxaResultTest, CodesAndTextsAreTheDocumentedOnes)
{
    const struct
    {
        const OxaResult& result;
        std::uint32_t code;
        const char* text;
    } constants[] = {
        {OxaResult::cOk, 0, "ok"},
        {OxaResult::cHelpRequested, 0, "help requested"},
        {OxaResult::cFailed, 44, "failed"},
        {OxaResult::cNotInitialized, 45, "not initialized"},
        {OxaResult::cObjectInvalid, 46, "object invalid"},
        {OxaResult::cObjectNotFound, 47, "object not found"},
        {OxaResult::cParameterInvalid, 48, "parameter invalid"},
    };
    for (const auto& [result, code, text] : constants) {
        EXPECT_EQ(result.code(), code) << text;
        EXPECT_EQ(result.severity(), code == 0 ? OxaResult::cSeverityNone : OxaResult::cSeverityError) << text;
        EXPECT_EQ(result.toString(), text);
    }
    // The number of cFailed means something else when it comes from the system.
    EXPECT_EQ(OxaResult(44, OxaResult::cOriginErrno, OxaResult::cSeverityError).toString(),
              "Channel number out of range");
    EXPECT_EQ(OxaResult(48, 3, 2).toString(), "code 48, origin 3, severity 2");
}

TEST(OxaResultTest, ComparesAllThreeFields)
{
    EXPECT_EQ(OxaResult(), OxaResult::cOk);
    EXPECT_EQ(OxaResult(44, OxaResult::cOriginLibrary, OxaResult::cSeverityError), OxaResult::cFailed);
    EXPECT_NE(OxaResult(45, OxaResult::cOriginLibrary, OxaResult::cSeverityError), OxaResult::cFailed);
    EXPECT_NE(OxaResult(44, OxaResult::cOriginErrno, OxaResult::cSeverityError), OxaResult::cFailed);
    EXPECT_NE(OxaResult(44, OxaResult::cOriginLibrary, OxaResult::cSeverityNone), OxaResult::cFailed);
}

} // namespace
