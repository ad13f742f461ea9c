#pragma once

#include "wire/Json.h"

#include <cstddef>

namespace zelvo::service {

/// About how many bytes the text of a value has.
std::size_t sizeOf(json::value const& value);

} // namespace zelvo::service
