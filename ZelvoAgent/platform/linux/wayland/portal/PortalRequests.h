#pragma once

#include "base/Clock.h"
#include "base/Task.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/wayland/portal/PortalAnswer.h"

#include <functional>
#include <memory>
#include <string>

namespace zelvo {

/// A method of a portal whose answer comes as the signal Response of a request object.
struct PortalRequest {
    using Append = std::function<void(sd_bus_message*)>;

    std::string interface; ///< without "org.freedesktop.portal."
    std::string member;
    Append arguments = {}; ///< what is before the options
    Append options = {};   ///< entries of the options; the request's token is added
    Duration patience = 10s;
};

/// The front end of the desktop's portals, org.freedesktop.portal.Desktop. It answers only who has that name:
/// signals of anybody else are ignored. Thread: agent; it may end anywhere.
class PortalRequests {
public:
    static constexpr char const* name = "org.freedesktop.portal.Desktop";
    static constexpr char const* path = "/org/freedesktop/portal/desktop";
    static constexpr Duration callPatience = 25s; ///< the front end may have to be started

    /// session  must outlive this. Nothing is asked before the first call.
    PortalRequests(Executor agent, Clock& clock, BusConnection& session);
    ~PortalRequests();
    PortalRequests(PortalRequests const&) = delete;
    PortalRequests& operator=(PortalRequests const&) = delete;

    Executor agent() const;
    /// The version of an interface, named without its beginning; 0 if it is not offered.
    Task<std::uint32_t> version(std::string interface);
    /// Makes the request and waits for its answer; at the end of its patience the request is closed, which
    /// also closes its dialog. Throws BusFailure if the method fails.
    Task<PortalAnswer> request(PortalRequest request);
    /// Calls a method of the front end's main object. Throws BusFailure. Thread: any.
    Task<> call(std::string interface,
                std::string member,
                PortalRequest::Append arguments,
                BusConnection::MessageHandler onReply = {});
    /// Whether the permission store has a token. Throws BusFailure if it does not say. table "remote-desktop"
    /// or "screencast"
    Task<bool> isTokenKept(std::string table, std::string token);
    /// Adds an option with a text to an open dictionary of options.
    static void appendText(sd_bus_message* message, char const* key, std::string const& text);
    static void appendNumber(sd_bus_message* message, char const* key, std::uint32_t number);
    static void appendTruth(sd_bus_message* message, char const* key, bool value);
    /// A name for a session that nobody can guess.
    static std::string newToken();

    /// Calls `onEnd` once when the session is closed by the desktop, or with the front end's end.
    void followSession(std::string const& handle, std::function<void()> onEnd);
    /// Stops that, and closes the session.
    void closeSession(std::string const& handle);
    /// Receives the signals of an interface, with the front end as the sender, for good.
    void
    watch(std::string const& interface, std::string const& member, BusConnection::MessageHandler onSignal);

private:
    class State;
    std::shared_ptr<State> state;
};

} // namespace zelvo
