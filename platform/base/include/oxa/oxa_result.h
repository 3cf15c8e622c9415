#ifndef OXA_OXA_RESULT_H
#define OXA_OXA_RESULT_H

#include <cstdint>
#include <string>

/// The result of an operation: a code and where it comes from.
///
/// Results are compared as a whole. The code of the deciding result becomes a program's exit status, so the codes of
/// the constants never change. Each is a Linux errno value that mkdir cannot give, none is 0, 1 or above 125:
///
/// | constant           | code |
/// |--------------------|------|
/// | cOk                |    0 |
/// | cHelpRequested     |    0 | (differs from cOk in its origin)
/// | cFailed            |   44 |
/// | cNotInitialized    |   45 |
/// | cObjectInvalid     |   46 |
/// | cObjectNotFound    |   47 |
/// | cParameterInvalid  |   48 |
class OxaResult
{
public:
    /// Values of `origin`: what gave the code its meaning.
    static constexpr std::uint16_t cOriginLibrary = 0;
    static constexpr std::uint16_t cOriginCommandLine = 1;
    static constexpr std::uint16_t cOriginErrno = 5;

    /// Values of `severity`.
    static constexpr std::uint16_t cSeverityNone = 0;
    static constexpr std::uint16_t cSeverityError = 3;

    static const OxaResult cOk;
    static const OxaResult cHelpRequested;
    static const OxaResult cFailed;
    static const OxaResult cNotInitialized;
    static const OxaResult cObjectInvalid;
    static const OxaResult cObjectNotFound;
    static const OxaResult cParameterInvalid;

    constexpr OxaResult() = default;
    constexpr OxaResult(std::uint32_t code, std::uint16_t origin, std::uint16_t severity)
        : mCode(code), mOrigin(origin), mSeverity(severity)
    {}
    constexpr OxaResult(const OxaResult&) = default;
    OxaResult& operator=(const OxaResult&) = default;
    virtual ~OxaResult();

    /// The result in words; for `cOriginErrno` the system's text for that errno.
    virtual std::string toString() const;

    constexpr bool operator==(const OxaResult& other) const
    {
        return mCode == other.mCode && mOrigin == other.mOrigin && mSeverity == other.mSeverity;
    }

    constexpr std::uint32_t code() const { return mCode; }
    constexpr std::uint16_t origin() const { return mOrigin; }
    constexpr std::uint16_t severity() const { return mSeverity; }

private:
    std::uint32_t mCode = 0;
    std::uint16_t mOrigin = cOriginLibrary;
    std::uint16_t mSeverity = cSeverityNone;
};

#endif
