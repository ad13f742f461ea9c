#include "desktop/wayland/portal/ScriptedPortal.h"

#include <signal.h>

#include <algorithm>

namespace zelvo::test {

namespace {

constexpr char const* controlName = "dev.zelvo.test.Portal";

std::size_t count(std::string const& text, std::string const& part)
{
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

} // namespace

ScriptedPortal::ScriptedPortal(std::vector<std::string> const& settings) : settingsOfPortal(settings)
{
    startBus();
    startPortal();
}

void ScriptedPortal::startPortal()
{
    std::vector<std::string> command = {"/usr/bin/python3", ZELVO_PORTAL_TESTS "/scripted_portal.py"};
    command.insert(command.end(), settingsOfPortal.begin(), settingsOfPortal.end());
    portal = start(command);
    require("the scripted portal", [this] { return hasOwner(controlName); });
}

void ScriptedPortal::endPortal()
{
    processes().end(portal, SIGTERM);
}

std::string ScriptedPortal::control(std::string const& method, std::vector<std::string> const& arguments)
{
    return call(controlName, "/dev/zelvo/test", controlName + ("." + method), arguments);
}

void ScriptedPortal::set(std::string const& name, std::string const& value)
{
    control("Set", {name, value});
}

void ScriptedPortal::withdraw()
{
    control("Withdraw");
}

void ScriptedPortal::activate(std::string const& id)
{
    control("Activate", {id});
}

int ScriptedPortal::dialogs()
{
    return static_cast<int>(count(calls(), "'dialog'"));
}

PortalClient::PortalClient(PrivateSession const& desktop, Clock* otherClock)
    : realClock(io.get_executor()), clock(otherClock ? *otherClock : realClock),
      address(desktop.environment().at("DBUS_SESSION_BUS_ADDRESS"))
{
    restart();
}

PortalClient::~PortalClient()
{
    grant.reset();
    settle(io);
    clock.dropSleepers(); // As at the end of the program: nothing runs any more once the bus is destroyed.
}

void PortalClient::restart(std::string const& machine)
{
    grant.reset();
    settle(io);
    requests.reset();
    bus = std::make_unique<BusConnection>(io.get_executor(), clock, [this] { return openBusAt(address); });
    requests = std::make_shared<PortalRequests>(io.get_executor(), clock, *bus);
    grant = std::make_unique<PortalGrant>(contextsOn(io), clock, requests, secrets, machine);
    states.clear();
    grant->observe([this](DesktopGrant::State state) { states.push_back(state); });
}

bool PortalClient::reaches(DesktopGrant::State state)
{
    runUntil(io, [&] { return grant->state() == state; });
    return true;
}

std::optional<std::string> PortalClient::token() const
{
    auto const found = secrets.items.find({PortalGrant::service, PortalGrant::account});
    return found == secrets.items.end() ? std::nullopt : std::optional(found->second);
}

} // namespace zelvo::test
