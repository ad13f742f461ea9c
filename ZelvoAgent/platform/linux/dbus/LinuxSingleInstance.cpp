#include "platform/linux/dbus/LinuxSingleInstance.h"

#include "platform/linux/system/OwnProgram.h"
#include "platform/linux/system/XdgFolders.h"

#include <boost/asio/post.hpp>

#include <chrono>
#include <cstdio>

namespace zelvo {

namespace {

using BusCredentialsPtr = std::unique_ptr<sd_bus_creds, ReleaseBus<sd_bus_creds_unref>>;

constexpr char const* name = "dev.zelvo.agent";
constexpr char const* objectPath = "/dev/zelvo/agent";
constexpr char const* applicationInterface = "org.freedesktop.Application";
constexpr std::uint64_t patienceUs = 2'000'000;
constexpr std::uint32_t nameIsOurs = 1;
constexpr std::uint32_t nameIsAnothers = 3;
constexpr std::uint32_t dontQueue = 4;

/// Blocks until the bus has accepted us; nothing else runs yet.
bool waitUntilReady(sd_bus* bus)
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::microseconds(patienceUs);
    while (sd_bus_is_ready(bus) <= 0) {
        int const handled = sd_bus_process(bus, nullptr);
        auto const left =
            std::chrono::duration_cast<std::chrono::microseconds>(end - std::chrono::steady_clock::now());
        if (handled < 0 || left.count() <= 0)
            return false;
        if (handled == 0 && sd_bus_wait(bus, static_cast<std::uint64_t>(left.count())) < 0)
            return false;
    }
    return true;
}

BusMessagePtr blockingCall(sd_bus* bus, sd_bus_message* raw)
{
    BusMessagePtr const call(raw);
    sd_bus_message* reply = nullptr;
    sd_bus_error error{};
    sd_bus_call(bus, raw, patienceUs, &error, &reply);
    sd_bus_error_free(&error);
    return BusMessagePtr(reply);
}

void appendNameRequest(sd_bus_message* message)
{
    sd_bus_message_append(message, "su", name, dontQueue);
}

std::optional<std::uint32_t> requestName(sd_bus* bus)
{
    sd_bus_message* call = nullptr;
    if (sd_bus_message_new_method_call(bus, &call, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                       "org.freedesktop.DBus", "RequestName") < 0)
        return std::nullopt;
    appendNameRequest(call);
    auto const reply = blockingCall(bus, call);
    return reply ? readUnsigned(reply.get()) : std::nullopt;
}

/// The unique name of the connection that owns our name, if it is another instance of this program.
std::optional<std::string> otherInstance(sd_bus* bus)
{
    sd_bus_set_method_call_timeout(bus, patienceUs);
    sd_bus_creds* raw = nullptr;
    if (sd_bus_get_name_creds(bus, name, SD_BUS_CREDS_PID | SD_BUS_CREDS_UNIQUE_NAME, &raw) < 0)
        return std::nullopt;
    BusCredentialsPtr const owner(raw);
    pid_t pid = 0;
    char const* connection = nullptr;
    if (sd_bus_creds_get_pid(raw, &pid) < 0 || sd_bus_creds_get_unique_name(raw, &connection) < 0 ||
        !runsOwnProgram(pid))
        return std::nullopt;
    return connection;
}

/// Sends the URLs, or an Activate without URLs, to another instance.
void handOver(sd_bus* bus, std::string const& instance, std::vector<std::string> const& urls)
{
    sd_bus_message* call = nullptr;
    char const* const member = urls.empty() ? "Activate" : "Open";
    if (sd_bus_message_new_method_call(bus, &call, instance.c_str(), objectPath, applicationInterface,
                                       member) < 0)
        return;
    sd_bus_message_set_auto_start(call, 0);
    if (!urls.empty()) {
        sd_bus_message_open_container(call, 'a', "s");
        for (std::string const& url : urls)
            sd_bus_message_append(call, "s", url.c_str());
        sd_bus_message_close_container(call);
    }
    sd_bus_message_append(call, "a{sv}", 0);
    blockingCall(bus, call);
}

} // namespace

/// The object on the bus that later starts call.
class LinuxSingleInstance::Application {
public:
    Application(Executor main, Requests requests) : main(std::move(main)), requests(std::move(requests)) {}

    void take(std::vector<std::string> urls)
    {
        if (urls.empty())
            return activate();
        asio::post(main, [call = requests.open, urls = std::move(urls)] { call(urls); });
    }

    void activate() { asio::post(main, requests.activate); }

