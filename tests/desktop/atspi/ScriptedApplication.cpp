#include "desktop/atspi/ScriptedApplication.h"

#include "platform/linux/atspi/AtspiBusAddress.h"

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace zelvo::test {

namespace {

constexpr char const* root = "/org/a11y/atspi/accessible/root";
constexpr char const* prefix = "/org/a11y/atspi/accessible/";

std::vector<char const*> interfacesOf(ScriptedNode const& node)
{
    std::vector<char const*> names = {"org.a11y.atspi.Accessible", "org.a11y.atspi.Component"};
    if (!node.actions.empty())
        names.push_back("org.a11y.atspi.Action");
    if (node.editable || !node.text.empty())
        names.push_back("org.a11y.atspi.Text");
    if (node.editable)
        names.push_back("org.a11y.atspi.EditableText");
    return names;
}

void appendTexts(sd_bus_message* reply, std::vector<char const*> const& texts)
{
    sd_bus_message_open_container(reply, 'a', "s");
    for (char const* const text : texts)
        sd_bus_message_append(reply, "s", text);
    sd_bus_message_close_container(reply);
}

void appendStates(sd_bus_message* reply, ScriptedNode const& node)
{
    sd_bus_message_append(reply, "au", 2, static_cast<std::uint32_t>(node.states),
                          static_cast<std::uint32_t>(node.states >> 32));
}

void appendActions(sd_bus_message* reply, ScriptedNode const& node)
{
    sd_bus_message_open_container(reply, 'a', "(sss)");
    for (std::string const& action : node.translatedActions.value_or(node.actions))
        sd_bus_message_append(reply, "(sss)", action.c_str(), "", "");
    sd_bus_message_close_container(reply);
}

void appendActionName(sd_bus_message* call, sd_bus_message* reply, ScriptedNode const& node)
{
    std::int32_t at = 0;
    sd_bus_message_read(call, "i", &at);
    sd_bus_message_append(reply, "s", node.actions.at(static_cast<std::size_t>(at)).c_str());
}

} // namespace

ScriptedApplication::ScriptedApplication(std::vector<ScriptedNode> tree,
                                         ScriptedManners wanted,
                                         std::string const& recordFile)
    : nodes(std::move(tree)), manners(std::move(wanted)), record(std::fopen(recordFile.c_str(), "w"))
{
    auto const busAddress = askForAccessibilityBus(5s);
    bus = busAddress ? openBusAt(*busAddress) : nullptr;
    char const* name = nullptr;
    if (!record || !bus || sd_bus_get_unique_name(bus.get(), &name) < 0)
        std::exit(2);
    ownName = name;
    if (manners.direct)
        listenDirectly();
    sd_bus_add_filter(bus.get(), nullptr, take, this);
    embed();
}

void ScriptedApplication::embed()
{
    sd_bus_message* raw = nullptr;
    int const code = sd_bus_call_method(bus.get(), "org.a11y.atspi.Registry", root, "org.a11y.atspi.Socket",
                                        "Embed", nullptr, &raw, "(so)", ownName.c_str(), root);
    BusMessagePtr const reply(raw);
    if (code < 0)
        std::exit(3);
}

void ScriptedApplication::listenDirectly()
{
    std::string const path =
        std::string(std::getenv("XDG_RUNTIME_DIR")) + "/scripted-" + std::to_string(::getpid());
    sockaddr_un place{.sun_family = AF_UNIX, .sun_path = {}};
    std::strncpy(place.sun_path, path.c_str(), sizeof place.sun_path - 1);
    listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (::bind(listener, reinterpret_cast<sockaddr const*>(&place), sizeof place) != 0 ||
        ::listen(listener, 8) != 0)
        std::exit(4);
    address = "unix:path=" + path;
}

void ScriptedApplication::acceptDirectly()
{
    int const client = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    sd_bus* raw = nullptr;
    if (client < 0 || sd_bus_new(&raw) < 0)
        return;
    BusPtr made(raw);
    sd_id128_t id{};
    sd_id128_randomize(&id);
    sd_bus_set_fd(raw, client, client);
    sd_bus_set_server(raw, 1, id);
    sd_bus_set_anonymous(raw, 1);
    sd_bus_set_trusted(raw, 1);
    if (sd_bus_start(raw) < 0)
        return;
    sd_bus_add_filter(raw, nullptr, take, this);
    direct.push_back(std::move(made));
}

void ScriptedApplication::run()
{
    for (;;) {
        bool isBusy = false;
        for (std::size_t at = 0; at <= direct.size(); ++at) {
            BusPtr& one = at == 0 ? bus : direct[at - 1];
            int const code = one ? sd_bus_process(one.get(), nullptr) : 0;
            if (code < 0 && at == 0)
                return;
            if (code < 0)
                one.reset();
            isBusy |= code > 0;
        }
        if (isBusy)
            continue;
        std::vector<pollfd> waiting = {{.fd = listener, .events = POLLIN, .revents = 0},
                                       {.fd = sd_bus_get_fd(bus.get()), .events = POLLIN, .revents = 0}};
        for (BusPtr const& one : direct)
            if (one)
                waiting.push_back({.fd = sd_bus_get_fd(one.get()),
                                   .events = static_cast<short>(sd_bus_get_events(one.get())),
                                   .revents = 0});
        ::poll(waiting.data(), waiting.size(), 1000);
        if (waiting[0].revents)
            acceptDirectly();
    }
}

int ScriptedApplication::take(sd_bus_message* call, void* self, sd_bus_error*)
{
    if (!sd_bus_message_is_method_call(call, nullptr, nullptr))
        return 0;
    return static_cast<ScriptedApplication*>(self)->answer(call);
}

int ScriptedApplication::answer(sd_bus_message* call)
{
    std::string const path = sd_bus_message_get_path(call);
    bool const isCache = path == "/org/a11y/atspi/cache";
    auto const node = isCache ? std::optional<std::size_t>(0) : nodeAt(path);
    if (manners.delay > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(manners.delay));
    ++calls;
    if (calls == manners.leavesAfter)
        std::_Exit(0);
    if (calls == manners.stopsAfter)
        ::raise(SIGSTOP);
    if (!node)
        return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_UNKNOWN_OBJECT, "no such element");
    note(*node, call);
    sd_bus_message* raw = nullptr;
    if (sd_bus_message_new_method_return(call, &raw) < 0)
        return 1;
    BusMessagePtr const made(raw);
    if (!reply(*node, sd_bus_message_get_member(call), call, raw))
        return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_UNKNOWN_METHOD, "not that");
    sd_bus_send(nullptr, raw, nullptr);
    return 1;
}

