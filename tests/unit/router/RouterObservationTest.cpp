#include "base/Base64.h"
#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

class RouterObservationTest : public RouterHarness {
protected:
    json::object shot(std::string const& params = "{}")
    {
        return call("screenshot", params).at("result").as_object();
    }
    static std::string bytes(json::object const& result)
    {
        return *base64::decode(std::string_view(result.at("data").as_string()));
    }
};

TEST_F(RouterObservationTest, resultHasItsKeys)
{
    json::object const result = shot();
    std::vector<std::string> keys;
    for (auto const& [key, value] : result)
        keys.emplace_back(key);
    EXPECT_THAT(keys, testing::UnorderedElementsAre("mime", "data", "imageWidth", "imageHeight",
                                                    "widthPoints", "heightPoints", "scale"));
    EXPECT_EQ(result.at("mime"), "image/jpeg");
    EXPECT_EQ(result.at("imageWidth"), 1512);
    EXPECT_EQ(result.at("imageHeight"), 982);
    EXPECT_EQ(result.at("widthPoints"), 1512);
    EXPECT_EQ(result.at("heightPoints"), 982);
    EXPECT_EQ(result.at("scale"), 1);
    EXPECT_EQ(bytes(result).substr(0, 3), "\xff\xd8\xff");
}

TEST_F(RouterObservationTest, pngOnlyForExactlyPng)
{
    EXPECT_EQ(shot(R"({"format":"png"})").at("mime"), "image/png");
    EXPECT_EQ(bytes(shot(R"({"format":"png","quality":50})")).substr(1, 3), "PNG");
    for (char const* const params : {R"({"format":"PNG"})", R"({"format":"gif"})", R"({"format":5})"})
        EXPECT_EQ(shot(params).at("mime"), "image/jpeg") << params;
}

TEST_F(RouterObservationTest, halfTheWidthHalvesTheScale)
{
    json::object const result = shot(R"({"maxWidth":756})");
    EXPECT_EQ(result.at("imageWidth"), 756);
    EXPECT_EQ(result.at("imageHeight"), 491);
    EXPECT_EQ(result.at("widthPoints"), 1512);
    EXPECT_EQ(result.at("scale"), 0.5);
}

TEST_F(RouterObservationTest, maxWidthOfZeroIsTheSystemsError)
{
    EXPECT_EQ(code(call("screenshot", R"({"maxWidth":0})")), "internal_error");
}

TEST_F(RouterObservationTest, maxWidthOfTheWrongTypeCountsAsMissing)
{
    EXPECT_EQ(shot(R"({"maxWidth":"700"})").at("imageWidth"), 1512);
    EXPECT_EQ(shot(R"({"maxWidth":700.5})").at("imageWidth"), 1512);
    EXPECT_EQ(shot(R"({"maxWidth":700.0})").at("imageWidth"), 700);
}

TEST_F(RouterObservationTest, lowerQualityIsSmaller)
{
    EXPECT_LE(bytes(shot(R"({"quality":1})")).size(), bytes(shot(R"({"quality":100})")).size());
    EXPECT_EQ(bytes(shot(R"({"quality":"1"})")).size(), bytes(shot(R"({"quality":80})")).size());
    EXPECT_EQ(bytes(shot(R"({"quality":900})")).size(), bytes(shot(R"({"quality":100})")).size());
}

TEST_F(RouterObservationTest, regionIsShownAtFullResolutionAndReported)
{
    platform.screenSource.attached.front().scaleFactor = 2;

    json::object const result = shot(R"({"region":{"x":100,"y":50.25,"w":200.5,"h":100}})");

    CaptureRequest const& asked = platform.screenSource.requests.back();
    EXPECT_EQ(asked.part, (DisplayPart{200, 100, 401, 201}));
    EXPECT_EQ(asked.excluded, std::set<std::string>{"dev.zelvo.agent"});
    EXPECT_EQ(result.at("imageWidth"), 401);
    EXPECT_EQ(result.at("imageHeight"), 201);
    EXPECT_EQ(result.at("widthPoints"), 1512);
    EXPECT_EQ(result.at("scale"), 2);
    EXPECT_EQ(result.at("region"), *parseJson(R"({"x":100,"y":50,"w":200.5,"h":100.5})"));
}

