#include "wire/AgentError.h"

#include "wire/ErrorCode.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace zelvo {
namespace {

struct Row {
    AgentError error;
    std::string_view code;
    std::string_view message;
};

// In the order of declaration.
std::vector<Row> const table = {
    {AgentError::scopeDenied, "scope_denied", "The connection does not have the required permission"},
    {AgentError::machinePaused, "machine_paused", "The agent is paused"},
    {AgentError::machineUnavailable, "machine_unavailable", "The Mac is unavailable right now"},
    {AgentError::permissionMissing, "permission_missing", "A macOS permission is missing"},
    {AgentError::machineBusy, "machine_busy", "Another control session is in progress"},
    {AgentError::hiddenAppActive, "hidden_app_active", "The action involves a hidden app"},
    {AgentError::deniedByUser, "denied_by_user", "The user denied the action"},
    {AgentError::confirmationTimeout, "confirmation_timeout", "The user did not answer in time"},
    {AgentError::snapshotExpired, "snapshot_expired", "The screen tree snapshot has expired"},
    {AgentError::appNotFrontmost, "app_not_frontmost",
     "Another app is in front; the action was not performed"},
    {AgentError::zelvoUiProtected, "zelvo_ui_protected", "Zelvo's own interface is off limits to the agent"},
    {AgentError::invalidRequest, "invalid_request", "Invalid request"},
    {AgentError::timeout, "timeout", "Timed out"},
    {AgentError::internalError, "internal_error", "Internal error"},
};

TEST(AgentError, hasFourteenKindsInOrder)
{
    ASSERT_EQ(table.size(), agentErrorCount);
    for (std::size_t i = 0; i < table.size(); ++i)
        EXPECT_EQ(static_cast<std::size_t>(table[i].error), i);
}

TEST(AgentError, hasItsCodeAndMessage)
{
    for (Row const& row : table) {
        EXPECT_EQ(rawValue(row.error), row.code);
        EXPECT_EQ(defaultMessage(row.error), row.message);
        EXPECT_EQ(agentErrorFrom(row.code), row.error);
    }
}

TEST(AgentError, refusesEveryOtherText)
{
    for (std::string_view const text :
         {"agent_paused", "", "Timeout", "timeout ", "machine_offline", "not_found"})
        EXPECT_FALSE(agentErrorFrom(text)) << text;
}

TEST(ErrorCode, holdsEveryCodeOfTheAgent)
{
    for (Row const& row : table)
        EXPECT_TRUE(fromRawValue<ErrorCode>(row.code)) << row.code;
}

TEST(ErrorCode, hasTheCodesOfTheGatewayToo)
{
    std::set<std::string_view> gatewayOnly;
    for (std::string_view const text : EnumTexts<ErrorCode>::texts)
        if (!agentErrorFrom(text))
            gatewayOnly.insert(text);

    EXPECT_EQ(EnumTexts<ErrorCode>::texts.size(), 27u);
    EXPECT_EQ(gatewayOnly, (std::set<std::string_view>{
                               "agent_paused", "app_update_required", "forbidden", "lease_not_active",
                               "link_session_expired", "machine_already_linked_to_other_user",
                               "machine_offline", "not_found", "rate_limited", "recording_not_shared",
                               "recordings_unavailable", "stale_view", "unauthorized"}));
}

TEST(ErrorCode, goesByItsText)
{
    EXPECT_EQ(rawValue(ErrorCode::agentPaused), "agent_paused");
    EXPECT_EQ(rawValue(ErrorCode::machinePaused), "machine_paused");
    EXPECT_EQ(rawValue(ErrorCode::zelvoUIProtected), "zelvo_ui_protected");
    EXPECT_EQ(rawValue(ErrorCode::machineAlreadyLinkedToOtherUser), "machine_already_linked_to_other_user");
    EXPECT_EQ(rawValue(ErrorCode::unauthorized), "unauthorized");
    EXPECT_EQ(fromRawValue<ErrorCode>("stale_view"), ErrorCode::staleView);
    EXPECT_FALSE(fromRawValue<ErrorCode>("Stale_view"));
}

} // namespace
} // namespace zelvo