void ScriptedApplication::note(std::size_t node, sd_bus_message* call)
{
    std::string property;
    if (std::strcmp(sd_bus_message_get_member(call), "Get") == 0) {
        char const* interface = nullptr;
        char const* name = nullptr;
        sd_bus_message_read(call, "ss", &interface, &name);
        sd_bus_message_rewind(call, 1);
        property = name ? name : "";
    }
    std::fprintf(record, "%zu %s %s\n", node, sd_bus_message_get_member(call), property.c_str());
    std::fflush(record);
}

bool ScriptedApplication::reply(std::size_t index,
                                std::string const& member,
                                sd_bus_message* call,
                                sd_bus_message* reply)
{
    ScriptedNode const& node = nodes[index];
    if (member == "GetRole")
        sd_bus_message_append(reply, "u", node.role);
    else if (member == "GetState")
        appendStates(reply, node);
    else if (member == "GetInterfaces")
        appendTexts(reply, interfacesOf(node));
    else if (member == "GetAttributes")
        sd_bus_message_append(reply, "a{ss}", 1, "id", node.identifier.c_str());
    else if (member == "Get")
        return replyProperty(index, call, reply);
    else if (member == "GetAll")
        appendProperties(index, reply);
    else if (member == "GetExtents")
        sd_bus_message_append(reply, "(iiii)", node.extents[0], node.extents[1], node.extents[2],
                              node.extents[3]);
    else if (member == "GetActions" && !node.actions.empty())
        appendActions(reply, node);
    else if (member == "GetName")
        appendActionName(call, reply, node);
    else
        return replyAboutOthers(node, member, call, reply);
    return true;
}

/// Properties that refer to other elements, to the text and to the application.
bool ScriptedApplication::replyAboutOthers(ScriptedNode const& node,
                                           std::string const& member,
                                           sd_bus_message* call,
                                           sd_bus_message* reply)
{
    if (member == "GetChildren")
        appendChildren(reply, node);
    else if (member == "GetChildAtIndex")
        appendChildAt(call, reply, node);
    else if (member == "GetRelationSet")
        appendRelations(reply, node);
    else if (member == "GetText" && (node.editable || !node.text.empty()))
        appendText(call, reply, node);
    else if (member == "GetApplicationBusAddress" && manners.direct)
        sd_bus_message_append(reply, "s", address.c_str());
    else if (member == "GetItems")
        appendItems(reply);
    else
        return false;
    return true;
}

void ScriptedApplication::appendChildAt(sd_bus_message* call,
                                        sd_bus_message* reply,
                                        ScriptedNode const& node) const
{
    std::int32_t at = 0;
    sd_bus_message_read(call, "i", &at);
    if (at < 0 || static_cast<std::size_t>(at) >= node.children.size())
        sd_bus_message_append(reply, "(so)", "", "/org/a11y/atspi/null");
    else
        appendReference(reply, node.children[static_cast<std::size_t>(at)]);
}

void ScriptedApplication::appendRelations(sd_bus_message* reply, ScriptedNode const& node) const
{
    sd_bus_message_open_container(reply, 'a', "(ua(so))");
    if (node.labelledBy) {
        sd_bus_message_open_container(reply, 'r', "ua(so)");
        sd_bus_message_append(reply, "u", 2u);
        sd_bus_message_open_container(reply, 'a', "(so)");
        appendReference(reply, *node.labelledBy);
        sd_bus_message_close_container(reply);
        sd_bus_message_close_container(reply);
    }
    sd_bus_message_close_container(reply);
}

