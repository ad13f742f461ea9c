#include "platform/linux/dbus/LinuxSingleInstance.h"

#include "platform/linux/system/OwnProgram.h"
#include "platform/linux/system/XdgFolders.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <initializer_list>
#include <thread>

namespace zelvo {

namespace {

using BusCredentialsPtr = std::unique_ptr<sd_bus_creds, ReleaseWith<sd_bus_creds_unref>>;

constexpr char const* name = "dev.zelvo.agent";
constexpr char const* objectPath = "/dev/zelvo/agent";
constexpr char const* applicationInterface = "org.freedesktop.Application";
constexpr std::uint64_t patienceUs = 2'000'000;
constexpr std::uint64_t answerPatienceUs = 5'000'000; // With an instance that has the call.
constexpr std::chrono::seconds endPatience{10};       // With an instance that is about to end.
constexpr std::chrono::milliseconds retryInterval{50};
constexpr char const* endingError = "dev.zelvo.agent.Error.Ending";
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

/// A call's reply, or its error.
struct Outcome {
    BusMessagePtr reply;
    std::string error;
};

Outcome blockingCall(sd_bus* bus, sd_bus_message* raw, std::uint64_t patience)
{
    BusMessagePtr const call(raw);
    sd_bus_message* reply = nullptr;
    sd_bus_error error{};
    sd_bus_call(bus, raw, patience, &error, &reply);
    Outcome outcome{.reply = BusMessagePtr(reply), .error = error.name ? error.name : ""};
    sd_bus_error_free(&error);
    return outcome;
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
    auto const reply = blockingCall(bus, call, patienceUs).reply;
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

enum class HandOver {
    done,    ///< also if the instance is too slow to answer, or has refused the URLs for good
    refused, ///< the instance is about to serve, or to end
    gone     ///< the instance is not on the bus
};

bool isAny(std::string const& error, std::initializer_list<char const*> names)
{
    return std::ranges::find(names, error) != names.end();
}

HandOver judge(Outcome const& outcome)
{
    if (outcome.reply || isAny(outcome.error, {SD_BUS_ERROR_TIMEOUT, SD_BUS_ERROR_LIMITS_EXCEEDED}))
        return HandOver::done;
    if (isAny(outcome.error,
              {SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER, SD_BUS_ERROR_DISCONNECTED}))
        return HandOver::gone;
    return HandOver::refused;
}

/// Sends the URLs, or an Activate without URLs, to another instance.
HandOver handOver(sd_bus* bus, std::string const& instance, std::vector<std::string> const& urls)
{
    sd_bus_message* call = nullptr;
    char const* const member = urls.empty() ? "Activate" : "Open";
    if (sd_bus_message_new_method_call(bus, &call, instance.c_str(), objectPath, applicationInterface,
                                       member) < 0)
        return HandOver::gone;
    sd_bus_message_set_auto_start(call, 0);
    if (!urls.empty()) {
        sd_bus_message_open_container(call, 'a', "s");
        for (std::string const& url : urls)
            sd_bus_message_append(call, "s", url.c_str());
        sd_bus_message_close_container(call);
    }
    sd_bus_message_append(call, "a{sv}", 0);
    return judge(blockingCall(bus, call, answerPatienceUs));
}

void complain()
{
    std::fputs("Zelvo runs already, or another program has taken its place. "
               "It got no link.\n",
               stderr);
}

/// Waits between attempts to reach an instance that is about to serve, or to end.
class Attempts {
public:
    /// False once there was enough time for either.
    bool waitForNext() const
    {
        // No event reports that the other instance serves, or has ended, and this start has nothing else to
        // do.
        std::this_thread::sleep_for(retryInterval);
        return std::chrono::steady_clock::now() < end;
    }

private:
    std::chrono::steady_clock::time_point end = std::chrono::steady_clock::now() + endPatience;
};

/// Hands the URLs over to another instance. False if it has left the bus without having taken them.
bool isTakenBy(sd_bus* bus, std::string const& instance, std::vector<std::string> const& urls)
{
    Attempts const attempts;
    HandOver result = handOver(bus, instance, urls);
    while (result == HandOver::refused && attempts.waitForNext())
        result = handOver(bus, instance, urls);
    if (result == HandOver::refused)
        complain();
    return result != HandOver::gone;
}

} // namespace

/// The object on the bus that later starts call.
class LinuxSingleInstance::Application : public std::enable_shared_from_this<Application> {
public:
    Application(Contexts contexts, Requests requests)
        : contexts(std::move(contexts)), requests(std::move(requests))
    {
    }

    /// Answers once the main thread has taken the request. While it ends, it takes nothing any more; whoever
    /// asked then finds out by the end of this process.
    void take(std::vector<std::string> urls, InstanceSocket::Answer answer)
    {
        asio::post(
            contexts.main, [self = shared_from_this(), urls = std::move(urls), answer = std::move(answer)] {
                bool const isTaken = urls.empty() ? self->requests.activate() : self->requests.open(urls);
                asio::post(self->contexts.agent, [answer, isTaken] { answer(isTaken); });
            });
    }

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
        return static_cast<Application*>(self)->takeCall(call, {});
    }

    static int onOpen(sd_bus_message* call, void* self, sd_bus_error*)
    {
        auto urls = readTexts(call);
        std::size_t total = 0;
        for (std::string const& url : urls)
            total += url.size();
        if (total > InstanceSocket::maxMessage || urls.size() > InstanceSocket::maxMessage)
            return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_LIMITS_EXCEEDED, "too long");
        return static_cast<Application*>(self)->takeCall(call, std::move(urls));
    }

    int takeCall(sd_bus_message* call, std::vector<std::string> urls)
    {
        auto const kept = std::make_shared<BusMessagePtr>(sd_bus_message_ref(call));
        take(std::move(urls), [kept](bool isTaken) {
            if (isTaken)
                sd_bus_reply_method_return(kept->get(), "");
            else
                sd_bus_reply_method_errorf(kept->get(), endingError, "Zelvo is about to end");
        });
        return 1;
    }

    Contexts const contexts;
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
    application = std::make_shared<Application>(contexts, std::move(requests));
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
    for (auto answer = requestName(made.get()); answer != nameIsOurs; answer = requestName(made.get())) {
        auto const instance = answer == nameIsAnothers ? otherInstance(made.get()) : std::nullopt;
        if (!instance)
            return Claim::noName;
        if (isTakenBy(made.get(), *instance, urls))
            return Claim::another;
    }
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
    Attempts const attempts;
    while (!socket.lock()) {
        auto const result = socket.handOver(urls);
        if (result == InstanceSocket::HandOver::done)
            return false;
        if (result == InstanceSocket::HandOver::refused || !attempts.waitForNext()) {
            complain();
            return false;
        }
    }
    serveInFolder();
    return true;
}

void LinuxSingleInstance::serveInFolder()
{
    auto take = [kept = application](std::vector<std::string> brought, InstanceSocket::Answer answer) {
        kept->take(std::move(brought), std::move(answer));
    };
    socket.serve(contexts.agent, clock, std::move(take));
}

} // namespace zelvo
