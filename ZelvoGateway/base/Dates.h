#pragma once

#include "base/Clock.h"

#include <cstdint>

namespace zelvo::service {

/// The date of this moment.
inline Date today()
{
    return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
}

/// A duration in the unit of dates.
inline std::chrono::microseconds dateSpan(Duration time)
{
    return std::chrono::duration_cast<std::chrono::microseconds>(time);
}

/// Milliseconds since 1970.
inline std::int64_t millisecondsOf(Date date)
{
    return std::chrono::floor<std::chrono::milliseconds>(date).time_since_epoch().count();
}

inline Date dateOfMilliseconds(std::int64_t milliseconds)
{
    return Date(std::chrono::milliseconds(milliseconds));
}

} // namespace zelvo::service
