#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace zelvo::service {

/// Whether a caller's "X-Request-Id" is taken as it is, for logs and for the answer: 8 to 64 letters, digits,
/// ".", "_" or "-". Any other is replaced by one of ours.
constexpr bool isUsableRequestId(std::string_view id)
{
    constexpr std::size_t min = 8;
    constexpr std::size_t max = 64;
    return id.size() >= min && id.size() <= max && std::ranges::all_of(id, [](char each) {
               return (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z') ||
                      (each >= '0' && each <= '9') || each == '.' || each == '_' || each == '-';
           });
}

} // namespace zelvo::service
