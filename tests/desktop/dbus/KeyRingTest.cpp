#include "desktop/dbus/PrivateBuses.h"
#include "platform/linux/dbus/SecretServiceWatch.h"
#include "platform/linux/system/LinuxSecretStore.h"

#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <fstream>

namespace zelvo::test {

namespace {

constexpr char const* service = "dev.zelvo.agent";
constexpr char const* account = "machine_token";

/// The secret store with a real GNOME key ring.
class KeyRing : public testing::Test {
protected:
    void SetUp() override
    {
        buses.start(BusKind::session);
        running.session.start();
        store = std::make_unique<LinuxSecretStore>(
            running.contexts(), running.clock, folder(),
            [this](std::function<void()> tell) { watchSecretService(running.session, std::move(tell)); });
        store->onBecameAvailable([this] { ++available; });
    }

    std::filesystem::path folder() const { return buses.folder() / "home" / "keychain"; }
    std::filesystem::path file() const { return folder() / "dev.zelvo.agent.machine_token"; }

    /// A key ring with an unlocked default collection.
    pid_t startOpenRing()
    {
        pid_t const pid =
            buses.run({"/bin/sh", "-c",
                       "printf '\\n' | gnome-keyring-daemon --unlock --components=secrets --foreground"});
        require("the key ring", [&] { return isRingOpen(); });
        return pid;
    }

    bool isRingOpen()
    {
        try {
            return buses.call(BusKind::session, "org.freedesktop.secrets", "/org/freedesktop/secrets",
                              "org.freedesktop.Secret.Service", "ReadAlias", {"s", "default"}) != "o \"/\"\n";
        } catch (std::runtime_error const&) {
            return false;
        }
    }

    void setLocked(bool locked)
    {
        buses.call(BusKind::session, "org.freedesktop.secrets", "/org/freedesktop/secrets",
                   "org.freedesktop.Secret.Service", locked ? "Lock" : "Unlock",
                   {"ao", "1", "/org/freedesktop/secrets/collection/login"});
    }

    /// Unlocks it without a prompt, with the password that it was created with. One connection must make both
    /// calls.
    void unlock()
    {
        char const* const script = R"(
import dbus
ring = dbus.SessionBus().get_object('org.freedesktop.secrets', '/org/freedesktop/secrets')
session = ring.OpenSession('plain', '', dbus_interface='org.freedesktop.Secret.Service')[1]
password = dbus.Struct((session, dbus.ByteArray(b''), dbus.ByteArray(b'\n'), 'text/plain'), signature='oayays')
ring.UnlockWithMasterPassword(dbus.ObjectPath('/org/freedesktop/secrets/collection/login'), password,
                              dbus_interface='org.gnome.keyring.InternalUnsupportedGuiltRiddenInterface')
)";
        ASSERT_EQ(buses.waitForEnd(buses.run({"/usr/bin/python3", "-c", script})), 0);
    }

    std::optional<std::string> get() { return running.await(store->get(service, account)); }
    void set(std::string const& secret) { running.await(store->set(service, account, secret)); }
    void remove() { running.await(store->remove(service, account)); }

    /// What another program reads from the key ring.
    std::string lookup()
    {
        pid_t const pid = buses.run({"secret-tool", "lookup", "service", service, "account", account});
        buses.waitForEnd(pid);
        return buses.output(pid);
    }

