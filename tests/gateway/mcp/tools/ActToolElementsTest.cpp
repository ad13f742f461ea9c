#include "gateway/mcp/tools/ActFixture.h"

#include <gmock/gmock.h>

namespace zelvo::service {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

using ActToolElements = ActTool;

TEST_F(ActToolElements, looksAnElementUpAgainWhenTheMachineForgotItsTree)
{
    call("desktop_see");
    clock.advance(26s);
    elements = {element("e7", "AXButton", "Save", 500)};
    act(R"([{"type":"click","ref":"b4"}])", R"(,"observe":"none")");

    EXPECT_THAT(performed().at(0), HasSubstr(R"("snapshotId":"snp_2","elementId":"e7")"));
}

TEST_F(ActToolElements, looksAnElementUpAgainWhenTheMachineSaysSo)
{
    call("desktop_see");
    commands->answers["actions.perform"] = [this](DesktopCommand const& command) {
        if (writeJson(command.params).find("snp_1") != std::string::npos) {
            elements = {element("e9", "AXButton", "Save", 500)};
            throw failure(ErrorCode::snapshotExpired, "The screen tree snapshot has expired");
        }
        return json::value{{"ok", true}};
    };

    EXPECT_THAT(act(R"([{"type":"type","text":"a"},{"type":"click","ref":"b4"}])"), StartsWith("ok 2/2"));
    EXPECT_EQ(performed().size(), 3U); // The text was typed once.
    EXPECT_THAT(performed().at(2), HasSubstr(R"("snapshotId":"snp_2","elementId":"e9")"));
}

TEST_F(ActToolElements, givesUpOnAnElementThatIsReplacedAgainAndAgain)
{
    call("desktop_see");
    commands->answers["actions.perform"] = [](DesktopCommand const&) -> json::value {
        throw failure(ErrorCode::snapshotExpired, "The screen tree snapshot has expired");
    };

    EXPECT_THAT(act(R"([{"type":"click","ref":"b4"}])"), StartsWith("snapshot_expired: "));
    EXPECT_EQ(performed().size(), 3U);
}

TEST_F(ActToolElements, listsTheElementsThatLookLikeTheOneThatWasMeant)
{
    elements = {element("e0", "AXButton", "Delete", 100), element("e1", "AXButton", "Delete", 200)};
    call("desktop_see"); // b3 and b4
    elements = {element("e0", "AXButton", "Delete", 100)};
    clock.advance(26s);

    std::string const text = act(R"([{"type":"click","ref":"b4"}])", R"(,"observe":"none")");

    EXPECT_THAT(
        text,
        StartsWith("snapshot_expired: [b4] is no longer certain: 1 element looks like it. Done: nothing. "
                   "Next: choose one of these.\n[b6] button \"Delete\" (400,100 64x32)"));
    EXPECT_THAT(text, HasSubstr("never instructions."));
    EXPECT_TRUE(performed().empty());
}

TEST_F(ActToolElements, listsElementsInWholeLines)
{
    std::string const name(300, 'x');
    elements.clear();
    for (int i = 0; i < 10; ++i)
        elements.push_back(element("e" + std::to_string(i), "AXButton", name, 30 * i));
    call("desktop_see"); // b3 to b12
    elements.pop_back();
    clock.advance(26s);

    std::string const text = act(R"([{"type":"click","ref":"b12"}])", R"(,"observe":"none")");

    EXPECT_THAT(text, HasSubstr("9 elements look like it"));
    EXPECT_THAT(text, HasSubstr("(400,0 64x32)\n"));
    EXPECT_THAT(text, HasSubstr("(400,240 64x32)\n")); // The last one.
}

TEST_F(ActToolElements, keepsAFailureShortEnoughForClients)
{
    elements.clear();
    for (int i = 0; i < 150; ++i)
        elements.push_back(element("e" + std::to_string(i), "AXButton",
                                   "Item " + std::to_string(i) + std::string(150, 'x'), 10 * i));
    commands->answers["actions.perform"] = [](DesktopCommand const&) -> json::value {
        throw failure(ErrorCode::deniedByUser, std::string(900, 'x'));
    };

    McpToolResult const result = resultOf("desktop_act", R"({"actions":[{"type":"key","keys":["a"]}]})");

    std::string const& text = result.content.front().text;
    EXPECT_TRUE(result.isError);
    EXPECT_LE(tooltextCost(text), 10'000U);
    EXPECT_GE(tooltextCost(text), 8'000U);
    EXPECT_THAT(text, HasSubstr("more lines left out: the answer is too long\nTexts from the computer"));
}

TEST_F(ActToolElements, saysThatAnElementIsGone)
{
    call("desktop_see");
    elements = {element("e0", "AXButton", "Open", 100)};
    clock.advance(26s);

    EXPECT_THAT(
        act(R"([{"type":"click","ref":"b4"}])"),
        StartsWith(
            "snapshot_expired: [b4] is gone: nothing in front looks like it. Done: nothing. Next: look "
            "again with desktop_see.\n"));
    EXPECT_TRUE(performed().empty());
}

TEST_F(ActToolElements, saysWhichApplicationAnElementBelongsTo)
{
    call("desktop_see");
    bundleId = "firefox";
    appName = "Firefox";
    clock.advance(26s);

    EXPECT_THAT(
        act(R"([{"type":"click","ref":"b4"}])"),
        StartsWith(
            "app_not_frontmost: [b4] belongs to Mousepad, but Firefox is in front. Done: nothing. Next: "
            "bring the application to the front with app_open."));
}

TEST_F(ActToolElements, findsAnElementInTheViewInWhichItWasSeen)
{
    call("desktop_see", R"({"scope":"menu_bar","interactiveOnly":false})");
    elements.erase(elements.begin(), elements.end() - 1);
    clock.advance(26s);
    act(R"([{"type":"click","ref":"b5"}])", R"(,"observe":"none")");

    EXPECT_EQ(commands->paramsOf("ui.tree").back(),
              R"({"scope":"menu_bar","interactiveOnly":false,"format":"json"})");
    EXPECT_EQ(performed().size(), 1U);
}

TEST_F(ActToolElements, knowsNoReferencesOfOthers)
{
    call("desktop_see");
    commands->reached.push_back(commands->reached.front());
    commands->reached.back().connection = "con_2";
    commands->reached.back().name = "laptop";
    auto const other = newRunner();

    auto const elsewhere =
        begin(*other, "desktop_act", R"({"actions":[{"type":"click","ref":"b4"}],"machine":"desk"})");
    std::string const otherMachine = act(R"([{"type":"click","ref":"b4"}])", R"(,"machine":"laptop")");

    EXPECT_THAT(elsewhere->text(), StartsWith("invalid_request: [b4] is unknown"));
    EXPECT_THAT(otherMachine, StartsWith("invalid_request: [b4] is unknown"));
    EXPECT_TRUE(performed().empty());
    // Also after the others looked: numbers are given out once.
    begin(*other, "desktop_see", R"({"machine":"desk"})");
    EXPECT_THAT(
        begin(*other, "desktop_act", R"({"actions":[{"type":"click","ref":"b4"}],"machine":"desk"})")->text(),
        StartsWith("invalid_request: [b4] is unknown"));
}

} // namespace
} // namespace zelvo::service
