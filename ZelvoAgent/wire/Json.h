#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

namespace json = boost::json;

/// Reads a JSON text (RFC 8259, UTF-8). Nesting to 512 is read. A number without a fraction that fits 64
/// signed bits is an integer however it is written (80, 80.0, 8e1); other numbers are the nearest double.
/// Nothing when the text is not JSON, is not UTF-8, nests deeper, holds a number beyond a double, has an
/// object of more than 1000 members, or has more than a million values: texts, numbers, lists and objects,
/// and all that is in them.
std::optional<json::value> parseJson(std::string_view text);

std::string writeJson(json::value const& value);
std::string writeJson(json::object const& object); // A value made of it would be a copy.
/// A number that is written as an integer where it is one: 20 and not 2E1.
json::value plainNumber(double number);

/// Lenient readers: a key of the wrong type counts as missing.
namespace read {

std::optional<std::string> text(json::object const& object, std::string_view key);
std::optional<std::int64_t> integer(json::object const& object, std::string_view key);
/// An integer or a number with a fraction.
std::optional<double> number(json::object const& object, std::string_view key);
std::optional<bool> boolean(json::object const& object, std::string_view key);
/// Null when missing or of another type; else lives as long as `object`.
json::object const* object(json::object const& object, std::string_view key);
json::array const* array(json::object const& object, std::string_view key);

} // namespace read

} // namespace zelvo
