// A request that a person did not mean to allow: somebody types or clicks on, or another request takes its
// place.
#include "desktop/app/ConsentWindowFixture.h"

#include <thread>

namespace zelvo {
namespace {

class ConsentAttackTest : public ConsentWindowFixture {
protected:
    void pressOn(QWidget& widget)
    {
        moveTo(widget);
        desktop->run({"xdotool", "mousedown", "1"});
    }
    void releaseOn(QWidget& widget)
    {
        moveTo(widget);
        desktop->run({"xdotool", "mouseup", "1"});
    }
    // Another request takes the place of this one, and the person looks at it for a minute.
    void replaceAndWait()
    {
        parts->links.present(otherOffer());
        pass();
        platform->time.advance(1min);
    }
};

TEST_F(ConsentAttackTest, isNotAllowedByAPersonWhoTypesOn)
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

TEST_F(ConsentAttackTest, isNotAllowedByAKeyThatIsHeldDown)
{
    desktop->run({"xdotool", "keydown", "Return"});
    open(offerOf({AgentScope::screen}));
    platform->time.advance(10s);
    until([] { return false; }, 2s); // Auto-repeat begins after 0.66 s.

    expectUnanswered();
    desktop->run({"xdotool", "keyup", "Return"});
    expectUnanswered();
}

TEST_F(ConsentAttackTest, aPersonWhoTypesOnTurnsNoSwitchOn)
{
    open(offerOf({AgentScope::screen, AgentScope::shell}));
    named<QCheckBox>("scope.shell")->setFocus();

    press("space");

    pass();
    EXPECT_FALSE(parts->links.granted().contains(AgentScope::shell));
}

TEST_F(ConsentAttackTest, isNotAllowedByAClickThatComesAsItOpens)
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

TEST_F(ConsentAttackTest, givesTheKeyboardToTheFirstSwitchThatTurns)
{
    open(offerOf(everything));
    EXPECT_TRUE(named<QCheckBox>("scope.input")->hasFocus());
    EXPECT_FALSE(named<QPushButton>("confirm.allow")->hasFocus());
    picture("focus");
}

TEST_F(ConsentAttackTest, givesTheKeyboardToNoAnswerIfNoSwitchTurns)
{
    open(offerOf({AgentScope::screen}));

    EXPECT_FALSE(named<QPushButton>("confirm.allow")->hasFocus());
    EXPECT_FALSE(named<QPushButton>("confirm.deny")->hasFocus());
}

TEST_F(ConsentAttackTest, saysThatTheRequestChanged)
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

TEST_F(ConsentAttackTest, aClickMeantForTheFirstRequestDoesNotAllowTheSecond)
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

TEST_F(ConsentAttackTest, whatWasMeantForTheFirstRequestAllowsNothingInAProgramThatWasHeldUp)
{
    present(offerOf({AgentScope::screen, AgentScope::input}));
    replaceBy(otherOffer());
    named<QPushButton>("confirm.allow")->setFocus();

    desktop->run({"xdotool", "key", "Return"});
    pressOn(*named<QPushButton>("confirm.allow"));
    releaseOn(*named<QPushButton>("confirm.allow"));
    std::this_thread::sleep_for(1100ms); // The X server stamps events with real time.
    platform->time.advance(AnswerGuard::afterChange);
    expectUnanswered();

    platform->time.advance(AnswerGuard::afterChange);
    press("Return");
    EXPECT_TRUE(until([this] { return !platform->loading.requests.empty(); }));
}

TEST_F(ConsentAttackTest, aButtonThatWasPressedBeforeTheChangeAllowsNothing)
{
    present(offerOf({AgentScope::screen, AgentScope::input, AgentScope::files}));
    pressOn(*named<QPushButton>("confirm.allow"));
    ASSERT_TRUE(until([this] { return named<QPushButton>("confirm.allow")->isDown(); }));

    replaceAndWait();
    releaseOn(*named<QPushButton>("confirm.allow"));

    expectUnanswered();
}

TEST_F(ConsentAttackTest, aSwitchThatWasPressedBeforeTheChangeTurnsNothingOn)
{
    present(offerOf({AgentScope::screen, AgentScope::shell}));
    pressOn(*named<QLabel>("scope.shell"));
    pass();

    replaceAndWait();
    releaseOn(*named<QLabel>("scope.shell"));

    pass();
    EXPECT_FALSE(parts->links.granted().contains(AgentScope::shell));
}

TEST_F(ConsentAttackTest, aKeyThatWasPressedBeforeTheChangeAllowsNothing)
{
    present(offerOf({AgentScope::screen}));
    named<QPushButton>("confirm.allow")->setFocus();
    desktop->run({"xdotool", "keydown", "space"});
    ASSERT_TRUE(until([this] { return named<QPushButton>("confirm.allow")->isDown(); }));

    replaceAndWait();
    named<QPushButton>("confirm.allow")->setFocus();
    desktop->run({"xdotool", "keyup", "space"});

    expectUnanswered();
}

TEST_F(ConsentAttackTest, allowsOnlyWhatItShows)
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

TEST_F(ConsentAttackTest, twoPressesInOneTurnAllowOnce)
{
    present(offerOf({AgentScope::screen}));

    auto* const allow = named<QPushButton>("confirm.allow");
    allow->click();
    allow->click();

    pass();
    EXPECT_EQ(platform->loading.requests.size(), 1u);
}

TEST_F(ConsentAttackTest, pressThatCameBeforeAnotherOfferDoesNotAllowThatOne)
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

} // namespace
} // namespace zelvo
