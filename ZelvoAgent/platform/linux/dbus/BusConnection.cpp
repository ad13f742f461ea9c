#include "platform/linux/dbus/BusConnection.h"

#include "base/Hop.h"
#include "platform/linux/dbus/BusLink.h"

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <deque>
#include <list>
#include <map>
#include <vector>

namespace zelvo {

namespace {

constexpr Duration firstPause = 1s;
constexpr Duration maxPause = 1h;
constexpr Duration helloPatience = 30s;
constexpr char const* noReply = "org.freedesktop.DBus.Error.NoReply";
constexpr char const* disconnected = "org.freedesktop.DBus.Error.Disconnected";
constexpr char const* theBus = "org.freedesktop.DBus"; // Its messages have this name as their sender.

/// The sender in a match rule; empty if there is none.
std::string senderOf(std::string const& rule)
{
    std::string const key = "sender='";
    auto const at = rule.starts_with(key) ? 0 : rule.find(',' + key);
    if (at == std::string::npos)
        return {};
    auto const begin = rule.find('\'', at) + 1;
    return rule.substr(begin, rule.find('\'', begin) - begin);
}

std::string ownerChangesOf(std::string const& name)
{
    return std::string("type='signal',sender='") + theBus + "',interface='" + theBus +
           "',member='NameOwnerChanged',arg0='" + name + "'";
}

BusCall ownerQuestion(std::string const& name)
{
    return {
        .destination = theBus,
        .path = "/org/freedesktop/DBus",
        .interface = theBus,
        .member = "GetNameOwner",
        .arguments = [name](sd_bus_message* message) { sd_bus_message_append(message, "s", name.c_str()); }};
}

std::string newOwner(sd_bus_message* ownerChange)
{
    readText(ownerChange);
    readText(ownerChange);
    return readText(ownerChange).value_or("");
}

/// A call without a reply so far.
struct OpenCall {
    using Resume = asio::any_completion_handler<void(std::exception_ptr)>;

    OpenCall(Resume resume, BusConnection::MessageHandler onReply)
        : resume(std::move(resume)), onReply(std::move(onReply))
    {
    }

    void finish(std::exception_ptr failure)
    {
        if (std::exchange(isOver, true))
            return;
        deadline.cancel();
        slot.reset();
        onReply = {};
        std::move(resume)(std::move(failure)); // Only one thread uses it at a time.
    }

    void fail(char const* name, std::string const& message)
    {
        finish(std::make_exception_ptr(BusFailure(name, message)));
    }

    void answer(sd_bus_message* reply)
    {
        if (sd_bus_error const* const error = sd_bus_message_get_error(reply))
            return fail(error->name, error->message ? error->message : "");
        try {
            if (onReply)
                onReply(reply);
            finish(nullptr);
        } catch (...) {
            finish(std::current_exception());
        }
    }

    Resume resume;
    BusConnection::MessageHandler onReply;
    BusSlotPtr slot;
    TaskHandle deadline;
    bool isOver = false;
};

int takeReply(sd_bus_message* reply, void* data, sd_bus_error*)
{
    // The handler may destroy what `data` points to.
    auto const call = *static_cast<std::weak_ptr<OpenCall>*>(data);
    if (auto const kept = call.lock())
        kept->answer(reply);
    return 1;
}

BusMessagePtr messageOf(sd_bus* bus, BusCall const& call)
{
    sd_bus_message* message = nullptr;
    if (sd_bus_message_new_method_call(bus, &message, call.destination.c_str(), call.path.c_str(),
                                       call.interface.c_str(), call.member.c_str()) < 0)
        return {};
    BusMessagePtr made(message);
    sd_bus_message_set_auto_start(message, call.mayStart);
    if (call.arguments)
        call.arguments(message);
    return made;
}

} // namespace

/// Everything here runs on the agent's thread.
class BusConnection::Bus : public std::enable_shared_from_this<Bus> {
public:
    Bus(Executor agent, Clock& clock, Open opener)
        : agent(std::move(agent)), clock(clock), opener(std::move(opener))
    {
    }

    Executor const agent;

    void start()
    {
        if (isStopped || link)
            return;
        auto opened = opener();
        if (!opened)
            return retryLater();
        retry.cancel();
        isRetrying = false;
        link = std::make_shared<BusLink>(
            agent, std::move(opened),
            BusLink::Events{.onReady = [this] { becomeReady(); }, .onLost = [this] { lose(); }});
        hello = after(helloPatience, [](Bus& self) {
            if (self.link && !self.link->isReady())
                self.lose();
        });
        auto const kept = link;
        kept->start();
    }

