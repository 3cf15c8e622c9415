#ifndef ZUNIC_HOSTING_FAILURES_H
#define ZUNIC_HOSTING_FAILURES_H

#include <stdexcept>
#include <string>
#include <system_error>

namespace ZunicHosting {

[[noreturn]] inline void fail(int error, const std::string& what)
{
    throw std::system_error(error, std::generic_category(), what);
}

inline void require(bool isAcceptable, const std::string& complaint)
{
    if (!isAcceptable) {
        throw std::invalid_argument(complaint);
    }
}

} // namespace ZunicHosting

#endif
