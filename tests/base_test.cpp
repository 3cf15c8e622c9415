#include "oxa/oxa_result.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <set>
#include <string>

namespace {

struct DocumentedCode
{
    const OxaResult& result;
    std::uint32_t code;
};

const std::array<DocumentedCode, 5> cErrors{{{OxaResult::cFailed, 44},
                                             {OxaResult::cNotInitialized, 45},
                                             {OxaResult::cObjectInvalid, 46},
                                             {OxaResult::cObjectNotFound, 47},
                                             {OxaResult::cParameterInvalid, 48}}};

TEST(OxaResultTest, CodesAreTheDocumentedOnes)
{
    EXPECT_EQ(OxaResult::cOk.code(), 0U);
    EXPECT_EQ(OxaResult::cHelpRequested.code(), 0U);
    for (const DocumentedCode& error : cErrors) {
        EXPECT_EQ(error.result.code(), error.code) << error.result.toString();
        EXPECT_EQ(error.result.severity(), OxaResult::cSeverityError);
    }
}

TEST(OxaResultTest, CodesAreNoErrnoOfMkdir)
{
    const std::set<std::uint32_t> errnosOfMkdir{EACCES, EBADF,  EDQUOT, EEXIST,    EFAULT, EINVAL,     EIO,
                                                ELOOP,  EMLINK, ENOENT, ENOMEM,    ENOSPC, ENOTDIR,    EPERM,
                                                EROFS,  ESTALE, EINTR,  EOVERFLOW, EXDEV,  EOPNOTSUPP, ENAMETOOLONG};
    for (const DocumentedCode& error : cErrors) {
        EXPECT_FALSE(errnosOfMkdir.contains(error.result.code())) << error.result.toString();
    }
}

TEST(OxaResultTest, ComparesAllThreeFields)
{
    const OxaResult result(44, OxaResult::cOriginLibrary, OxaResult::cSeverityError);
    EXPECT_EQ(result, OxaResult::cFailed);
    EXPECT_EQ(OxaResult(), OxaResult::cOk);
    EXPECT_NE(OxaResult::cHelpRequested, OxaResult::cOk);
    EXPECT_NE(result, OxaResult(45, OxaResult::cOriginLibrary, OxaResult::cSeverityError));
    EXPECT_NE(result, OxaResult(44, OxaResult::cOriginErrno, OxaResult::cSeverityError));
    EXPECT_NE(result, OxaResult(44, OxaResult::cOriginLibrary, OxaResult::cSeverityNone));
}

TEST(OxaResultTest, ErrnoReadsAsTheSystemSaysIt)
{
    const OxaResult missing(ENOENT, OxaResult::cOriginErrno, OxaResult::cSeverityError);
    EXPECT_EQ(missing.toString(), "No such file or directory");
    // The number of cFailed means something else when it comes from the system.
    const OxaResult channel(44, OxaResult::cOriginErrno, OxaResult::cSeverityError);
    EXPECT_EQ(channel.toString(), "Channel number out of range");
}

TEST(OxaResultTest, EachConstantHasWordsOfItsOwn)
{
    std::set<std::string> texts{OxaResult::cOk.toString(), OxaResult::cHelpRequested.toString()};
    for (const DocumentedCode& error : cErrors) {
        texts.insert(error.result.toString());
    }
    EXPECT_EQ(texts.size(), 2 + cErrors.size());
    EXPECT_EQ(OxaResult::cObjectNotFound.toString(), "object not found");
    EXPECT_EQ(OxaResult(48, 3, 2).toString(), "code 48, origin 3, severity 2");
}

} // namespace