    /// Exports the object on a connection; null removes it.
    void show(sd_bus* connection)
    {
        slot.reset();
        sd_bus_slot* made = nullptr;
        if (connection && sd_bus_add_object_vtable(connection, &made, objectPath, applicationInterface,
                                                   members(), this) >= 0)
            slot.reset(made);
    }

private:
    static sd_bus_vtable const* members()
    {
        static sd_bus_vtable const table[] = {
            SD_BUS_VTABLE_START(0),
            SD_BUS_METHOD("Activate", "a{sv}", "", onActivate, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_METHOD("Open", "asa{sv}", "", onOpen, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_METHOD("ActivateAction", "sava{sv}", "", onActivate, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_VTABLE_END};
        return table;
    }

    static int onActivate(sd_bus_message* call, void* self, sd_bus_error*)
    {
        static_cast<Application*>(self)->activate();
        return sd_bus_reply_method_return(call, "");
    }

    static int onOpen(sd_bus_message* call, void* self, sd_bus_error*)
    {
        auto urls = readTexts(call);
        std::size_t total = 0;
        for (std::string const& url : urls)
            total += url.size();
        if (total > InstanceSocket::maxMessage || urls.size() > InstanceSocket::maxMessage)
            return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_LIMITS_EXCEEDED, "too long");
        static_cast<Application*>(self)->take(std::move(urls));
        return sd_bus_reply_method_return(call, "");
    }

    Executor const main;
    Requests const requests;
    BusSlotPtr slot; // agent
};

LinuxSingleInstance::LinuxSingleInstance(Contexts contexts,
                                         Clock& clock,
                                         BusConnection::Open open,
                                         std::filesystem::path folder)
    : contexts(std::move(contexts)), clock(clock), open(std::move(open)), socket(std::move(folder))
{
}

LinuxSingleInstance::~LinuxSingleInstance() = default;

std::filesystem::path LinuxSingleInstance::lockFolder()
{
    return xdg::runtimeFolder().value_or(xdg::settingsFolder());
}

bool LinuxSingleInstance::claim(std::vector<std::string> urls, Requests requests)
{
    application = std::make_shared<Application>(contexts.main, std::move(requests));
    switch (claimOnBus(urls)) {
    case Claim::mine:
        return true;
    case Claim::another:
        return false;
    case Claim::noName:
        break;
    }
    return claimInFolder(urls);
}

LinuxSingleInstance::Claim LinuxSingleInstance::claimOnBus(std::vector<std::string> const& urls)
{
    BusPtr made = open();
    if (!made || !waitUntilReady(made.get()))
        return Claim::noName;
    auto const answer = requestName(made.get());
    if (answer == nameIsAnothers) {
        auto const instance = otherInstance(made.get());
        if (!instance)
            return Claim::noName;
        handOver(made.get(), *instance, urls);
        return Claim::another;
    }
    if (answer != nameIsOurs)
        return Claim::noName;
    serveOnBus(std::move(made));
    if (socket.lock())
        serveInFolder();
    return Claim::mine;
}

/// Continues with the connection that owns the name; after a loss, requests the name again on the new
/// connection.
void LinuxSingleInstance::serveOnBus(BusPtr made)
{
    auto const first = std::make_shared<BusPtr>(std::move(made));
    bus = std::make_unique<BusConnection>(
        contexts.agent, clock, [first, again = open] { return *first ? std::move(*first) : again(); });
    auto onChange = [kept = application, connection = bus.get(), isFirst = true](sd_bus* connected) mutable {
        kept->show(connected);
        if (!connected || std::exchange(isFirst, false))
            return;
        BusCall call{.destination = "org.freedesktop.DBus",
                     .path = "/org/freedesktop/DBus",
                     .interface = "org.freedesktop.DBus",
                     .member = "RequestName",
                     .arguments = appendNameRequest};
        connection->ask(std::move(call), {});
    };
    bus->watchConnection(std::move(onChange));
    bus->start();
}

bool LinuxSingleInstance::claimInFolder(std::vector<std::string> const& urls)
{
    if (!socket.lock()) {
        if (!socket.handOver(urls))
            std::fputs("Zelvo runs already, or another program has taken its place. "
                       "It got no link.\n",
                       stderr);
        return false;
    }
    serveInFolder();
    return true;
}

void LinuxSingleInstance::serveInFolder()
{
    socket.serve(contexts.agent, clock,
                 [kept = application](std::vector<std::string> brought) { kept->take(std::move(brought)); });
}

} // namespace zelvo
