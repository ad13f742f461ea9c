#include "platform/linux/wayland/portal/PortalRequests.h"

#include "base/AsyncCondition.h"
#include "base/DelayedCall.h"
#include "base/Identifiers.h"

#include <boost/asio/dispatch.hpp>

#include <algorithm>
#include <map>
#include <utility>

namespace zelvo {

namespace {

constexpr char const* applicationId = "dev.zelvo.agent";

std::string portal(std::string const& interface)
{
    return "org.freedesktop.portal." + interface;
}

/// A request without an answer so far.
struct Pending {
    Pending(Executor agent, Clock& clock) : deadline(std::move(agent), clock) {}

    void finish(PortalAnswer given)
    {
        changed.notifyAll([&] {
            if (!std::exchange(isOver, true))
                answer = std::move(given);
        });
    }

    AsyncCondition changed;
    DelayedCall deadline;
    PortalAnswer answer;
    bool isOver = false;
};

} // namespace

/// Everything runs on the agent.
class PortalRequests::State : public std::enable_shared_from_this<State> {
public:
    State(Executor agent, Clock& clock, BusConnection& session)
        : agent(std::move(agent)), clock(clock), session(session)
    {
    }

    /// Sets up the watches. Their messages arrive before the answer to any later call.
    void start()
    {
        if (std::exchange(isStarted, true))
            return;
        session.watchConnection([weak = weak_from_this()](sd_bus* bus) {
            if (auto const self = weak.lock())
                self->follow(bus);
        });
        introduce();
        session.watchName(name, [weak = weak_from_this()](std::string const& next) {
            if (auto const self = weak.lock())
                self->changeOwner(next);
        });
        watch("Request", "Response", [weak = weak_from_this()](sd_bus_message* message) {
            if (auto const self = weak.lock())
                self->takeResponse(message);
        });
        watch("Session", "Closed", [weak = weak_from_this()](sd_bus_message* message) {
            if (auto const self = weak.lock())
                self->endSession(sd_bus_message_get_path(message));
        });
    }

    void
    watch(std::string const& interface, std::string const& member, BusConnection::MessageHandler onSignal)
    {
        session.watchSignal(
            std::string("type='signal',sender='") + name + "',interface='" + portal(interface) +
                "',member='" + member + "'",
            [weak = weak_from_this(), onSignal = std::move(onSignal)](sd_bus_message* message) {
                auto const self = weak.lock();
                // The bus delivers a signal that is sent to us alone, whoever sends it.
                char const* const sender = sd_bus_message_get_sender(message);
                if (self && sender && sender == self->owner)
                    onSignal(message);
            });
    }

    Task<PortalAnswer> request(PortalRequest wanted)
    {
        if (ownName.empty())
            throw BusFailure("org.freedesktop.DBus.Error.Disconnected", "there is no bus");
        std::string const token = newToken();
        auto const pending = std::make_shared<Pending>(agent, clock);
        std::string handle = requestPath(token);
        requests[handle] = pending;
        BusCall call{
            .destination = name,
            .path = path,
            .interface = portal(wanted.interface),
            .member = wanted.member,
            .arguments = [wanted, token](sd_bus_message* message) { append(message, wanted, token); },
            .patience = callPatience};
        auto const onReply = [this, &handle, pending](sd_bus_message* reply) {
            std::string const given = readText(reply).value_or("");
            if (given == handle || given.empty() || pending->isOver)
                return;
            requests.erase(handle); // An older front end names the object in its own way.
            requests[handle = given] = pending;
        };
        std::exception_ptr failure;
        try {
            co_await session.call(std::move(call), onReply);
        } catch (...) {
            failure = std::current_exception();
        }
        if (!failure)
            co_await answerOf(pending, handle, wanted.patience);
        requests.erase(handle);
        if (failure)
            std::rethrow_exception(failure);
        co_return std::move(pending->answer);
    }

    void closeObject(std::string const& handle, char const* interface)
    {
        BusCall call{.destination = name, .path = handle, .interface = portal(interface), .member = "Close"};
        call.mayStart = false;
        session.ask(std::move(call), {});
    }

    void endSession(char const* handle)
    {
        auto const found = handle ? sessions.find(handle) : sessions.end();
        if (found == sessions.end())
            return;
        auto const onEnd = std::move(found->second);
        sessions.erase(found);
        onEnd();
    }

    Executor const agent;
    Clock& clock;
    BusConnection& session;
    std::map<std::string, std::function<void()>> sessions; // by handle

private:
    static void append(sd_bus_message* message, PortalRequest const& wanted, std::string const& token)
    {
        if (wanted.arguments)
            wanted.arguments(message);
        sd_bus_message_open_container(message, 'a', "{sv}");
        appendText(message, "handle_token", token);
        if (wanted.options)
            wanted.options(message);
        sd_bus_message_close_container(message);
    }

    std::string requestPath(std::string const& token) const
    {
        return std::string(path) + "/request/" + ownName + "/" + token;
    }

    Task<> answerOf(std::shared_ptr<Pending> pending, std::string handle, Duration patience)
    {
        pending->deadline.in(patience, [weak = weak_from_this(), pending, handle] {
            if (auto const self = weak.lock(); self && !pending->isOver)
                self->closeObject(handle, "Request");
            pending->finish({});
        });
        auto const isOver = [&pending] { return pending->isOver; };
        co_await pending->changed.wait(isOver);
        pending->deadline.cancel();
    }

