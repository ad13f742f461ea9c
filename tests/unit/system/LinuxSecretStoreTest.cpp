#include "platform/linux/system/LinuxSecretStore.h"

#include "TemporaryFolder.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

constexpr char const* service = "dev.zelvo.agent";
constexpr char const* account = "machine_token";

/// The store on a machine without a session bus.
class SecretFiles : public testing::Test {
protected:
    void SetUp() override
    {
        ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
        ::unsetenv("XDG_RUNTIME_DIR");
    }

    std::filesystem::path file() const { return folder.path / "keychain" / "dev.zelvo.agent.machine_token"; }

    TemporaryFolder folder;
    asio::io_context io;
    ManualClock clock;
    std::function<void()> ringAppears;
    LinuxSecretStore store{contextsOn(io), clock, folder.path / "keychain",
                           [this](std::function<void()> tell) { ringAppears = std::move(tell); }};
};

TEST_F(SecretFiles, keepsASecretInAPrivateFile)
{
    EXPECT_EQ(run(io, store.get(service, account)), std::nullopt);

    run(io, store.set(service, account, "s3cret\n"));

    EXPECT_EQ(run(io, store.get(service, account)), "s3cret\n");
    EXPECT_EQ(contentOf(file()), "s3cret\n");
    EXPECT_EQ(modeOf(file()), 0600u);
    EXPECT_EQ(modeOf(folder.path / "keychain"), 0700u);
}

TEST_F(SecretFiles, replacesAndRemoves)
{
    run(io, store.set(service, account, "one"));
    run(io, store.set(service, account, "two"));
    EXPECT_EQ(run(io, store.get(service, account)), "two");

    run(io, store.remove(service, account));
    EXPECT_EQ(run(io, store.get(service, account)), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(file()));
    run(io, store.remove(service, account));
}

TEST_F(SecretFiles, keepsNamesApart)
{
    run(io, store.set(service, "a", "one"));
    run(io, store.set(service, "b", "two"));

    EXPECT_EQ(run(io, store.get(service, "a")), "one");
    EXPECT_EQ(run(io, store.get(service, "b")), "two");
}

TEST_F(SecretFiles, repairsWhatIsNotUtf8)
{
    writeFile(file(), "a\xff"
                      "b");
    EXPECT_EQ(run(io, store.get(service, account)), "a\uFFFDb");
}

TEST_F(SecretFiles, refusesNamesThatAreNoFileNames)
{
    EXPECT_THROW(run(io, store.set("..", "/../evil", "x")), SecretStoreFailure);
    EXPECT_EQ(run(io, store.get("..", "/../evil")), std::nullopt);
    run(io, store.remove("..", "/../evil"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
}

TEST_F(SecretFiles, saysWithTheSystemsNumberThatItCouldNotWrite)
{
    writeFile(folder.path / "keychain", "a file where the folder should be");
    try {
        run(io, store.set(service, account, "x"));
        FAIL();
    } catch (SecretStoreFailure const& failure) {
        EXPECT_GT(failure.status, 0);
    }
}

TEST_F(SecretFiles, notifiesOneObserverThatTheRingAppeared)
{
    int first = 0;
    int second = 0;
    ringAppears(); // There is no listener yet.
    store.onBecameAvailable([&] { ++first; });
    settle(io);
    store.onBecameAvailable([&] { ++second; });
    ringAppears();
    ringAppears();
    EXPECT_EQ(second, 0); // Not on the watcher's thread.
    settle(io);

    EXPECT_EQ(second, 2);
}

} // namespace

} // namespace zelvo
