#pragma once

#include "ZelvoGateway/base/Failure.h"

#include <string>
#include <string_view>

namespace zelvo::service {

/// A failure as it travels between nodes.
std::string failureText(Failure const& failure);
/// internalError for what is no such text.
Failure failureOf(std::string_view text);

} // namespace zelvo::service
