#pragma once

#include "base/Geometry.h"
#include "base/SleepQueue.h"
#include "platform/WindowFocus.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A part of a question with a caption. Each text is one line, whatever characters it has.
struct PanelSection {
    std::string caption;
    std::vector<std::string> lines;
    bool operator==(PanelSection const&) const = default;
};

/// The texts of a panel. They may come from outside, with any length and any characters; the panel sanitizes
/// them before it shows them.
struct PanelContents {
    std::string title;
    std::string detail;
    std::string allowTitle;
    std::string denyTitle;
    bool showsRemember = false; ///< shows the check box that remembers a yes
    bool isExact = false;       ///< the detail is a command, path or URL and is shown character by character
    std::optional<PanelSection> warning = {}; ///< above the detail
    std::vector<PanelSection> additions = {}; ///< below the detail
    bool operator==(PanelContents const&) const = default;
};

/// A small window with a question and two answers. It stays above all other windows, on every workspace, and
/// never appears in this program's pictures. It decides nothing and is shown only once. Thread: main.
/// Made by: app/QtConfirmationPanel, tests/fakes/FakeConfirmationPanel.
class ConfirmationPanel {
public:
    /// Called when the person acts. The panel is still on the screen; the callback may destroy it.
    struct Reports {
        std::function<void(bool remember)> allow; ///< with the check box's state; false if there is none
        std::function<void()> deny;
        std::function<void()> close; ///< the window's close button
    };

    virtual ~ConfirmationPanel() = default;
    /// Shows the panel in the middle of the screen and gives it the keyboard focus.
    /// end  when the time runs out; the panel only displays it
    virtual void show(Instant end, Reports reports) = 0;
    /// Removes the panel from the screen; no callback is called after that.
    virtual void takeAway() = 0;
    /// Includes the title bar; in points from the top left corner of the main display.
    virtual DesktopRect frame() const = 0;
    /// Its window for WindowFocus.
    virtual OwnWindow ownWindow() const = 0;
};

using ConfirmationPanelMaker = std::function<std::unique_ptr<ConfirmationPanel>(PanelContents)>;

} // namespace zelvo
