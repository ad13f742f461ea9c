#pragma once

#include "base/Geometry.h"
#include "base/Task.h"
#include "confirm/ProbedElement.h"

#include <optional>
#include <string>

namespace zelvo {

/// The application in front: its identifier and its name.
struct FrontmostAppInfo {
    std::string bundleId;
    std::string name;
    bool operator==(FrontmostAppInfo const&) const = default;
};

/// Looks at what an agent is about to press. Nothing is ever thrown: what cannot be looked at is absent.
/// Thread: any; resumes the caller on its own executor.
/// Made by: confirm/ElementProbe, tests/fakes/FakeProbe.
class ElementProbing {
public:
    virtual ~ElementProbing() = default;
    /// What a press at this point of the main display's coordinates would press.
    virtual Task<std::optional<ProbedElement>> element(DesktopPoint at) = 0;
    /// The focused window of the application in front, when it is a dialog or a sheet.
    virtual Task<std::optional<ProbedElement>> frontmostDialog() = 0;
    virtual Task<std::optional<FrontmostAppInfo>> frontmostApp() = 0;
    /// The element with the keyboard focus in the application in front.
    virtual Task<std::optional<ProbedElement>> focusedElement() = 0;
};

} // namespace zelvo
