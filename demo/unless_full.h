#ifndef ZUNIC_DEMO_UNLESS_FULL_H
#define ZUNIC_DEMO_UNLESS_FULL_H

#include <cerrno>
#include <optional>
#include <system_error>

namespace ZunicDemo {

/// What `operation` returns; absent when there is no room in the channel for what it adds.
template <typename Operation>
auto unlessFull(Operation operation) -> std::optional<decltype(operation())>
{
    try {
        return operation();
    } catch (const std::system_error& error) {
        if (error.code().value() != ENOSPC) {
            throw;
        }
        return std::nullopt;
    }
}

} // namespace ZunicDemo

#endif
