#ifndef TESTS_SUPPORT_ERROR_OF_H
#define TESTS_SUPPORT_ERROR_OF_H

#include <stdexcept>
#include <system_error>

namespace TestSupport {

/// The errno value that `operation` fails with; 0 when it does not fail, -1 for an argument that cannot be.
template <typename Operation>
int errorOf(Operation operation)
{
    try {
        operation();
        return 0;
    } catch (const std::system_error& error) {
        return error.code().value();
    } catch (const std::invalid_argument&) {
        return -1;
    }
}

} // namespace TestSupport

#endif
