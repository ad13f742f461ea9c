#include "wire/JSONAny.h"

#include <cmath>

namespace zelvo {

namespace {

JSONAny decodeArray(json::array const& from)
{
    JSONAny::Array elements;
    for (json::value const& element : from)
        elements.push_back(JSONAny::decode(element));
    return {std::move(elements)};
}

JSONAny decodeObject(json::object const& from)
{
    JSONAny::Object members;
    for (auto const& member : from)
        members.insert_or_assign(std::string(member.key()), JSONAny::decode(member.value()));
    return {std::move(members)};
}

json::value encodeArray(JSONAny::Array const& elements)
{
    json::array array;
    for (JSONAny const& element : elements)
        array.push_back(element.encode());
    return array;
}

json::value encodeObject(JSONAny::Object const& members)
{
    json::object object;
    for (auto const& [key, member] : members)
        object[key] = member.encode();
    return object;
}

} // namespace

JSONNull JSONNull::decode(json::value const& from)
{
    if (!from.is_null())
        throw JSONAnyError("Wrong type for JSONNull");
    return {};
}

JSONAny JSONAny::decode(json::value const& from)
{
    switch (from.kind()) {
    case json::kind::bool_:
        return {from.get_bool()};
    case json::kind::int64:
        return {from.get_int64()};
    case json::kind::uint64: // Beyond 63 bits it is no 64-bit integer, but still a number.
        return {static_cast<double>(from.get_uint64())};
    case json::kind::double_:
        return {from.get_double()};
    case json::kind::string:
        return {std::string(from.get_string())};
    case json::kind::null:
        return {JSONNull{}};
    case json::kind::array:
        return decodeArray(from.get_array());
    case json::kind::object:
        return decodeObject(from.get_object());
    }
    throw JSONAnyError("Cannot decode JSONAny");
}

JSONAny JSONAny::decodeText(std::string_view text)
{
    auto const parsed = parseJson(text);
    if (!parsed)
        throw JSONAnyError("Cannot decode JSONAny");
    return decode(*parsed);
}

json::value JSONAny::encode() const
{
    if (auto const* const boolean = std::any_cast<bool>(&value))
        return *boolean;
    if (auto const* const integer = std::any_cast<std::int64_t>(&value))
        return *integer;
    if (auto const* const number = std::any_cast<double>(&value); number && std::isfinite(*number))
        return *number;
    if (auto const* const text = std::any_cast<std::string>(&value))
        return json::value(*text);
    if (auto const* const null = std::any_cast<JSONNull>(&value))
        return null->encode();
    if (auto const* const array = std::any_cast<Array>(&value))
        return encodeArray(*array);
    if (auto const* const object = std::any_cast<Object>(&value))
        return encodeObject(*object);
    throw JSONAnyError("Cannot encode JSONAny");
}

} // namespace zelvo
