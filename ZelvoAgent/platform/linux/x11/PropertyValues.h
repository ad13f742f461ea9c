#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <span>
#include <string>

namespace zelvo {

/// The bytes of a text property; none when it holds no text.
inline std::string textIn(xcb_get_property_reply_t const& reply)
{
    if (reply.format != 8)
        return {};
    return {static_cast<char const*>(xcb_get_property_value(&reply)),
            static_cast<std::size_t>(xcb_get_property_value_length(&reply))};
}

/// The bytes up to the first zero byte.
inline std::string firstTextIn(xcb_get_property_reply_t const& reply)
{
    std::string text = textIn(reply);
    return text.substr(0, text.find('\0'));
}

/// The numbers, atoms or windows of a property, for as long as the reply lives; none when it holds none.
inline std::span<std::uint32_t const> numbersIn(xcb_get_property_reply_t const& reply)
{
    if (reply.format != 32)
        return {};
    return {static_cast<std::uint32_t const*>(xcb_get_property_value(&reply)),
            static_cast<std::size_t>(xcb_get_property_value_length(&reply)) / 4};
}

} // namespace zelvo