    void stop()
    {
        isStopped = true;
        retry.cancel();
        close();
        signals.clear();
        observers.clear();
    }

    void send(BusCall const& call, std::shared_ptr<OpenCall> open)
    {
        start();
        BusMessagePtr const message = link ? messageOf(link->raw(), call) : BusMessagePtr();
        if (!message)
            return open->fail(disconnected, "there is no bus");
        sd_bus_slot* slot = nullptr;
        auto* const data = new std::weak_ptr<OpenCall>(open);
        if (sd_bus_call_async(link->raw(), &slot, message.get(), takeReply, data, UINT64_MAX) < 0) {
            delete data;
            return open->fail(disconnected, "the call cannot be sent");
        }
        sd_bus_slot_set_destroy_callback(
            slot, [](void* raw) { delete static_cast<std::weak_ptr<OpenCall>*>(raw); });
        open->slot.reset(slot);
        open->deadline = after(call.patience, [weak = std::weak_ptr(open)](Bus&) {
            if (auto const late = weak.lock())
                late->fail(noReply, "no answer in time");
        });
        std::erase_if(calls, [](auto const& one) { return one->isOver; });
        calls.push_back(std::move(open));
        link->flush();
    }

    void ask(BusCall const& call, MessageHandler onReply, std::function<void()> onFailure)
    {
        auto resume = [onFailure = std::move(onFailure)](std::exception_ptr failure) {
            if (failure && onFailure)
                onFailure();
        };
        send(call, std::make_shared<OpenCall>(std::move(resume), std::move(onReply)));
    }

    void watchSignal(std::string rule, MessageHandler onSignal)
    {
        std::string const sender = senderOf(rule);
        bool const hasOwner = !sender.empty() && sender != theBus && !sender.starts_with(':');
        if (hasOwner)
            followOwner(sender);
        signals.push_back({std::move(rule), sender, std::move(onSignal), this, {}});
        if (link && link->isReady())
            match(signals.back());
    }

    void watchConnection(std::function<void(sd_bus*)> onChange)
    {
        observers.push_back(std::move(onChange));
        if (link && link->isReady())
            observers.back()(link->raw());
    }

private:
    struct Signal {
        std::string rule;
        std::string sender; ///< in the rule
        MessageHandler onSignal;
        Bus* self;
        BusSlotPtr slot;
    };

    TaskHandle after(Duration time, std::function<void(Bus&)> act)
    {
        return spawn(agent,
                     [time, act = std::move(act), weak = weak_from_this(), &passing = clock]() -> Task<> {
                         co_await passing.sleep(time);
                         if (auto const self = weak.lock())
                             act(*self);
                     });
    }

    void retryLater()
    {
        if (std::exchange(isRetrying, true))
            return;
        retry = after(pause, [](Bus& self) {
            self.isRetrying = false;
            self.start();
        });
        pause = std::min(pause * 2, maxPause);
    }

    void becomeReady()
    {
        pause = firstPause;
        hello.cancel();
        for (Signal& signal : signals)
            match(signal);
        for (auto const& [name, owner] : owners)
            if (link)
                askOwner(name);
        for (std::size_t at = 0; at < observers.size() && link; ++at)
            observers[at](link->raw());
        if (link)
            link->flush();
    }

    void match(Signal& signal)
    {
        sd_bus_slot* slot = nullptr;
        auto const take = [](sd_bus_message* message, void* data, sd_bus_error*) {
            Signal const& signal = *static_cast<Signal*>(data);
            if (!signal.self->isGenuine(signal, message))
                return 0;
            auto const onSignal = signal.onSignal; // It may remove the watch that it belongs to.
            onSignal(message);
            return 0;
        };
        if (sd_bus_add_match_async(link->raw(), &slot, signal.rule.c_str(), take, nullptr, &signal) >= 0)
            signal.slot.reset(slot);
        link->flush();
    }

    /// A signal that is sent to us alone comes past the bus's own check of the sender.
    bool isGenuine(Signal const& signal, sd_bus_message* message) const
    {
        auto const known = owners.find(signal.sender);
        std::string const& expected = known == owners.end() ? signal.sender : known->second;
        if (signal.sender.empty())
            return true;
        char const* const sender = sd_bus_message_get_sender(message);
        return sender && !expected.empty() && sender == expected;
    }

    void followOwner(std::string const& name)
    {
        if (!owners.try_emplace(name).second)
            return;
        watchSignal(ownerChangesOf(name),
                    [this, name](sd_bus_message* message) { owners[name] = newOwner(message); });
        if (link && link->isReady())
            askOwner(name);
    }

