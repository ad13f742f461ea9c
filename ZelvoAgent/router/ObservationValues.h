#pragma once

#include "base/Clock.h"
#include "base/Geometry.h"
#include "drivers/TreeCapturing.h"
#include "drivers/WantedElement.h"
#include "wire/Json.h"
#include "wire/records/Commands.h"

#include <cstdint>
#include <optional>

namespace zelvo {

/// The params and results that several observing methods share. All pure.

/// "region". Throws AgentError::invalidRequest for an object that is no region.
std::optional<DesktopRect> regionIn(json::object const& params);
/// A number of milliseconds, clamped to 0 to `max`.
Duration milliseconds(json::object const& params, char const* key, std::int64_t otherwise, std::int64_t max);
/// "timeoutMs" of a method that waits.
Duration waitTimeout(json::object const& params);
/// "scope".
TreeScope treeScope(json::object const& params);
/// "role", "name", "value" and "until". Throws AgentError::invalidRequest if they describe no element, and
/// for an unknown "until".
WantedElement wantedElement(json::object const& params);

records::UIElement elementRecord(UiElementInfo const& element);

} // namespace zelvo
