#pragma once

#include "base/Task.h"
#include "wire/Json.h"

#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

/// Reads JSON text: here when it is short, on the workers when it would hold up everybody else. The text must
/// live until the end.
Task<std::optional<json::value>> parseOn(Executor workers, std::string_view text);
/// Writes JSON text the same way; `bytes` is about how long it will be.
Task<std::string> writeOn(Executor workers, json::value value, std::size_t bytes);

} // namespace zelvo::service
