#include "platform/linux/wayland/desktop/PortalDoors.h"

#include "base/LocalizedTexts.h"

#include <unistd.h>

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

std::vector<PermissionCause> PortalDoors::lacks() const
{
    using State = PortalHotKey::State;
    State const state = hotKey->state();
    if (state == State::missing || state == State::refused)
        return {{PermissionCause::Kind::noHotKey}};
    return {};
}

PortalDoors addPortals(CompositorDoors& doors, DesktopParts const& parts, WaylandMonitors& monitors)
{
    auto const requests = std::make_shared<PortalRequests>(parts.contexts.agent, parts.clock, parts.user);
    auto grant =
        std::make_unique<PortalGrant>(parts.contexts, parts.clock, requests, parts.secrets, machineName());
    auto hotKey = std::make_unique<PortalHotKey>(parts.contexts, parts.clock, requests,
                                                 localized("hotKey.description"));
    PortalInput::Doors inputDoors{.session = [grant = grant.get()] { return grant->session(); },
                                  .layout = [&monitors] { return monitors.current(); }};
    if (WindowSource* const windows = doors.windows.get())
        inputDoors.pointer = [windows]() -> std::optional<LogicalPoint> {
            auto const now = windows->look();
            return now ? now->pointer : std::nullopt;
        };
    auto const input = std::make_shared<PortalInput>(parts.contexts.agent, parts.contexts.workers,
                                                     parts.clock, parts.user, std::move(inputDoors));
    grant->observe([key = hotKey.get()](DesktopGrant::State state) {
        if (state == DesktopGrant::State::granted)
            key->bind();
    });
    PortalDoors made{.grant = grant.get(), .hotKey = hotKey.get(), .input = input};
    doors.input = [input = input.get()] { return input; };
    doors.kept.push_back(input);
    doors.grant = std::move(grant);
    doors.hotKey = std::move(hotKey);
    return made;
}

} // namespace zelvo
