#pragma once

#include "base/Clock.h"

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

/// Dates as texts.
namespace zelvo::dates {

/// "2026-11-21T02:38:27.123Z": UTC with milliseconds.
std::string iso8601(Date date);
/// Reads an internet date-time with fractional seconds and "Z" or an offset; nothing for any other form.
std::optional<Date> parseIso8601(std::string_view text);
/// The date by the clocks of the zone that the machine is in now.
std::tm localParts(Date date);
/// Local time as "HH:mm:ss".
std::string localTime(Date date);

/// Seconds since 2001-01-01 00:00 UTC, the form in which dates are stored.
double storedSeconds(Date date);
Date fromStoredSeconds(double seconds);

} // namespace zelvo::dates
