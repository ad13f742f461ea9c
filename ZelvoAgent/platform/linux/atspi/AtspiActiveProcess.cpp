#include "platform/linux/atspi/AtspiActiveProcess.h"

#include "platform/linux/atspi/AtspiCalls.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace zelvo {

namespace {

constexpr char const* daemonName = "org.freedesktop.DBus";
constexpr Duration maxLook = 1s;
constexpr std::size_t maxApplications = 200;
constexpr std::size_t maxWindows = 50; // of an application

} // namespace

AtspiActiveProcess::AtspiActiveProcess(std::unique_ptr<AtspiLink> link, Duration patience)
    : exchange(patience), bus(exchange.addLink(std::move(link)))
{
    exchange.setDeadline(std::chrono::steady_clock::now() + maxLook);
}

std::optional<std::int32_t> AtspiActiveProcess::find()
{
    std::set<std::int32_t> processes;
    for (PeerId const peer : activeAmong(windowsOf(applications()))) {
        auto const pid = processOf(peer);
        if (!pid)
            return std::nullopt;
        processes.insert(*pid);
    }
    return processes.size() == 1 ? std::optional(*processes.begin()) : std::nullopt;
}

std::vector<AtspiActiveProcess::Object> AtspiActiveProcess::applications()
{
    Object const registry{exchange.addPeer("org.a11y.atspi.Registry", bus),
                          "/org/a11y/atspi/accessible/root"};
    std::vector<Object> found;
    askEach({registry}, "GetChildren", [&](Object const&, sd_bus_message* reply) {
        for (auto const& one : atspi::readReferences(reply).value_or(std::vector<atspi::Reference>()))
            if (found.size() < maxApplications && !one.name.empty())
                found.push_back({exchange.addPeer(one.name, bus), one.path});
    });
    return found;
}

std::vector<AtspiActiveProcess::Object> AtspiActiveProcess::windowsOf(std::vector<Object> const& applications)
{
    std::vector<Object> found;
    askEach(applications, "GetChildren", [&](Object const& application, sd_bus_message* reply) {
        auto children = atspi::readReferences(reply).value_or(std::vector<atspi::Reference>());
        children.resize(std::min(children.size(), maxWindows));
        for (auto const& child : children)
            if (child.name.empty() || child.name == exchange.nameOf(application.peer))
                found.push_back({application.peer, child.path});
    });
    return found;
}

std::set<AtspiActiveProcess::PeerId> AtspiActiveProcess::activeAmong(std::vector<Object> const& windows)
{
    std::set<PeerId> active;
    askEach(windows, "GetState", [&](Object const& window, sd_bus_message* reply) {
        auto const states = atspi::readStates(reply);
        if (states && states->has(AtspiState::active) && !states->has(AtspiState::defunct))
            active.insert(window.peer);
    });
    return active;
}

std::optional<std::int32_t> AtspiActiveProcess::processOf(PeerId peer)
{
    PeerId const daemon = exchange.addPeer(daemonName, bus);
    auto call = bus.newCall(daemonName, "/org/freedesktop/DBus", daemonName, "GetConnectionUnixProcessID");
    if (call)
        sd_bus_message_append(call.get(), "s", exchange.nameOf(peer).c_str());
    bool isAnswered = false;
    std::optional<std::int32_t> pid;
    exchange.ask(daemon, std::move(call), [&](sd_bus_message* reply) {
        isAnswered = true;
        if (auto const number = reply ? readUnsigned(reply) : std::nullopt)
            pid = static_cast<std::int32_t>(*number);
    });
    exchange.await(daemon, [&] { return isAnswered; });
    return pid;
}

void AtspiActiveProcess::askEach(std::vector<Object> const& objects,
                                 char const* member,
                                 OnAnswer const& onAnswer)
{
    std::size_t missing = objects.size();
    for (Object const& one : objects) {
        auto call = bus.newCall(exchange.nameOf(one.peer), one.path, atspi::accessibleInterface, member);
        exchange.ask(one.peer, std::move(call), [&](sd_bus_message* reply) {
            --missing;
            if (reply)
                onAnswer(one, reply);
        });
    }
    for (Object const& one : objects)
        exchange.await(one.peer, [&] { return missing == 0; });
    exchange.cancelAll();
}

} // namespace zelvo
