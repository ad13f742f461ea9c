#include "platform/linux/dbus/BusConnection.h"

#include "base/LockedBox.h"
#include "desktop/dbus/PrivateBuses.h"

#include <gtest/gtest.h>

namespace zelvo::test {

namespace {

constexpr char const* name = "org.example.Thing";
constexpr char const* path = "/org/example/Thing";

class Connection : public testing::Test {
protected:
    std::string ask(Duration patience = std::chrono::seconds(5), std::string const& member = "Greet")
    {
        BusCall call{
            .destination = name,
            .path = path,
            .interface = name,
            .member = member,
            .arguments = [](sd_bus_message* message) { sd_bus_message_append(message, "s", "you"); }};
        call.patience = patience;
        std::string answer;
        auto onReply = [&](sd_bus_message* reply) { answer = readText(reply).value_or("?"); };
        try {
            running.await(running.session.call(std::move(call), onReply));
        } catch (BusFailure const& failure) {
            return failure.name;
        }
        return answer;
    }

    pid_t startThing()
    {
        pid_t const pid = buses.mock(BusKind::session, name, path, name);
        buses.control(BusKind::session, name, path, "AddMethod",
                      {"sssss", name, "Greet", "s", "s", "ret = 'hello ' + args[0]"});
        return pid;
    }

    /// Texts of the signal Said that arrive.
    void hear()
    {
        running.session.watchSignal(std::string("type='signal',sender='") + name + "',member='Said'",
                                    [&](sd_bus_message* message) {
                                        auto const text = readText(message).value_or("?");
                                        said.change([&](auto& all) { all.push_back(text); });
                                    });
    }

    void learnOurName()
    {
        running.session.watchConnection([&](sd_bus* bus) {
            char const* unique = nullptr;
            if (bus && sd_bus_get_unique_name(bus, &unique) >= 0)
                ours.set(unique);
        });
    }

    bool hears(std::vector<std::string> const& texts)
    {
        return running.eventually([&] { return said.get() == texts; });
    }

    PrivateBuses buses;
    LockedBox<std::vector<std::string>> said;
    LockedBox<std::vector<std::string>> owners;
    LockedBox<std::string> ours; ///< the connection's unique name
    RunningContexts running;
};

/// Another program on the session bus.
class Program {
public:
    Program() : bus(openSessionBus()) {}

    void own() { EXPECT_GE(sd_bus_request_name(bus.get(), name, 0), 0); }
    void release() { EXPECT_GE(sd_bus_release_name(bus.get(), name), 0); }
    std::string uniqueName()
    {
        char const* unique = nullptr;
        EXPECT_GE(sd_bus_get_unique_name(bus.get(), &unique), 0);
        return unique ? unique : "";
    }

