#include "ZelvoGateway/http/ByteRange.h"

#include "base/Text.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <string>

namespace zelvo::service {

namespace {

/// Digits only. A number that is too large becomes the largest one, which is after every end.
std::optional<std::uint64_t> number(std::string_view text)
{
    bool const digits =
        !text.empty() && std::ranges::all_of(text, [](char each) { return each >= '0' && each <= '9'; });
    if (!digits)
        return std::nullopt;
    std::uint64_t value = 0;
    auto const read = std::from_chars(text.data(), text.data() + text.size(), value);
    return read.ec == std::errc() ? value : std::numeric_limits<std::uint64_t>::max();
}

std::string_view trimmed(std::string_view text)
{
    while (text.starts_with(' ') || text.starts_with('\t'))
        text.remove_prefix(1);
    while (text.ends_with(' ') || text.ends_with('\t'))
        text.remove_suffix(1);
    return text;
}

/// "-500": the last 500 bytes.
ByteRange lastBytes(std::uint64_t count, std::uint64_t size)
{
    std::uint64_t const length = std::min(count, size);
    if (length == 0)
        return {.kind = ByteRange::Kind::nothing};
    return {.kind = ByteRange::Kind::part, .first = size - length, .length = length};
}

} // namespace

ByteRange byteRange(std::string_view header, std::uint64_t size)
{
    ByteRange const whole{.kind = ByteRange::Kind::whole, .first = 0, .length = size};
    std::size_t const equals = header.find('=');
    if (equals == std::string_view::npos ||
        !text::equalIgnoringCase(std::string(trimmed(header.substr(0, equals))), "bytes"))
        return whole;
    std::string_view const range = trimmed(header.substr(equals + 1));
    std::size_t const dash = range.find('-');
    if (dash == std::string_view::npos)
        return whole;
    std::string_view const front = trimmed(range.substr(0, dash));
    std::string_view const back = trimmed(range.substr(dash + 1));
    auto const first = number(front);
    auto const last = number(back);
    if (front.empty() && last)
        return lastBytes(*last, size);
    if (!first || (!back.empty() && !last) || (last && *last < *first))
        return whole;
    if (*first >= size)
        return {.kind = ByteRange::Kind::nothing};
    std::uint64_t const end = last ? std::min(*last, size - 1) : size - 1;
    return {.kind = ByteRange::Kind::part, .first = *first, .length = end - *first + 1};
}

} // namespace zelvo::service