    /// The answer comes before any signal that follows it, and before the answers to later questions.
    void askOwner(std::string const& name)
    {
        ask(ownerQuestion(name),
            [this, name](sd_bus_message* reply) { owners[name] = readText(reply).value_or(""); }, {});
    }

    void lose()
    {
        if (isStopped)
            return;
        bool const wasReady = link && link->isReady();
        close();
        if (wasReady)
            // By index, because an observer may add another.
            for (std::size_t at = 0; at < observers.size(); ++at) // NOLINT(modernize-loop-convert)
                observers[at](nullptr);
        retryLater();
    }

    void close()
    {
        hello.cancel();
        for (Signal& signal : signals)
            signal.slot.reset();
        for (auto& [name, owner] : owners)
            owner.clear();
        auto const unanswered = std::exchange(calls, {});
        for (auto const& call : unanswered)
            call->fail(disconnected, "the bus is gone");
        if (auto const kept = std::exchange(link, nullptr))
            kept->stop();
    }

    Clock& clock;
    Open const opener;
    std::shared_ptr<BusLink> link;
    std::list<Signal> signals;                 // Matches point into it.
    std::map<std::string, std::string> owners; // Of the names in them; empty while there is none, or unknown.
    std::deque<std::function<void(sd_bus*)>> observers; // One may add another while it runs.
    std::vector<std::shared_ptr<OpenCall>> calls;       // Some have ended: the next call removes them.
    TaskHandle retry;
    TaskHandle hello;
    Duration pause = firstPause;
    bool isRetrying = false;
    bool isStopped = false;
};

BusConnection::BusConnection(Executor agent, Clock& clock, Open open)
    : bus(std::make_shared<Bus>(std::move(agent), clock, std::move(open)))
{
}

BusConnection::~BusConnection()
{
    asio::dispatch(bus->agent, [kept = bus] { kept->stop(); });
}

void BusConnection::start()
{
    asio::dispatch(bus->agent, [kept = bus] { kept->start(); });
}

Task<> BusConnection::call(BusCall call, MessageHandler onReply)
{
    auto begin = [kept = bus, &call, &onReply](auto handler) {
        auto const home = asio::get_associated_executor(handler);
        auto resume = [home, handler = std::move(handler)](std::exception_ptr failure) mutable {
            asio::post(home, [failure = std::move(failure), handler = std::move(handler)]() mutable {
                std::move(handler)(std::move(failure));
            });
        };
        auto open = std::make_shared<OpenCall>(std::move(resume), std::move(onReply));
        asio::dispatch(kept->agent, [kept, open, call = std::move(call)] { kept->send(call, open); });
    };
    co_await asio::async_initiate<decltype(asio::use_awaitable), void(std::exception_ptr)>(
        begin, asio::use_awaitable);
}

void BusConnection::ask(BusCall call, MessageHandler onReply, std::function<void()> onFailure)
{
    auto begin = [kept = bus, call = std::move(call), onReply = std::move(onReply),
                  onFailure = std::move(onFailure)] { kept->ask(call, onReply, onFailure); };
    asio::dispatch(bus->agent, std::move(begin));
}

void BusConnection::watchSignal(std::string rule, MessageHandler onSignal)
{
    asio::dispatch(bus->agent,
                   [kept = bus, rule = std::move(rule), onSignal = std::move(onSignal)]() mutable {
                       kept->watchSignal(std::move(rule), std::move(onSignal));
                   });
}

void BusConnection::watchConnection(std::function<void(sd_bus*)> onChange)
{
    asio::dispatch(bus->agent, [kept = bus, onChange = std::move(onChange)]() mutable {
        kept->watchConnection(std::move(onChange));
    });
}

void BusConnection::watchName(std::string name, std::function<void(std::string const& owner)> onOwner)
{
    auto const report = std::make_shared<std::function<void(std::string const&)>>(std::move(onOwner));
    watchSignal(ownerChangesOf(name), [report](sd_bus_message* message) { (*report)(newOwner(message)); });
    watchConnection([weak = std::weak_ptr(bus), report, name](sd_bus* raw) {
        auto const kept = weak.lock();
        if (!raw || !kept)
            return (*report)("");
        auto onReply = [report](sd_bus_message* reply) { (*report)(readText(reply).value_or("")); };
        kept->ask(ownerQuestion(name), std::move(onReply), [report] { (*report)(""); });
    });
}

} // namespace zelvo
