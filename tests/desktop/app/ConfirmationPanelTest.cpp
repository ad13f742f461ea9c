#include "base/LocalizedTexts.h"
#include "desktop/app/PanelFixture.h"
#include "desktop/harness/PainterProcess.h"

#include <QAccessible>
#include <QCheckBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTextDocument>
#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Decision = ConfirmationDecision;

ConfirmationSubject shell(std::string command)
{
    return {ConfirmationSubject::ShellCommand{std::move(command)}};
}
ConfirmationSubject button()
{
    return {ConfirmationSubject::DialogButton{"Delete permanently", "Files"}};
}

QPalette darkPalette()
{
    QPalette palette(QColor(0x24, 0x26, 0x2b));
    palette.setColor(QPalette::WindowText, QColor(0xec, 0xec, 0xf0));
    palette.setColor(QPalette::Text, QColor(0xec, 0xec, 0xf0));
    palette.setColor(QPalette::ButtonText, QColor(0xec, 0xec, 0xf0));
    return palette;
}

class ConfirmationPanelTest : public PanelFixture {
protected:
    std::vector<std::string> shownParts()
    {
        std::vector<std::string> texts;
        for (QPlainTextEdit const* const part : panel()->findChildren<QPlainTextEdit*>())
            texts.push_back(part->toPlainText().toStdString());
        return texts;
    }
    QPlainTextEdit* detail() { return panel()->findChild<QPlainTextEdit*>(); }
    std::string property(std::string const& name)
    {
        return desktop->run({"xprop", "-id", std::to_string(panel()->winId()), name});
    }
};

TEST_F(ConfirmationPanelTest, saysWhatIsAsked)
{
    Answer const answer = askAndWait(shell("rm -r ~/Projects/build && make"));

    EXPECT_EQ(panel()->windowTitle(), "Zelvo");
    EXPECT_TRUE(named<QLabel>(localized("confirm.title.shell")));
    EXPECT_EQ(detail()->toPlainText(), "Acme Assistant\n\nrm -r ~/Projects/build && make");
    EXPECT_TRUE(named<QPushButton>("Allow"));
    EXPECT_TRUE(named<QPushButton>("Deny"));
    auto* const remember = named<QCheckBox>(localized("confirm.rememberSession"));
    ASSERT_TRUE(remember);
    EXPECT_FALSE(remember->isChecked());
    EXPECT_GE(panel()->width(), 420);
    EXPECT_GE(panel()->height(), 180);
    EXPECT_LT(middleOf(*named<QPushButton>("Deny")).x, middleOf(*named<QPushButton>("Allow")).x);
    picture("light");
    EXPECT_FALSE(*answer);
}

TEST_F(ConfirmationPanelTest, standsInFrontOnEveryWorkspace)
{
    askAndWait(shell("ls"));

    EXPECT_THAT(property("_NET_WM_DESKTOP"), testing::HasSubstr("4294967295"));
    std::string const state = property("_NET_WM_STATE");
    EXPECT_THAT(state, testing::HasSubstr("_NET_WM_STATE_ABOVE"));
    EXPECT_THAT(state, testing::HasSubstr("_NET_WM_STATE_SKIP_TASKBAR"));
    EXPECT_EQ(desktop->activeWindow(), panel()->winId());
    desktop->run({"xdotool", "set_desktop", "1"});
    pass();
    EXPECT_TRUE(platform->focus().standing(static_cast<std::uint32_t>(panel()->winId())).isOnScreen);
    QImage const image = picture("workspace");
    QPoint const inside = panel()->mapToGlobal(QPoint(5, 5));
    EXPECT_EQ(image.pixelColor(inside), panel()->palette().window().color());
}

