#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/AgentProgram.h"
#include "end_to_end/GatewayProgram.h"
#include "unit/net/TestCertificates.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

namespace zelvo::test {
namespace {

/// A gateway with a certificate for 127.0.0.1, and an agent that knows its authority only by SSL_CERT_FILE.
class Tls : public testing::Test {
protected:
    Tls() { ::setenv("SSL_CERT_FILE", certificates.authorityFile.c_str(), 1); }
    ~Tls() override { ::unsetenv("SSL_CERT_FILE"); }

    std::string file(std::string const& name, std::string const& text) const
    {
        std::filesystem::path const path = desktop.home() / name;
        std::ofstream(path, std::ios::binary) << text;
        std::filesystem::permissions(path, std::filesystem::perms::owner_read);
        return path;
    }

    TestCertificates certificates{"127.0.0.1"};
    PrivateDesktop desktop{{.width = 640, .height = 480, .windowManager = false}};
    GatewayProgram gateway{desktop,
                           "gateway",
                           {"--tls-certificate", file("chain.pem", certificates.certificate), "--tls-key",
                            file("key.pem", certificates.key)}};
    AgentProgram agent{desktop, gateway.port()};
};

TEST_F(Tls, joinsTheAgentAlsoAfterARestart)
{
    auto const made = gateway.provision();
    agent.makeUnattended(made.token);
    agent.pointTo(gateway.port(), AgentProgram::Scheme::tls);
    agent.start({}, {{"SSL_CERT_FILE", certificates.authorityFile}});

    ASSERT_TRUE(gateway.comesOnline(made.connection)) << agent.output();
    EXPECT_EQ(gateway.command(made.connection, "screenshot").status, 200);
    EXPECT_EQ(gateway.stop(), 0);
    gateway.startAgain();

    EXPECT_TRUE(gateway.comesOnline(made.connection)) << agent.output();
    EXPECT_EQ(agent.end(SIGTERM), 0) << agent.output();
}

} // namespace
} // namespace zelvo::test
