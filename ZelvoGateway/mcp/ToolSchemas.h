#pragma once

#include "wire/Json.h"

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// Short forms of the JSON Schemas that the tools' arguments have. An empty description is left out.
namespace schema {

json::object text(std::string_view description = "");
json::object choice(std::initializer_list<std::string_view> values, std::string_view description = "");
json::object flag(std::string_view description = "");
json::object number(std::string_view description = "");
json::object integer(std::int64_t min, std::int64_t max, std::string_view description = "");
json::object
list(json::object items, std::size_t minItems, std::size_t maxItems, std::string_view description = "");
/// An object whose members are all texts.
json::object texts(std::string_view description = "");

enum class Need { optional, required };

/// A member of an object.
struct Member {
    std::string_view name;
    json::object schema;
    Need need = Need::optional;
};

enum class Others { refused, allowed };

/// others   whether members that are not listed are allowed
json::object
object(std::vector<Member> members, Others others = Others::refused, std::string_view description = "");

} // namespace schema

} // namespace zelvo::service
