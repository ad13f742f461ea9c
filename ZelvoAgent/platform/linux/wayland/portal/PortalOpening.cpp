#include "platform/linux/wayland/portal/PortalOpening.h"

namespace zelvo {

namespace {

using Outcome = PortalSession::Outcome;

constexpr std::uint32_t monitors = 1;
constexpr std::uint32_t cursorInPicture = 2;
constexpr std::uint32_t untilRevoked = 2;

Outcome outcomeOf(PortalAnswer::Code code)
{
    switch (code) {
    case PortalAnswer::Code::done:
        return Outcome::opened;
    case PortalAnswer::Code::refused:
        return Outcome::refused;
    case PortalAnswer::Code::ended:
        return Outcome::ended;
    case PortalAnswer::Code::silent:
        break;
    }
    return Outcome::silent;
}

} // namespace

Task<PortalSession::Opening> PortalOpening::run()
{
    PortalSession::Opening failed;
    try {
        co_await probe();
        if (!remoteDesktop && !screenCast)
            co_return failed;
        // A token that the desktop has forgotten would open the dialog.
        if (!wish.restoreToken.empty() && !co_await isTokenKept()) {
            failed.outcome = Outcome::noToken;
            co_return failed;
        }
        failed.outcome = co_await create();
        if (failed.outcome == Outcome::opened)
            failed.outcome = co_await select();
        if (failed.outcome == Outcome::opened)
            co_return co_await start();
    } catch (BusFailure const& failure) {
        bool const isToken =
            !wish.restoreToken.empty() && failure.name == "org.freedesktop.portal.Error.InvalidArgument";
        failed.outcome = isToken ? Outcome::noToken : Outcome::silent;
    }
    if (!handle.empty())
        requests->closeSession(handle);
    co_return failed;
}

Task<> PortalOpening::probe()
{
    remoteDesktop = co_await requests->version("RemoteDesktop");
    screenCast = co_await requests->version("ScreenCast");
    if (remoteDesktop)
        clipboard = co_await requests->version("Clipboard");
}

/// The front end keeps tokens in the permission store, under the token as the identifier.
Task<bool> PortalOpening::isTokenKept()
{
    if (!persistsWithDevices() && !persistsWithSources())
        co_return false;
    co_return co_await requests->isTokenKept(persistsWithDevices() ? "remote-desktop" : "screencast",
                                             wish.restoreToken);
}

Task<Outcome> PortalOpening::ask(PortalRequest request)
{
    answer = co_await requests->request(std::move(request));
    co_return outcomeOf(answer.code);
}

Task<Outcome> PortalOpening::create()
{
    PortalRequest request{.interface = mainInterface(), .member = "CreateSession"};
    request.options = [token = PortalRequests::newToken()](sd_bus_message* message) {
        PortalRequests::appendText(message, "session_handle_token", token);
    };
    Outcome outcome = co_await ask(std::move(request));
    if (outcome == Outcome::opened && !isSessionHandle(answer.sessionHandle))
        outcome = Outcome::ended;
    if (outcome == Outcome::opened)
        handle = answer.sessionHandle;
    co_return outcome;
}

Task<Outcome> PortalOpening::select()
{
    Outcome outcome = Outcome::opened;
    if (remoteDesktop)
        outcome = co_await selectDevices();
    if (outcome == Outcome::opened && screenCast)
        outcome = co_await selectSources();
    if (outcome == Outcome::opened && clipboard)
        co_await requestClipboard();
    co_return outcome;
}

void PortalOpening::appendPersistence(sd_bus_message* message) const
{
    PortalRequests::appendNumber(message, "persist_mode", untilRevoked);
    if (!wish.restoreToken.empty())
        PortalRequests::appendText(message, "restore_token", wish.restoreToken);
}

Task<Outcome> PortalOpening::selectDevices()
{
    PortalRequest request{.interface = "RemoteDesktop", .member = "SelectDevices"};
    request.arguments = [this](sd_bus_message* message) {
        sd_bus_message_append(message, "o", handle.c_str());
    };
    request.options = [this](sd_bus_message* message) {
        PortalRequests::appendNumber(message, "types", PortalDevice::keyboard | PortalDevice::pointer);
        if (persistsWithDevices())
            appendPersistence(message);
    };
    co_return co_await ask(std::move(request));
}

Task<Outcome> PortalOpening::selectSources()
{
    PortalRequest request{.interface = "ScreenCast", .member = "SelectSources"};
    request.arguments = [this](sd_bus_message* message) {
        sd_bus_message_append(message, "o", handle.c_str());
    };
    request.options = [this](sd_bus_message* message) {
        PortalRequests::appendNumber(message, "types", monitors);
        PortalRequests::appendTruth(message, "multiple", true);
        if (screenCast >= 2)
            PortalRequests::appendNumber(message, "cursor_mode", cursorInPicture);
        if (persistsWithSources())
            appendPersistence(message);
    };
    co_return co_await ask(std::move(request));
}

/// The session goes on without it.
Task<> PortalOpening::requestClipboard()
{
    auto const arguments = [this](sd_bus_message* message) {
        sd_bus_message_append(message, "oa{sv}", handle.c_str(), 0);
    };
    try {
        co_await requests->call("Clipboard", "RequestClipboard", arguments);
    } catch (BusFailure const&) {
        clipboard = 0;
    }
}

Task<PortalSession::Opening> PortalOpening::start()
{
    PortalRequest request{.interface = mainInterface(), .member = "Start", .patience = wish.patience};
    request.arguments = [this](sd_bus_message* message) {
        sd_bus_message_append(message, "os", handle.c_str(), "");
    };
    // Closed can arrive with the answer.
    bool isEnded = false;
    requests->followSession(handle, [&isEnded] { isEnded = true; });
    PortalSession::Opening opening{.outcome = co_await ask(std::move(request))};
    if (opening.outcome == Outcome::opened && isEnded)
        opening.outcome = Outcome::ended;
    if (opening.outcome == Outcome::opened && answer.streams.empty())
        opening.outcome = Outcome::refused; // Without a monitor there is no picture and no place for events.
    if (opening.outcome != Outcome::opened) {
        requests->closeSession(handle);
        co_return opening;
    }
    opening.restoreToken = std::move(answer.restoreToken);
    answer.hasClipboard = answer.hasClipboard && clipboard > 0;
    opening.session = PortalSession::make(requests, handle, std::move(answer), remoteDesktop);
    co_return opening;
}

} // namespace zelvo
