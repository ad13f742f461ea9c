#include "app/ConsentWindow.h"

#include "app/AgentParts.h"
#include "app/AnswerGuard.h"
#include "app/ConsentPresenter.h"
#include "base/LocalizedTexts.h"
#include "desktop/harness/Painter.h"
#include "desktop/harness/PrivateDesktop.h"
#include "fakes/FakeConfirmationPanel.h"
#include "fakes/FakePlatform.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <gtest/gtest.h>

#include <filesystem>

namespace zelvo {
namespace {

using namespace std::chrono_literals;

LinkOffer offerOf(std::vector<AgentScope> scopes)
{
    LinkOffer offer;
    offer.token = "token";
    offer.platformName = "Acme Assistant";
    offer.verifiedDomain = "acme.example";
    offer.requestedScopes = std::move(scopes);
    offer.machineToken = "secret";
    return offer;
}

QPalette darkPalette()
{
    QPalette palette(QColor(0x24, 0x26, 0x2b));
    palette.setColor(QPalette::WindowText, QColor(0xec, 0xec, 0xf0));
    palette.setColor(QPalette::ButtonText, QColor(0xec, 0xec, 0xf0));
    return palette;
}

/// A desktop with a window manager, the program's parts on a fake platform, and the real window.
class ConsentWindowTest : public testing::Test {
protected:
    void SetUp() override { bringUp(96); }

    void bringUp(int dpi)
    {
        desktop.emplace(test::DesktopOptions{.width = 1280, .height = 1600});
        desktop->adoptEnvironment();
        test::Painter painter(desktop->display());
        painter.paintRoot(0x5b7083);
        std::string const resources = "Xft.dpi:\t" + std::to_string(dpi) + "\n";
        desktop->run(
            {"xprop", "-root", "-f", "RESOURCE_MANAGER", "8s", "-set", "RESOURCE_MANAGER", resources});
        application.emplace(count, arguments);
        QApplication::setQuitOnLastWindowClosed(false);
        texts::useLanguage("en");
        platform.emplace();
        panels.emplace(platform->windowFocus);
        parts.emplace(platform->contexts, *platform, panels->maker());
        presenter.emplace(parts->links, parts->gate, platform->contexts.main, platform->time);
    }

    void TearDown() override
    {
        presenter.reset();
        parts.reset();
        platform.reset();
        application.reset();
    }

    // Runs the event loop and the program until the condition is true, at most ten seconds.
    bool until(std::function<bool()> condition, std::chrono::milliseconds longest = 10s)
    {
        return test::waitFor(
            [&] {
                QApplication::processEvents();
                platform->settle();
                return condition();
            },
            longest);
    }
    // Waits long enough for an unwanted event to happen.
    void pass()
    {
        until([] { return false; }, 400ms);
    }
    void open(LinkOffer offer)
    {
        parts->links.present(std::move(offer));
        ASSERT_TRUE(until([this] { return window() && window()->isActiveWindow(); }));
        ASSERT_TRUE(until([this] { return desktop->activeWindow() == window()->winId(); }));
    }
    // Opens the window and lets the person look at it before the next key.
    void present(LinkOffer offer)
    {
        open(std::move(offer));
        platform->time.advance(AnswerGuard::quiet);
    }
    void replaceBy(LinkOffer offer)
    {
        parts->links.present(std::move(offer));
        ASSERT_TRUE(
            until([this] { return words().find(localized("consent.changed")) != std::string::npos; }, 2s));
    }
    LinkOffer otherOffer()
    {
        LinkOffer other = offerOf({AgentScope::screen, AgentScope::input, AgentScope::shell});
        other.token = "other";
        other.platformName = "Evil";
        return other;
    }
    void expectUnanswered()
    {
        pass();
        EXPECT_TRUE(platform->loading.requests.empty());
        EXPECT_TRUE(parts->links.offer());
    }
    void press(std::string const& key) { desktop->run({"xdotool", "key", key}); }
    void moveTo(QWidget& widget)
    {
        QPointF const middle =
            widget.mapToGlobal(QPointF(widget.rect().center())) * widget.devicePixelRatio();
        desktop->run(
            {"xdotool", "mousemove", std::to_string(int(middle.x())), std::to_string(int(middle.y()))});
    }
    void clickOn(QWidget& widget)
    {
        moveTo(widget);
        desktop->run({"xdotool", "click", "1"});
    }

