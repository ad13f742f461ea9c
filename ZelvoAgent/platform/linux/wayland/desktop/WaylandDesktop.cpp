#include "platform/linux/wayland/desktop/WaylandDesktop.h"

#include "platform/linux/system/XdgFolders.h"
#include "platform/linux/wayland/shell/MainMonitor.h"
#include "platform/linux/wayland/windows/ElementWindows.h"
#include "wire/AgentError.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <set>
#include <utility>

namespace zelvo {

namespace {

/// A variable of the environment, which nobody changes while the program runs; nothing when unset or empty.
std::optional<std::string> variable(char const* name)
{
    char const* const value = std::getenv(name);
    return value && *value ? std::optional<std::string>(value) : std::nullopt;
}

/// The path of the compositor's socket.
std::string socketOfCompositor()
{
    std::filesystem::path const name = variable("WAYLAND_DISPLAY").value_or("");
    return name.is_absolute() ? name : xdg::runtimeFolder().value_or("") / name;
}

} // namespace

std::unique_ptr<WaylandDesktop> WaylandDesktop::open(DesktopParts const& parts)
{
    // Without the variable this is another session, even if a compositor of the same person runs.
    auto client = variable("WAYLAND_DISPLAY") ? WaylandClient::open() : nullptr;
    if (!client)
        return nullptr;
    auto const main = std::make_shared<MainMonitor>(parts.user);
    auto monitors = std::make_unique<WaylandMonitors>(parts.contexts, WaylandClient::open(),
                                                      [main] { return main->name(); });
    main->observe([monitors = monitors.get()] { monitors->refresh(); });
    CompositorDoors doors = openDoors(parts, client, *monitors);
    return std::make_unique<WaylandDesktop>(parts, std::move(client), std::move(monitors), std::move(doors));
}

WaylandDesktop::WaylandDesktop(DesktopParts const& parts,
                               std::shared_ptr<WaylandClient> opened,
                               std::unique_ptr<WaylandMonitors> known,
                               CompositorDoors offered)
    : contexts(parts.contexts), clock(parts.clock), client(std::move(opened)), monitors(std::move(known)),
      doors(std::move(offered)),
      clients(socketOfCompositor(), variable("DISPLAY").value_or(""), {variable("SWAYSOCK").value_or("")}),
      keymaps(parts.contexts, WaylandClient::open()),
      desktopWindows(doors.windows.get(), [this] { return entries.current(); }),
      windowList(desktopWindows, [this] { return monitors->current(); }), windowFocus(desktopWindows),
      fronts(parts.contexts, doors.windows.get()),
      applicationWindows(desktopWindows, [this] { return activeProcess(); }),
      opener(parts.contexts, parts.clock, entries, applicationWindows, parts.user),
      applications(desktopWindows, &opener, [this] { return activeProcess(); }), presence(presenceParts()),
      pictures(screenParts()), drawing(parts.contexts, parts.clock, *doors.frames),
      streams(parts.contexts, parts.clock, pictures, drawing),
      drawingWatches(parts.contexts, pictures, drawing), systemTray(parts.contexts, parts.user, nullptr),
      sessionEvents(parts.contexts,
                    parts.clock,
                    parts.system,
                    parts.user,
                    OwnSession{.isWayland = true, .id = variable("XDG_SESSION_ID").value_or("")},
                    [client = client] { return client->isAlive(); }),
      systemAccess(parts.contexts,
                   parts.clock,
                   parts.user,
                   facts(),
                   variable("AT_SPI_BUS_ADDRESS"),
                   [this] { return unreadableApplications(); }),
      elements(parts.contexts,
               parts.clock,
               parts.user,
               variable("AT_SPI_BUS_ADDRESS"),
               elementScreen(),
               [this] { systemAccess.noteChange(); }),
      elementChanges(parts.contexts, parts.clock, [this] { return elements.busAddress(); }),
      insertion(
          parts.contexts,
          [this] { return processInFront(); },
          [this](std::int32_t pid) { return elements.atspiReader(pid, 1s); }),
      clipboard(doors.clipboard ? *doors.clipboard : noClipboard), posting(postingParts())
{
    doors.grant->observe([this](DesktopGrant::State) { systemAccess.noteChange(); });
    doors.observe([this] { systemAccess.noteChange(); });
    ending.emplace(contexts, client, nullptr, [this] { systemAccess.noteChange(); });
    followLock();
    doors.start();
    doors.grant->resume();
}

/// The grant outlives the session's events, and asks on another thread: so it asks a copy.
void WaylandDesktop::followLock()
{
    auto const isLocked = std::make_shared<std::atomic<bool>>(false);
    doors.grant->setSurroundings({.isDesktopThere = [client = client] { return client->isAlive(); },
                                  .isLocked = [isLocked] { return isLocked->load(); }});
    sessionEvents.observe([this, isLocked](SessionEvent event) {
        if (event == SessionEvent::screenLocked)
            *isLocked = true;
        if (event != SessionEvent::screenUnlocked)
            return;
        *isLocked = false;
        doors.grant->noteUnlock();
    });
}

Pasteboard& WaylandDesktop::pasteboard()
{
    return clipboard;
}

HiddenPresence::Parts WaylandDesktop::presenceParts()
{
    return {.clients = clients,
            .windows = doors.windows.get(),
            .namesOfProcess = [this](std::int32_t pid) { return desktopWindows.program(pid).names; },
            .hiddenOf =
                [this](WindowsNow const& now, std::set<std::string> const& hidden) {
                    return desktopWindows.hiddenOf(now, hidden);
                }};
}

WaylandScreenSource::Parts WaylandDesktop::screenParts()
{
    return {
        .contexts = contexts,
        .clock = clock,
        .monitors = [this] { return monitors->current(); },
        .observeMonitors = [this](std::function<void()> observer) { monitors->observe(std::move(observer)); },
        .frames = *doors.frames,
        .presence = presence,
        .isAllowed = [this] { return permissions().screenRecording; },
        .isShared = doors.isShared};
}

WaylandEventPosting::Parts WaylandDesktop::postingParts()
{
    return {.contexts = contexts,
            .clock = clock,
            .sink = doors.input,
            .monitors = [this] { return monitors->current(); },
            .keymap = [this] { return keymapNow(); },
            .pointer = [this] { return pointerNow(); },
            .front = [this] { return processInFront(); },
            .insertion = insertion,
            .clipboard = doors.clipboard ? &clipboard : nullptr,
            .seesWindows = [this] { return doors.seesWindows(); }};
}

AtspiScreen WaylandDesktop::elementScreen()
{
    return {.windowsOf =
                [this](std::int32_t pid) {
                    auto const seen = desktopWindows.look();
                    return seen ? elementWindows(*seen, pid) : std::vector<ProcessWindow>();
                },
            .displays = [this] { return elementDisplays(monitors->current()); },
            .from = ReportedFrom::window,
            .isKnown = [this] { return doors.seesWindows(); }};
}

DesktopFacts WaylandDesktop::facts()
{
    return {.permissions = [this] { return permissions(); },
            .causes = [this] { return causes(); },
            .request = [this](PermissionCause::Kind kind) { request(kind); }};
}

Permissions WaylandDesktop::permissions() const
{
    auto const state = doors.grant->state();
    bool const isThere = client->isAlive();
    bool const isGranted = state == DesktopGrant::State::granted;
    bool const mayLook = isThere && (isGranted || state == DesktopGrant::State::partly);
    return {.accessibility = isThere && isGranted, .screenRecording = mayLook && doors.seesScreen()};
}

std::optional<PermissionCause> WaylandDesktop::missingGrant() const
{
    using Kind = PermissionCause::Kind;
    switch (doors.grant->state()) {
    case DesktopGrant::State::unavailable:
        return PermissionCause{Kind::noGrantService, {"org.freedesktop.portal.RemoteDesktop"}};
    case DesktopGrant::State::notAsked:
        return PermissionCause{Kind::grantNotAsked};
    case DesktopGrant::State::asking:
        return PermissionCause{Kind::grantPending};
    case DesktopGrant::State::refused:
        return PermissionCause{Kind::grantRefused};
    case DesktopGrant::State::withdrawn:
        return PermissionCause{Kind::grantWithdrawn};
    case DesktopGrant::State::partly:
        return PermissionCause{Kind::grantWithoutInput};
    case DesktopGrant::State::granted:
        break;
    }
    return std::nullopt;
}

PermissionCauses WaylandDesktop::causes() const
{
    using Kind = PermissionCause::Kind;
    if (!client->isAlive())
        return {.accessibility = {{Kind::noDisplay}}, .screenRecording = {{Kind::noDisplay}}};
    PermissionCauses all;
    if (auto const missing = missingGrant()) {
        all.accessibility.push_back(*missing);
        if (missing->kind != Kind::grantWithoutInput)
            all.screenRecording.push_back(*missing);
    }
    std::ranges::move(doors.missingForScreen(), std::back_inserter(all.screenRecording));
    for (PermissionCause& missing : doors.missingForWindows())
        if (std::ranges::find(all.screenRecording, missing) == all.screenRecording.end())
            all.lacks.push_back(std::move(missing));
    std::ranges::move(doors.lacks(), std::back_inserter(all.lacks));
    return all;
}

void WaylandDesktop::request(PermissionCause::Kind kind) const
{
    using Kind = PermissionCause::Kind;
    bool const isGrant = kind == Kind::grantNotAsked || kind == Kind::grantRefused ||
                         kind == Kind::grantWithdrawn || kind == Kind::grantWithoutInput;
    if (isGrant)
        doors.grant->ask();
    else
        doors.request(kind);
}

std::optional<SeatKeymap> WaylandDesktop::keymapNow() const
{
    std::string text = keymaps.current();
    if (text.empty())
        return std::nullopt;
    return SeatKeymap{std::move(text), doors.activeLayout(), isCapsLockLit()};
}

std::optional<LogicalPoint> WaylandDesktop::pointerNow() const
{
    if (!doors.windows)
        return std::nullopt;
    auto const now = doors.windows->look();
    return now ? now->pointer : std::nullopt;
}

std::optional<std::int32_t> WaylandDesktop::activeProcess()
{
    auto const active = [this] { return elements.activeProcess(); };
    return doors.seesWindows() ? std::nullopt : amongClients(active, clients)();
}

std::optional<std::int32_t> WaylandDesktop::processInFront()
{
    try {
        auto const front = applications.frontmostApplication();
        return front ? std::optional(front->pid) : std::nullopt;
    } catch (AgentError const&) {
        return std::nullopt;
    }
}

std::vector<std::string> WaylandDesktop::unreadableApplications()
{
    std::set<std::string> names;
    for (std::int32_t const pid : elements.unreadableProcesses())
        if (auto const application = applications.application(pid))
            names.insert(application->localizedName);
    return {names.begin(), names.end()};
}

} // namespace zelvo