TEST_F(RouterObservationTest, partOfARegionOutsideOfTheDisplayIsCutOff)
{
    json::object const result = shot(R"({"region":{"x":-10,"y":900,"w":110,"h":1e308}})");
    EXPECT_EQ(result.at("region"), *parseJson(R"({"x":0,"y":900,"w":100,"h":82})"));
}

TEST_F(RouterObservationTest, regionIsShrunkToTheMaximalWidth)
{
    json::object const result = shot(R"({"maxWidth":50,"region":{"x":0,"y":0,"w":100,"h":40}})");
    EXPECT_EQ(result.at("imageWidth"), 50);
    EXPECT_EQ(result.at("imageHeight"), 20);
    EXPECT_EQ(result.at("scale"), 0.5);
}

TEST_F(RouterObservationTest, regionLeavesOutHiddenApplicationsToo)
{
    run(platform.io, hiddenApps.add("com.bank"));
    shot(R"({"region":{"x":0,"y":0,"w":10,"h":10}})");
    EXPECT_EQ(platform.screenSource.requests.back().excluded,
              (std::set<std::string>{"com.bank", "dev.zelvo.agent"}));
}

TEST_F(RouterObservationTest, badRegionIsInvalidAndNothingIsCaptured)
{
    for (char const* const region :
         {R"({})", R"({"x":0,"y":0,"w":10})", R"({"x":0,"y":0,"w":10,"h":"10"})",
          R"({"x":0,"y":0,"w":0,"h":10})", R"({"x":50,"y":0,"w":-10,"h":10})",
          R"({"x":1512,"y":0,"w":10,"h":10})", R"({"x":0,"y":-10,"w":10,"h":10})",
          R"({"x":1e308,"y":1e308,"w":1e308,"h":1e308})", R"({"x":-1e308,"y":0,"w":1e308,"h":10})"})
        EXPECT_EQ(code(call("screenshot", std::string(R"({"region":)") + region + "}")), "invalid_request")
            << region;
    EXPECT_TRUE(platform.screenSource.requests.empty());
}

TEST_F(RouterObservationTest, regionOfTheWrongTypeCountsAsMissing)
{
    for (char const* const params : {R"({"region":null})", R"({"region":[0,0,10,10]})", R"({"region":10})"}) {
        json::object const result = shot(params);
        EXPECT_EQ(result.at("imageWidth"), 1512) << params;
        EXPECT_FALSE(result.contains("region")) << params;
    }
}

TEST_F(RouterObservationTest, hiddenAndOwnApplicationsAreExcludedFromTheRequest)
{
    run(platform.io, hiddenApps.add("com.bank"));
    shot();
    EXPECT_EQ(platform.screenSource.requests.back().excluded,
              (std::set<std::string>{"com.bank", "dev.zelvo.agent"}));
    run(platform.io, hiddenApps.remove("com.bank"));
    shot();
    EXPECT_EQ(platform.screenSource.requests.back().excluded, (std::set<std::string>{"dev.zelvo.agent"}));
}

UiElementInfo sendButton()
{
    return {
        .id = "e0", .role = "AXButton", .title = "Send", .frame = {12.5, 20, 80, 24}, .actions = {"AXPress"}};
}

UiElementInfo fullField()
{
    return {.id = "e1",
            .role = "AXTextField",
            .subrole = "AXSearchField",
            .title = "Find",
            .elementDescription = "Looks for a word",
            .value = "fox",
            .identifier = "search",
            .frame = {1, 2, 3, 4},
            .enabled = false,
            .focused = true};
}

class RouterTreeTest : public RouterHarness {
protected:
    void SetUp() override
    {
        RouterHarness::SetUp();
        front("org.editor", "Editor");
        tree.elements = {sendButton(), fullField()};
    }
    json::object result(std::string const& params = "{}")
    {
        return call("ui.tree", params).at("result").as_object();
    }
};

TEST_F(RouterTreeTest, resultHasItsKeys)
{
    EXPECT_EQ(json::value(result()), *parseJson(R"({
        "snapshotId": "snp_1",
        "truncated": false,
        "elements": [
            {"id": "e0", "role": "AXButton", "frame": {"x": 12.5, "y": 20.0, "w": 80.0, "h": 24.0},
             "enabled": true, "focused": false, "actions": ["AXPress"], "title": "Send"},
            {"id": "e1", "role": "AXTextField", "frame": {"x": 1.0, "y": 2.0, "w": 3.0, "h": 4.0},
             "enabled": false, "focused": true, "actions": [], "title": "Find", "subrole": "AXSearchField",
             "description": "Looks for a word", "value": "fox", "identifier": "search"}],
        "app": {"bundleId": "org.editor", "name": "Editor"},
        "compact": "[e0] button \"Send\" (12,20 80x24)\n[e1] textfield \"Find\" value=\"fox\" (1,2 3x4) disabled focused"
    })"));
}

