#pragma once

#include "platform/linux/wayland/portal/PortalRequests.h"
#include "platform/portable/files/UniqueFd.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// A session of the portals RemoteDesktop and ScreenCast together: the monitors that the person shared, and
/// input if they allow it. Where there is no RemoteDesktop it has pictures only. It ends with the last
/// reference, which any thread may drop. Thread: agent, where nothing else is said.
class PortalSession {
public:
    struct Wish {
        std::string restoreToken; ///< of an earlier session; empty to ask the person
        Duration patience = 5min; ///< with the dialog
    };
    enum class Outcome {
        opened,
        refused,     ///< by the person
        ended,       ///< the dialog failed
        silent,      ///< no answer in time
        noToken,     ///< the desktop does not know the token; no dialog was opened
        unavailable, ///< there are no such portals
    };
    struct Opening {
        Outcome outcome = Outcome::unavailable;
        std::shared_ptr<PortalSession> session; ///< if it is opened
        std::string restoreToken; ///< for the next session; empty if the grant ends with this one
    };

    /// Opens a dialog unless the wish has a token that the desktop accepts. Does not throw.
    static Task<Opening> open(std::shared_ptr<PortalRequests> requests, Wish wish);
    PortalSession(PortalSession const&) = delete;
    PortalSession& operator=(PortalSession const&) = delete;

    /// Thread: any, also the next four.
    bool isOpen() const { return isLive; }
    bool hasInput() const { return version > 0 && (devices & both) == both; }
    std::vector<PortalStream> const& streams() const { return shared; }
    /// The version of RemoteDesktop, 0 if there is none.
    std::uint32_t remoteDesktop() const { return version; }
    bool hasClipboard() const { return clipboard; }
    std::string const& handle() const { return path; }

    /// Calls `observer` when the desktop ends the session; not for close().
    void observeEnd(std::function<void()> observer);
    void close();
    /// Calls a method of RemoteDesktop whose arguments begin with the session and options. False if it fails.
    /// Thread: any, also the next two.
    Task<bool> call(std::string member, PortalRequest::Append arguments);
    /// A connection to PipeWire that sees the streams; empty if there is none.
    Task<UniqueFd> openPipeWire();
    /// A connection to EIS, from RemoteDesktop version 2; empty if there is none.
    Task<UniqueFd> connectToEis();

private:
    static constexpr std::uint32_t both = PortalDevice::keyboard | PortalDevice::pointer;

    static std::shared_ptr<PortalSession> make(std::shared_ptr<PortalRequests> requests,
                                               std::string handle,
                                               PortalAnswer answer,
                                               std::uint32_t version);
    PortalSession(std::shared_ptr<PortalRequests> requests, std::string handle, PortalAnswer answer);
    Task<UniqueFd> descriptor(std::string interface, std::string member);
    void end();

    std::shared_ptr<PortalRequests> requests;
    std::string path;
    std::uint32_t devices = 0;
    std::uint32_t version = 0;
    bool clipboard = false;
    std::vector<PortalStream> shared;
    std::atomic<bool> isLive = true;
    std::vector<std::function<void()>> observers;

    friend class PortalOpening;
};

} // namespace zelvo
