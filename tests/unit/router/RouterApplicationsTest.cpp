#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RouterApplicationsTest : public RouterHarness {
protected:
    static constexpr char const* entry = "/apps/org.editor.desktop";

    void SetUp() override
    {
        RouterHarness::SetUp();
        platform.desktop.locations["org.editor"] = entry;
        platform.desktop.bundles[entry] = {"org.editor", "Editor", {{"org.editor", "editor"}}};
        platform.desktop.onOpen = [this](std::string const&) { front("org.editor", "Editor"); };
        front("org.other", "Other");
    }

    static RunningApplication application(std::string bundleId, std::string name, std::int32_t pid)
    {
        RunningApplication made{pid, {{std::move(bundleId)}}, std::move(name)};
        made.isRegular = true;
        made.location = "/apps/" + made.names.names.front() + ".desktop";
        return made;
    }
    static WindowEntry window(std::string bundleId, std::string name, std::string title, DesktopRect bounds)
    {
        WindowEntry made;
        made.ownerPid = 100;
        made.bounds = bounds;
        made.owner = {{std::move(bundleId)}};
        made.ownerName = std::move(name);
        made.title = std::move(title);
        return made;
    }
    void hide(std::string const& bundleId) { run(platform.io, hiddenApps.add(bundleId)); }
    json::value listed(char const* method) { return call(method).at("result"); }
};

TEST_F(RouterApplicationsTest, opensByIdentifier)
{
    EXPECT_EQ(call("apps.open", R"({"bundleId": "org.editor"})").at("result"),
              (json::object{{"ok", true}, {"bundleId", "org.editor"}, {"name", "Editor"}}));
    EXPECT_THAT(platform.desktop.opened, ElementsAre(entry));
    EXPECT_THAT(recorder.told, ElementsAre("acted c Acme"));
}

TEST_F(RouterApplicationsTest, opensAnInstalledOneByName)
{
    platform.desktop.namedLocations = {{"Editor", entry}, {"Editor.app", entry}};
    for (char const* const params : {R"({"name": "Editor"})", R"({"name": "Editor.app"})"})
        EXPECT_EQ(call("apps.open", params).at("result").at("bundleId"), "org.editor") << params;
    EXPECT_THAT(platform.desktop.opened, ElementsAre(entry, entry));
}

TEST_F(RouterApplicationsTest, findsARunningOneUnderAnotherCaseOfLetters)
{
    platform.desktop.applications = {application("org.editor", "Éditor", 1)};
    EXPECT_EQ(code(call("apps.open", R"({"name": "éDITOR"})")), "");
    EXPECT_THAT(platform.desktop.opened, ElementsAre(entry));
}

TEST_F(RouterApplicationsTest, aRunningOneGoesBeforeAnInstalledOneOfTheSameName)
{
    platform.desktop.namedLocations["Editor"] = "/apps/another.desktop";
    platform.desktop.applications = {application("org.editor", "Editor", 1)};
    call("apps.open", R"({"name": "Editor"})");
    EXPECT_THAT(platform.desktop.opened, ElementsAre(entry));
}

TEST_F(RouterApplicationsTest, theNameCountsWhereTheIdentifierFindsNothing)
{
    platform.desktop.namedLocations["Editor"] = entry;
    EXPECT_EQ(code(call("apps.open", R"({"bundleId": "org.gone", "name": "Editor"})")), "");
    EXPECT_EQ(code(call("apps.open", R"({"bundleId": "", "name": "Editor"})")), "");
}

TEST_F(RouterApplicationsTest, whatIsNotFoundIsAnInvalidRequest)
{
    for (char const* const params :
         {"{}", R"({"bundleId": "org.gone"})", R"({"name": "Gone"})", R"({"bundleId": "", "name": ""})",
          R"({"bundleId": 1, "name": 2})", R"({"bundleId": null})", R"({"bundleId": ["org.editor"]})"})
        EXPECT_EQ(code(call("apps.open", params)), "invalid_request") << params;
    EXPECT_THAT(platform.desktop.opened, IsEmpty());
    EXPECT_THAT(recorder.told, IsEmpty());
}

