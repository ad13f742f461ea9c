#pragma once

#include "base/Clock.h"

namespace zelvo::service {

/// The date of this moment.
inline Date today()
{
    return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
}

} // namespace zelvo::service
