#include "ZelvoGateway/control/Methods.h"

#include "ZelvoGateway/base/Failure.h"

#include <gtest/gtest.h>

#include <string>

namespace zelvo::service {
namespace {

TEST(Methods, needsControlForWhatActsOnTheDesktopOnly)
{
    for (std::string const method : {"actions.perform", "apps.open", "apps.activate", "urls.open"})
        EXPECT_TRUE(methods::needsControl(method)) << method;
    for (std::string const method : {"screenshot", "ui.tree", "cursor.position", "shell.run",
                                     "files.download", "clipboard.get", "display.info", "nonsense"})
        EXPECT_FALSE(methods::needsControl(method)) << method;
}

TEST(Methods, isSentAgainOnlyWhenNothingOfItWasDone)
{
    EXPECT_TRUE(methods::wasNotStarted("shell.run", ErrorCode::machinePaused));
    EXPECT_TRUE(methods::wasNotStarted("screenshot", ErrorCode::machineUnavailable));
    EXPECT_FALSE(methods::wasNotStarted("actions.perform", ErrorCode::machinePaused));
    EXPECT_FALSE(methods::wasNotStarted("shell.run", ErrorCode::deniedByUser));
    EXPECT_FALSE(methods::wasNotStarted("shell.run", ErrorCode::internalError));
}

TEST(Methods, keepTheGatewaysOwnMessagesFromPlatforms)
{
    for (std::string const method :
         {"agents.update", "connection.revoke", "connections.names", "heartbeat", "queue.offer"}) {
        try {
            methods::assertForPlatforms(method);
            ADD_FAILURE() << method;
        } catch (Failure const& failure) {
            EXPECT_EQ(failure.code, ErrorCode::forbidden) << method;
        }
    }
    EXPECT_NO_THROW(methods::assertForPlatforms("screenshot"));
}

} // namespace
} // namespace zelvo::service