TEST_F(RouterApplicationsTest, aLocationWithoutAnApplicationIsAnInvalidRequest)
{
    platform.desktop.locations["org.odd"] = "/apps/odd";
    EXPECT_EQ(code(call("apps.open", R"({"bundleId": "org.odd"})")), "invalid_request");
    platform.desktop.bundles["/apps/odd"] = {"", "Odd", {}};
    EXPECT_EQ(code(call("apps.open", R"({"bundleId": "org.odd"})")), "invalid_request");
}

TEST_F(RouterApplicationsTest, aHiddenOneIsNotOpened)
{
    hide("editor"); // One of its names is enough.
    EXPECT_EQ(code(call("apps.open", R"({"bundleId": "org.editor"})")), "hidden_app_active");
    EXPECT_EQ(code(call("apps.activate", R"({"bundleId": "org.editor"})")), "hidden_app_active");
    EXPECT_THAT(platform.desktop.opened, IsEmpty());
}

TEST_F(RouterApplicationsTest, activateDoesNotStartAnInstalledOne)
{
    EXPECT_EQ(code(call("apps.activate", R"({"bundleId": "org.editor"})")), "invalid_request");
    EXPECT_THAT(platform.desktop.opened, IsEmpty());
}

TEST_F(RouterApplicationsTest, activateBringsARunningOneToTheFront)
{
    platform.desktop.applications = {application("org.editor", "Editor", 1)};
    EXPECT_EQ(code(call("apps.activate", R"({"bundleId": "org.editor"})")), "");
    EXPECT_THAT(platform.desktop.opened, ElementsAre(entry));
    EXPECT_EQ(platform.desktop.mayStart, false); // Should it end meanwhile.
    call("apps.open", R"({"bundleId": "org.editor"})");
    EXPECT_EQ(platform.desktop.mayStart, true);
}

TEST_F(RouterApplicationsTest, aFailedStartIsAnInternalError)
{
    platform.desktop.openFailure = "/usr/bin/editor is not there";
    json::object const reply = call("apps.open", R"({"bundleId": "org.editor"})");
    EXPECT_EQ(code(reply), "internal_error");
    EXPECT_EQ(writeJson(reply).find("/usr"), std::string::npos);
}

TEST_F(RouterApplicationsTest, waitsFiveSecondsForItToComeToTheFront)
{
    platform.desktop.onOpen = nullptr;
    std::optional<json::object> reply;
    start(frame("apps.open", R"({"bundleId": "org.editor"})"), reply);
    platform.time.advance(4950ms);
    platform.settle();
    EXPECT_FALSE(reply);
    front("ORG.EDITOR", "Editor"); // Compared without regard to case.
    platform.time.advance(50ms);
    platform.settle();
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "");
}

TEST_F(RouterApplicationsTest, tellsWhatIsInFrontInsteadAfterFiveSeconds)
{
    platform.desktop.onOpen = nullptr;
    std::optional<json::object> reply;
    start(frame("apps.open", R"({"bundleId": "org.editor"})"), reply);
    for (int i = 0; i < 100; ++i) {
        EXPECT_FALSE(reply) << i;
        platform.time.advance(50ms);
        platform.settle();
    }
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "app_not_frontmost");
    EXPECT_EQ(details(*reply),
              (json::object{{"expected", "org.editor"}, {"actual", "org.other"}, {"actualName", "Other"}}));
}

TEST_F(RouterApplicationsTest, openingAndWaitingTakeFiveSecondsInAll)
{
    Instant const begun = platform.time.now();
    platform.desktop.onOpen = [this](std::string const&) { platform.time.advance(3s); };
    std::optional<json::object> reply;
    start(frame("apps.open", R"({"bundleId": "org.editor"})"), reply);
    EXPECT_EQ(platform.desktop.openDeadline, begun + 5s);
    platform.time.advance(1950ms);
    platform.settle();
    EXPECT_FALSE(reply);
    platform.time.advance(50ms);
    platform.settle();
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "app_not_frontmost");
}