TEST_F(ConfirmationPanelTest, standsAboveAFullScreenWindow)
{
    PainterProcess painter(*desktop);
    std::uint32_t const recording = painter.open({.width = 1280,
                                                  .height = 1000,
                                                  .color = 0x102030,
                                                  .title = "recording",
                                                  .state = "_NET_WM_STATE_FULLSCREEN"});
    ASSERT_TRUE(until([&] { return desktop->activeWindow() == recording; }));

    Answer const answer = askAndWait(shell("ls"));

    QImage const image = picture("fullscreen");
    QPoint const inside = panel()->mapToGlobal(QPoint(5, 5));
    EXPECT_EQ(image.pixelColor(inside), panel()->palette().window().color());
    EXPECT_EQ(image.pixelColor(QPoint(3, 3)), QColor(0x10, 0x20, 0x30));

    desktop->run({"xdotool", "mousemove", "20", "20", "click", "1"}); // Back to the full-screen window.
    pass();
    EXPECT_EQ(picture("fullscreen-left").pixelColor(inside), panel()->palette().window().color());
    EXPECT_FALSE(*answer);
}

TEST_F(ConfirmationPanelTest, returnAllowsAndEscapeDenies)
{
    Answer const allowed = askAndWait(shell("a"));
    press("Return");
    EXPECT_TRUE(until([&] { return allowed->has_value(); }));
    EXPECT_EQ(*allowed, Decision::allowed(false));

    Answer const denied = ask(shell("a"));
    EXPECT_TRUE(until([this] { return panel() && panel()->isActiveWindow(); }));
    press("Escape"); // At once.
    EXPECT_TRUE(until([&] { return denied->has_value(); }));
    EXPECT_EQ(*denied, Decision::denied());
    EXPECT_FALSE(panel());
}

TEST_F(ConfirmationPanelTest, buttonsAnswer)
{
    Answer const allowed = askAndWait(shell("a"));
    clickOn(*named<QPushButton>("Allow"));
    EXPECT_TRUE(until([&] { return allowed->has_value(); }));
    Answer const denied = askAndWait(shell("a"));
    clickOn(*named<QPushButton>("Deny"));
    EXPECT_TRUE(until([&] { return denied->has_value(); }));

    EXPECT_EQ(*allowed, Decision::allowed(false));
    EXPECT_EQ(*denied, Decision::denied());
}

TEST_F(ConfirmationPanelTest, closingDeniesAnActionAndLeavesAChoiceUnanswered)
{
    Answer const action = askAndWait(shell("a"));
    EXPECT_TRUE(pressUntil("alt+F4", [&] { return action->has_value(); }));
    Answer const choice = choose();
    waitForPanel();
    EXPECT_FALSE(panel()->findChild<QCheckBox*>());
    QRect const frame = panel()->frameGeometry(); // The close button is at its right end.
    desktop->run({"xdotool", "mousemove", std::to_string(frame.right() - 11),
                  std::to_string(frame.top() + 10), "click", "1"});
    EXPECT_TRUE(until([&] { return choice->has_value(); }));

    EXPECT_EQ(*action, Decision::denied());
    EXPECT_EQ(*choice, Decision::timedOut());
}

TEST_F(ConfirmationPanelTest, remembersWithTheBoxTickedByClickOrByKey)
{
    Answer const first = askAndWait(shell("a"));
    clickOn(*panel()->findChild<QCheckBox*>());
    EXPECT_TRUE(until([this] { return panel()->findChild<QCheckBox*>()->isChecked(); }));
    clickOn(*named<QPushButton>("Allow"));
    EXPECT_TRUE(until([&] { return first->has_value(); }));
    EXPECT_EQ(*first, Decision::allowed(true));
    Answer const second = askShell("b");
    EXPECT_TRUE(until([&] { return second->has_value(); }));
    EXPECT_FALSE(panel());

    parts->confirmations.reset();
    Answer const third = askAndWait(shell("c"));
    press("Tab");
    EXPECT_TRUE(until([this] { return panel()->findChild<QCheckBox*>()->hasFocus(); }));
    press("space");
    EXPECT_TRUE(until([this] { return panel()->findChild<QCheckBox*>()->isChecked(); }));
    pass();
    press("Return");
    EXPECT_TRUE(until([&] { return third->has_value(); }));
    EXPECT_EQ(*third, Decision::allowed(true));
}

