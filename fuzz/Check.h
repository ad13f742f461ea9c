#pragma once

#include <cstdlib>

/// Ends the program, which the fuzzer reports, unless something holds.
inline void check(bool holds)
{
    if (!holds)
        std::abort();
}
