#pragma once

#include "base/Clock.h"

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

/// Conversion between dates and texts.
namespace zelvo::dates {

/// "2026-11-21T02:38:27.123Z": UTC with milliseconds.
std::string iso8601(Date date);
/// Parses an RFC 3339 date-time with fractional seconds and "Z" or an offset; `nullopt` for any other form.
std::optional<Date> parseIso8601(std::string_view text);
/// Local time in the machine's present time zone.
std::tm localParts(Date date);
/// Local time as "HH:mm:ss".
std::string localTime(Date date);

/// Seconds since 2001-01-01 00:00 UTC, the form in which dates are stored.
double storedSeconds(Date date);
Date fromStoredSeconds(double seconds);

} // namespace zelvo::dates
