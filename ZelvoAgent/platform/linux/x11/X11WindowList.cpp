#include "platform/linux/x11/X11WindowList.h"

#include "platform/linux/x11/WindowEntries.h"

#include <unistd.h>

namespace zelvo {

X11WindowList::X11WindowList(std::shared_ptr<X11Connection> connection,
                             X11DisplayLayout const& layout,
                             DesktopEntries& entries)
    : connection(std::move(connection)), layout(layout), entries(entries)
{
}

std::optional<std::vector<WindowEntry>> X11WindowList::windows()
{
    if (!connection || !connection->isAlive())
        return std::nullopt;
    WindowSurvey const survey = surveyWindows(*connection);
    if (!connection->isAlive())
        return std::nullopt;
    auto const index = entries.current();
    return windowEntries(survey, WindowOwners(survey, *index, ::getpid()), layout.current());
}

} // namespace zelvo
