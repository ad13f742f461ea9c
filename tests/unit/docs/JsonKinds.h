#pragma once

#include "wire/Json.h"

#include <algorithm>
#include <string_view>

namespace zelvo {

/// The type of a value, as JSON Schema calls it.
inline std::string_view kindOf(json::value const& value)
{
    switch (value.kind()) {
    case json::kind::null:
        return "null";
    case json::kind::bool_:
        return "boolean";
    case json::kind::int64:
    case json::kind::uint64:
        return "integer";
    case json::kind::double_:
        return "number";
    case json::kind::string:
        return "string";
    case json::kind::array:
        return "array";
    case json::kind::object:
        return "object";
    }
    return "";
}

inline bool isOfType(json::value const& value, std::string_view type)
{
    return kindOf(value) == type || (type == "number" && kindOf(value) == "integer");
}

/// Of "type", which is a text or an array of them.
inline bool isOfTypes(json::value const& value, json::value const& types)
{
    if (types.is_string())
        return isOfType(value, types.get_string());
    return std::ranges::any_of(types.as_array(),
                               [&](json::value const& type) { return isOfType(value, type.as_string()); });
}

} // namespace zelvo
