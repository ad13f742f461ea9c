#include "ZelvoGateway/base/ConfigFile.h"
#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/base/FlagTable.h"
#include "ZelvoGateway/store/Database.h"
#include "gateway/support/NotifySocket.h"
#include "gateway/support/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <pty.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>
#include <thread>

namespace zelvo::service {
namespace {

using testing::HasSubstr;

/// A gateway that is run as a service, with a configuration file.
class Service : public testing::Test {
protected:
    void configure(std::string const& lines)
    {
        std::ofstream(config) << "data = " << place.data << "\nport = 0\n" << lines;
        ::chmod(config.c_str(), 0644);
    }
    std::vector<std::string> serve() const
    {
        return {"serve", "--config", config, "--port-file", place.folder.path / "port"};
    }
    std::pair<int, std::string> check(std::vector<std::string> arguments)
    {
        arguments.emplace_back("--check-config");
        Program program(place.out("checked"), std::move(arguments));
        int const status = program.wait();
        return {status, program.text()};
    }
    int statusWith(std::string const& key) const
    {
        return request(place.port(), "GET", "/v1/machines", "", {{"Authorization", "Bearer " + key}}).status;
    }

    Place place;
    std::string const config = place.out("gateway.conf");
    std::string const socketPath = place.out("notify");
    NotifySocket const manager{socketPath};
    Program::Options const notifying{.environment = {"NOTIFY_SOCKET=" + socketPath}};
};

TEST_F(Service, checksItsConfigurationWithoutServing)
{
    configure("");
    EXPECT_EQ(check({"serve", "--config", config}),
              std::pair(0, std::string("The configuration is fine.\n")));
    EXPECT_FALSE(std::filesystem::exists(place.data));

    configure("prot = 1\npersonal = maybe\n");
    EXPECT_EQ(check({"--config", config, "--listen", "nowhere"}),
              std::pair(1, "--listen: an address such as 127.0.0.1 or :: is needed, not \"nowhere\"\n" +
                               config + ":3: there is no setting \"prot\"\n" + config +
                               ":4: personal: yes or no is needed\n"));

    std::ofstream(place.out("file")) << "x";
    EXPECT_EQ(check({"--data", place.out("file")}),
              std::pair(1, "data: " + place.out("file") + " is no folder\n"));
    EXPECT_EQ(check({"--data", place.out("file") + "/below"}).first, 1);
    std::filesystem::create_directory(place.data);
    std::ofstream(place.data + "/api-key") << "short";
    EXPECT_THAT(check({"--data", place.data}).second, HasSubstr("holds no usable key"));
}

TEST_F(Service, checksItsCertificateAndItsFolder)
{
    std::string const certificate = place.out("certificate.pem");
    std::string const key = place.out("key.pem");
    for (std::string const& file : {certificate, key}) {
        std::ofstream(file) << "no PEM";
        ::chmod(file.c_str(), 0600);
    }
    configure("tls-certificate = " + certificate + "\ntls-key = " + key + "\n");
    EXPECT_THAT(check({"--config", config}).second,
                HasSubstr("tls-certificate, tls-key: " + certificate + " holds no certificate"));

    configure("");
    std::filesystem::create_directory(place.data);
    std::ofstream(place.data + "/restore-unfinished") << "x";
    EXPECT_EQ(check({"--config", config}),
              std::pair(1, "data: a backup was not restored to " + place.data +
                               " completely; empty the folder and restore it again\n"));
}

TEST_F(Service, leavesTheStateOfAnotherGatewayAlone)
{
    DataFolder other(place.data);
    other.lock();
    std::ofstream(place.data + "/local-address") << "theirs";
    Database(place.data + "/gateway.sqlite").execute("CREATE TABLE older (a)");

    Program gateway(place.out("log"), place.serve());

    EXPECT_EQ(gateway.wait(), 1);
    EXPECT_THAT(gateway.text(), HasSubstr("another gateway is running on " + place.data));
    EXPECT_FALSE(std::filesystem::exists(place.data + "/api-key"));
    EXPECT_FALSE(std::filesystem::exists(place.data + "/gateway.sqlite.v0"));
    EXPECT_EQ(contentOf(place.data + "/local-address"), "theirs");
}

// Its port may belong to another user's server by now.
TEST_F(Service, isNotLookedForWhereItWasKilled)
{
    {
        Program gateway(place.out("log"), place.serve());
        place.port();
        gateway.send(SIGKILL);
        gateway.wait();
    }
    ASSERT_TRUE(std::filesystem::exists(place.data + "/local-address"));

    for (std::string const command : {"console-link", "mcp"}) {
        Program program(place.out("printed"), {command, "--data", place.data});
        EXPECT_EQ(program.wait(), 1) << command;
        EXPECT_THAT(program.text(), HasSubstr("no gateway is running on " + place.data)) << command;
    }

    std::filesystem::remove(place.folder.path / "port");
    Program const next(place.out("log"), place.serve());
    place.port();
    Program link(place.out("printed"), {"console-link", "--data", place.data});
    EXPECT_EQ(link.wait(), 0) << link.text();
}

TEST_F(Service, startsWithNoBrokenConfiguration)
{
    configure("prot = 1\nport = 1\n");

    Program gateway(place.out("log"), serve());

    EXPECT_EQ(gateway.wait(), 2);
    EXPECT_EQ(gateway.text(),
              "zelvo-gateway: " + config + ":3: there is no setting \"prot\"\nzelvo-gateway: " + config +
                  ":4: port: it has a value already, in line 2\nzelvo-gateway: --help lists the "
                  "flags\n");
}

TEST_F(Service, reportsToItsManager)
{
    configure("");
    Program gateway(place.out("log"), serve(), notifying);

    EXPECT_EQ(manager.next(), "READY=1\nSTATUS=Serving at http://127.0.0.1:" + std::to_string(place.port()));
    EXPECT_EQ(request(place.port(), "GET", "/readyz").status, 200);

    gateway.send(SIGHUP);
    EXPECT_THAT(manager.next(), testing::MatchesRegex("RELOADING=1\nMONOTONIC_USEC=[0-9]+\nSTATUS=.*"));
    EXPECT_THAT(manager.next(), testing::StartsWith("READY=1\n"));

    gateway.send(SIGTERM);
    EXPECT_THAT(manager.next(), testing::MatchesRegex("STOPPING=1\n.*\nEXTEND_TIMEOUT_USEC=40000000"));
    EXPECT_EQ(gateway.wait(), 0);
}

TEST_F(Service, reportsToASocketWithoutAFile)
{
    configure("");
    std::string const name = "@zelvo-test-" + std::to_string(::getpid());
    NotifySocket const abstract(name);

    Program const gateway(place.out("log"), serve(), {.environment = {"NOTIFY_SOCKET=" + name}});

    EXPECT_THAT(abstract.next(), testing::StartsWith("READY=1\n"));
}

TEST_F(Service, runsWithoutAManagerThatAnswers)
{
    configure("");

    Program const gateway(place.out("log"), serve(),
                          {.environment = {"NOTIFY_SOCKET=" + place.out("nobody"), "WATCHDOG_USEC=100000"}});

    EXPECT_EQ(request(place.port(), "GET", "/healthz").status, 200);
}

TEST_F(Service, isAliveOnlyWhileItsLoopRuns)
{
    using namespace std::chrono_literals;
    configure("");
    Program::Options watched = notifying;
    watched.environment.emplace_back("WATCHDOG_USEC=400000"); // Reports every 0.2 s.
    Program const gateway(place.out("log"), serve(), watched);
    ASSERT_THAT(manager.next(), testing::StartsWith("READY=1\n"));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(manager.next(2s), "WATCHDOG=1");

    Database store(std::filesystem::path(place.data) / "gateway.sqlite");
    std::thread blocked;
    std::string duringHang = "none";
    {
        Transaction const lock(store); // Who writes now waits for up to 5 s.
        blocked = std::thread(
            [&] { request(place.port(), "POST", "/v1/end-users", R"({"externalId":"a"})", place.key()); });
        for (int i = 0; i < 5 && !duringHang.empty(); ++i) // Some reports precede the request.
            duringHang = manager.next(1s);
    }
    blocked.join();

    EXPECT_EQ(duringHang, "");
    EXPECT_EQ(manager.nextOf("WATCHDOG"), "WATCHDOG=1");
}

TEST_F(Service, reloadsWhatARunningGatewayCanTake)
{
    configure("platform-name = Before\n");
    Program gateway(place.out("log"), serve(), notifying);
    std::uint16_t const port = place.port();
    ASSERT_FALSE(manager.nextOf("READY=1").empty());
    std::string const shown = request(port, "GET", "/link").body;

    configure("platform-name = After\ncommand-timeout = 5\npublic-url = https://x.example\n");
    gateway.send(SIGHUP);
    ASSERT_FALSE(manager.nextOf("READY=1").empty());

    EXPECT_THAT(gateway.text(),
                HasSubstr("reloaded: platform-name, command-timeout changed; public-url changes "
                          "with the next start\n"));
    EXPECT_THAT(shown, HasSubstr("Before"));
    EXPECT_THAT(request(port, "GET", "/link").body, HasSubstr("After"));
    gateway.send(SIGHUP);
    EXPECT_TRUE(gateway.becomesText("reloaded: public-url changes with the next start\n"));
}

TEST_F(Service, keepsEverythingIfItsFilesAreBroken)
{
    configure("platform-name = Before\n");
    Program gateway(place.out("log"), serve(), notifying);
    ASSERT_FALSE(manager.nextOf("READY=1").empty());
    std::string const key = place.apiKey();

    configure("platform-name = After\npersonal = maybe\n");
    std::ofstream(place.data + "/api-key") << "short\n";
    gateway.send(SIGHUP);
    ASSERT_FALSE(manager.nextOf("READY=1").empty());

    EXPECT_THAT(gateway.text(), HasSubstr("not reloaded: " + config + ":4: personal: yes or no is needed\n"));
    EXPECT_THAT(gateway.text(), HasSubstr("the settings stay as they are\n"));
    EXPECT_THAT(gateway.text(), HasSubstr("not reloaded: " + place.data + "/api-key holds no usable key"));
    EXPECT_THAT(request(place.port(), "GET", "/link").body, HasSubstr("Before"));
    EXPECT_EQ(statusWith(key), 200);
}

TEST_F(Service, takesAnotherBuiltInKeyAtOnce)
{
    configure("");
    Program gateway(place.out("log"), serve(), notifying);
    ASSERT_FALSE(manager.nextOf("READY=1").empty());
    std::string const old = place.apiKey();
    ASSERT_EQ(statusWith(old), 200);

    std::filesystem::remove(place.data + "/api-key");
    gateway.send(SIGHUP);
    ASSERT_FALSE(manager.nextOf("READY=1").empty());

    EXPECT_EQ(statusWith(old), 401);
    EXPECT_EQ(statusWith(place.apiKey()), 200);
    EXPECT_EQ(gateway.text().find(place.apiKey()), std::string::npos);
}

TEST_F(Service, endsWhenItsTerminalIsGone)
{
    int terminal = -1;
    int end = -1;
    ASSERT_EQ(::openpty(&terminal, &end, nullptr, nullptr, nullptr), 0);
    for (int const file : {terminal, end}) // The gateway must not keep its own terminal.
        ::fcntl(file, F_SETFD, FD_CLOEXEC);
    configure("");
    Program gateway(place.out("log"), serve(), {.environment = {}, .input = end});
    ::close(end);
    place.port();
    gateway.send(SIGHUP);
    ASSERT_TRUE(gateway.becomesText("reloaded"));

    ::close(terminal);
    gateway.send(SIGHUP);

    EXPECT_EQ(gateway.wait(), 0);
    EXPECT_THAT(gateway.text(), HasSubstr("stopped"));
}

/// The example in packaging/, with each setting's comment sign removed.
std::string exampleWithEverySetting()
{
    std::istringstream lines(contentOf(ZELVO_EXAMPLE_CONFIG));
    std::string text;
    for (std::string line; std::getline(lines, line);)
        text += (line.starts_with("#") && !line.starts_with("# ") ? line.substr(1) : line) + "\n";
    return text;
}

TEST(ExampleConfiguration, isValidAndNamesEverySetting)
{
    std::string const example = exampleWithEverySetting();
    ConfigReading const asItIs = ConfigFile::parse(contentOf(ZELVO_EXAMPLE_CONFIG), "example");
    ConfigReading const whole = ConfigFile::parse(example, "example");

    EXPECT_THAT(asItIs.problems, testing::IsEmpty());
    EXPECT_EQ(asItIs.values.at("data").front(), "/var/lib/zelvo-gateway");
    EXPECT_EQ(asItIs.values.size(), 1u); // Everything else is as without a file.
    EXPECT_THAT(whole.problems, testing::IsEmpty());
    for (Flag const& flag : allFlags())
        if (flag.kind != Flag::Kind::argument)
            EXPECT_THAT(example, testing::ContainsRegex("\n" + std::string(flag.settingName()) + " = "))
                << flag.name;
}

} // namespace
} // namespace zelvo::service
