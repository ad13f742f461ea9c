#include "platform/linux/X11Desktop.h"

#include "platform/linux/x11/windows/ProcessWindows.h"

#include <cstdlib>
#include <optional>
#include <set>
#include <string>

namespace zelvo {

namespace {

/// A variable of the environment, which nobody changes while the program runs; nothing when unset or empty.
std::optional<std::string> variable(char const* name)
{
    char const* const value = std::getenv(name);
    return value && *value ? std::optional<std::string>(value) : std::nullopt;
}

std::optional<X11Events> readEvents(Contexts const& contexts, std::shared_ptr<X11Connection> const& display)
{
    return display ? std::optional<X11Events>(std::in_place, contexts, display) : std::nullopt;
}

} // namespace

X11Desktop::X11Desktop(DesktopParts const& parts)
    : display(X11Connection::open()), displayEvents(readEvents(parts.contexts, display)),
      layout(parts.contexts, display), survey(display), windowList(survey, layout, entries),
      windowFocus(parts.contexts), fronts(parts.contexts, X11Connection::open()),
      applicationWindows(display, entries, windowFocus),
      opener(parts.contexts, parts.clock, entries, applicationWindows, parts.user),
      applications(display, entries, &opener, fronts.keyboardGrab()),
      pictures(parts.contexts, parts.clock, display, layout, entries),
      streams(parts.contexts, parts.clock, pictures),
      drawingWatches(parts.contexts, layout, entries, pictures),
      posting(parts.contexts, parts.clock, [this] { return layout.current(); }), pauseKey(parts.contexts),
      pointerPresses(parts.contexts, display, [this] { return layout.current(); }),
      systemTray(parts.contexts, parts.user, X11Connection::open()),
      clipboard(
          parts.contexts, parts.clock, {}, [this](std::int32_t pid) { return applications.process(pid); }),
      overlayWindows(parts.contexts, parts.clock, layout),
      sessionEvents(parts.contexts,
                    parts.clock,
                    parts.system,
                    parts.user,
                    OwnSession{.display = displayOf(variable("DISPLAY").value_or(""))},
                    [display = display] { return display && display->isAlive(); }),
      systemAccess(parts.contexts,
                   parts.clock,
                   parts.user,
                   desktopFacts(displayFacts()),
                   variable("AT_SPI_BUS_ADDRESS"),
                   [this] { return unreadableApplications(); }),
      elements(parts.contexts,
               parts.clock,
               parts.user,
               variable("AT_SPI_BUS_ADDRESS"),
               elementScreen(),
               [this] { systemAccess.noteChange(); }),
      elementChanges(parts.contexts, parts.clock, [this] { return elements.busAddress(); })
{
}

AtspiScreen X11Desktop::elementScreen()
{
    return {.windowsOf =
                [this](std::int32_t pid) {
                    auto const seen = survey.look();
                    return seen ? processWindows(*display, *seen, pid) : std::vector<ProcessWindow>();
                },
            .displays = [this] { return layout.all(); }};
}

DisplayFacts X11Desktop::displayFacts() const
{
    return {.isReachable = [display = display] { return display && display->isAlive(); },
            .hasTestExtension = [display = display] { return display && display->capabilities().xtest; },
            .isXwayland = [display = display] { return display && display->capabilities().xwayland; },
            .canCapture = [this] { return pictures.canCapture(); },
            .missingForCapture = [this] { return pictures.missing(); }};
}

std::vector<std::string> X11Desktop::unreadableApplications()
{
    std::set<std::string> names;
    for (std::int32_t const pid : elements.unreadableProcesses())
        if (auto const application = applications.application(pid))
            names.insert(application->localizedName);
    return {names.begin(), names.end()};
}

} // namespace zelvo
