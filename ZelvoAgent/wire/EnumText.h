#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace zelvo {

/// The wire texts of an enumeration, in the order of its cases. Each enumeration with wire texts specialises
/// `EnumTexts<E>` beside its declaration; rawValue() and fromRawValue() then work on it.
template <class E>
struct EnumTexts;

template <class E>
constexpr std::string_view rawValue(E value)
    requires requires { EnumTexts<E>::texts; }
{
    return EnumTexts<E>::texts[static_cast<std::size_t>(value)];
}

/// The case with exactly this wire text, if there is one.
template <class E>
constexpr std::optional<E> fromRawValue(std::string_view text)
    requires requires { EnumTexts<E>::texts; }
{
    for (std::size_t i = 0; i < EnumTexts<E>::texts.size(); ++i)
        if (EnumTexts<E>::texts[i] == text)
            return static_cast<E>(i);
    return std::nullopt;
}

} // namespace zelvo
