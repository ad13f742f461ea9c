#pragma once

#include "base/Geometry.h"
#include "base/SleepQueue.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace zelvo {

/// What a panel says. The texts may come from outside, in any length and with any characters; the panel makes
/// them fit to be shown.
struct PanelContents {
    std::string title;
    std::string detail;
    std::string allowTitle;
    std::string denyTitle;
    bool showsRemember = false; ///< with the check box that asks to remember a yes
    bool isExact = false;       ///< the detail is a command, a path or an address: every letter counts
    bool operator==(PanelContents const&) const = default;
};

/// One small window with a question and two answers, above all others, on every workspace, in no picture that
/// this program takes. It decides nothing. Made and gone once. Thread: main.
/// Made by: app/QtConfirmationPanel, tests/fakes/FakeConfirmationPanel.
class ConfirmationPanel {
public:
    /// What the person did. The panel is still on the screen then, and may be gone when the call returns.
    struct Reports {
        std::function<void(bool remember)> allow; ///< with the check box's state; false without one
        std::function<void()> deny;
        std::function<void()> close; ///< by the window's own closing button
    };

    virtual ~ConfirmationPanel() = default;
    /// Puts it in the middle of the screen with the keyboard in it. end: when its time is up, which it shows
    /// and does not act on.
    virtual void show(Instant end, Reports reports) = 0;
    /// Takes it off the screen; it reports nothing any more.
    virtual void takeAway() = 0;
    /// With its title bar, in points from the top left of the main display.
    virtual DesktopRect frame() const = 0;
    /// Its window, as WindowFocus knows it; 0 when it has none.
    virtual std::uint32_t windowId() const = 0;
};

using ConfirmationPanelMaker = std::function<std::unique_ptr<ConfirmationPanel>(PanelContents)>;

} // namespace zelvo
