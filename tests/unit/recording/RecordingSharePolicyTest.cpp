#include "recording/RecordingSharePolicy.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using Decision = RecordingShareDecision;

std::vector<AgentScope> const withRecord = {AgentScope::screen, AgentScope::record};
std::vector<AgentScope> const withoutRecord = {AgentScope::screen, AgentScope::input, AgentScope::files};

TEST(RecordingSharePolicy, keepsEverythingHereUnlessTheModeIsShare)
{
    for (auto const mode : {RecordingMode::off, RecordingMode::local})
        for (std::optional<bool> const share :
             {std::optional<bool>(), std::optional(true), std::optional(false)})
            EXPECT_EQ(RecordingSharePolicy::decision(mode, withRecord, share), Decision::keepLocal);
}

TEST(RecordingSharePolicy, keepsEverythingHereWithoutTheScope)
{
    for (auto const& scopes : {withoutRecord, std::vector<AgentScope>()})
        for (std::optional<bool> const share :
             {std::optional<bool>(), std::optional(true), std::optional(false)})
            EXPECT_EQ(RecordingSharePolicy::decision(RecordingMode::share, scopes, share),
                      Decision::keepLocal);
}

TEST(RecordingSharePolicy, goesByThePersonsAnswer)
{
    EXPECT_EQ(RecordingSharePolicy::decision(RecordingMode::share, withRecord, std::nullopt), Decision::ask);
    EXPECT_EQ(RecordingSharePolicy::decision(RecordingMode::share, withRecord, true), Decision::upload);
    EXPECT_EQ(RecordingSharePolicy::decision(RecordingMode::share, withRecord, false), Decision::keepLocal);
}

} // namespace
} // namespace zelvo
