#include "state/AvailabilityChange.h"

#include "base/DateText.h"

namespace zelvo {

json::object AvailabilityChange::toJson() const
{
    return {{"id", id}, {"at", dates::storedSeconds(at)}, {"from", rawValue(from)}, {"to", rawValue(to)}};
}

std::optional<AvailabilityChange> AvailabilityChange::fromJson(json::value const& stored)
{
    json::object const* const object = stored.if_object();
    if (!object)
        return std::nullopt;
    auto const id = read::text(*object, "id");
    auto const at = read::number(*object, "at");
    auto const from = fromRawValue<Availability>(read::text(*object, "from").value_or(""));
    auto const to = fromRawValue<Availability>(read::text(*object, "to").value_or(""));
    if (!id || !at || !from || !to)
        return std::nullopt;
    return AvailabilityChange{*id, dates::fromStoredSeconds(*at), *from, *to};
}

} // namespace zelvo