    ConsentWindow* window()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets())
            if (auto* const found = dynamic_cast<ConsentWindow*>(widget); found && found->isVisible())
                return found;
        return nullptr;
    }
    template <class T>
    T* named(char const* key)
    {
        QString const wanted = QString::fromStdString(localized(key));
        for (T* const child : window()->findChildren<T*>())
            if (child->isVisible() && (child->accessibleName() == wanted || child->text() == wanted))
                return child;
        return nullptr;
    }
    // All texts of the window, one label per line.
    std::string words()
    {
        std::string all;
        for (QLabel* const label : window()->findChildren<QLabel*>())
            if (label->isVisible())
                all += label->accessibleName().toStdString() + "\n";
        return all;
    }
    // Saves a picture of the screen for inspection.
    QImage picture(std::string const& name)
    {
        pass();
        QImage image = QApplication::primaryScreen()->grabWindow(0).toImage();
        std::filesystem::create_directories(ZELVO_PICTURES);
        image.save(QString::fromStdString(std::string(ZELVO_PICTURES) + "/consent-" + name + ".png"));
        return image;
    }

    int count = 1;
    char program[5] = "test";
    char* arguments[2] = {program, nullptr};
    std::optional<test::PrivateDesktop> desktop;
    std::optional<QApplication> application;
    std::optional<FakePlatform> platform;
    std::optional<FakePanels> panels;
    std::optional<AgentParts> parts;
    std::optional<ConsentPresenter> presenter;
};

std::vector<AgentScope> const everything(allScopes.begin(), allScopes.end());

TEST_F(ConsentWindowTest, saysWhoAsksForWhat)
{
    present(offerOf(everything));

    std::string const said = words();
    EXPECT_NE(said.find("Acme Assistant would like"), std::string::npos) << said;
    EXPECT_NE(said.find("acme.example"), std::string::npos) << said;
    for (AgentScope const scope : allScopes)
        EXPECT_NE(said.find(title(scope)), std::string::npos) << said;
    EXPECT_NE(said.find(localized("consent.filesNote")), std::string::npos);
    EXPECT_NE(said.find(localized("consent.shellWarning")), std::string::npos);
    EXPECT_EQ(said.find(localized("consent.bypassWarning")), std::string::npos);
    EXPECT_EQ(window()->windowTitle().toStdString(), localized("window.consent"));
    picture("light");
}

TEST_F(ConsentWindowTest, ticksSeeingAndClickingOnly)
{
    present(offerOf(everything));

    for (AgentScope const scope : allScopes) {
        auto* const button = named<QCheckBox>(("scope." + std::string(rawValue(scope))).c_str());
        ASSERT_TRUE(button);
        EXPECT_EQ(button->isChecked(), !isOffByDefault(scope)) << rawValue(scope);
        EXPECT_EQ(button->isEnabled(), scope != AgentScope::screen) << rawValue(scope);
    }
}

TEST_F(ConsentWindowTest, returnAllowsAndTellsWhatIsTicked)
{
    present(offerOf({AgentScope::screen, AgentScope::input, AgentScope::files}));

    press("Return");

    ASSERT_TRUE(until([this] { return !platform->loading.requests.empty(); }));
    json::value const body = *parseJson(platform->loading.requests[0].body);
    EXPECT_EQ(writeJson(body.at("grantedScopes")), R"(["screen","input"])");
    EXPECT_FALSE(named<QPushButton>("confirm.allow")->isEnabled());
    press("Return"); // Neither allows again nor denies.
    pass();
    EXPECT_TRUE(parts->links.offer());
    EXPECT_EQ(platform->loading.requests.size(), 1u);

    platform->loading.answer(200, R"({"connectionId":"con_1"})");
    EXPECT_TRUE(until([this] { return !window(); }));
    EXPECT_TRUE(parts->state.connection("con_1"));
    EXPECT_FALSE(parts->gate.isClosed());
}

