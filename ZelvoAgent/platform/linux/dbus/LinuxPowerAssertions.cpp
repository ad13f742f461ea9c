#include "platform/linux/dbus/LinuxPowerAssertions.h"

#include "platform/portable/files/UniqueFd.h"

#include <boost/asio/dispatch.hpp>

#include <fcntl.h>

#include <optional>

namespace zelvo {

namespace {

constexpr char const* who = "Zelvo";
constexpr char const* saver = "org.freedesktop.ScreenSaver";
constexpr char const* saverPath = "/org/freedesktop/ScreenSaver";

/// What was granted. Runs on the agent executor.
class Hold : public std::enable_shared_from_this<Hold> {
public:
    Hold(BusConnection& system, BusConnection& session, std::string name)
        : system(system), session(session), name(std::move(name))
    {
    }

    void take()
    {
        BusCall inhibit{.destination = "org.freedesktop.login1",
                        .path = "/org/freedesktop/login1",
                        .interface = "org.freedesktop.login1.Manager",
                        .member = "Inhibit",
                        .arguments = [text = name](sd_bus_message* message) {
                            sd_bus_message_append(message, "ssss", "idle", who, text.c_str(), "block");
                        }};
        auto keep = [self = shared_from_this()](sd_bus_message* reply) {
            int raw = -1; // Owned by the message.
            if (!self->isReleased && sd_bus_message_read(reply, "h", &raw) > 0)
                self->lock.reset(::fcntl(raw, F_DUPFD_CLOEXEC, 0));
        };
        system.ask(std::move(inhibit), keep, [self = shared_from_this()] { self->takeFromSaver(); });
    }

    void release()
    {
        isReleased = true;
        lock.reset();
        if (auto const granted = std::exchange(cookie, std::nullopt))
            giveBack(*granted);
    }

private:
    void takeFromSaver()
    {
        if (isReleased)
            return;
        BusCall inhibit{.destination = saver,
                        .path = saverPath,
                        .interface = saver,
                        .member = "Inhibit",
                        .arguments = [text = name](sd_bus_message* message) {
                            sd_bus_message_append(message, "ss", who, text.c_str());
                        }};
        inhibit.mayStart = false;
        session.ask(std::move(inhibit), [self = shared_from_this()](sd_bus_message* reply) {
            auto const granted = readUnsigned(reply);
            if (granted && self->isReleased)
                self->giveBack(*granted);
            else
                self->cookie = granted;
        });
    }

    void giveBack(std::uint32_t granted)
    {
        BusCall uninhibit{.destination = saver,
                          .path = saverPath,
                          .interface = saver,
                          .member = "UnInhibit",
                          .arguments = [granted](sd_bus_message* message) {
                              sd_bus_message_append(message, "u", granted);
                          }};
        uninhibit.mayStart = false;
        session.ask(std::move(uninhibit), {});
    }

    BusConnection& system;
    BusConnection& session;
    std::string const name;
    UniqueFd lock;                       ///< logind's inhibitor lock, valid while this is open
    std::optional<std::uint32_t> cookie; ///< of the screen saver
    bool isReleased = false;
};

class Assertion final : public PowerAssertion {
public:
    Assertion(Executor agent, std::shared_ptr<Hold> hold) : agent(std::move(agent)), hold(std::move(hold)) {}
    Assertion(Assertion const&) = delete;
    Assertion& operator=(Assertion const&) = delete;
    ~Assertion() override
    {
        asio::dispatch(agent, [kept = std::move(hold)] { kept->release(); });
    }

private:
    Executor agent;
    std::shared_ptr<Hold> hold;
};

} // namespace

std::unique_ptr<PowerAssertion> LinuxPowerAssertions::preventIdleSleep(std::string name)
{
    auto hold = std::make_shared<Hold>(system, session, std::move(name));
    asio::dispatch(agent, [hold] { hold->take(); });
    return std::make_unique<Assertion>(agent, std::move(hold));
}

} // namespace zelvo