TEST_F(RouterApplicationsTest, activatesByAnyNameInAnyCaseOfLetters)
{
    RunningApplication other = application("org.first", "First", 1);
    other.names.names.emplace_back("org.editor-helper");
    RunningApplication editor = application("org.editor", "Editor", 2);
    editor.names.names.emplace_back("Editor-Class");
    platform.desktop.applications = {other, editor};
    for (char const* const params : {R"({"bundleId": "ORG.EDITOR"})", R"({"bundleId": "editor-class"})"})
        EXPECT_EQ(call("apps.activate", params).at("result").at("bundleId"), "org.editor") << params;
    EXPECT_THAT(platform.desktop.opened, ElementsAre(entry, entry));
}

TEST_F(RouterApplicationsTest, activatesWhatIsCalledThatBeforeWhatIsAlsoCalledThat)
{
    RunningApplication other = application("org.first", "First", 1);
    other.names.names.emplace_back("org.editor");
    platform.desktop.applications = {other, application("org.editor", "Editor", 2)};
    EXPECT_EQ(code(call("apps.activate", R"({"bundleId": "org.editor"})")), "");
    EXPECT_THAT(platform.desktop.opened, ElementsAre(entry));
}

TEST_F(RouterApplicationsTest, leavesWhatIsInFrontThereWhenItHasTheName)
{
    RunningApplication first = application("org.first", "First", 1);
    RunningApplication editor = application("org.editor", "Editor", 1);
    for (RunningApplication* const each : {&first, &editor})
        each->names.names.emplace_back("org.suite");
    editor.isActive = true;
    platform.desktop.applications = {first, editor};
    EXPECT_EQ(code(call("apps.activate", R"({"bundleId": "org.suite"})")), "");
    EXPECT_THAT(platform.desktop.opened, ElementsAre(entry));
}

TEST_F(RouterApplicationsTest, listsWhatRunsInItsOrder)
{
    RunningApplication active = application("b", "Bee", 2);
    active.isActive = true;
    RunningApplication background = application("c", "Sea", 3);
    background.isRegular = false;
    RunningApplication nameless = application("d", "Dee", 4);
    nameless.names = {};
    platform.desktop.applications = {application("z", "", 9), active, background, nameless};
    EXPECT_EQ(listed("apps.list"),
              (json::array{json::object{{"bundleId", "z"}, {"name", ""}, {"pid", 9}, {"active", false}},
                           json::object{{"bundleId", "b"}, {"name", "Bee"}, {"pid", 2}, {"active", true}}}));
}

TEST_F(RouterApplicationsTest, doesNotListHiddenOnes)
{
    RunningApplication secret = application("org.secret", "Secret", 1);
    secret.names.names.emplace_back("secret-class");
    platform.desktop.applications = {secret};
    hide("secret-class");
    EXPECT_EQ(listed("apps.list"), json::array());
}

TEST_F(RouterApplicationsTest, listsWindowsFrontToBack)
{
    platform.windowList.list = {window("a", "Ay", "First", {1, 2, 30.5, 40}),
                                window("b", "", "", {-5, 0, 1, 1})};
    EXPECT_EQ(listed("windows.list"),
              (json::array{json::object{{"title", "First"},
                                        {"bundleId", "a"},
                                        {"appName", "Ay"},
                                        {"frame", {{"x", 1}, {"y", 2}, {"w", 30.5}, {"h", 40}}}},
                           json::object{{"title", ""},
                                        {"bundleId", "b"},
                                        {"appName", ""},
                                        {"frame", {{"x", -5}, {"y", 0}, {"w", 1}, {"h", 1}}}}}));
}

