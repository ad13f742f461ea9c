#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"
#include "wire/PrivateMark.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/xattr.h>

#include <fstream>

namespace zelvo::service {
namespace {

TEST(State, outlivesTheProcess)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    std::string const key = gateway.apiKey();
    std::string const link = gateway.newLink();
    auto const session = gateway.consoleSession();

    gateway.stop();
    gateway.start();

    EXPECT_EQ(gateway.apiKey(), key);
    FakeMachine machine(thread, gateway.port(), linked.token);
    EXPECT_EQ(machine.status(), 101);
    EXPECT_EQ(gateway.command(linked.connectionId, "display.info").status, 200);
    EXPECT_EQ(gateway.resolve(link).status, 200);
    EXPECT_EQ(gateway.call("GET", "/console/machines", "", {session}).status, 401); // Browsers log in again.
}

// Secrets of callers are looked up by their hashes, so neither a copy of the store nor the time of a look-up
// tells one.
TEST(State, holdsNoSecretOfACaller)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();
    std::string const code = gateway.newLink();
    std::string const link = gateway.running().newConsoleLink();
    auto const session = gateway.consoleSession();
    gateway.stop();

    for (auto const& entry : std::filesystem::directory_iterator(gateway.data())) {
        if (!entry.is_regular_file())
            continue;
        std::string const content = gateway.readFile(entry.path().filename());
        for (std::string const& secret :
             {linked.token, code, link.substr(link.find('#') + 1), session.second})
            EXPECT_EQ(content.find(secret), std::string::npos) << entry.path();
    }
}

TEST(State, marksItsFolderForAgentsOnTheSameMachine)
{
    Gateway gateway;

    EXPECT_TRUE(std::filesystem::is_regular_file(gateway.data() / PrivateMark::fileName));
    std::filesystem::path const key = gateway.data() / "api-key";
    if (::setxattr(key.c_str(), "user.zelvo.test", "1", 1, 0) != 0)
        GTEST_SKIP() << "this file system has no extended attributes";
    for (char const* const name : {"api-key", "authorization.header", "gateway.sqlite", "gateway.sqlite-wal"})
        EXPECT_GE(::getxattr((gateway.data() / name).c_str(), PrivateMark::attribute, nullptr, 0), 0) << name;
}

TEST(State, isForTheOwnersEyesOnly)
{
    Gateway gateway;
    gateway.link();

    EXPECT_EQ(modeOf(gateway.data()), 0700u);
    int files = 0;
    for (auto const& entry : std::filesystem::directory_iterator(gateway.data())) {
        EXPECT_EQ(modeOf(entry.path()), 0600u) << entry.path();
        ++files;
    }
    EXPECT_GE(files, 4);
}

TEST(State, takesOthersRightsToTheKeyAway)
{
    Gateway gateway;
    gateway.stop();
    ::chmod(gateway.data().c_str(), 0755);
    ::chmod((gateway.data() / "api-key").c_str(), 0644);

    gateway.start();

    EXPECT_EQ(modeOf(gateway.data()), 0700u);
    EXPECT_EQ(modeOf(gateway.data() / "api-key"), 0600u);
}

TEST(State, holdsNoTokenAndNoCodeInTheClear)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();
    std::string const link = gateway.newLink();
    std::string const console = gateway.running().newConsoleLink();
    std::string const code = console.substr(console.find("code=") + 5);

    for (std::string const name : {"gateway.sqlite", "gateway.sqlite-wal"}) {
        std::string const bytes = gateway.readFile(name);
        EXPECT_EQ(bytes.find(linked.token), std::string::npos) << name;
        EXPECT_EQ(bytes.find(link), std::string::npos) << name;
        EXPECT_EQ(bytes.find(code), std::string::npos) << name;
        EXPECT_EQ(bytes.find(gateway.apiKey()), std::string::npos) << name;
    }
    EXPECT_NE(gateway.readFile("gateway.sqlite-wal").find(linked.connectionId), std::string::npos);
}

TEST(State, givesTheKeyAsAHeaderFileToo)
{
    Gateway gateway;

    EXPECT_EQ(gateway.readFile("authorization.header"), "Authorization: Bearer " + gateway.apiKey() + "\n");
}

TEST(State, belongsToOneGatewayAtATime)
{
    Gateway gateway;
    Settings settings;
    settings.dataFolder = gateway.data();
    settings.port = 0;

    EXPECT_THROW(Server second(settings), std::runtime_error);
    EXPECT_EQ(gateway.platform("GET", "/v1/connections").status, 200);
}

TEST(State, refusesAKeyThatCanBeGuessed)
{
    Gateway gateway;
    gateway.stop();
    std::ofstream(gateway.data() / "api-key") << "short\n";

    EXPECT_THROW(gateway.start(), std::runtime_error);
}

TEST(State, cannotBeMadeWhereAFileStands)
{
    TemporaryFolder folder;
    std::ofstream(folder.path / "file") << "x";
    Settings settings;
    settings.dataFolder = folder.path / "file" / "data";

    EXPECT_THROW(Server server(settings), std::runtime_error);
}

} // namespace
} // namespace zelvo::service
