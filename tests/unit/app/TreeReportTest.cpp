#include "app/diagnostics/TreeReport.h"

#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(TreeReport, aLineHasTheRoleAndWhatTheElementHas)
{
    UiElementInfo element{.role = "AXButton", .title = "Send", .actions = {"press", "showMenu"}};
    EXPECT_EQ(TreeReport::lineOf(element), "AXButton title=\"Send\" actions=press,showMenu");

    element = {.role = "AXTextField", .elementDescription = "Subject", .identifier = "subject"};
    EXPECT_EQ(TreeReport::lineOf(element), "AXTextField desc=\"Subject\" id=\"subject\"");
}

TEST(TreeReport, aDescriptionOf40CharactersShows30)
{
    UiElementInfo const element{.role = "AXImage",
                                .elementDescription = std::string(30, 'a') + std::string(10, 'b')};
    EXPECT_EQ(TreeReport::lineOf(element), "AXImage desc=\"" + std::string(30, 'a') + "\"");
}

TEST(TreeReport, anIdentifierOf40CharactersShows30)
{
    UiElementInfo const element{.role = "AXImage", .identifier = std::string(30, 'a') + std::string(10, 'b')};
    EXPECT_EQ(TreeReport::lineOf(element), "AXImage id=\"" + std::string(30, 'a') + "\"");
}

TEST(TreeReport, countsCharactersAndNotBytes)
{
    std::string thirty;
    for (int i = 0; i < 30; ++i)
        thirty += "😀";
    UiElementInfo const element{
        .role = "AXImage", .elementDescription = thirty + "b", .identifier = thirty + "b"};
    EXPECT_EQ(TreeReport::lineOf(element), "AXImage desc=\"" + thirty + "\" id=\"" + thirty + "\"");
}

TEST(TreeReport, foreignTextsForgeNoLine)
{
    UiElementInfo const element{.role = "AX\nButton",
                                .title = "Send\nAXButton title=\"Pay\"",
                                .elementDescription = "a\r\u2028b\u2029c",
                                .identifier = "\u202Etxt.exe\u202C",
                                .actions = {"pre\u0085ss", "\n"}};
    EXPECT_EQ(TreeReport::lineOf(element),
              "AXButton title=\"SendAXButton title=\"Pay\"\" desc=\"abc\" id=\"txt.exe\" actions=press");
}

TEST(TreeReport, theApplicationsNameForgesNoLine)
{
    UiTreeSnapshot snapshot;
    snapshot.app = {"org.acme.mail", "Mail\nElements: 0"};
    std::string const report = TreeReport::of(snapshot, {});
    EXPECT_TRUE(report.starts_with(localized("diag.tree.report.app", {"MailElements: 0"}) + "\n")) << report;
}

TEST(TreeReport, removesControlCharactersBeforeItCuts)
{
    std::string mixed;
    for (int i = 0; i < 30; ++i)
        mixed += "\u202Ea\n";
    UiElementInfo const element{.role = "AXImage", .elementDescription = mixed, .identifier = mixed};
    std::string const thirty(30, 'a');
    EXPECT_EQ(TreeReport::lineOf(element), "AXImage desc=\"" + thirty + "\" id=\"" + thirty + "\"");
}

TEST(TreeReport, anElementThatSaysNothingIsMarked)
{
    EXPECT_EQ(TreeReport::lineOf({.role = "AXGroup"}), "AXGroup " + localized("diag.tree.shouldBeFiltered"));
    EXPECT_EQ(TreeReport::lineOf({.role = "AXGroup", .title = ""}),
              "AXGroup " + localized("diag.tree.shouldBeFiltered"));
    EXPECT_EQ(TreeReport::lineOf({.role = "AXGroup", .title = "\u202E\n", .actions = {"\n"}}),
              "AXGroup " + localized("diag.tree.shouldBeFiltered"));
}

TEST(TreeReport, beginsWithTheFacts)
{
    UiTreeSnapshot snapshot;
    snapshot.app = {"org.acme.mail", "Acme Mail"};
    snapshot.elements = {{.role = "AXButton", .title = "Send"}};
    snapshot.truncated = true;

    std::string const report =
        TreeReport::of(snapshot, {.isExpanded = true, .interactiveOnly = true, .milliseconds = 42});

    EXPECT_EQ(report, localized("diag.tree.report.app", {"Acme Mail"}) + "\n" +
                          localized("diag.tree.report.chromium", {localized("diag.tree.report.expanded")}) +
                          "\n" +
                          localized("diag.tree.report.mode", {localized("diag.tree.report.interactive")}) +
                          "\n" + localized("diag.tree.report.count", {std::int64_t{1}}) +
                          localized("diag.tree.report.truncated") + "\n" +
                          localized("diag.tree.report.time", {std::int64_t{42}}) + "\n" +
                          localized("diag.tree.report.why") + "\nAXButton title=\"Send\"");
}

TEST(TreeReport, namesAnUnknownApplication)
{
    std::string const report = TreeReport::of({}, {});
    EXPECT_TRUE(report.starts_with(localized("diag.tree.report.app", {localized("common.unknown")})))
        << report;
}

TEST(TreeReport, aFailureSaysWhy)
{
    auto const failed = [](std::string const& key) {
        return localized("diag.tree.failed", {localized("diag.tree.error." + key)});
    };
    EXPECT_EQ(TreeReport::ofFailure(AgentError::permissionMissing), failed("permission"));
    EXPECT_EQ(TreeReport::ofFailure(AgentError::machineUnavailable), failed("noApplication"));
    EXPECT_EQ(TreeReport::ofFailure(AgentError::hiddenAppActive), failed("hidden"));
    EXPECT_EQ(TreeReport::ofFailure(AgentError::internalError), failed("other"));
}

} // namespace
} // namespace zelvo