    std::string contentOfFile()
    {
        std::ifstream stream(file());
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    PrivateBuses buses;
    RunningContexts running;
    std::unique_ptr<LinuxSecretStore> store;
    int available = 0;
};

TEST_F(KeyRing, keepsTheSecretAndNoFile)
{
    startOpenRing();

    set("t0ken");

    EXPECT_EQ(get(), "t0ken");
    EXPECT_EQ(lookup(), "t0ken");
    EXPECT_FALSE(std::filesystem::exists(file()));
    set("newer");
    EXPECT_EQ(get(), "newer");
    EXPECT_EQ(lookup(), "newer");
    remove();
    EXPECT_EQ(get(), std::nullopt);
    EXPECT_EQ(lookup(), "");
    remove();
}

TEST_F(KeyRing, readsTheFileThatStandsBesideAnEmptyRing)
{
    startOpenRing();
    std::filesystem::create_directories(folder());
    std::ofstream(file()) << "by hand";

    EXPECT_EQ(get(), "by hand");
    set("in the ring");

    EXPECT_FALSE(std::filesystem::exists(file()));
    EXPECT_EQ(get(), "in the ring");
}

TEST_F(KeyRing, winsOverAFileThatSomebodyPutThere)
{
    startOpenRing();
    set("in the ring");
    std::filesystem::create_directories(folder());
    std::ofstream(file()) << "by hand";

    EXPECT_EQ(get(), "in the ring");
    remove();
    EXPECT_FALSE(std::filesystem::exists(file()));
    EXPECT_EQ(get(), std::nullopt);
}

TEST_F(KeyRing, takesAnItemOfAnotherToolsMaking)
{
    startOpenRing();
    pid_t const pid = buses.run(
        {"/bin/sh", "-c",
         "printf theirs | secret-tool store --label=x service dev.zelvo.agent account machine_token"});
    buses.waitForEnd(pid);

    EXPECT_EQ(get(), "theirs");
    set("ours");
    EXPECT_EQ(get(), "ours");
    EXPECT_EQ(lookup(), "ours");
    remove();
    EXPECT_EQ(lookup(), "");
}

TEST_F(KeyRing, thatIsMissingLeavesTheFile)
{
    EXPECT_EQ(get(), std::nullopt);
    set("t0ken");

    EXPECT_EQ(get(), "t0ken");
    EXPECT_EQ(contentOfFile(), "t0ken");
    struct stat facts{};
    ASSERT_EQ(::stat(file().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777u, 0600u);
    ASSERT_EQ(::stat(folder().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777u, 0700u);
}

TEST_F(KeyRing, isLeftAloneByAStoreOfFiles)
{
    startOpenRing();
    set("another's");
    store = std::make_unique<LinuxSecretStore>(running.contexts(), running.clock, folder(),
                                               LinuxSecretStore::Watch(), LinuxSecretStore::Places::files);

    EXPECT_EQ(get(), std::nullopt);
    set("t0ken");
    EXPECT_EQ(get(), "t0ken");
    EXPECT_EQ(contentOfFile(), "t0ken");
    EXPECT_EQ(lookup(), "another's");
    remove();
    EXPECT_EQ(get(), std::nullopt);
    EXPECT_EQ(lookup(), "another's");
    EXPECT_TRUE(std::filesystem::is_empty(folder()));
}

TEST_F(KeyRing, thatIsLockedCountsAsNotAnswering)
{
    startOpenRing();
    set("old");
    setLocked(true);

    EXPECT_EQ(get(), std::nullopt);
    set("new");
    EXPECT_EQ(contentOfFile(), "new");
    EXPECT_EQ(get(), "new");
}

TEST_F(KeyRing, thatMissedAChangeIsBroughtUpToDate)
{
    pid_t const ring = startOpenRing();
    set("old");
    buses.end(ring);
    ASSERT_TRUE(
        running.eventually([&] { return !buses.hasOwner(BusKind::session, "org.freedesktop.secrets"); }));
    set("new");
    ASSERT_EQ(contentOfFile(), "new");

    startOpenRing();

    EXPECT_EQ(get(), "new");
    EXPECT_EQ(lookup(), "new");
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(KeyRing, thatMissedARemovalDoesNotBringTheSecretBack)
{
    pid_t const ring = startOpenRing();
    set("old");
    buses.end(ring);
    ASSERT_TRUE(
        running.eventually([&] { return !buses.hasOwner(BusKind::session, "org.freedesktop.secrets"); }));
    remove();

    startOpenRing();

    EXPECT_EQ(get(), std::nullopt);
    EXPECT_EQ(lookup(), "");
}

TEST_F(KeyRing, thatNeverAnswersIsLeftAfterTwoSeconds)
{
    BusPtr const silent = openSessionBus();
    ASSERT_GE(sd_bus_request_name(silent.get(), "org.freedesktop.secrets", 0), 0);
    std::filesystem::create_directories(folder());
    std::ofstream(file()) << "by hand";

    auto const begun = std::chrono::steady_clock::now();
    EXPECT_EQ(get(), "by hand");

    auto const lasted = std::chrono::steady_clock::now() - begun;
    EXPECT_GE(lasted, std::chrono::milliseconds(1900));
    EXPECT_LT(lasted, std::chrono::seconds(4));
}

TEST_F(KeyRing, onABusThatNeverSaysHelloIsLeftAfterTwoSeconds)
{
    std::string const path = (buses.folder() / "run" / "mute").string();
    int const mute = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(mute, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(mute, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(mute, 8), 0);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + path).c_str(), 1);

    auto const begun = std::chrono::steady_clock::now();
    set("t0ken");

    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(4));
    EXPECT_EQ(contentOfFile(), "t0ken");
    ::close(mute);
}

TEST_F(KeyRing, tellsWhenItAppears)
{
    EXPECT_TRUE(running.staysSo([&] { return available == 0; }));

    startOpenRing();

    EXPECT_TRUE(running.eventually([&] { return available > 0; }));
}

TEST_F(KeyRing, tellsWhenItIsUnlocked)
{
    startOpenRing();
    set("t0ken");
    setLocked(true);
    running.staysSo([] { return true; });
    available = 0;

    unlock();

    EXPECT_TRUE(running.eventually([&] { return available > 0; }));
    EXPECT_EQ(get(), "t0ken");
}

TEST_F(KeyRing, tellsNothingOfOrdinaryWrites)
{
    startOpenRing();
    running.staysSo([] { return true; });
    available = 0;

    set("t0ken");

    EXPECT_TRUE(running.staysSo([&] { return available == 0; }));
}

TEST_F(KeyRing, callsRunInOrder)
{
    startOpenRing();
    auto both = [](LinuxSecretStore* secrets) -> Task<std::optional<std::string>> {
        for (int number = 0; number < 10; ++number)
            spawn(co_await asio::this_coro::executor, [secrets, number]() -> Task<> {
                co_await secrets->set(service, account, std::to_string(number));
            });
        co_await asio::post(co_await asio::this_coro::executor, asio::use_awaitable);
        co_return co_await secrets->get(service, account);
    };

    EXPECT_EQ(running.await(both(store.get())), "9");
}

} // namespace

} // namespace zelvo::test
