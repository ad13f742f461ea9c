#pragma once

#include "base/Task.h"
#include "wire/Json.h"

#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

/// Parses JSON text: a short one here, a long one on the workers, because it would delay everybody else. The
/// text must live until this returns.
Task<std::optional<json::value>> parseOn(Executor workers, std::string_view text);
/// Writes JSON text in the same way; `bytes` is about how long it will be.
Task<std::string> writeOn(Executor workers, json::value value, std::size_t bytes);

} // namespace zelvo::service
