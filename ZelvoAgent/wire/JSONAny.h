#pragma once

#include "wire/Json.h"

#include <any>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace zelvo {

/// The failure of reading or writing a JSONAny or a JSONNull; what() is one of the three fixed texts.
struct JSONAnyError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The JSON value null.
struct JSONNull {
    /// Throws JSONAnyError "Wrong type for JSONNull" for anything but null.
    static JSONNull decode(json::value const& from);
    json::value encode() const { return nullptr; }
    bool operator==(JSONNull const&) const = default;
};

/// One JSON value of any kind, outside the JSON library's own types. `value` holds a JSONNull, bool,
/// std::int64_t, double, std::string, JSONAny::Array or JSONAny::Object; nothing else can be encoded.
struct JSONAny {
    using Array = std::vector<JSONAny>;
    using Object = std::map<std::string, JSONAny>;

    std::any value = JSONNull{};

    /// Each element is tried as boolean value, 64-bit integer, double, text and null, in this order: so 1 is
    /// an integer, 1.5 a number, and true never a number.
    static JSONAny decode(json::value const& from);
    /// The same from JSON text. Throws JSONAnyError "Cannot decode JSONAny" when the text is no JSON value.
    static JSONAny decodeText(std::string_view text);
    /// Throws JSONAnyError "Cannot encode JSONAny" when a value of some other kind, or one that JSON has no
    /// form for (infinity, not-a-number), is in it.
    json::value encode() const;
};

} // namespace zelvo
