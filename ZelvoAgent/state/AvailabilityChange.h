#pragma once

#include "base/Clock.h"
#include "wire/Availability.h"
#include "wire/Json.h"

#include <optional>
#include <string>

namespace zelvo {

/// One entry of the availability history.
struct AvailabilityChange {
    std::string id; ///< a UUID
    Date at;
    Availability from = Availability::ready;
    Availability to = Availability::ready;
    bool operator==(AvailabilityChange const&) const = default;

    json::object toJson() const;
    static std::optional<AvailabilityChange> fromJson(json::value const& stored);
};

} // namespace zelvo
