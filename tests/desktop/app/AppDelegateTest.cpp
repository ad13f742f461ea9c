#include "app/AppDelegate.h"

#include "app/WindowIcon.h"
#include "base/LocalizedTexts.h"
#include "desktop/harness/PrivateDesktop.h"
#include "fakes/FakePlatform.h"
#include "gateway/Keychain.h"

#include <QAbstractButton>
#include <QApplication>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace zelvo {
namespace {

class AppDelegateTest : public testing::Test {
protected:
    AppDelegateTest()
    {
        desktop.adoptEnvironment();
        application.emplace(count, arguments);
    }

    std::vector<std::string> resolvedTokens()
    {
        platform.settle();
        std::vector<std::string> tokens;
        for (HttpRequest const& request : platform.loading.requests)
            tokens.emplace_back(parseJson(request.body)->at("token").as_string());
        return tokens;
    }

    /// With one connection, which may act.
    void makeLinked()
    {
        platform.secretStore.items[{"dev.zelvo.agent", "machine_token"}] = "secret";
        GrantedConnection const connection{.id = "c", .platformName = "Acme", .scopes = {AgentScope::input}};
        platform.settings.contents["zelvo.connections"] = encodeConnections({{"c", connection}});
    }

    /// Connects, and has an agent act.
    void beginWork()
    {
        platform.settle();
        platform.opener.last().deliver(R"({"id":"1","method":"actions.perform","connectionId":"c",)"
                                       R"("params":{"actions":[{"type":"wait","ms":1}]}})");
        platform.settle();
    }

    /// Whether a question is on the screen.
    static bool isAsked()
    {
        return std::ranges::any_of(QApplication::topLevelWidgets(), [](QWidget const* window) {
            return window->isVisible() && window->windowTitle() == "Zelvo";
        });
    }

    void settleWindows()
    {
        for (int i = 0; i < 4; ++i) {
            QApplication::processEvents();
            platform.settle();
        }
    }

    static QWidget* shown(std::string const& name)
    {
        for (QWidget* const each : QApplication::allWidgets())
            if (each->isVisible() && each->accessibleName().toStdString() == name)
                return each;
        return nullptr;
    }
    static bool shows(std::string const& text) { return shown(text) != nullptr; }

    /// Shows the update window with a version that is ready.
    void beReadyToUpdate()
    {
        platform.info.texts["SUPublicEDKey"] = "key";
        delegate.start();
        delegate.bringToFront();
        platform.programUpdates.delegate().progressed(
            {.phase = UpdateProgress::Phase::ready, .item = {.displayVersion = "2.5"}});
        settleWindows();
        press(localized("main.installUpdate", {"2.5"}));
    }

    void press(std::string const& button)
    {
        auto* const found = dynamic_cast<QAbstractButton*>(shown(button));
        ASSERT_TRUE(found) << button;
        found->click();
        settleWindows();
    }