TEST_F(ConfirmationPanelTest, remembersNothingOfANoWithTheBoxTicked)
{
    Answer const first = askAndWait(shell("a"));
    clickOn(*panel()->findChild<QCheckBox*>());
    EXPECT_TRUE(until([this] { return panel()->findChild<QCheckBox*>()->isChecked(); }));
    clickOn(*named<QPushButton>("Deny"));
    EXPECT_TRUE(until([&] { return first->has_value(); }));
    EXPECT_EQ(*first, Decision::denied());

    Answer const second = askAndWait(shell("b"));
    EXPECT_FALSE(*second);
    EXPECT_FALSE(panel()->findChild<QCheckBox*>()->isChecked());
}

TEST_F(ConfirmationPanelTest, returnPressesTheFilledButton)
{
    Answer const answer = askAndWait(shell("a"));
    EXPECT_TRUE(named<QPushButton>("Allow")->isDefault());
    press("Tab");
    press("Tab");
    EXPECT_TRUE(until([this] { return named<QPushButton>("Deny")->hasFocus(); }));
    EXPECT_TRUE(named<QPushButton>("Deny")->isDefault());
    picture("deny-focused");

    press("Return");

    EXPECT_TRUE(until([&] { return answer->has_value(); }));
    EXPECT_EQ(*answer, Decision::denied());
}

TEST_F(ConfirmationPanelTest, isNotAnsweredByAPersonWhoTypesOn)
{
    Answer const answer = askShell("a");
    ASSERT_TRUE(until([this] { return panel() && panel()->isActiveWindow(); }));

    std::vector<std::string> typing = {"xdotool", "key", "--delay", "120", "Return"};
    for (int i = 0; i < 4; ++i)
        for (char const* const key : {"h", "e", "l", "l", "o", "space", "Return"})
            typing.emplace_back(key);
    pid_t const typist = desktop->start(typing);
    ASSERT_TRUE(until([&] { return !desktop->processes().isRunning(typist); }, 20s));

    pass();
    ASSERT_FALSE(*answer);
    EXPECT_FALSE(panel()->findChild<QCheckBox*>()->isChecked());
    press("Return");
    EXPECT_TRUE(until([&] { return answer->has_value(); }));
    EXPECT_EQ(*answer, Decision::allowed(false));
}

TEST_F(ConfirmationPanelTest, isNotAnsweredByAKeyThatIsHeldDown)
{
    desktop->run({"xdotool", "keydown", "Return"});
    Answer const answer = askShell("a");
    ASSERT_TRUE(until([this] { return panel() && panel()->isActiveWindow(); }));
    pass(2s); // Auto-repeat begins after 0.66 s.
    EXPECT_FALSE(*answer);
    desktop->run({"xdotool", "keyup", "Return"});
    pass();
    EXPECT_FALSE(*answer);

    press("Return");
    EXPECT_TRUE(until([&] { return answer->has_value(); }));
}

TEST_F(ConfirmationPanelTest, isNotAllowedByAClickThatComesAsItOpens)
{
    Answer const probe = askAndWait(shell("a")); // Shows where the panel opens.
    DesktopPoint const place = middleOf(*named<QPushButton>("Allow"));
    press("Escape");
    ASSERT_TRUE(until([&] { return probe->has_value(); }));
    desktop->run({"xdotool", "mousemove", std::to_string(int(place.x)), std::to_string(int(place.y))});

    Answer const answer = askShell("a");
    ASSERT_TRUE(until([this] { return panel() != nullptr; }));
    desktop->run({"xdotool", "click", "--repeat", "2", "--delay", "60", "1"});

    pass();
    EXPECT_FALSE(*answer);
    clickOn(*named<QPushButton>("Allow"));
    EXPECT_TRUE(until([&] { return answer->has_value(); }));
}

