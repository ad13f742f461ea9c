#include "base/Versions.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <limits>

namespace zelvo {

namespace {

using Numbers = std::array<std::uint32_t, 4>;

Numbers numbersOf(std::string_view version)
{
    Numbers numbers{};
    char const* at = version.data();
    char const* const end = at + version.size();
    for (std::uint32_t& number : numbers) {
        auto const read = std::from_chars(at, end, number);
        if (read.ec == std::errc::result_out_of_range)
            number = std::numeric_limits<std::uint32_t>::max();
        at = read.ptr;
        if (read.ec == std::errc::invalid_argument || at == end || *at != '.')
            break;
        ++at;
    }
    return numbers;
}

} // namespace

bool isVersionBelow(std::string_view version, std::string_view minimum)
{
    return numbersOf(version) < numbersOf(minimum);
}

} // namespace zelvo
