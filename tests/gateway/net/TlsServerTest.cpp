#include "gateway/mcp/transport/StdioProgram.h"
#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"
#include "gateway/support/TlsConnection.h"
#include "unit/net/TestCertificates.h"

#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>

namespace zelvo::service {
namespace {

/// A gateway with a certificate for 127.0.0.1 of an authority that the test's process trusts.
class TlsServer : public testing::Test {
protected:
    TlsServer()
    {
        write(certificates);
        ::setenv("SSL_CERT_FILE", certificates.authorityFile.c_str(), 1);
    }
    ~TlsServer() override { ::unsetenv("SSL_CERT_FILE"); }

    void write(TestCertificates const& pair) const
    {
        writePrivate("chain.pem", pair.certificate);
        writePrivate("key.pem", pair.key);
    }
    void writePrivate(std::string const& name, std::string const& text) const
    {
        std::filesystem::path const draft = files.path / "draft";
        std::ofstream(draft, std::ios::binary) << text;
        std::filesystem::permissions(draft, std::filesystem::perms::owner_read);
        std::filesystem::rename(draft, files.path / name);
    }
    void start(std::function<void(Settings&)> const& change = [](Settings&) {})
    {
        gateway.emplace([&](Settings& settings) {
            settings.tls = {.certificate = files.path / "chain.pem", .key = files.path / "key.pem"};
            change(settings);
        });
    }
    /// Reloads, and returns what went wrong.
    std::vector<std::string> reload()
    {
        std::promise<std::vector<std::string>> done;
        gateway->running().reload({}, [&](auto problems) { done.set_value(std::move(problems)); });
        return done.get_future().get();
    }
    TlsOptions trusting(TestCertificates const& pair) const { return {.authorityFile = pair.authorityFile}; }
    std::unique_ptr<TlsConnection> connect(TlsOptions const& options) const
    {
        return std::make_unique<TlsConnection>(gateway->port(), options);
    }
    std::unique_ptr<TlsConnection> connect() const { return connect(trusting(certificates)); }
    Answer platform(std::string const& method, std::string const& target, std::string const& body = {}) const
    {
        return connect()->request(method, target, {{"Authorization", "Bearer " + gateway->apiKey()}}, body);
    }
    /// The token and the connection of a machine without a person.
    LinkedMachine provision() const
    {
        json::value const made = platform("POST", "/v1/cloud-machines").json();
        auto const text = [&](char const* key) { return std::string(made.at(key).as_string()); };
        return {.machineId = text("machineId"),
                .token = text("machineToken"),
                .connectionId = text("connectionId")};
    }

    TestCertificates certificates{"127.0.0.1"};
    TemporaryFolder files;
    std::optional<Gateway> gateway;
};

TEST_F(TlsServer, servesRequestsOnOneConnection)
{
    start();
    auto const connection = connect();

    EXPECT_EQ(connection->request("GET", "/").status, 200);
    EXPECT_EQ(connection->request("GET", "/locked").status, 200);
    EXPECT_EQ(gateway->running().address(), "https://127.0.0.1:" + std::to_string(gateway->port()));
    EXPECT_EQ(gateway->readFile("local-address"), gateway->running().address() + "\n");
    EXPECT_EQ(connection->request("GET", "/", {{"Connection", "close"}}).status, 200);
    EXPECT_TRUE(connection->endsWell());
}

TEST_F(TlsServer, tellsPlainHttpThatItIsTheWrongPort)
{
    start();

    Answer const answer = request(gateway->port(), "GET", "/");

    EXPECT_EQ(answer.status, 400);
    EXPECT_NE(answer.body.find("This port speaks HTTPS"), std::string::npos) << answer.body;
    RawConnection other(gateway->port());
    other.send("nonsense\r\n\r\n");
    EXPECT_TRUE(other.closes(10));
}

TEST_F(TlsServer, relaysCommandsToMachines)
{
    start();
    LinkedMachine const made = provision();
    MachineThread thread;
    FakeMachine machine(thread, gateway->port(), made.token, {.tlsName = "127.0.0.1"});
    ASSERT_EQ(machine.status(), 101);
    std::string const large(3'000'000, 'a');
    machine.onFrame([&](json::object const& frame) {
        return resultOf(json::object{{"bytes", writeJson(frame.at("params")).size()}, {"text", large}});
    });
    std::string const body = R"({"method":"files.upload","params":{"content":")" + large + "\"}}";