TEST_F(ConfirmationPanelTest, countsDownAndEnds)
{
    Answer const answer = askShell("sleep", 3000);
    ASSERT_TRUE(until([this] { return panel() && panel()->isActiveWindow(); }));
    std::vector<std::string> said;
    until(
        [&] {
            for (QLabel* const label : panel() ? panel()->findChildren<QLabel*>() : QList<QLabel*>())
                if (label->text().startsWith("Closes") &&
                    (said.empty() || said.back() != label->text().toStdString()))
                    said.push_back(label->text().toStdString());
            return answer->has_value();
        },
        5s);

    EXPECT_EQ(*answer, Decision::timedOut());
    EXPECT_THAT(said, Contains("Closes in 3 s"));
    EXPECT_THAT(said, Contains("Closes in 1 s"));
    EXPECT_FALSE(panel());
}

TEST_F(ConfirmationPanelTest, givesTheKeyboardBackBeforeTheCallerGoesOn)
{
    desktop->start({"xterm", "-geometry", "80x20+0+0", "-T", "here"});
    std::uint32_t const here = desktop->waitForWindow({.title = "here"});
    ASSERT_TRUE(until([&] { return desktop->activeWindow() == here; }));
    Answer const answer = askAndWait(shell("ls"));
    EXPECT_NE(desktop->activeWindow(), here);
    bool wasBack = false;

    press("Return");
    ASSERT_TRUE(until([&] {
        if (answer->has_value())
            wasBack = platform->focus().standing(here).hasKeyboard;
        return answer->has_value();
    }));

    EXPECT_TRUE(wasBack);
    EXPECT_FALSE(parts->gate.isClosed());
    EXPECT_FALSE(panel());
}

TEST_F(ConfirmationPanelTest, severalStandAtOnceAndTheLastWhoHadTheKeyboardGetsItBack)
{
    desktop->start({"xterm", "-geometry", "80x20+0+0", "-T", "here"});
    std::uint32_t const here = desktop->waitForWindow({.title = "here"});
    ASSERT_TRUE(until([&] { return desktop->activeWindow() == here; }));
    Answer const first = askAndWait(shell("one"));
    Answer const second = askShell("two");
    ASSERT_TRUE(until([this] { return panels().size() == 2; }));
    pass();

    press("Return");
    ASSERT_TRUE(until([&] { return first->has_value() || second->has_value(); }));
    pass(1500ms);
    EXPECT_NE(first->has_value(), second->has_value());
    EXPECT_TRUE(parts->gate.isClosed());
    EXPECT_EQ(desktop->activeWindow(), panel()->winId());
    press("Return");
    ASSERT_TRUE(until([&] { return first->has_value() && second->has_value(); }));
    EXPECT_TRUE(platform->focus().standing(here).hasKeyboard);
    EXPECT_FALSE(parts->gate.isClosed());
}

TEST_F(ConfirmationPanelTest, showsAFewWrappedLinesWithoutScrolling)
{
    std::string const path = "/a/long/path/that/needs/much/room/";
    askAndWait(shell("cp " + path + "one " + path + "another\nls " + path));

    EXPECT_GT(detail()->document()->lineCount(), detail()->blockCount());
    EXPECT_EQ(detail()->verticalScrollBar()->maximum(), 0);
    EXPECT_FALSE(named<QLabel>(localized("confirm.moreBelow")));
}

TEST_F(ConfirmationPanelTest, showsALongCommandWhollyByScrolling)
{
    std::string command = "for host in alpha beta gamma; do\n";
    for (int i = 0; i < 60; ++i)
        command += "    ssh $host 'systemctl restart service-" + std::to_string(i) + "'\n";
    command += "done; rm -rf ~/the-end";
    askAndWait(shell(command));

    EXPECT_LT(panel()->height(), 520);
    EXPECT_TRUE(named<QLabel>(localized("confirm.moreBelow")));
    EXPECT_TRUE(detail()->toPlainText().endsWith("rm -rf ~/the-end"));
    picture("long");
    detail()->verticalScrollBar()->setValue(detail()->verticalScrollBar()->maximum());
    pass();
    EXPECT_FALSE(named<QLabel>(localized("confirm.moreBelow")));
    picture("long-end");
}

