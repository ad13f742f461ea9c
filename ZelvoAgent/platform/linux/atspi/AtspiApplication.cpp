#include "platform/linux/atspi/AtspiApplication.h"

#include "platform/linux/atspi/AtspiMessages.h"

#include <algorithm>
#include <set>

namespace zelvo {

namespace {

constexpr char const* accessible = "org.a11y.atspi.Accessible";
constexpr char const* application = "org.a11y.atspi.Application";
constexpr char const* properties = "org.freedesktop.DBus.Properties";
constexpr char const* daemonName = "org.freedesktop.DBus";
constexpr std::size_t maxApplications = 1'000;

} // namespace

AtspiApplicationSearch::AtspiApplicationSearch(AtspiExchange& exchange,
                                               AtspiLink& bus,
                                               AtspiKnowledgeBox& knowledge)
    : exchange(exchange), bus(bus), knowledge(knowledge), daemonPeer(exchange.addPeer(daemonName, bus)),
      registry(exchange.addPeer("org.a11y.atspi.Registry", bus))
{
}

std::optional<AtspiApplication> AtspiApplicationSearch::find(std::int32_t pid)
{
    if (auto known = findKnown(pid))
        return known;
    auto const roots = allRoots();
    learnPids(roots);
    auto const own = rootsOf(pid, roots);
    if (own.empty())
        return std::nullopt;
    Root const root = firstWithChildren(own);
    AtspiApplication found = begin(root);
    describe(found);
    knowledge.change([&](AtspiKnowledge& all) {
        if (auto const entry = all.applications.find(root.name); entry != all.applications.end()) {
            entry->second.path = root.path;
            entry->second.isAlone = own.size() == 1;
        }
    });
    return found;
}

/// If the process had only one application when the registry last answered, asks that one at once over its
/// own socket; the answer shows that it still runs. The registry is asked in parallel, for the next search.
std::optional<AtspiApplication> AtspiApplicationSearch::findKnown(std::int32_t pid)
{
    auto const known = knowledge.get().applications;
    auto const isIt = [pid](auto const& entry) { return entry.second.pid == pid && entry.second.isAlone; };
    auto const entry = std::ranges::find_if(known, isIt);
    if (entry == known.end() || entry->second.directAddress.value_or("").empty())
        return std::nullopt;
    AtspiApplication found = begin({entry->first, entry->second.path});
    if (!describe(found))
        return std::nullopt;
    lookAgainBeside(found.name);
    return found;
}

/// Until the answer shows that no application was added, the next search waits for the registry.
void AtspiApplicationSearch::lookAgainBeside(std::string const& name)
{
    auto const setAlone = [&box = knowledge, name](bool isAlone) {
        box.change([&](AtspiKnowledge& all) {
            if (auto const entry = all.applications.find(name); entry != all.applications.end())
                entry->second.isAlone = isAlone;
        });
    };
    setAlone(false);
    exchange.ask(registry, rootsQuestion(), [&box = knowledge, setAlone](sd_bus_message* reply) {
        auto const references = reply ? atspi::readReferences(reply) : std::nullopt;
        if (!references)
            return;
        auto const known = box.get().applications;
        setAlone(std::ranges::all_of(*references,
                                     [&](atspi::Reference const& one) { return known.contains(one.name); }));
    });
}

AtspiApplication AtspiApplicationSearch::begin(Root const& root)
{
    AtspiApplication found{.name = root.name, .path = root.path};
    found.peer = exchange.addPeer(found.name, bus);
    return found;
}

BusMessagePtr AtspiApplicationSearch::rootsQuestion()
{
    auto call =
        bus.newCall(exchange.nameOf(registry), "/org/a11y/atspi/accessible/root", accessible, "GetChildren");
    // The registry is started by the first application that publishes elements, or by a search for them.
    if (call)
        sd_bus_message_set_auto_start(call.get(), 1);
    return call;
}

std::vector<AtspiApplicationSearch::Root> AtspiApplicationSearch::allRoots()
{
    std::vector<Root> roots;
    bool isAnswered = false;
    exchange.ask(registry, rootsQuestion(), [&](sd_bus_message* reply) {
        isAnswered = true;
        auto const references = reply ? atspi::readReferences(reply) : std::nullopt;
        looked = references.has_value();
        for (auto const& reference : references.value_or(std::vector<atspi::Reference>()))
            if (roots.size() < maxApplications)
                roots.push_back({reference.name, reference.path});
    });
    exchange.await(registry, [&] { return isAnswered; });
    return roots;
}

void AtspiApplicationSearch::learnPids(std::vector<Root> const& roots)
{
    auto known = knowledge.get().applications;
    std::set<std::string> names;
    for (Root const& root : roots)
        names.insert(root.name);
    std::erase_if(known, [&](auto const& entry) { return !names.contains(entry.first); });
    std::size_t missing = 0;
    for (std::string const& name : names) {
        if (known.contains(name))
            continue;
        auto call =
            bus.newCall(daemonName, "/org/freedesktop/DBus", daemonName, "GetConnectionUnixProcessID");
        if (call)
            sd_bus_message_append(call.get(), "s", name.c_str());
        ++missing;
        exchange.ask(daemonPeer, std::move(call), [&, name](sd_bus_message* reply) {
            --missing;
            if (auto const pid = reply ? readUnsigned(reply) : std::nullopt)
                known[name].pid = static_cast<std::int32_t>(*pid);
        });
    }
    exchange.await(daemonPeer, [&] { return missing == 0; });
    knowledge.change([&](AtspiKnowledge& all) { all.applications = known; });
}

std::vector<AtspiApplicationSearch::Root> AtspiApplicationSearch::rootsOf(std::int32_t pid,
                                                                          std::vector<Root> const& roots)
{
    auto const known = knowledge.get().applications;
    std::vector<Root> own;
    for (Root const& root : roots)
        if (auto const entry = known.find(root.name); entry != known.end() && entry->second.pid == pid)
            own.push_back(root);
    return own;
}

AtspiApplicationSearch::Root AtspiApplicationSearch::firstWithChildren(std::vector<Root> const& roots)
{
    if (roots.size() == 1)
        return roots.front();
    for (Root const& root : roots) {
        auto const peer = exchange.addPeer(root.name, bus);
        auto call = bus.newCall(root.name, root.path, properties, "Get");
        if (call)
            sd_bus_message_append(call.get(), "ss", accessible, "ChildCount");
        bool isAnswered = false;
        std::optional<std::int32_t> count;
        exchange.ask(peer, std::move(call), [&](sd_bus_message* reply) {
            isAnswered = true;
            count = reply ? atspi::readNumberProperty(reply) : std::nullopt;
        });
        exchange.await(peer, [&] { return isAnswered; });
        if (count.value_or(0) > 0)
            return root;
    }
    return roots.front();
}

bool AtspiApplicationSearch::describe(AtspiApplication& found)
{
    AtspiKnowledge::Application known = knowledge.get().applications[found.name];
    if (!known.toolkit) {
        known.toolkit = askToolkit(found);
        // Qt has none, and may fail on an unknown property.
        known.directAddress = known.toolkit ? askDirectAddress(found) : std::nullopt;
        knowledge.change([&](AtspiKnowledge& all) {
            if (auto const entry = all.applications.find(found.name); entry != all.applications.end()) {
                entry->second.toolkit = known.toolkit;
                entry->second.directAddress = known.directAddress;
            }
        });
    }
    found.toolkit = known.toolkit.value_or("");
    found.isWoken = known.isWoken;
    found.isBuilt = known.isBuilt;
    return known.directAddress && !known.directAddress->empty() && !exchange.isSilent(found.peer) &&
           connectDirectly(found, *known.directAddress);
}

std::optional<std::string> AtspiApplicationSearch::askToolkit(AtspiApplication const& found)
{
    auto call = exchange.linkOf(found.peer).newCall(found.name, found.path, properties, "Get");
    if (call)
        sd_bus_message_append(call.get(), "ss", application, "ToolkitName");
    bool isAnswered = false;
    std::optional<std::string> toolkit;
    exchange.ask(found.peer, std::move(call), [&](sd_bus_message* reply) {
        isAnswered = true;
        toolkit = reply ? atspi::readTextProperty(reply) : std::nullopt;
    });
    exchange.await(found.peer, [&] { return isAnswered; });
    return toolkit;
}

std::optional<std::string> AtspiApplicationSearch::askDirectAddress(AtspiApplication const& found)
{
    bool isAnswered = false;
    std::optional<std::string> address;
    exchange.ask(found.peer, bus.newCall(found.name, found.path, application, "GetApplicationBusAddress"),
                 [&](sd_bus_message* reply) {
                     isAnswered = true;
                     address = reply ? atspi::readBoundedText(reply) : std::nullopt;
                 });
    exchange.await(found.peer, [&] { return isAnswered; });
    return address;
}

bool AtspiApplicationSearch::connectDirectly(AtspiApplication const& found, std::string const& address)
{
    auto link = AtspiLink::toApplication(address);
    // An application could name the socket of another one, which may be hidden.
    if (!link || link->peerProcess() != knowledge.get().applications[found.name].pid)
        return false;
    // The socket may exist although nobody answers on it any more, so try it with a question.
    auto const trial = exchange.addPeer(found.name, exchange.addLink(std::move(link)));
    AtspiApplication direct = found;
    direct.peer = trial;
    if (askToolkit(direct))
        exchange.moveTo(found.peer, exchange.linkOf(trial));
    return true;
}

} // namespace zelvo
