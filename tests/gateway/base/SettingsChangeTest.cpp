#include "ZelvoGateway/base/SettingsChange.h"

#include "ZelvoGateway/base/FlagTable.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

/// A value that differs from the default.
std::string sampleFor(Flag const& flag)
{
    if (flag.isSwitch())
        return "yes";
    for (std::string const value : {"3", "33", "https://x.example/y", "https://x.example", "::1",
                                    "/some/place", "json", "debug", "s3", "123456789012", "text"})
        if (!flag.problemWith(value))
            return value;
    ADD_FAILURE() << "no sample for " << flag.name;
    return {};
}

TEST(SettingsChange, namesWhatAGatewayTakesAndWhatItKeeps)
{
    GivenValues const running{
        {"port", {"1"}}, {"platform-name", {"A"}}, {"audit-days", {"3"}}, {"config", {"f"}}};
    GivenValues const next{{"port", {"2"}}, {"platform-name", {"A"}}, {"personal", {"yes"}}};

    SettingsChange const change = changeBetween(running, next);

    EXPECT_EQ(change, (SettingsChange{.taken = {"personal", "audit-days"}, .kept = {"port"}}));
    EXPECT_EQ(change.text(), "personal, audit-days changed; port changes with the next start");
    EXPECT_TRUE(changeBetween(running, running).isEmpty());
}

TEST(SettingsChange, remainsNamedUntilTheNextStart)
{
    GivenValues const running{{"port", {"1"}}, {"audit-days", {"3"}}};
    GivenValues const next{{"port", {"2"}}, {"personal", {"yes"}}};

    GivenValues const after = takenFrom(running, next);

    EXPECT_EQ(after, (GivenValues{{"port", {"1"}}, {"personal", {"yes"}}}));
    EXPECT_EQ(changeBetween(after, next), (SettingsChange{.taken = {}, .kept = {"port"}}));
    EXPECT_EQ(changeBetween(after, running).taken, (std::vector<std::string>{"personal", "audit-days"}));
}

// The rows of the table and what Settings::takeReloadable() takes must agree.
TEST(Settings, takeExactlyWhatTheTableCallsReloadable)
{
    for (Flag const& flag : allFlags()) {
        if (flag.kind == Flag::Kind::argument)
            continue;
        Flags changed;
        flag.apply(changed, sampleFor(flag));
        EXPECT_NE(changed.settings, Settings()) << flag.name;

        Settings running;
        running.takeReloadable(changed.settings);

        bool const isReloadable = flag.kind == Flag::Kind::reloadable;
        EXPECT_EQ(running, isReloadable ? changed.settings : Settings()) << flag.name;
        changed.settings.takeReloadable(Settings());
        if (isReloadable) // A line that was removed means the default.
            EXPECT_EQ(changed.settings, Settings()) << flag.name;
    }
}

} // namespace
} // namespace zelvo::service