TEST_F(RouterTreeTest, tellsThatItIsTruncatedAndLeavesOutAnUnknownApplication)
{
    tree.truncated = true;
    tree.app.reset();
    tree.elements.clear();
    EXPECT_EQ(json::value(result()),
              *parseJson(R"({"snapshotId": "snp_1", "truncated": true, "elements": [], "compact": ""})"));
}

TEST_F(RouterTreeTest, isLoggedAsALook)
{
    result();
    EXPECT_THAT(recorder.told, testing::ElementsAre("looked"));
    ASSERT_FALSE(state.activity().empty());
    EXPECT_EQ(state.activity().front().platformName, "Acme");
}

struct TreeParams {
    char const* params;
    FakeTree::Asked asked;
};

class RouterTreeParams : public RouterTreeTest, public testing::WithParamInterface<TreeParams> {};

TEST_P(RouterTreeParams, areRead)
{
    result(GetParam().params);
    EXPECT_EQ(tree.asked.back(), GetParam().asked) << GetParam().params;
}

INSTANTIATE_TEST_SUITE_P(
    All,
    RouterTreeParams,
    testing::Values(TreeParams{R"({})", {TreeScope::frontmost, true, {}}},
                    TreeParams{R"({"scope":"frontmost"})", {TreeScope::frontmost, true, {}}},
                    TreeParams{R"({"scope":"all_windows"})", {TreeScope::allWindows, true, {}}},
                    TreeParams{R"({"scope":"menu_bar"})", {TreeScope::menuBar, true, {}}},
                    TreeParams{R"({"scope":"everything"})", {TreeScope::frontmost, true, {}}},
                    TreeParams{R"({"scope":"ALL_WINDOWS"})", {TreeScope::frontmost, true, {}}},
                    TreeParams{R"({"scope":3})", {TreeScope::frontmost, true, {}}},
                    TreeParams{R"({"interactiveOnly":false})", {TreeScope::frontmost, false, {}}},
                    TreeParams{R"({"interactiveOnly":"false"})", {TreeScope::frontmost, true, {}}},
                    TreeParams{R"({"interactiveOnly":0})", {TreeScope::frontmost, true, {}}}));

TEST_F(RouterTreeTest, anyOtherFormatLeavesOutTheLines)
{
    EXPECT_TRUE(result(R"({"format":"compact"})").contains("compact"));
    EXPECT_TRUE(result(R"({"format":7})").contains("compact"));
    for (char const* const params : {R"({"format":"json"})", R"({"format":"Compact"})", R"({"format":""})"}) {
        json::object const plain = result(params);
        EXPECT_FALSE(plain.contains("compact")) << params;
        EXPECT_EQ(plain.at("elements").as_array().size(), 2u) << params;
    }
}

TEST_F(RouterTreeTest, ownWindowInFrontIsRefusedBeforeTheWalk)
{
    front("dev.zelvo.agent", "Zelvo");
    EXPECT_EQ(code(call("ui.tree")), "zelvo_ui_protected");
    EXPECT_TRUE(tree.asked.empty());
}

TEST_F(RouterTreeTest, ownWindowThatCameToTheFrontDuringTheWalkIsRefused)
{
    tree.app = {"dev.zelvo.agent", "Zelvo"};
    EXPECT_EQ(code(call("ui.tree")), "zelvo_ui_protected");
    EXPECT_EQ(tree.asked.size(), 1u);
}

TEST_F(RouterTreeTest, failuresOfTheWalkPassThrough)
{
    tree.failsWith = AgentError::hiddenAppActive;
    EXPECT_EQ(code(call("ui.tree")), "hidden_app_active");
    tree.failsWith = AgentError::permissionMissing;
    EXPECT_EQ(code(call("ui.tree")), "permission_missing");
}

TEST_F(RouterTreeTest, needsTheScreenScope)
{
    state.setScopes({AgentScope::input}, "c");
    EXPECT_EQ(code(call("ui.tree")), "scope_denied");
}

} // namespace
} // namespace zelvo
