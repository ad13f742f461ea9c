#include "platform/linux/LinuxDesktop.h"

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

LinuxDesktop::LinuxDesktop(Contexts const& contexts, Clock& clock, BusConnection& system, BusConnection& user)
    : display(X11Connection::open()), displayEvents(readEvents(contexts, display)), layout(contexts, display),
      survey(display), windows(survey, layout, entries), focus(contexts),
      frontChanges(contexts, X11Connection::open()), applicationWindows(display, entries, focus),
      opener(contexts, clock, entries, applicationWindows, user),
      workspace(display, entries, &opener, frontChanges.keyboardGrab()),
      screen(contexts, clock, display, layout, entries), streams(contexts, clock, screen),
      drawings(contexts, layout, entries, screen),
      events(contexts, clock, [this] { return layout.current(); }), hotKey(contexts),
      presses(contexts, display, [this] { return layout.current(); }),
      tray(contexts, user, X11Connection::open()),
      pasteboard(contexts, clock, {}, [this](std::int32_t pid) { return workspace.process(pid); }),
      overlays(contexts, clock, layout),
      session(contexts,
              clock,
              system,
              user,
              variable("DISPLAY").value_or(""),
              [display = display] { return display && display->isAlive(); }),
      access(contexts,
             clock,
             user,
             displayFacts(),
             variable("AT_SPI_BUS_ADDRESS"),
             [this] { return unreadableApplications(); }),
      accessibility(contexts,
                    clock,
                    user,
                    variable("AT_SPI_BUS_ADDRESS"),
                    elementScreen(),
                    [this] { access.noteUnreadable(); }),
      interfaces(contexts, clock, [this] { return accessibility.busAddress(); })
{
}

AtspiScreen LinuxDesktop::elementScreen()
{
    return {.windowsOf =
                [this](std::int32_t pid) {
                    auto const seen = survey.look();
                    return seen ? processWindows(*display, *seen, pid) : std::vector<ProcessWindow>();
                },
            .displays = [this] { return layout.all(); }};
}

DisplayFacts LinuxDesktop::displayFacts() const
{
    return {.isReachable = [display = display] { return display && display->isAlive(); },
            .hasTestExtension = [display = display] { return display && display->capabilities().xtest; },
            .isXwayland = [display = display] { return display && display->capabilities().xwayland; },
            .canCapture = [this] { return screen.canCapture(); },
            .missingForCapture = [this] { return screen.missing(); }};
}

std::vector<std::string> LinuxDesktop::unreadableApplications()
{
    std::set<std::string> names;
    for (std::int32_t const pid : accessibility.unreadableProcesses())
        if (auto const application = workspace.application(pid))
            names.insert(application->localizedName);
    return {names.begin(), names.end()};
}

} // namespace zelvo
