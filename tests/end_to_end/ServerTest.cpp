#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/AgentProgram.h"
#include "end_to_end/GatewayProgram.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace zelvo::test {
namespace {

struct Server {
    std::string name;
    std::vector<std::string> arguments;
    bool isReadable;
};

// GoogleTest looks for this name. NOLINTNEXTLINE(readability-identifier-naming)
void PrintTo(Server const& server, std::ostream* stream)
{
    *stream << server.name;
}

/// X servers that lack something.
class ServerTest : public testing::TestWithParam<Server> {};

TEST_P(ServerTest, permitsScreenRecordingExactlyWhereAScreenshotSucceeds)
{
    PrivateDesktop desktop(
        {.width = 640, .height = 480, .windowManager = false, .serverArguments = GetParam().arguments});
    GatewayProgram gateway(desktop);
    AgentProgram agent(desktop, gateway.port());
    auto const made = gateway.provision();
    agent.makeUnattended(made.token);
    agent.start();
    ASSERT_TRUE(gateway.comesOnline(made.connection)) << agent.output();

    auto const permissions = gateway.command(made.connection, "permissions.get");
    auto const shot = gateway.command(made.connection, "screenshot");

    ASSERT_EQ(permissions.status, 200) << writeJson(permissions.body);
    EXPECT_EQ(permissions.body.at("result").at("screenRecording") == true, GetParam().isReadable);
    EXPECT_EQ(shot.status == 200, GetParam().isReadable) << (shot.status == 200 ? "" : writeJson(shot.body));
    EXPECT_EQ(agent.end(SIGTERM), 0) << agent.output();
}

INSTANTIATE_TEST_SUITE_P(All,
                         ServerTest,
                         testing::Values(Server{"whole", {}, true},
                                         Server{"noSharedMemory", {"-extension", "MIT-SHM"}, false},
                                         Server{"noComposite", {"-extension", "Composite"}, false},
                                         Server{"noResources", {"-extension", "X-Resource"}, false},
                                         Server{"depth8", {"-screen", "0", "640x480x8"}, false},
                                         Server{"depth16", {"-screen", "0", "640x480x16"}, false},
                                         Server{"depth30", {"-screen", "0", "640x480x30"}, false},
                                         Server{"noDamage", {"-extension", "DAMAGE"}, true},
                                         Server{"noShape", {"-extension", "SHAPE"}, true},
                                         Server{"noRandr", {"-extension", "RANDR"}, true}),
                         [](auto const& info) { return info.param.name; });

} // namespace
} // namespace zelvo::test