TEST_F(ConsentWindowTest, isNotAllowedByAPersonWhoTypesOn)
{
    open(offerOf(everything));

    desktop->run({"xdotool", "key", "--delay", "60", "a", "space", "Return", "b", "KP_Enter", "space"});
    expectUnanswered();
    platform->time.advance(399ms);
    press("Return");

    expectUnanswered();
    platform->time.advance(AnswerGuard::quiet);
    press("Return");
    EXPECT_TRUE(until([this] { return !platform->loading.requests.empty(); }));
}

TEST_F(ConsentWindowTest, isNotAllowedByAKeyThatIsHeldDown)
{
    desktop->run({"xdotool", "keydown", "Return"});
    open(offerOf({AgentScope::screen}));
    platform->time.advance(10s);
    until([] { return false; }, 2s); // Auto-repeat begins after 0.66 s.

    expectUnanswered();
    desktop->run({"xdotool", "keyup", "Return"});
    expectUnanswered();
}

TEST_F(ConsentWindowTest, aPersonWhoTypesOnTurnsNoSwitchOn)
{
    open(offerOf({AgentScope::screen, AgentScope::shell}));
    named<QCheckBox>("scope.shell")->setFocus();

    press("space");

    pass();
    EXPECT_FALSE(parts->links.granted().contains(AgentScope::shell));
}

TEST_F(ConsentWindowTest, isNotAllowedByAClickThatComesAsItOpens)
{
    open(offerOf({AgentScope::screen, AgentScope::shell}));
    platform->time.advance(399ms);

    clickOn(*named<QPushButton>("confirm.allow"));
    clickOn(*named<QLabel>("scope.shell"));
    expectUnanswered();
    EXPECT_FALSE(parts->links.granted().contains(AgentScope::shell));

    platform->time.advance(1ms);
    clickOn(*named<QPushButton>("confirm.allow"));
    EXPECT_TRUE(until([this] { return !platform->loading.requests.empty(); }));
}

TEST_F(ConsentWindowTest, givesTheKeyboardToTheFirstSwitchThatTurns)
{
    open(offerOf(everything));
    EXPECT_TRUE(named<QCheckBox>("scope.input")->hasFocus());
    EXPECT_FALSE(named<QPushButton>("confirm.allow")->hasFocus());
    picture("focus");
}

TEST_F(ConsentWindowTest, givesTheKeyboardToNoAnswerIfNoSwitchTurns)
{
    open(offerOf({AgentScope::screen}));

    EXPECT_FALSE(named<QPushButton>("confirm.allow")->hasFocus());
    EXPECT_FALSE(named<QPushButton>("confirm.deny")->hasFocus());
}

TEST_F(ConsentWindowTest, saysThatTheRequestChanged)
{
    present(offerOf({AgentScope::screen, AgentScope::input}));
    EXPECT_EQ(words().find(localized("consent.changed")), std::string::npos);

    replaceBy(otherOffer());

    EXPECT_NE(words().find("Evil"), std::string::npos);
    EXPECT_NE(words().find(localized("consent.changed")), std::string::npos);
    picture("changed");
    QApplication::setPalette(darkPalette());
    ASSERT_TRUE(until([this] { return window()->palette().window().color().lightness() < 128; }));
    EXPECT_NE(words().find(localized("consent.changed")), std::string::npos);
    picture("changed-dark");
}

TEST_F(ConsentWindowTest, aClickMeantForTheFirstRequestDoesNotAllowTheSecond)
{
    present(offerOf({AgentScope::screen, AgentScope::input, AgentScope::files}));
    platform->time.advance(1min);

    parts->links.present(otherOffer());
    pass();
    clickOn(*named<QPushButton>("confirm.allow"));
    press("Return");
    platform->time.advance(999ms);
    clickOn(*named<QPushButton>("confirm.allow"));
    expectUnanswered();

    platform->time.advance(1ms);
    clickOn(*named<QPushButton>("confirm.allow"));
    EXPECT_TRUE(until([this] { return !platform->loading.requests.empty(); }));
}