TEST_F(ConfirmationPanelTest, opensAtOnceWithAMebibyteAndShowsAllOfIt)
{
    std::string lines;
    while (lines.size() < 1 << 20)
        lines += "echo " + std::to_string(lines.size()) + "\n";
    for (std::string const& command : {std::string(1 << 20, 'x') + " end", lines + "end"}) {
        auto const before = std::chrono::steady_clock::now();
        Answer const answer = askShell(command);
        ASSERT_TRUE(until([this] { return panel() && panel()->isActiveWindow(); }));
        auto const taken = std::chrono::steady_clock::now() - before;
        RecordProperty("milliseconds", std::to_string(taken / 1ms));
        EXPECT_LT(taken, 3s);
        EXPECT_TRUE(until([this] { return detail()->toPlainText().endsWith("end"); }, 30s));
        EXPECT_GE(detail()->toPlainText().size(), static_cast<qsizetype>(command.size()));
        press("Escape");
        ASSERT_TRUE(until([&] { return answer->has_value(); }));
    }
}

TEST_F(ConfirmationPanelTest, namesVariablesThatChangeWhatRunsFirst)
{
    ConfirmationSubject const subject{ConfirmationSubject::ShellCommand{
        .command = "make install\n\nIn this folder:\n/home/kim",
        .cwd = "/tmp/build",
        .env = {{"BASH_ENV", "/tmp/.evil"}, {"LC_ALL", "C\nPATH=/usr/bin"}, {"PATH", "/tmp/bin:/usr/bin"}}}};
    askAndWait(subject);

    EXPECT_THAT(shownParts(), ElementsAre("BASH_ENV=/tmp/.evil\nPATH=/tmp/bin:/usr/bin",
                                          "Acme Assistant\n\nmake install\n\nIn this folder:\n/home/kim",
                                          "/tmp/build", "LC_ALL=C⟨U+000A⟩PATH=/usr/bin"));
    QPlainTextEdit const* const risky = panel()->findChildren<QPlainTextEdit*>()[0];
    EXPECT_EQ(risky->accessibleName().toStdString(), localized("confirm.shell.riskyVariables"));
    EXPECT_LT(middleOf(*risky).y, middleOf(*panel()->findChildren<QPlainTextEdit*>()[1]).y);
    EXPECT_TRUE(panel()->accessibleDescription().contains("BASH_ENV"));
    EXPECT_TRUE(panel()->findChildren<QPlainTextEdit*>()[1]->hasFocus());
    picture("environment");
    QApplication::setPalette(darkPalette());
    ASSERT_TRUE(until([this] { return panel()->palette().window().color().lightness() < 128; }));
    picture("environment-dark");
}

