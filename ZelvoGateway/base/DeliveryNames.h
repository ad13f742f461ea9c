#pragma once

#include "ZelvoGateway/base/Metrics.h"

#include <array>
#include <string_view>

namespace zelvo::service {

/// How metrics and logs name a DeliveryEnd, in the order of the enumerators.
inline constexpr std::array<std::string_view, 3> deliveryNames = {"delivered", "repeated", "failed"};
static_assert(deliveryNames.size() == static_cast<std::size_t>(DeliveryEnd::failed) + 1);

} // namespace zelvo::service