TEST_F(ConsentWindowTest, aButtonThatWasPressedBeforeTheChangeAllowsNothing)
{
    present(offerOf({AgentScope::screen, AgentScope::input, AgentScope::files}));
    moveTo(*named<QPushButton>("confirm.allow"));
    desktop->run({"xdotool", "mousedown", "1"});
    ASSERT_TRUE(until([this] { return named<QPushButton>("confirm.allow")->isDown(); }));

    parts->links.present(otherOffer());
    pass();
    platform->time.advance(1min);
    moveTo(*named<QPushButton>("confirm.allow"));
    desktop->run({"xdotool", "mouseup", "1"});

    expectUnanswered();
}

TEST_F(ConsentWindowTest, aSwitchThatWasPressedBeforeTheChangeTurnsNothingOn)
{
    present(offerOf({AgentScope::screen, AgentScope::shell}));
    moveTo(*named<QLabel>("scope.shell"));
    desktop->run({"xdotool", "mousedown", "1"});
    pass();

    parts->links.present(otherOffer());
    pass();
    platform->time.advance(1min);
    moveTo(*named<QLabel>("scope.shell"));
    desktop->run({"xdotool", "mouseup", "1"});

    pass();
    EXPECT_FALSE(parts->links.granted().contains(AgentScope::shell));
}

TEST_F(ConsentWindowTest, aKeyThatWasPressedBeforeTheChangeAllowsNothing)
{
    present(offerOf({AgentScope::screen}));
    named<QPushButton>("confirm.allow")->setFocus();
    desktop->run({"xdotool", "keydown", "space"});
    ASSERT_TRUE(until([this] { return named<QPushButton>("confirm.allow")->isDown(); }));

    parts->links.present(otherOffer());
    pass();
    platform->time.advance(1min);
    named<QPushButton>("confirm.allow")->setFocus();
    desktop->run({"xdotool", "keyup", "space"});

    expectUnanswered();
}

TEST_F(ConsentWindowTest, allowsOnlyWhatItShows)
{
    present(offerOf({AgentScope::screen, AgentScope::shell}));
    parts->links.setGranted(AgentScope::shell, true);
    parts->links.present(offerOf({AgentScope::screen, AgentScope::input})); // The same token.
    pass();
    platform->time.advance(1s);

    press("Return");

    ASSERT_TRUE(until([this] { return !platform->loading.requests.empty(); }));
    json::value const body = *parseJson(platform->loading.requests[0].body);
    EXPECT_EQ(writeJson(body.at("grantedScopes")), R"(["screen"])");
}

TEST_F(ConsentWindowTest, twoPressesInOneTurnAllowOnce)
{
    present(offerOf({AgentScope::screen}));

    auto* const allow = named<QPushButton>("confirm.allow");
    allow->click();
    allow->click();

    pass();
    EXPECT_EQ(platform->loading.requests.size(), 1u);
}

TEST_F(ConsentWindowTest, pressThatCameBeforeAnotherOfferDoesNotAllowThatOne)
{
    present(offerOf({AgentScope::screen}));
    LinkOffer other = offerOf({AgentScope::screen, AgentScope::input});
    other.token = "other";

    named<QPushButton>("confirm.allow")->click();
    parts->links.present(other);

    pass();
    EXPECT_TRUE(platform->loading.requests.empty());
    EXPECT_EQ(parts->links.offer(), other);
}

TEST_F(ConsentWindowTest, escapeDenies)
{
    present(offerOf(everything));

    press("Escape");

    EXPECT_TRUE(until([this] { return !window(); }));
    EXPECT_FALSE(parts->links.offer());
    EXPECT_TRUE(platform->loading.requests.empty());
}

TEST_F(ConsentWindowTest, denyAndTheClosingButtonDeny)
{
    present(offerOf(everything));
    clickOn(*named<QPushButton>("confirm.deny"));
    EXPECT_TRUE(until([this] { return !window(); }));
    EXPECT_FALSE(parts->links.offer());

    present(offerOf(everything));
    // The window manager handles this key, and on a busy machine may not listen yet.
    for (int tries = 0; tries < 5 && window(); ++tries) {
        press("alt+F4");
        until([this] { return !window(); }, 3s);
    }
    EXPECT_FALSE(window());
    EXPECT_FALSE(parts->links.offer());
}

