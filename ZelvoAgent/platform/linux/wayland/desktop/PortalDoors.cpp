#include "platform/linux/wayland/desktop/PortalDoors.h"

#include "base/LocalizedTexts.h"
#include "platform/linux/wayland/portal/PortalInputs.h"
#include "platform/linux/wayland/portal/StreamPlaces.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <string>
#include <utility>

namespace zelvo {

namespace {

/// A name of this machine, by which a grant that was copied from another one is known.
std::string machineName()
{
    std::string id;
    if (std::getline(std::ifstream("/etc/machine-id"), id); !id.empty())
        return id;
    std::array<char, 256> host{};
    ::gethostname(host.data(), host.size() - 1);
    return host.data();
}

} // namespace

PortalDoors addPortals(CompositorDoors& doors, DesktopParts const& parts, WaylandMonitors& monitors)
{
    auto const requests = std::make_shared<PortalRequests>(parts.contexts.agent, parts.clock, parts.user);
    auto grant =
        std::make_unique<PortalGrant>(parts.contexts, parts.clock, requests, parts.secrets, machineName());
    PortalInput::Doors inputDoors{.session = [grant = grant.get()] { return grant->session(); },
                                  .layout = [&monitors] { return monitors.current(); }};
    if (WindowSource* const windows = doors.windows.get())
        inputDoors.pointer = [windows]() -> std::optional<LogicalPoint> {
            auto const now = windows->look();
            return now ? now->pointer : std::nullopt;
        };
    auto const input =
        makePortalInput(parts.contexts.agent, parts.contexts.workers, parts.clock, parts.user, inputDoors);
    doors.isShared = [grant = grant.get(), &monitors](std::uint32_t id) {
        auto const session = grant->session();
        if (!session)
            return false;
        auto const shared = matchStreams(session->streams(), monitors.current());
        return std::ranges::find(shared, id, &StreamPlace::monitor) != shared.end();
    };
    PortalDoors made{.requests = requests, .grant = grant.get()};
    doors.input = [input = input.get()] { return input; };
    doors.kept.push_back(input);
    doors.grant = std::move(grant);
    return made;
}

std::function<bool()> addHotKey(CompositorDoors& doors, DesktopParts const& parts, PortalDoors const& portals)
{
    auto key = std::make_unique<PortalHotKey>(parts.contexts, parts.clock, portals.requests,
                                              localized("shortcut.description"));
    portals.grant->observe([key = key.get()](DesktopGrant::State state) {
        if (state == DesktopGrant::State::granted)
            key->bind();
    });
    auto const lacks = [key = key.get()] {
        auto const state = key->state();
        return state == PortalHotKey::State::missing || state == PortalHotKey::State::refused;
    };
    doors.hotKey = std::move(key);
    return lacks;
}

} // namespace zelvo
