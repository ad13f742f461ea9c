#pragma once

#include "platform/linux/wayland/portal/PortalSession.h"

namespace zelvo {

/// The steps that open one session. Thread: agent.
class PortalOpening {
public:
    PortalOpening(std::shared_ptr<PortalRequests> requests, PortalSession::Wish wish)
        : requests(std::move(requests)), wish(std::move(wish))
    {
    }

    Task<PortalSession::Opening> run();

private:
    using Outcome = PortalSession::Outcome;

    Task<> probe();
    Task<Outcome> create();
    Task<Outcome> select();
    Task<Outcome> selectDevices();
    Task<Outcome> selectSources();
    Task<> requestClipboard();
    Task<PortalSession::Opening> start();
    Task<bool> isTokenKept();
    Task<Outcome> ask(PortalRequest request);
    void appendPersistence(sd_bus_message* message) const;
    std::string mainInterface() const { return remoteDesktop ? "RemoteDesktop" : "ScreenCast"; }
    bool persistsWithDevices() const { return remoteDesktop >= 2; }
    bool persistsWithSources() const { return remoteDesktop == 0 && screenCast >= 4; }

    std::shared_ptr<PortalRequests> const requests;
    PortalSession::Wish const wish;
    std::uint32_t remoteDesktop = 0; // The versions; 0 if there is none.
    std::uint32_t screenCast = 0;
    std::uint32_t clipboard = 0;
    std::string handle;
    PortalAnswer answer; // The last one.
};

} // namespace zelvo
