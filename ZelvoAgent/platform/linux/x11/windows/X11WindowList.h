#pragma once

#include "platform/WindowList.h"
#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/x11/X11DisplayLayout.h"
#include "platform/linux/x11/windows/RecentSurvey.h"

namespace zelvo {

/// The children of the root window.
class X11WindowList final : public WindowList {
public:
    /// All must outlive this.
    X11WindowList(RecentSurvey& survey, X11DisplayLayout const& layout, DesktopEntries& entries);

    std::optional<std::vector<WindowEntry>> windows() override;

private:
    RecentSurvey& survey;
    X11DisplayLayout const& layout;
    DesktopEntries& entries;
};

} // namespace zelvo
