#include "platform/linux/dbus/LinuxSingleInstance.h"

#include "desktop/dbus/PrivateBuses.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace zelvo::test {

namespace {

using Urls = std::vector<std::string>;

constexpr char const* name = "dev.zelvo.agent";
constexpr char const* objectPath = "/dev/zelvo/agent";

class Instance : public testing::Test {
protected:
    std::unique_ptr<LinuxSingleInstance> instance()
    {
        return std::make_unique<LinuxSingleInstance>(running.contexts(), running.clock, openSessionBus,
                                                     LinuxSingleInstance::lockFolder());
    }

    SingleInstance::Requests requests()
    {
        return {.open = [this](Urls urls) { opened.push_back(std::move(urls)); },
                .activate = [this] { ++activated; }};
    }

    /// A second start, in a separate process: whether it may run.
    bool startsBeside(Urls const& urls)
    {
        pid_t const child = ::fork();
        if (child == 0) {
            asio::io_context io;
            LinuxClock clock(io.get_executor());
            LinuxSingleInstance second({io.get_executor(), io.get_executor(), io.get_executor()}, clock,
                                       openSessionBus, LinuxSingleInstance::lockFolder());
            ::_exit(second.claim(urls, {.open = [](Urls) {}, .activate = [] {}}) ? 1 : 0);
        }
        int status = 0;
        bool const ended = running.eventually([&] { return ::waitpid(child, &status, WNOHANG) == child; });
        return !ended || status != 0;
    }

