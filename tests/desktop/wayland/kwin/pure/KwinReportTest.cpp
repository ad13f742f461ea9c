#include "platform/linux/wayland/kwin/KwinReport.h"

#include <gtest/gtest.h>

#include <string>

namespace zelvo {

namespace {

std::string windowText(std::string const& change)
{
    return R"({"command":7,"windows":[{"id":"{a}","frame":[1,2,3,4],"stacking":0,"shown":true)" + change +
           "}]}";
}

TEST(KwinReport, readsWindowsBackToFront)
{
    auto const answer = parseKwinAnswer(
        R"({"command":7,"pointer":[12,34.5],"windows":[
        {"id":"{b}","pid":12,"desktopFile":"org.b","instance":"b","className":"B","title":"Second",
         "frame":[10,20,300,200],"surface":[0,10,320,220],"stacking":1,"parent":"{a}","kind":"dialog",
         "active":true,"minimized":false,"shown":true,"above":false,"fullScreen":false,"x11":false},
        {"id":"{a}","pid":11,"instance":"a","className":"A","frame":[1,2,3,4],"surface":null,"stacking":0,
         "kind":"normal","minimized":true,"above":true,"fullScreen":true,"x11":true}]})");

    ASSERT_TRUE(answer && answer->windows);
    EXPECT_EQ(answer->command, 7);
    EXPECT_EQ(answer->windows->pointer, (LogicalPoint{12, 34.5}));
    ASSERT_EQ(answer->windows->windows.size(), 2U);
    CompositorWindow const& back = answer->windows->windows[0];
    CompositorWindow const& front = answer->windows->windows[1];
    EXPECT_EQ(back.id, "{a}");
    EXPECT_EQ(back.words.className, "A");
    EXPECT_EQ(back.surface, back.frame);
    EXPECT_TRUE(back.isMinimized && back.isAbove && back.isFullScreen && back.isX11);
    EXPECT_FALSE(back.isOnScreen);
    EXPECT_EQ(front.pid, 12);
    EXPECT_EQ(front.words, (WindowWords{.kdeDesktopFile = "org.b"}));
    EXPECT_EQ(front.title, "Second");
    EXPECT_EQ(front.frame, (LogicalRect{10, 20, 300, 200}));
    EXPECT_EQ(front.surface, (LogicalRect{0, 10, 320, 220}));
    EXPECT_EQ(front.parent, "{a}");
    EXPECT_EQ(front.kind, CompositorWindow::Kind::dialog);
    EXPECT_TRUE(front.isActive && front.isOnScreen);
}

TEST(KwinReport, readsWhetherACommandSucceeded)
{
    auto const answer = parseKwinAnswer(R"({"command":3,"done":true})");

    ASSERT_TRUE(answer);
    EXPECT_TRUE(answer->isDone);
    EXPECT_FALSE(answer->windows);
}

TEST(KwinReport, refusesAnAnswerWithOneBadWindow)
{
    ASSERT_TRUE(parseKwinAnswer(windowText("")));
    for (char const* change : {R"(,"id":"")", R"(,"frame":[1,2,3])", R"(,"frame":[1,2,-3,4])",
                               R"(,"frame":[1,2,3,1e7])", R"(,"stacking":"top")"}) {
        std::string text = windowText("");
        std::string const key = std::string(change).substr(1, std::string(change).find(':'));
        auto const from = text.find(key);
        auto const to = text.find_first_of(key == "\"frame\":" ? "]" : ",", from);
        text.replace(from, to - from + (key == "\"frame\":" ? 1 : 0), std::string(change).substr(1));
        EXPECT_FALSE(parseKwinAnswer(text)) << text;
    }
    EXPECT_FALSE(parseKwinAnswer(R"({"command":7,"windows":[3]})"));
}

TEST(KwinReport, refusesWhatIsNoAnswer)
{
    for (char const* text : {"", "[]", "{}", R"({"command":"7"})", R"({"command":7)"})
        EXPECT_FALSE(parseKwinAnswer(text)) << text;
    std::string many = R"({"command":7,"windows":[)";
    for (std::size_t at = 0; at <= maxKwinWindows; ++at)
        many += std::string(at ? "," : "") + R"({"id":"{a}","frame":[1,2,3,4],"stacking":0})";
    EXPECT_FALSE(parseKwinAnswer(many + "]}"));
    EXPECT_FALSE(parseKwinAnswer(R"({"command":7})" + std::string(maxKwinAnswer, ' ')));
}

TEST(KwinReport, knowsNoProcessThatCannotBe)
{
    for (char const* pid : {"0", "-1", "4294967297", "\"5\""}) {
        auto const answer = parseKwinAnswer(windowText(std::string(",\"pid\":") + pid));
        ASSERT_TRUE(answer) << pid;
        EXPECT_FALSE(answer->windows->windows.at(0).pid) << pid;
    }
}

} // namespace

} // namespace zelvo
