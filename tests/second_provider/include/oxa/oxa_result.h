#ifndef SECOND_PROVIDER_OXA_RESULT_H
#define SECOND_PROVIDER_OXA_RESULT_H

#include <cstdint>
#include <string>

class OxaResult
{
public:
    static constexpr std::uint16_t cOriginErrno = 5;

    static const OxaResult cOk;
    static const OxaResult cFailed;
    static const OxaResult cNotInitialized;
    static const OxaResult cObjectInvalid;
    static const OxaResult cObjectNotFound;
    static const OxaResult cParameterInvalid;

    OxaResult(std::uint32_t code, std::uint16_t origin, std::uint16_t severity)
        : mCode(code), mOrigin(origin), mSeverity(severity)
    {}
    virtual ~OxaResult() = default;

    virtual std::string toString() const;
    bool operator==(const OxaResult&) const = default;
    std::uint32_t code() const { return mCode; }
    std::uint16_t severity() const { return mSeverity; }

private:
    std::uint32_t mCode;
    std::uint16_t mOrigin;
    std::uint16_t mSeverity;
};

#endif