    PrivateBuses buses;
    RunningContexts running;
    std::vector<Urls> opened;
    int activated = 0;
};

TEST_F(Instance, onTheBusTakesWhatASecondStartBrings)
{
    buses.start(BusKind::session);
    auto const first = instance();
    ASSERT_TRUE(first->claim({}, requests()));

    EXPECT_FALSE(startsBeside({"zelvo://link?token=a", "zelvo://link?token=b"}));
    EXPECT_FALSE(startsBeside({}));

    EXPECT_TRUE(running.eventually([&] { return activated == 1; }));
    EXPECT_EQ(opened, std::vector<Urls>({{"zelvo://link?token=a", "zelvo://link?token=b"}}));
}

TEST_F(Instance, answersAnyCallerOfTheApplicationInterface)
{
    buses.start(BusKind::session);
    auto const first = instance();
    ASSERT_TRUE(first->claim({}, requests()));
    char const* const interface = "org.freedesktop.Application";

    buses.call(BusKind::session, name, objectPath, interface, "Open",
               {"asa{sv}", "1", "zelvo://link?token=x", "1", "desktop-startup-id", "s", "1"});
    buses.call(BusKind::session, name, objectPath, interface, "Open", {"asa{sv}", "0", "0"});
    buses.call(BusKind::session, name, objectPath, interface, "Activate", {"a{sv}", "0"});
    buses.call(BusKind::session, name, objectPath, interface, "ActivateAction",
               {"sava{sv}", "show", "0", "0"});
    EXPECT_THROW(buses.call(BusKind::session, name, objectPath, interface, "Open",
                            {"asa{sv}", "1", std::string(70'000, 'x'), "0"}),
                 std::runtime_error);

    EXPECT_TRUE(running.eventually([&] { return activated == 3; }));
    EXPECT_EQ(opened, std::vector<Urls>({{"zelvo://link?token=x"}}));
}

TEST_F(Instance, takesTheNameAgainWhenTheBusComesBack)
{
    buses.start(BusKind::session);
    auto const first = instance();
    ASSERT_TRUE(first->claim({}, requests()));

    buses.stop(BusKind::session);
    buses.start(BusKind::session);

    ASSERT_TRUE(running.eventually([&] { return buses.hasOwner(BusKind::session, name); }));
    EXPECT_FALSE(startsBeside({}));
    EXPECT_TRUE(running.eventually([&] { return activated == 1; }));
}

TEST_F(Instance, withoutABusTakesWhatASecondStartBrings)
{
    auto const first = instance();
    ASSERT_TRUE(first->claim({}, requests()));

    EXPECT_FALSE(startsBeside({"zelvo://link?token=a"}));
    EXPECT_FALSE(startsBeside({}));

    EXPECT_TRUE(running.eventually([&] { return activated == 1; }));
    EXPECT_EQ(opened, std::vector<Urls>({{"zelvo://link?token=a"}}));
}

TEST_F(Instance, withoutABusAndARuntimeFolderUsesTheSettingsFolder)
{
    ::unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(LinuxSingleInstance::lockFolder(), buses.folder() / "home" / ".config" / "dev.zelvo.agent");
    auto const first = instance();
    ASSERT_TRUE(first->claim({}, requests()));

    EXPECT_FALSE(startsBeside({"zelvo://link?token=a"}));

    EXPECT_TRUE(running.eventually([&] { return opened.size() == 1; }));
}

TEST_F(Instance, thatWasKilledBlocksNobody)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    pid_t const child = ::fork();
    if (child == 0) {
        asio::io_context io;
        LinuxClock clock(io.get_executor());
        LinuxSingleInstance other({io.get_executor(), io.get_executor(), io.get_executor()}, clock,
                                  openSessionBus, LinuxSingleInstance::lockFolder());
        char const claimed = other.claim({}, {.open = [](Urls) {}, .activate = [] {}}) ? 'y' : 'n';
        [[maybe_unused]] auto const written = ::write(ends[1], &claimed, 1);
        for (;;)
            ::pause();
    }
    char claimed = 0;
    ASSERT_EQ(::read(ends[0], &claimed, 1), 1);
    ASSERT_EQ(claimed, 'y');
    EXPECT_FALSE(instance()->claim({}, requests()));

    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    auto const next = instance();

    ASSERT_TRUE(next->claim({}, requests()));
    EXPECT_FALSE(startsBeside({}));
    EXPECT_TRUE(running.eventually([&] { return activated == 1; }));
}

TEST_F(Instance, givesNoLinkToAnotherProgramWithItsName)
{
    buses.start(BusKind::session);
    char const* const interface = "org.freedesktop.Application";
    buses.mock(BusKind::session, name, objectPath, interface);
    for (auto const& [member, signature] : {std::pair("Open", "asa{sv}"), std::pair("Activate", "a{sv}")})
        buses.control(BusKind::session, name, objectPath, "AddMethod",
                      {"sssss", interface, member, signature, "", ""});
    auto const first = instance();

    EXPECT_TRUE(first->claim({"zelvo://link?token=secret"}, requests()));
    EXPECT_FALSE(startsBeside({"zelvo://link?token=secret"})); // Handed over to the first.

    EXPECT_TRUE(running.eventually([&] { return !opened.empty(); }));
    EXPECT_EQ(opened, std::vector<Urls>({{"zelvo://link?token=secret"}}));
    EXPECT_EQ(buses.control(BusKind::session, name, objectPath, "GetCalls", {}).find("secret"),
              std::string::npos);
}

TEST_F(Instance, givesNoLinkToAnotherProgramWithItsLock)
{
    pid_t const thief = buses.run({"/usr/bin/python3", "-c", R"(
import fcntl, socket, sys
folder = sys.argv[1]
lock = open(folder + "/dev.zelvo.agent.lock", "w")
fcntl.flock(lock, fcntl.LOCK_EX)
server = socket.socket(socket.AF_UNIX)
server.bind(folder + "/dev.zelvo.agent.socket")
server.listen()
print("ready", flush=True)
while True:
    peer, _ = server.accept()
    print("got", peer.recv(65536), flush=True)
    peer.send(b"!")
)",
                                   LinuxSingleInstance::lockFolder().string()});
    require("the thief", [&] { return buses.output(thief).find("ready") != std::string::npos; });

    EXPECT_FALSE(startsBeside({"zelvo://link?token=secret"}));

    EXPECT_EQ(buses.output(thief).find("secret"), std::string::npos) << buses.output(thief);
}

TEST_F(Instance, servesTheFolderWhenAnotherProgramTookItsNameOverARestartOfTheBus)
{
    buses.start(BusKind::session);
    auto const first = instance();
    ASSERT_TRUE(first->claim({}, requests()));

    EXPECT_TRUE(std::filesystem::exists(LinuxSingleInstance::lockFolder() / "dev.zelvo.agent.socket"));
    buses.stop(BusKind::session);
    EXPECT_FALSE(startsBeside({"zelvo://link?token=a"}));

    EXPECT_TRUE(running.eventually([&] { return opened.size() == 1; }));
}

TEST_F(Instance, passesOverMessagesThatAreNotUrls)
{
    auto const first = instance();
    ASSERT_TRUE(first->claim({}, requests()));
    auto const visit = [&](std::string const& message) {
        int const visitor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (visitor < 0)
            throw std::runtime_error("no socket");
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        (LinuxSingleInstance::lockFolder() / "dev.zelvo.agent.socket").string().copy(address.sun_path, 100);
        EXPECT_EQ(::connect(visitor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        std::size_t sent = 0;
        while (sent < message.size()) {
            ssize_t const count = ::send(visitor, message.data() + sent, message.size() - sent, MSG_NOSIGNAL);
            if (count <= 0)
                break;
            sent += static_cast<std::size_t>(count);
        }
        ::shutdown(visitor, SHUT_WR);
        char answer = 0;
        bool const isTaken = ::recv(visitor, &answer, 1, 0) == 1;
        ::close(visitor);
        return isTaken;
    };

    EXPECT_FALSE(visit("nonsense"));
    EXPECT_FALSE(visit(""));
    EXPECT_FALSE(visit("{\"a\": 1}"));
    EXPECT_FALSE(visit("[1]"));
    EXPECT_FALSE(visit("[\"" + std::string(100'000, 'x') + "\"]"));
    EXPECT_TRUE(visit("[\"zelvo://link?token=a\"]"));

    EXPECT_TRUE(running.eventually([&] { return opened.size() == 1; }));
    EXPECT_EQ(activated, 0);
}

TEST_F(Instance, aBusThatNeverSaysHelloIsNoBus)
{
    int const mute = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(mute, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (buses.folder() / "run" / "session").string().copy(address.sun_path, 100);
    ASSERT_EQ(::bind(mute, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(mute, 8), 0);
    auto const first = instance();

    auto const begun = std::chrono::steady_clock::now();
    EXPECT_TRUE(first->claim({}, requests()));

    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(4));
    EXPECT_TRUE(std::filesystem::exists(LinuxSingleInstance::lockFolder() / "dev.zelvo.agent.socket"));
    ::close(mute);
}

} // namespace

} // namespace zelvo::test