    void takeResponse(sd_bus_message* message)
    {
        auto const found = requests.find(sd_bus_message_get_path(message));
        if (found != requests.end())
            found->second->finish(readPortalAnswer(message));
    }

    void follow(sd_bus* bus)
    {
        char const* unique = nullptr;
        if (!bus)
            return changeOwner("");
        if (sd_bus_get_unique_name(bus, &unique) < 0 || !unique || *unique != ':')
            return;
        ownName = unique + 1;
        std::ranges::replace(ownName, '.', '_');
    }

    /// Newer front ends ask programs outside of sandboxes for their identifier, before all other calls.
    void introduce()
    {
        session.ask(
            {.destination = name,
             .path = path,
             .interface = "org.freedesktop.host.portal.Registry",
             .member = "Register",
             .arguments =
                 [](sd_bus_message* message) { sd_bus_message_append(message, "sa{sv}", applicationId, 0); },
             .patience = callPatience},
            {});
    }

    void changeOwner(std::string const& next)
    {
        std::string const old = std::exchange(owner, next);
        if (!old.empty() && !next.empty())
            introduce();
        if (old.empty() || old == next)
            return; // What waits caused the start of the new owner.
        auto const unanswered = requests;
        for (auto const& [handle, pending] : unanswered)
            pending->finish({});
        auto const ended = std::exchange(sessions, {});
        for (auto const& [handle, onEnd] : ended)
            onEnd();
    }

    std::string ownName;                                      // as it is part of paths
    std::string owner;                                        // the unique name of the front end
    std::map<std::string, std::shared_ptr<Pending>> requests; // by handle
    bool isStarted = false;
};

PortalRequests::PortalRequests(Executor agent, Clock& clock, BusConnection& session)
    : state(std::make_shared<State>(std::move(agent), clock, session))
{
}

PortalRequests::~PortalRequests()
{
    asio::dispatch(state->agent, [kept = std::move(state)] {});
}

Executor PortalRequests::agent() const
{
    return state->agent;
}

Task<std::uint32_t> PortalRequests::version(std::string interface)
{
    std::uint32_t found = 0;
    auto const arguments = [&](sd_bus_message* message) {
        sd_bus_message_append(message, "ss", portal(interface).c_str(), "version");
    };
    auto const onReply = [&](sd_bus_message* reply) {
        if (sd_bus_message_enter_container(reply, 'v', "u") > 0)
            found = readUnsigned(reply).value_or(0);
    };
    BusCall call{.destination = name,
                 .path = path,
                 .interface = "org.freedesktop.DBus.Properties",
                 .member = "Get",
                 .arguments = arguments,
                 .patience = callPatience};
    state->start();
    try {
        co_await state->session.call(std::move(call), onReply);
    } catch (BusFailure const&) {
        co_return 0;
    }
    co_return found;
}

Task<PortalAnswer> PortalRequests::request(PortalRequest request)
{
    auto const kept = state;
    kept->start();
    co_return co_await kept->request(std::move(request));
}

Task<> PortalRequests::call(std::string interface,
                            std::string member,
                            PortalRequest::Append arguments,
                            BusConnection::MessageHandler onReply)
{
    BusCall call{.destination = name,
                 .path = path,
                 .interface = portal(interface),
                 .member = std::move(member),
                 .arguments = std::move(arguments)};
    co_await state->session.call(std::move(call), std::move(onReply));
}

Task<bool> PortalRequests::isTokenKept(std::string table, std::string token)
{
    auto const arguments = [&](sd_bus_message* message) {
        sd_bus_message_append(message, "ss", table.c_str(), token.c_str());
    };
    BusCall call{.destination = "org.freedesktop.impl.portal.PermissionStore",
                 .path = "/org/freedesktop/impl/portal/PermissionStore",
                 .interface = "org.freedesktop.impl.portal.PermissionStore",
                 .member = "Lookup",
                 .arguments = arguments};
    try {
        co_await state->session.call(std::move(call));
    } catch (BusFailure const& failure) {
        if (failure.name != "org.freedesktop.portal.Error.NotFound")
            throw;
        co_return false;
    }
    co_return true;
}

void PortalRequests::followSession(std::string const& handle, std::function<void()> onEnd)
{
    state->sessions[handle] = std::move(onEnd);
}

void PortalRequests::closeSession(std::string const& handle)
{
    state->sessions.erase(handle);
    state->closeObject(handle, "Session");
}

void PortalRequests::watch(std::string const& interface,
                           std::string const& member,
                           BusConnection::MessageHandler onSignal)
{
    state->start();
    state->watch(interface, member, std::move(onSignal));
}

std::string PortalRequests::newToken()
{
    return "zelvo_" + randomHex(8);
}

void PortalRequests::appendText(sd_bus_message* message, char const* key, std::string const& text)
{
    sd_bus_message_append(message, "{sv}", key, "s", text.c_str());
}

void PortalRequests::appendNumber(sd_bus_message* message, char const* key, std::uint32_t number)
{
    sd_bus_message_append(message, "{sv}", key, "u", number);
}

void PortalRequests::appendTruth(sd_bus_message* message, char const* key, bool value)
{
    sd_bus_message_append(message, "{sv}", key, "b", static_cast<int>(value));
}

} // namespace zelvo
