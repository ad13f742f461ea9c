#include "ZelvoGateway/control/MethodRules.h"

#include "ZelvoGateway/base/Failure.h"

#include <gtest/gtest.h>

#include <string>

namespace zelvo::service {
namespace {

TEST(MethodRules, needsControlForWhatActsOnTheDesktopOnly)
{
    for (std::string const method : {"actions.perform", "apps.open", "apps.activate", "urls.open"})
        EXPECT_TRUE(MethodRules::needsControl(method)) << method;
    for (std::string const method : {"screenshot", "ui.tree", "cursor.position", "shell.run",
                                     "files.download", "clipboard.get", "display.info", "nonsense"})
        EXPECT_FALSE(MethodRules::needsControl(method)) << method;
}

TEST(MethodRules, isSentAgainOnlyWhenNothingOfItWasDone)
{
    EXPECT_TRUE(MethodRules::wasNotStarted("shell.run", ErrorCode::machinePaused));
    EXPECT_TRUE(MethodRules::wasNotStarted("screenshot", ErrorCode::machineUnavailable));
    EXPECT_FALSE(MethodRules::wasNotStarted("actions.perform", ErrorCode::machinePaused));
    EXPECT_FALSE(MethodRules::wasNotStarted("shell.run", ErrorCode::deniedByUser));
    EXPECT_FALSE(MethodRules::wasNotStarted("shell.run", ErrorCode::internalError));
}

TEST(MethodRules, keepTheGatewaysOwnMessagesFromPlatforms)
{
    for (std::string const method :
         {"agents.update", "connection.revoke", "connections.names", "heartbeat", "queue.offer"}) {
        try {
            MethodRules::assertForPlatforms(method);
            ADD_FAILURE() << method;
        } catch (Failure const& failure) {
            EXPECT_EQ(failure.code, ErrorCode::forbidden) << method;
        }
    }
    EXPECT_NO_THROW(MethodRules::assertForPlatforms("screenshot"));
}

} // namespace
} // namespace zelvo::service
