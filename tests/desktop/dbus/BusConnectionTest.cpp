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

    PrivateBuses buses;
    RunningContexts running;
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
    LockedBox<std::vector<std::string>> said;
    running.session.watchName(name, [&](std::string const& owner) {
        owned.change([&](auto& all) { all.push_back(!owner.empty()); });
    });
    running.session.watchSignal(std::string("type='signal',sender='") + name + "',member='Said'",
                                [&](sd_bus_message* message) {
                                    auto const text = readText(message).value_or("?");
                                    said.change([&](auto& all) { all.push_back(text); });
                                });
    buses.start(BusKind::session);
    running.session.start();
    ASSERT_TRUE(running.eventually([&] { return owned.get() == std::vector<bool>{false}; }));

    pid_t const thing = startThing();
    ASSERT_TRUE(running.eventually([&] { return owned.get() == std::vector<bool>{false, true}; }));
    for (char const* const text : {"one", "two"})
        buses.control(BusKind::session, name, path, "EmitSignal",
                      {"sssav", name, "Said", "s", "1", "s", text});
    EXPECT_TRUE(running.eventually([&] { return said.get() == std::vector<std::string>{"one", "two"}; }));
    buses.end(thing);
    EXPECT_TRUE(running.eventually([&] { return owned.get() == std::vector<bool>{false, true, false}; }));
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