TEST_F(ConfirmationPanelTest, manyLongVariablesPushNothingOutOfSight)
{
    std::map<std::string, std::string> env;
    for (int i = 0; i < 1000; ++i) {
        env["LD_" + std::to_string(i)] = std::string(300, 'x');
        env["V" + std::to_string(i)] = std::string(300, 'y') + " end";
    }
    env["PATH"] = std::string(100'000, '/') + "the-end";
    std::string const cwd = "/" + std::string(4000, 'd') + "/end";
    Answer const answer = askAndWait({ConfirmationSubject::ShellCommand{
        .command = std::string(20'000, 'c') + "end", .cwd = cwd, .env = env}});

    EXPECT_LT(panel()->height(), 700);
    EXPECT_TRUE(named<QLabel>(localized("confirm.moreBelow")));
    ASSERT_TRUE(until([this] { return shownParts()[0].ends_with("the-end"); }));
    EXPECT_TRUE(until([this] { return shownParts()[3].ends_with(" end"); }));
    for (QPlainTextEdit* const part : panel()->findChildren<QPlainTextEdit*>())
        EXPECT_GT(part->verticalScrollBar()->maximum(), 0);
    picture("environment-long");
    clickOn(*named<QPushButton>("Deny"));
    EXPECT_TRUE(until([&] { return answer->has_value(); }));
    EXPECT_EQ(*answer, Decision::denied());
}

TEST_F(ConfirmationPanelTest, showsForeignTextsAsLetters)
{
    askAndWait(shell("echo <b>hi</b> \x1b[31m \u202Ecba\u202C && true\n\n\n\n\n\n\n\n\n\n\nrm -rf /" +
                     std::string(300, 'y')));

    EXPECT_THAT(detail()->toPlainText().toStdString(),
                testing::HasSubstr("<b>hi</b> ⟨U+001B⟩[31m ⟨U+202E⟩cba"));
    EXPECT_EQ(detail()->horizontalScrollBar()->maximum(), 0);
    picture("foreign");
}

TEST_F(ConfirmationPanelTest, isReadByAScreenReader)
{
    askAndWait(button());

    QAccessibleInterface* const window = QAccessible::queryAccessibleInterface(panel());
    ASSERT_TRUE(window);
    EXPECT_EQ(window->role(), QAccessible::Dialog);
    EXPECT_EQ(window->text(QAccessible::Name).toStdString(), localized("confirm.title.dialogButton"));
    EXPECT_EQ(window->text(QAccessible::Description), "Acme Assistant Files: «Delete permanently»");
    QAccessibleInterface* const text = QAccessible::queryAccessibleInterface(detail());
    EXPECT_EQ(text->text(QAccessible::Name).toStdString(), localized("confirm.detail"));
    picture("button");
}

TEST_F(ConfirmationPanelTest, isAnsweredByAnAssistiveTool)
{
    Answer const answer = askShell("ls");
    ASSERT_TRUE(until([this] { return panel() && panel()->isActiveWindow(); }));
    QAccessibleInterface* const allow = QAccessible::queryAccessibleInterface(named<QPushButton>("Allow"));

    allow->actionInterface()->doAction(QAccessibleActionInterface::pressAction());

    EXPECT_TRUE(until([&] { return answer->has_value(); }));
    EXPECT_EQ(*answer, Decision::allowed(false));
}

TEST_F(ConfirmationPanelTest, isDarkOnADarkDesktopAndSpeaksRussian)
{
    texts::useLanguage("ru");
    QApplication::setPalette(darkPalette());
    askAndWait(shell("rm -r ~/Документы/черновики"));

    QImage const image = picture("dark-russian");

    EXPECT_LT(image.pixelColor(panel()->mapToGlobal(QPoint(5, 5))).lightness(), 128);
    EXPECT_TRUE(named<QPushButton>("Разрешить"));
    EXPECT_LE(panel()->width(), 480);
}

TEST_F(ConfirmationPanelTest, tellsItsFrameWithTheTitleBar)
{
    askAndWait(shell("ls"));

    auto const frame = parts->confirmations.lastPanelFrame();
    ASSERT_TRUE(frame);
    auto const own = parts->ownWindows.windowFrames();
    EXPECT_THAT(own, Contains(*frame));
    EXPECT_NEAR(frame->center().x, 640, 3);
}

class LargeConfirmationPanelTest : public ConfirmationPanelTest {
protected:
    void SetUp() override { bringUp(192); }
};

TEST_F(LargeConfirmationPanelTest, isTwiceAsLarge)
{
    Answer const answer = askAndWait(button());

    EXPECT_EQ(panel()->devicePixelRatio(), 2);
    picture("scale2");
    DesktopRect const real = parts->ownWindows.windowFrames().at(0);
    DesktopRect told;
    until([&] {
        told = parts->confirmations.lastPanelFrame().value_or(DesktopRect());
        return std::abs(told.height - real.height) <= 1;
    });
    EXPECT_NEAR(told.x, real.x, 1); // The toolkit knows whole points only.
    EXPECT_NEAR(told.y, real.y, 1);
    EXPECT_NEAR(told.width, real.width, 1);
    EXPECT_NEAR(told.height, real.height, 1);
    clickOn(*named<QPushButton>("Allow"));
    EXPECT_TRUE(until([&] { return answer->has_value(); }));
}

} // namespace
} // namespace zelvo::test
