#pragma once

#include "wire/Json.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// Why the arguments of a call do not fit the tool's schema, in words for a model: `"actions[2].x" must be a
/// number`. The first reason, or `nullopt` if they fit. Of JSON Schema it knows what the tools use: type,
/// enum, required, properties, additionalProperties, items, and the bounds of numbers, texts (in characters)
/// and lists. Other keywords allow everything.
std::optional<std::string> argumentProblem(json::object const& schema, json::object const& arguments);

} // namespace zelvo::service
