#include "platform/linux/dbus/LinuxSingleInstance.h"

#include "desktop/dbus/PrivateBuses.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>

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
        return {.open =
                    [this](Urls urls) {
                        ++asked;
                        if (!isEnding)
                            opened.push_back(std::move(urls));
                        return !isEnding;
                    },
                .activate =
                    [this] {
                        ++asked;
                        activated += isEnding ? 0 : 1;
                        return !isEnding;
                    }};
    }

    /// Does something that blocks this thread, while another one runs the main thread's work.
    template <class Work>
    void whileMainRuns(Work const& work)
    {
        auto guard = asio::make_work_guard(running.main);
        running.main.restart();
        std::thread main([this] { running.main.run(); });
        work();
        guard.reset();
        main.join();
    }

    /// A second start, in a separate process: whether it may run.
    bool startsBeside(Urls const& urls, std::function<void()> const& meanwhile = [] {})
    {
        pid_t const child = ::fork();
        if (child == 0) {
            ::close_range(3, ~0U, 0); // Copies of the first one's lock and connections.
            asio::io_context io;
            LinuxClock clock(io.get_executor());
            LinuxSingleInstance second({io.get_executor(), io.get_executor(), io.get_executor()}, clock,
                                       openSessionBus, LinuxSingleInstance::lockFolder());
            ::_exit(second.claim(urls, {.open = [](Urls) { return true; }, .activate = [] { return true; }})
                        ? 1
                        : 0);
        }
        int status = 0;
        bool const ended = running.eventually([&] {
            meanwhile();
            return ::waitpid(child, &status, WNOHANG) == child;
        });
        EXPECT_TRUE(ended);
        if (!ended)
            ::kill(child, SIGKILL);
        return status != 0;
    }

    PrivateBuses buses;
    RunningContexts running;
    std::vector<Urls> opened;
    int activated = 0;
    int asked = 0;
    bool isEnding = false;
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

    whileMainRuns([&] {
        buses.call(BusKind::session, name, objectPath, interface, "Open",
                   {"asa{sv}", "1", "zelvo://link?token=x", "1", "desktop-startup-id", "s", "1"});
        buses.call(BusKind::session, name, objectPath, interface, "Open", {"asa{sv}", "0", "0"});
        buses.call(BusKind::session, name, objectPath, interface, "Activate", {"a{sv}", "0"});
        buses.call(BusKind::session, name, objectPath, interface, "ActivateAction",
                   {"sava{sv}", "show", "0", "0"});
        EXPECT_THROW(buses.call(BusKind::session, name, objectPath, interface, "Open",
                                {"asa{sv}", "1", std::string(70'000, 'x'), "0"}),
                     std::runtime_error);
    });

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
        char const claimed =
            other.claim({}, {.open = [](Urls) { return true; }, .activate = [] { return true; }}) ? 'y' : 'n';
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

    whileMainRuns([&] {
        EXPECT_FALSE(visit("nonsense"));
        EXPECT_FALSE(visit(""));
        EXPECT_FALSE(visit("{\"a\": 1}"));
        EXPECT_FALSE(visit("[1]"));
        EXPECT_FALSE(visit("[\"" + std::string(100'000, 'x') + "\"]"));
        EXPECT_TRUE(visit("[\"zelvo://link?token=a\"]"));
    });

    EXPECT_TRUE(running.eventually([&] { return opened.size() == 1; }));
    EXPECT_EQ(activated, 0);
}

/// With and without a session bus.
class EndingInstance : public Instance, public testing::WithParamInterface<bool> {
protected:
    EndingInstance()
    {
        if (GetParam())
            buses.start(BusKind::session);
    }
};

INSTANTIATE_TEST_SUITE_P(WithAndWithoutABus, EndingInstance, testing::Bool());

TEST_P(EndingInstance, isFollowedByTheNextStart)
{
    auto first = instance();
    ASSERT_TRUE(first->claim({}, requests()));
    isEnding = true;
    int const attempts = 4;

    EXPECT_TRUE(startsBeside({"zelvo://link?token=a"}, [&] {
        if (asked >= attempts)
            first.reset();
    }));

    EXPECT_GE(asked, attempts);
    EXPECT_TRUE(opened.empty());
    isEnding = false;
    auto const third = instance();
    EXPECT_TRUE(third->claim({}, requests()));
}

TEST_P(EndingInstance, thatEndsWithARequestUnansweredIsFollowedByTheNextStart)
{
    auto idle = std::make_unique<asio::io_context>(); // The main thread works no more.
    auto first = std::make_unique<LinuxSingleInstance>(
        Contexts{idle->get_executor(), running.agent.get_executor(), running.workers.get_executor()},
        running.clock, openSessionBus, LinuxSingleInstance::lockFolder());
    ASSERT_TRUE(first->claim({}, requests()));
    auto const begun = std::chrono::steady_clock::now();

    EXPECT_TRUE(startsBeside({"zelvo://link?token=a"}, [&] {
        if (std::chrono::steady_clock::now() - begun < std::chrono::seconds(1))
            return;
        first.reset();
        idle.reset();
    }));

    EXPECT_TRUE(opened.empty());
}

TEST_P(EndingInstance, thatIsOnlyBusyTakesTheRequestLater)
{
    asio::io_context busy;
    LinuxSingleInstance first(
        {busy.get_executor(), running.agent.get_executor(), running.workers.get_executor()}, running.clock,
        openSessionBus, LinuxSingleInstance::lockFolder());
    ASSERT_TRUE(first.claim({}, requests()));

    EXPECT_FALSE(startsBeside({"zelvo://link?token=a"}));
    busy.run();

    EXPECT_EQ(opened, std::vector<Urls>({{"zelvo://link?token=a"}}));
}

TEST_P(EndingInstance, thatServesAfterAllTakesTheRequest)
{
    auto const first = instance();
    ASSERT_TRUE(first->claim({}, requests()));
    isEnding = true;

    EXPECT_FALSE(startsBeside({"zelvo://link?token=a"}, [&] { isEnding = asked < 2; }));

    EXPECT_EQ(opened, std::vector<Urls>({{"zelvo://link?token=a"}}));
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