    test::PrivateDesktop desktop;
    int count = 1;
    char program[5] = "test";
    char* arguments[2] = {program, nullptr};
    std::optional<QApplication> application;
    FakePlatform platform;
    int quits = 0;
    AppDelegate delegate{platform.contexts, platform, [this] { ++quits; }};
};

using Tokens = std::vector<std::string>;
using Calls = std::vector<std::string>;

TEST_F(AppDelegateTest, servesTheLastLinkThatCameBeforeTheStart)
{
    delegate.open({"zelvo://link?token=a"});
    delegate.open({"zelvo://link?token=b", "https://elsewhere.example", "zelvo://link?token"});
    EXPECT_EQ(resolvedTokens(), Tokens());

    delegate.start();

    EXPECT_EQ(resolvedTokens(), Tokens({"b"}));
}

TEST_F(AppDelegateTest, beginsOneLinkAtATimeOnceItRuns)
{
    delegate.start();

    delegate.open({"nonsense", "zelvo://link?token=a", "zelvo://link?token=b"});
    delegate.open({"zelvo://link?token=c"});
    EXPECT_EQ(resolvedTokens(), Tokens({"a"}));

    platform.loading.answer(400, "{}");
    platform.settle();
    delegate.open({"zelvo://link?token=d"});
    EXPECT_EQ(resolvedTokens(), Tokens({"a", "d"}));
}

TEST_F(AppDelegateTest, startsItsPartsInTheirOrder)
{
    std::vector<std::string> calls;
    auto const note = [&](std::string const& name) {
        return [&calls, name] {
            if (std::ranges::find(calls, name) == calls.end())
                calls.push_back(name);
        };
    };
    platform.sessionEvents.onObserve = note("state");
    platform.path.onStart = note("runtime");
    platform.key.onStart = [&] {
        beginWork(); // The indicator shows it if it follows the state already.
        if (platform.overlayWindows.opened > 0)
            note("indicator")();
        note("hot key")();
    };
    platform.info.texts["SUPublicEDKey"] = "key";
    platform.programUpdates.onStart = note("updates");
    makeLinked();
    platform.loading.onLoad = note("link");
    delegate.open({"zelvo://link?token=a"});
    platform.settle();
    EXPECT_EQ(calls, Calls());

    delegate.start();
    platform.settle();

    EXPECT_EQ(calls, Calls({"state", "runtime", "indicator", "hot key", "updates", "link"}));
    EXPECT_EQ(platform.programUpdates.started, 1);
    platform.time.advance(1s); // Ends the agent's wait.
    platform.settle();
}

TEST_F(AppDelegateTest, startsTheClipboardFirst)
{
    delegate.start();

    platform.io.restart();
    platform.io.run_one(); // The first task that was started.

    EXPECT_EQ(platform.time.sleeperCount(), 1U);
    platform.settle();
    platform.time.advance(500ms);
    EXPECT_GE(platform.clipboard.looks, 1);
}

TEST_F(AppDelegateTest, takesOffersFromTheFirstConnectionOn)
{
    platform.secretStore.items[{"dev.zelvo.agent", "machine_token"}] = "secret";
    platform.settings.setText("ZelvoMode", "cloud");
    delegate.start();
    platform.settle();
    ASSERT_EQ(platform.opener.opened.size(), 1U);

    platform.opener.last().deliver(
        R"({"id":"1","method":"queue.offer","params":{"connectionId":"c","platformName":"Acme","commands":)"
        R"([{"commandId":"a","type":"urls.open","summary":"Open it"}]}})");
    platform.settle();

    EXPECT_EQ(platform.notices.shown.size(), 1U);
}

TEST_F(AppDelegateTest, asksAboutAWrongPlaceWhileTheAgentRuns)
{
    platform.secretStore.items[{"dev.zelvo.agent", "machine_token"}] = "secret";
    platform.installed.where.program = "/tmp/zelvo-agent";

    delegate.start();
    platform.settle();

    EXPECT_EQ(platform.opener.opened.size(), 1U);
    EXPECT_TRUE(isAsked());
    EXPECT_EQ(quits, 0);
    EXPECT_EQ(platform.installed.installed, 0);
}

TEST_F(AppDelegateTest, asksNothingAtItsPlace)
{
    delegate.start();
    platform.settle();

    EXPECT_FALSE(isAsked());
}

TEST_F(AppDelegateTest, connectsWithTheStoredToken)
{
    platform.secretStore.items[{"dev.zelvo.agent", "machine_token"}] = "secret";

    delegate.start();
    platform.settle();

    EXPECT_EQ(platform.opener.opened.size(), 1u);
}

TEST_F(AppDelegateTest, pausesAndResumesByTheHotKey)
{
    delegate.start();
    platform.settle();

    ASSERT_TRUE(platform.key.press);
    platform.key.press();
    platform.settle();
    EXPECT_EQ(platform.posting.releases, 1);

    platform.key.press();
    platform.settle();
    EXPECT_EQ(platform.posting.releases, 1);
}

TEST_F(AppDelegateTest, takesTwoSecondsToEndAndWritesWhatIsLeft)
{
    delegate.start();
    platform.settle();
    auto const before = std::chrono::steady_clock::now();

    delegate.willTerminate();

    auto const taken = std::chrono::steady_clock::now() - before;
    EXPECT_GE(taken, std::chrono::seconds(2));
    EXPECT_LT(taken, std::chrono::seconds(3));
    EXPECT_EQ(platform.settings.finalWrites, 1);
    EXPECT_EQ(platform.loading.endings, 1); // A silent server does not delay the end.
    platform.settle();
    EXPECT_EQ(platform.elements.switchedOff, 1);
    EXPECT_EQ(platform.clipboard.handedOver, 1);
}

TEST_F(AppDelegateTest, watchesTheClipboardFromItsStart)
{
    delegate.start();
    platform.settle();
    platform.clipboard.copy("text");

    platform.time.advance(500ms);

    EXPECT_EQ(platform.desktop.looks, 1);
}

TEST_F(AppDelegateTest, endsAtOnceWithoutAnOpenRecording)
{
    delegate.start();
    delegate.terminate();
    EXPECT_EQ(quits, 1);
}

TEST_F(AppDelegateTest, takesNoRequestOnceItIsAboutToEnd)
{
    delegate.start();
    EXPECT_TRUE(delegate.open({"nonsense"}));
    EXPECT_TRUE(delegate.bringToFront());
    delegate.terminate();

    EXPECT_FALSE(delegate.open({"zelvo://link?token=a"}));
    EXPECT_FALSE(delegate.bringToFront());
    EXPECT_EQ(resolvedTokens(), Tokens());
}

TEST_F(AppDelegateTest, hasNoWindowOnTheScreenWhileItEnds)
{
    delegate.start();
    delegate.bringToFront();
    platform.settle();
    auto const shown = [] {
        return std::ranges::count_if(QApplication::topLevelWidgets(), &QWidget::isVisible);
    };
    EXPECT_GE(shown(), 1);

    delegate.willTerminate();

    EXPECT_EQ(shown(), 0);
}

TEST_F(AppDelegateTest, endsWithTheMachine)
{
    delegate.start();
    platform.sessionEvents.tell(SessionEvent::willSleep);
    EXPECT_EQ(quits, 0);

    platform.sessionEvents.tell(SessionEvent::willShutDown);

    EXPECT_EQ(quits, 1);
}

TEST_F(AppDelegateTest, restartsIntoAnUpdate)
{
    beReadyToUpdate();

    press(localized("update.install"));

    EXPECT_EQ(platform.installed.startedAfterEnd, Calls{platform.installed.where.program});
    EXPECT_EQ(quits, 1);
    EXPECT_EQ(platform.programUpdates.installed, 0); // That is left to the end of the process.
    platform.programUpdates.pending = UpdateItem{.displayVersion = "2.5"};
    delegate.willTerminate();
    EXPECT_EQ(platform.programUpdates.installed, 1);
}

TEST_F(AppDelegateTest, staysIfTheRestartCannotBeArranged)
{
    platform.installed.starts = false;
    beReadyToUpdate();

    press(localized("update.install"));

    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(shows(localized("update.restartFailed")));
}

TEST_F(AppDelegateTest, hasNothingToCloseWithoutARecording)
{
    delegate.start();
    delegate.closeRecording();
    EXPECT_EQ(quits, 0);
}

TEST_F(AppDelegateTest, asksApplicationsToPublishTheirElementsFromTheStart)
{
    delegate.start();
    platform.settle();
    EXPECT_EQ(platform.elements.switchedOn, 1);
}

TEST_F(AppDelegateTest, hasAnIcon)
{
    EXPECT_EQ(windowIcon().pixmap(128).width(), 128);
}

} // namespace
} // namespace zelvo