    /// To everybody if there is no receiver. The bus has passed it on when this returns.
    void send(std::string const& receiver,
              char const* interface,
              char const* member,
              std::vector<std::string> const& texts)
    {
        sd_bus_message* raw = nullptr;
        ASSERT_GE(sd_bus_message_new_signal(bus.get(), &raw, path, interface, member), 0);
        BusMessagePtr const message(raw);
        for (std::string const& text : texts)
            sd_bus_message_append(raw, "s", text.c_str());
        ASSERT_GE(sd_bus_send_to(bus.get(), raw, receiver.empty() ? nullptr : receiver.c_str(), nullptr), 0);
        ASSERT_GE(sd_bus_call_method(bus.get(), "org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetId",
                                     nullptr, nullptr, nullptr),
                  0);
    }
    void say(std::string const& text, std::string const& receiver = {})
    {
        send(receiver, name, "Said", {text});
    }

private:
    BusPtr bus;
};

TEST_F(Connection, callsAMethodAndReadsTheAnswer)
{
    buses.start(BusKind::session);
    startThing();

    EXPECT_EQ(ask(), "hello you");
}

TEST_F(Connection, tellsFailuresByName)
{
    EXPECT_EQ(ask(), "org.freedesktop.DBus.Error.Disconnected");

    buses.start(BusKind::session);
    EXPECT_EQ(ask(), "org.freedesktop.DBus.Error.ServiceUnknown");
    startThing();
    EXPECT_EQ(ask(std::chrono::seconds(5), "Unknown"), "org.freedesktop.DBus.Error.UnknownMethod");
}

TEST_F(Connection, giveUpOnASilentService)
{
    buses.start(BusKind::session);
    BusPtr const silent = openSessionBus();
    ASSERT_GE(sd_bus_request_name(silent.get(), name, 0), 0);

    EXPECT_EQ(ask(std::chrono::milliseconds(50)), "org.freedesktop.DBus.Error.NoReply");
}

TEST_F(Connection, followsTheOwnerOfANameAndItsSignals)
{
    LockedBox<std::vector<bool>> owned;
    running.session.watchName(name, [&](std::string const& owner) {
        owned.change([&](auto& all) { all.push_back(!owner.empty()); });
    });
    hear();
    buses.start(BusKind::session);
    running.session.start();
    ASSERT_TRUE(running.eventually([&] { return owned.get() == std::vector<bool>{false}; }));

    pid_t const thing = startThing();
    ASSERT_TRUE(running.eventually([&] { return owned.get() == std::vector<bool>{false, true}; }));
    for (char const* const text : {"one", "two"})
        buses.control(BusKind::session, name, path, "EmitSignal",
                      {"sssav", name, "Said", "s", "1", "s", text});
    EXPECT_TRUE(hears({"one", "two"}));
    buses.end(thing);
    EXPECT_TRUE(running.eventually([&] { return owned.get() == std::vector<bool>{false, true, false}; }));
}

TEST_F(Connection, dropsSignalsOfOthersThanTheOwner)
{
    buses.start(BusKind::session);
    Program owner;
    Program other;
    owner.own();
    learnOurName();
    hear();
    running.session.watchName(
        name, [&](std::string const& next) { owners.change([&](auto& all) { all.push_back(next); }); });
    running.session.start();
    std::vector<std::string> expected = {owner.uniqueName()};
    auto const followed = [&] { return running.eventually([&] { return owners.get() == expected; }); };
    ASSERT_TRUE(followed());

    other.say("forged", ours.get());
    owner.say("to all");
    owner.say("to us", ours.get());
    EXPECT_TRUE(hears({"to all", "to us"}));

    // The other imitates the bus: first for itself, then it really takes the name.
    other.send(ours.get(), "org.freedesktop.DBus", "NameOwnerChanged",
               {name, owner.uniqueName(), other.uniqueName()});
    other.say("forged again", ours.get());
    owner.say("still the owner");
    EXPECT_TRUE(hears({"to all", "to us", "still the owner"}));
    EXPECT_EQ(owners.get(), expected);

    owner.release();
    other.own();
    expected.insert(expected.end(), {"", other.uniqueName()});
    EXPECT_TRUE(followed());
    owner.say("late", ours.get());
    other.say("new owner");
    EXPECT_TRUE(hears({"to all", "to us", "still the owner", "new owner"}));
}

TEST_F(Connection, dropsSignalsOfANameWithoutAnOwner)
{
    buses.start(BusKind::session);
    Program other;
    hear();
    learnOurName();
    running.session.start();
    ASSERT_TRUE(running.eventually([&] { return !ours.get().empty(); }));

    other.say("forged", ours.get());
    other.own();
    other.say("genuine");

    EXPECT_TRUE(hears({"genuine"}));
}

TEST_F(Connection, comesBackWithItsWatchesWhenTheBusDoes)
{
    LockedBox<bool> owned;
    LockedBox<int> connections;
    running.session.watchName(name, [&](std::string const& owner) { owned.set(!owner.empty()); });
    running.session.watchConnection(
        [&](sd_bus* bus) { connections.change([&](int& count) { count += bus ? 1 : -10; }); });
    buses.start(BusKind::session);
    running.session.start();
    pid_t const thing = startThing();
    ASSERT_TRUE(running.eventually([&] { return owned.get(); }));

    buses.stop(BusKind::session);
    buses.end(thing);
    ASSERT_TRUE(running.eventually([&] { return !owned.get(); }));
    EXPECT_EQ(connections.get(), -9);
    buses.start(BusKind::session);
    startThing();

    EXPECT_TRUE(running.eventually([&] { return owned.get(); }));
    EXPECT_EQ(connections.get(), -8);
    EXPECT_EQ(ask(), "hello you");
}

TEST_F(Connection, manyCallsAtOnceAreAllAnswered)
{
    buses.start(BusKind::session);
    startThing();
    LockedBox<int> answered;
    for (int number = 0; number < 100; ++number) { // The bus allows 128 pending calls.
        BusCall call{.destination = name,
                     .path = path,
                     .interface = name,
                     .member = "Greet",
                     .arguments = [number](sd_bus_message* message) {
                         sd_bus_message_append(message, "s", std::to_string(number).c_str());
                     }};
        running.session.ask(std::move(call), [&, number](sd_bus_message* reply) {
            if (readText(reply) == "hello " + std::to_string(number))
                answered.change([](int& count) { ++count; });
        });
    }

    EXPECT_TRUE(running.eventually([&] { return answered.get() == 100; }));
}

} // namespace

} // namespace zelvo::test