    Answer const answer = platform("POST", "/v1/connections/" + made.connectionId + "/commands", body);

    ASSERT_EQ(answer.status, 200) << answer.body.substr(0, 300);
    EXPECT_GT(answer.json().at("result").at("bytes").to_number<std::size_t>(), large.size());
    EXPECT_EQ(answer.json().at("result").at("text").as_string(), large);
    FakeMachine stranger(thread, gateway->port(), made.token, {.tlsName = "other.example"});
    EXPECT_EQ(stranger.status(), 0);
}

TEST_F(TlsServer, speaksNoOldVersionAndOnlyHttp1)
{
    start();
    TlsOptions old = trusting(certificates);
    old.maxVersion = TLS1_1_VERSION;
    EXPECT_THROW(connect(old), std::runtime_error);
    old.maxVersion = TLS1_2_VERSION;
    EXPECT_EQ(connect(old)->request("GET", "/").status, 200);

    TlsOptions asking = trusting(certificates);
    asking.protocols = "\x02h2\x08http/1.1";
    EXPECT_EQ(connect(asking)->protocol(), "http/1.1");
    asking.protocols = "\x02h2";
    EXPECT_THROW(connect(asking), std::runtime_error);
    EXPECT_EQ(connect()->protocol(), "");
}

TEST_F(TlsServer, takesANewCertificateForNewConnections)
{
    start();
    auto const early = connect();
    EXPECT_EQ(early->certificate(), certificates.certificate);
    EXPECT_EQ(gateway->readFile("tls-certificate.pem"), certificates.certificate);
    TestCertificates const renewed("127.0.0.1");

    writePrivate("chain.pem", renewed.certificate); // Not yet the key: nothing changes.
    for (int i = 0; i < 2; ++i) {
        auto const problems = reload();
        ASSERT_EQ(problems.size(), 1u);
        EXPECT_NE(problems.front().find("belongs to the certificate"), std::string::npos);
    }
    EXPECT_EQ(early->request("GET", "/").status, 200);
    EXPECT_EQ(connect()->certificate(), certificates.certificate);

    writePrivate("key.pem", renewed.key);
    EXPECT_TRUE(reload().empty());

    EXPECT_EQ(gateway->readFile("tls-certificate.pem"), renewed.certificate);
    EXPECT_EQ(connect(trusting(renewed))->certificate(), renewed.certificate);
    EXPECT_EQ(early->request("GET", "/").status, 200);
    gateway->stop();
    EXPECT_EQ(gateway->readFile("tls-certificate.pem"), "");
}

TEST_F(TlsServer, keepsItsCertificateIfProgramsOnThisComputerCannotBeGivenTheNewOne)
{
    start();
    std::filesystem::path const told = gateway->data() / "tls-certificate.pem";
    std::filesystem::remove(told);
    std::filesystem::create_directories(told / "in-the-way");
    TestCertificates const renewed("127.0.0.1");
    write(renewed);

    EXPECT_EQ(reload().size(), 1u);
    EXPECT_EQ(connect()->certificate(), certificates.certificate);

    std::filesystem::remove_all(told);
    EXPECT_TRUE(reload().empty());
    EXPECT_EQ(connect(trusting(renewed))->certificate(), renewed.certificate);
    EXPECT_EQ(gateway->readFile("tls-certificate.pem"), renewed.certificate);
}

TEST_F(TlsServer, looksAtItsCertificateOnceAMinute)
{
    start();
    ASSERT_TRUE(becomes([&] { return gateway->clock.isSleptOn(); }));
    TestCertificates const renewed("127.0.0.1");
    write(renewed);

    EXPECT_TRUE(becomes([&] {
        gateway->clock.advance(61s);
        return gateway->readFile("tls-certificate.pem") == renewed.certificate;
    }));
    EXPECT_EQ(connect(trusting(renewed))->request("GET", "/").status, 200);
}

TEST_F(TlsServer, dropsAHandshakeThatTakesTooLong)
{
    start([](Settings& settings) { settings.limits.handshake = std::chrono::milliseconds(200); });

    RawConnection silent(gateway->port());
    EXPECT_TRUE(silent.closes(10));
    RawConnection slow(gateway->port());
    slow.send("\x16\x03\x01\x02"); // The first bytes of a hello.
    EXPECT_TRUE(slow.closes(10));
    EXPECT_EQ(connect()->request("GET", "/").status, 200);
}

TEST_F(TlsServer, makesRoomAtTheExpenseOfHandshakes)
{
    start([](Settings& settings) {
        settings.limits.connections = 2;
        settings.limits.handshake = std::chrono::minutes(10);
    });
    RawConnection first(gateway->port());
    RawConnection const second(gateway->port());

    EXPECT_EQ(connect()->request("GET", "/").status, 200);
    EXPECT_TRUE(first.closes(10));
}

TEST_F(TlsServer, asksBrowsersForTlsAtItsPublicNameOnly)
{
    start([](Settings& settings) { settings.publicUrl = "https://gateway.example"; });
    auto const policyAt = [&](std::string const& host, std::string const& target = "/") {
        return connect()->request("GET", target, {{"Host", host}}).headers["strict-transport-security"];
    };
    EXPECT_EQ(policyAt("gateway.example"), "max-age=31536000");
    EXPECT_EQ(policyAt("gateway.example", "/nothing"), "max-age=31536000");
    // Other servers on other ports may share these names.
    EXPECT_EQ(policyAt("localhost:" + std::to_string(gateway->port())), "");
    EXPECT_EQ(policyAt("127.0.0.1:" + std::to_string(gateway->port())), "");
}

TEST_F(TlsServer, leavesOtherPortsOfItsPublicNameAlone)
{
    start([](Settings& settings) { settings.publicUrl = "https://gateway.example:8443"; });

    Answer const answer = connect()->request("GET", "/", {{"Host", "gateway.example:8443"}});

    EXPECT_EQ(answer.status, 200);
    EXPECT_FALSE(answer.headers.contains("strict-transport-security"));
}

TEST_F(TlsServer, knowsItsOwnPagesByTheirScheme)
{
    start();
    std::string const own = "127.0.0.1:" + std::to_string(gateway->port());
    auto const statusFrom = [&](std::string const& origin) {
        return connect()->request("GET", "/", {{"Origin", origin}}).status;
    };
    EXPECT_EQ(statusFrom("https://" + own), 200);
    EXPECT_EQ(statusFrom("http://" + own), 403);
}

TEST_F(TlsServer, isJoinedByProgramsOnThisComputerThatKnowItsCertificate)
{
    start();
    ::unsetenv("SSL_CERT_FILE"); // Nothing else vouches for it.
    std::string const handshake =
        R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-11-25",)"
        R"("capabilities":{},"clientInfo":{"name":"test","version":"1"}}})";
    std::vector<std::string> const command{ZELVO_GATEWAY_PROGRAM, "mcp", "--data", gateway->data()};
    {
        StdioProgram joined(command, "");
        joined.write(handshake + "\n");
        EXPECT_NE(joined.readLine().find("2025-11-25"), std::string::npos);
    }
    std::ofstream(gateway->data() / "tls-certificate.pem") << TestCertificates("127.0.0.1").certificate;
    {
        StdioProgram refused(command, "");
        EXPECT_EQ(refused.wait(), 1);
        EXPECT_NE(refused.errors().find("certificate verify failed"), std::string::npos);
    }
}

TEST_F(TlsServer, isJoinedAtAnyAddressByTheNameInItsCertificate)
{
    start();
    std::string const port = std::to_string(gateway->port());
    std::vector<std::string> command{"/usr/bin/env",        "SSL_CERT_FILE=" + certificates.authorityFile,
                                     ZELVO_GATEWAY_PROGRAM, "mcp",
                                     "--gateway",           "https://localhost:" + port};
    {
        StdioProgram refused(command, gateway->apiKey()); // The certificate is for 127.0.0.1.
        EXPECT_EQ(refused.wait(), 1);
    }
    command.back() = "https://127.0.0.1:" + port;
    StdioProgram joined(command, gateway->apiKey());
    joined.closeInput();
    EXPECT_EQ(joined.wait(), 0) << joined.errors();
}

TEST_F(TlsServer, saysAtItsStartWhatIsWrongWithTheFiles)
{
    std::filesystem::permissions(files.path / "key.pem", std::filesystem::perms(0644));
    EXPECT_THROW(start(), std::runtime_error);
}

} // namespace
} // namespace zelvo::service