TEST_F(ConsentWindowTest, turnsSwitchesByKeyAndByClickAnywhereInTheRow)
{
    present(offerOf(everything));
    auto* const shell = named<QCheckBox>("scope.shell");
    shell->setFocus();
    until([shell] { return shell->hasFocus(); });

    press("space");
    EXPECT_TRUE(until([this] { return parts->links.granted().contains(AgentScope::shell); }));
    EXPECT_TRUE(
        until([this] { return words().find(localized("consent.bypassWarning")) != std::string::npos; }));
    EXPECT_TRUE(shell->hasFocus());
    picture("bypass");

    clickOn(*named<QLabel>("scope.files"));
    EXPECT_TRUE(until([this] { return parts->links.granted().contains(AgentScope::files); }));
    clickOn(*shell);
    clickOn(*named<QCheckBox>("scope.files"));
    EXPECT_TRUE(until([this] { return parts->links.granted().size() == 2; }));
    EXPECT_TRUE(
        until([this] { return words().find(localized("consent.bypassWarning")) == std::string::npos; }));

    clickOn(*named<QLabel>("scope.screen"));
    pass();
    EXPECT_TRUE(parts->links.granted().contains(AgentScope::screen));
}

TEST_F(ConsentWindowTest, warnsOfWhomNobodyChecked)
{
    LinkOffer offer = offerOf({AgentScope::screen});
    offer.verifiedDomain.reset();
    present(offer);

    EXPECT_NE(words().find(localized("consent.domainUnverified")), std::string::npos);
    picture("unverified");
}

TEST_F(ConsentWindowTest, hasNoOriginLineForAPersonalOfferWithoutDomain)
{
    LinkOffer offer = offerOf({AgentScope::screen});
    offer.isPersonal = true;
    present(offer);
    EXPECT_NE(words().find(localized("consent.personal")), std::string::npos);
    EXPECT_NE(words().find("acme.example"), std::string::npos);

    offer.verifiedDomain.reset();
    parts->links.present(offer);
    ASSERT_TRUE(until([this] { return words().find("acme.example") == std::string::npos; }));
    EXPECT_EQ(words().find(localized("consent.domainUnverified")), std::string::npos);
}

TEST_F(ConsentWindowTest, cannotAllowAnOfferWithoutTheScreen)
{
    present(offerOf({AgentScope::input}));
    EXPECT_FALSE(named<QPushButton>("confirm.allow")->isEnabled());

    press("Return");
    pass();

    EXPECT_TRUE(platform->loading.requests.empty());
    EXPECT_TRUE(parts->links.offer());
}

TEST_F(ConsentWindowTest, staysOpenAndSaysWhyWhenTheAnswerDidNotGetThrough)
{
    present(offerOf({AgentScope::screen}));

    press("Return");
    platform->loading.answer(400, R"({"error":{"message":"This link was used already."}})");

    EXPECT_TRUE(until([this] { return window() && words().find("used already") != std::string::npos; }));
    EXPECT_TRUE(named<QPushButton>("confirm.allow")->isEnabled());
    picture("failed");

    platform->time.advance(AnswerGuard::quiet);
    press("Return");
    platform->loading.answer(200, R"({"connectionId":"con_1"})");
    EXPECT_TRUE(until([this] { return !window(); }));
    EXPECT_TRUE(parts->state.connection("con_1"));
    pass();
    EXPECT_FALSE(window()); // The old failure is over.
}

TEST_F(ConsentWindowTest, showsAFailedLinkUntilItIsClosed)
{
    platform->loading.fail(NetworkFailure::Kind::unreachable);
    parts->links.begin("token");

    ASSERT_TRUE(until([this] { return window() && window()->isActiveWindow(); }));
    EXPECT_NE(words().find(localized("link.error.generic")), std::string::npos);
    EXPECT_NE(words().find("zelvo.invalid"), std::string::npos);
    picture("error");

    press("Escape");
    EXPECT_TRUE(until([this] { return !window(); }));
    EXPECT_FALSE(parts->gate.isClosed());

    platform->loading.fail(NetworkFailure::Kind::unreachable);
    parts->links.begin("token");
    EXPECT_TRUE(until([this] { return window() != nullptr; })); // The same failure again is news.
}

