#ifndef TESTS_SUPPORT_SOAK_H
#define TESTS_SUPPORT_SOAK_H

#include <cstdlib>
#include <iostream>

namespace TestSupport {

/// How often a fault is tried: the second number when the environment asks for a soak, else the first.
inline int rounds(int usual, int soak)
{
    return std::getenv("ZUNIC_SOAK") != nullptr ? soak : usual;
}

/// Starts a line about what was measured, which decides nothing.
inline std::ostream& figures()
{
    return std::cout << "[ FIGURES  ] ";
}

} // namespace TestSupport

#endif
