#include "platform/linux/x11/windows/X11WindowList.h"

#include "platform/linux/x11/windows/WindowEntries.h"

#include <unistd.h>

namespace zelvo {

X11WindowList::X11WindowList(RecentSurvey& survey, X11DisplayLayout const& layout, DesktopEntries& entries)
    : survey(survey), layout(layout), entries(entries)
{
}

std::optional<std::vector<WindowEntry>> X11WindowList::windows()
{
    auto const seen = survey.look();
    if (!seen)
        return std::nullopt;
    auto const index = entries.current();
    return windowEntries(*seen, WindowOwners(*seen, *index, ::getpid()), layout.current());
}

} // namespace zelvo