TEST_F(ConsentWindowTest, saysThatNobodyAsksWhenThePersonOpensIt)
{
    presenter->show();

    ASSERT_TRUE(until([this] { return window() && window()->isActiveWindow(); }));
    EXPECT_NE(words().find(localized("consent.noRequest")), std::string::npos);

    parts->links.present(offerOf({AgentScope::screen}));
    EXPECT_TRUE(until([this] { return words().find("Acme") != std::string::npos; }));
    press("Escape");
    EXPECT_TRUE(until([this] { return !window(); }));
}

TEST_F(ConsentWindowTest, closesTheGateWhileItIsOpen)
{
    EXPECT_FALSE(parts->gate.isClosed());
    present(offerOf({AgentScope::screen}));
    EXPECT_TRUE(parts->gate.isClosed());

    parts->links.cancel();
    EXPECT_TRUE(until([this] { return !window(); }));
    EXPECT_FALSE(parts->gate.isClosed());
}

TEST_F(ConsentWindowTest, takesTheKeyboardFromAnotherWindowAndStandsAboveIt)
{
    desktop->start({"xterm", "-geometry", "200x80+0+0"});
    desktop->waitForWindow({.className = "xterm"});
    present(offerOf({AgentScope::screen}));

    desktop->run(
        {"xdotool", "mousemove", "20", "20", "click", "1"}); // The terminal becomes active, but stays below.
    ASSERT_TRUE(until([this] { return !window()->isActiveWindow(); }));
    QImage const image = picture("above");

    QPoint const inside = window()->mapToGlobal(QPoint(5, 5));
    EXPECT_EQ(image.pixelColor(inside).lightness(), window()->palette().window().color().lightness());
}

TEST_F(ConsentWindowTest, showsWhatOthersWordedAsPlainLetters)
{
    std::string const rightToLeft{'\xe2', '\x80', '\xae'}; // U+202E, which reverses the letters after it.
    LinkOffer offer = offerOf({AgentScope::screen});
    offer.platformName = "<b>Acme</b>\n\n" + rightToLeft + "evil" + std::string(500, 'x');
    offer.verifiedDomain = std::string(120, 'a') + ".example";
    present(offer);

    EXPECT_NE(words().find("<b>Acme</b> evil"), std::string::npos) << words();
    EXPECT_NE(words().find("…"), std::string::npos);
    EXPECT_LT(window()->height(), 700);
    EXPECT_LT(window()->width(), 600);
    picture("foreign");
}

TEST_F(ConsentWindowTest, followsTheDesktopIntoTheDark)
{
    present(offerOf(everything));
    QApplication::setPalette(darkPalette());

    ASSERT_TRUE(until([this] { return window()->palette().window().color().lightness() < 128; }));
    parts->links.setGranted(AgentScope::shell, true);
    QImage const image = picture("dark");

    EXPECT_LT(image.pixelColor(window()->mapToGlobal(QPoint(5, 5))).lightness(), 128);
}

TEST_F(ConsentWindowTest, speaksRussian)
{
    texts::useLanguage("ru");
    present(offerOf(everything));
    parts->links.setGranted(AgentScope::files, true);

    EXPECT_NE(words().find("хочет пользоваться этим компьютером"), std::string::npos);
    picture("russian");
}

class LargeConsentWindowTest : public ConsentWindowTest {
protected:
    void SetUp() override { bringUp(192); }
};

TEST_F(LargeConsentWindowTest, isTwiceAsLarge)
{
    present(offerOf(everything));

    EXPECT_EQ(window()->devicePixelRatio(), 2);
    QImage const image = picture("scale2");
    EXPECT_EQ(image.width(), 1280);
    clickOn(*named<QPushButton>("confirm.deny"));
    EXPECT_TRUE(until([this] { return !window(); }));
}

} // namespace
} // namespace zelvo
