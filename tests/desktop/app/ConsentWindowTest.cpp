#include "desktop/app/ConsentWindowFixture.h"

namespace zelvo {
namespace {

using ConsentWindowTest = ConsentWindowFixture;

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
