#pragma once

#include "base/Geometry.h"
#include "base/Task.h"
#include "confirm/ProbedElement.h"
#include "platform/Accessibility.h"
#include "platform/ApplicationNames.h"

#include <optional>
#include <string>

namespace zelvo {

/// The application in front: its identifier and its name for a person.
struct FrontmostAppInfo {
    std::string bundleId;
    std::string name;
    ApplicationNames names = {}; ///< all that it may be asked for by
    bool isHidden = false;       ///< agents are not told what it is
    bool operator==(FrontmostAppInfo const&) const = default;
};

/// Reads the element that an agent is about to press. Never throws; an element that cannot be read is absent.
/// Thread: any; resumes the caller on the caller's executor.
/// Made by: confirm/ElementProbe, tests/fakes/FakeProbe.
class ElementProbing {
public:
    virtual ~ElementProbing() = default;
    /// The element that a press at this point would press; coordinates of the main display.
    virtual Task<std::optional<ProbedElement>> element(DesktopPoint at) = 0;
    /// What a press of this element would press, if it is in the application in front.
    virtual Task<std::optional<ProbedElement>> element(NamedElement named) = 0;
    /// The focused window of the frontmost application, if it is a dialog or a sheet.
    virtual Task<std::optional<ProbedElement>> frontmostDialog() = 0;
    virtual Task<std::optional<FrontmostAppInfo>> frontmostApp() = 0;
    /// The element with the keyboard focus in the frontmost application.
    virtual Task<std::optional<ProbedElement>> focusedElement() = 0;
    /// The same, but the current item of a menu that is open and leaves the focus where it was.
    virtual Task<std::optional<ProbedElement>> currentElement() = 0;
    /// The button that Return presses in the form or window of the focused element; `isUnknown` in a form of
    /// a page whose button is not found.
    virtual Task<std::optional<ProbedElement>> defaultButton() = 0;
};

} // namespace zelvo
