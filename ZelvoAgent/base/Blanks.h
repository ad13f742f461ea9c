#pragma once

#include <string_view>

namespace zelvo::text {

/// Without blanks, tabs and carriage returns at both ends, as files of settings are read.
inline std::string_view withoutBlanks(std::string_view line)
{
    constexpr std::string_view blanks = " \t\r";
    auto const first = line.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return line.substr(first, line.find_last_not_of(blanks) - first + 1);
}

} // namespace zelvo::text