void ScriptedApplication::appendText(sd_bus_message* call,
                                     sd_bus_message* reply,
                                     ScriptedNode const& node) const
{
    std::int32_t start = 0;
    std::int32_t end = 0;
    sd_bus_message_read(call, "ii", &start, &end);
    // Qt does this, and LibreOffice does for paragraphs.
    if ((manners.toolkit == "Qt" || node.role == 73) && end > static_cast<std::int32_t>(node.text.size()))
        end = start;
    auto const length = end < 0 ? std::string::npos : static_cast<std::size_t>(end - start);
    sd_bus_message_append(reply, "s", node.text.substr(0, length).c_str());
}

bool ScriptedApplication::replyProperty(std::size_t index, sd_bus_message* call, sd_bus_message* reply)
{
    ScriptedNode const& node = nodes[index];
    char const* interface = nullptr;
    char const* raw = nullptr;
    sd_bus_message_read(call, "ss", &interface, &raw);
    std::string const name = raw ? raw : "";
    if (name == "ToolkitName")
        return sd_bus_message_append(reply, "v", "s", manners.toolkit.c_str()) >= 0;
    if (name == "Name")
        return sd_bus_message_append(reply, "v", "s", node.name.c_str()) >= 0;
    if (name == "CharacterCount")
        return sd_bus_message_append(reply, "v", "i", static_cast<std::int32_t>(node.text.size())) >= 0;
    if (name == "Description")
        return sd_bus_message_append(reply, "v", "s", node.description.c_str()) >= 0;
    if (name == "AccessibleId")
        return sd_bus_message_append(reply, "v", "s", node.identifier.c_str()) >= 0;
    if (name == "ChildCount")
        return sd_bus_message_append(reply, "v", "i", childCount(index)) >= 0;
    return false;
}

void ScriptedApplication::appendProperties(std::size_t index, sd_bus_message* reply)
{
    ScriptedNode const& node = nodes[index];
    sd_bus_message_append(reply, "a{sv}", 5, "Name", "s", node.name.c_str(), "Description", "s",
                          node.description.c_str(), "HelpText", "s", node.help.c_str(), "AccessibleId", "s",
                          node.identifier.c_str(), "ChildCount", "i", childCount(index));
}

void ScriptedApplication::appendReference(sd_bus_message* reply, std::size_t index) const
{
    ScriptedNode const& node = nodes[index];
    sd_bus_message_append(reply, "(so)",
                          node.foreignName.empty() ? ownName.c_str() : node.foreignName.c_str(),
                          node.path.empty() ? pathOf(index).c_str() : node.path.c_str());
}

void ScriptedApplication::appendChildren(sd_bus_message* reply, ScriptedNode const& node) const
{
    sd_bus_message_open_container(reply, 'a', "(so)");
    for (std::size_t const child : node.children)
        appendReference(reply, child);
    sd_bus_message_close_container(reply);
}

/// The toolkits' bulk answer for all elements: reference, application, parent, place, number of children,
/// interfaces, name, role, description, states.
void ScriptedApplication::appendItems(sd_bus_message* reply) const
{
    std::vector<std::size_t> parents(nodes.size());
    std::vector<std::int32_t> places(nodes.size());
    for (std::size_t at = 0; at < nodes.size(); ++at)
        for (std::size_t child = 0; child < nodes[at].children.size(); ++child) {
            parents[nodes[at].children[child]] = at;
            places[nodes[at].children[child]] = static_cast<std::int32_t>(child);
        }
    sd_bus_message_open_container(reply, 'a', "((so)(so)(so)iiassusau)");
    for (std::size_t at = 0; at < nodes.size(); ++at) {
        sd_bus_message_open_container(reply, 'r', "(so)(so)(so)iiassusau");
        appendReference(reply, at);
        appendReference(reply, 0);
        appendReference(reply, parents[at]);
        sd_bus_message_append(reply, "ii", places[at], childCount(at));
        appendTexts(reply, interfacesOf(nodes[at]));
        sd_bus_message_append(reply, "sus", nodes[at].name.c_str(), nodes[at].role,
                              nodes[at].description.c_str());
        appendStates(reply, nodes[at]);
        sd_bus_message_close_container(reply);
    }
    sd_bus_message_close_container(reply);
}

std::string ScriptedApplication::pathOf(std::size_t node) const
{
    return node == 0 ? root : prefix + std::to_string(node);
}

std::optional<std::size_t> ScriptedApplication::nodeAt(std::string const& path) const
{
    if (path == root)
        return 0;
    if (!path.starts_with(prefix))
        return std::nullopt;
    std::size_t node = 0;
    char const* const end = path.data() + path.size();
    auto const [stop, error] = std::from_chars(path.data() + std::strlen(prefix), end, node);
    return error == std::errc() && stop == end && node < nodes.size() ? std::optional(node) : std::nullopt;
}

std::int32_t ScriptedApplication::childCount(std::size_t node) const
{
    return nodes[node].claimedChildren.value_or(static_cast<std::int32_t>(nodes[node].children.size()));
}

} // namespace zelvo::test