TEST_F(RouterApplicationsTest, aWindowWithoutAPlaceReadsAsZero)
{
    WindowEntry odd = window("a", "Ay", "", {});
    odd.bounds.reset();
    platform.windowList.list = {odd};
    EXPECT_EQ(listed("windows.list").at(0).at("frame"),
              (json::object{{"x", 0}, {"y", 0}, {"w", 0}, {"h", 0}}));
}

TEST_F(RouterApplicationsTest, withoutWindowsOfOthersTheListIsAnEmptyArray)
{
    WindowEntry nobodys = window("a", "Ay", "", {0, 0, 1, 1});
    nobodys.ownerPid.reset();
    WindowEntry nameless = window("a", "Ay", "", {0, 0, 1, 1});
    nameless.owner = {};
    platform.windowList.list = {ownWindow({0, 0, 5, 5}), nobodys, nameless};
    EXPECT_EQ(listed("windows.list"), json::array());
    platform.windowList.list.reset();
    EXPECT_EQ(listed("windows.list"), json::array());
}

TEST_F(RouterApplicationsTest, doesNotListWindowsOfHiddenApplications)
{
    WindowEntry chooser = window("portal", "Portal", "Open secret.txt", {0, 0, 9, 9});
    chooser.owner.names.emplace_back("org.secret"); // It stands for that one's window.
    platform.windowList.list = {window("org.secret", "Secret", "", {0, 0, 1, 1}), chooser};
    hide("org.secret");
    EXPECT_EQ(listed("windows.list"), json::array());
}

TEST_F(RouterApplicationsTest, doesNotListDesktops)
{
    WindowEntry icons = window("files", "Files", "Desktop", {0, 0, 9, 9});
    icons.isDesktop = true;
    platform.windowList.list = {icons};
    EXPECT_EQ(listed("windows.list"), json::array());
}

TEST_F(RouterApplicationsTest, opensAWebPageWithoutAQuestion)
{
    for (char const* const url : {"https://a.example/x?y=1#z", "HTTP://a.example"})
        EXPECT_EQ(call("urls.open", writeJson(json::object{{"url", url}})).at("result"),
                  (json::object{{"ok", true}}));
    EXPECT_THAT(platform.desktop.openedUrls, ElementsAre("https://a.example/x?y=1#z", "HTTP://a.example"));
    EXPECT_THAT(confirmations.questions, IsEmpty());
    EXPECT_THAT(recorder.told, ElementsAre("acted c Acme", "acted c Acme"));
}

TEST_F(RouterApplicationsTest, asksBeforeAUrlOfAnotherScheme)
{
    call("urls.open", R"({"url": "mailto:a@b.example", "confirmationTimeoutMs": 7})");
    ConfirmationSubject const subject{ConfirmationSubject::OpenUrl{"mailto:a@b.example"}};
    EXPECT_THAT(confirmations.questions, ElementsAre(FakeConfirming::Question{subject, "Acme", 7}));
    EXPECT_THAT(platform.desktop.openedUrls, ElementsAre("mailto:a@b.example"));
}

TEST_F(RouterApplicationsTest, opensNothingAfterANo)
{
    confirmations.decision = ConfirmationDecision::denied();
    EXPECT_EQ(code(call("urls.open", R"({"url": "file:///etc/passwd"})")), "denied_by_user");
    confirmations.decision = ConfirmationDecision::timedOut();
    EXPECT_EQ(code(call("urls.open", R"({"url": "file:///etc/passwd"})")), "confirmation_timeout");
    EXPECT_THAT(platform.desktop.openedUrls, IsEmpty());
}

TEST_F(RouterApplicationsTest, whatIsNoUrlIsAnInvalidRequest)
{
    for (char const* const params :
         {"{}", R"({"url": 1})", R"({"url": null})", R"({"url": ""})", R"({"url": "two words"})",
          R"({"url": "http://["})", R"({"url": "a\nb"})"})
        EXPECT_EQ(code(call("urls.open", params)), "invalid_request") << params;
    EXPECT_THAT(platform.desktop.openedUrls, IsEmpty());
    EXPECT_THAT(recorder.told, IsEmpty());
}

} // namespace
} // namespace zelvo
