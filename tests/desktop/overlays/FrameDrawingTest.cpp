#include "app/overlays/FrameDrawing.h"

#include "app/widgets/TextLabel.h"
#include "base/LocalizedTexts.h"
#include "base/Text.h"
#include "overlays/NameInControl.h"

#include <QApplication>
#include <QFontInfo>
#include <QFontMetricsF>
#include <gtest/gtest.h>

#include <chrono>

namespace zelvo::test {
namespace {

class FrameDrawingTest : public testing::Test {
protected:
    static FrameDrawing::Figure figure(std::optional<std::string> agent = "Ann")
    {
        return {.display = QSizeF(1280, 1000), .agent = std::move(agent), .isRecording = true};
    }
    static void setFontSize(double points)
    {
        QFont font = QApplication::font();
        font.setPointSizeF(points);
        QApplication::setFont(font);
    }
    /// What the sentence says after the name.
    static QString rest() { return toQString(localized("indicator.badgeAgentRecording", {""})); }

    int count = 3;
    char program[5] = "test";
    char option[10] = "-platform";
    char value[10] = "offscreen";
    char* arguments[4] = {program, option, value, nullptr};
    QApplication application{count, arguments};
};

TEST_F(FrameDrawingTest, aBadgeSaysWhoWorksAndThatItIsRecorded)
{
    EXPECT_EQ(FrameDrawing::badgeOf(figure()).text,
              toQString(localized("indicator.badgeAgentRecording", {"Ann"})));
    EXPECT_EQ(FrameDrawing::badgeOf(figure(std::nullopt)).text,
              toQString(localized("indicator.badgeRecording")));
}

TEST_F(FrameDrawingTest, aNameOfAnyLengthHidesNothingOfTheBadge)
{
    for (double const points : {6.0, 10.0, 16.0, 24.0})
        for (double const width : {640.0, 1280.0, 5120.0}) {
            setFontSize(points);
            FrameDrawing::Figure verbose = figure(std::string(200, 'W'));
            verbose.display.setWidth(width);
            auto const badge = FrameDrawing::badgeOf(verbose);
            EXPECT_TRUE(badge.text.endsWith(rest())) << qPrintable(badge.text);
            EXPECT_TRUE(badge.text.startsWith("W")) << qPrintable(badge.text);
            EXPECT_GE(badge.frame.left(), 0);
            EXPECT_LE(badge.frame.right(), width);
        }
}

TEST_F(FrameDrawingTest, aHostileNameIsOneLineInBoundedTime)
{
    ComputerAgents agents;
    agents.holder = ComputerAgent{"ref", "Ann\n\u202E\u202C\u2028" + std::string(100'000, 'W'), {}, {}, {}};
    auto const before = std::chrono::steady_clock::now();
    auto const badge = FrameDrawing::badgeOf(figure(nameInControl(agents)));

    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(500));
    EXPECT_TRUE(badge.text.startsWith("AnnWW")) << qPrintable(badge.text);
    EXPECT_TRUE(badge.text.endsWith(rest())) << qPrintable(badge.text);
}

TEST_F(FrameDrawingTest, theBadgeGrowsWithTheDesktopsFont)
{
    double last = 0;
    for (double const points : {8.0, 12.0, 20.0, 36.0}) {
        setFontSize(points);
        auto const badge = FrameDrawing::badgeOf(figure());
        QFontMetricsF const metrics(QApplication::font());
        EXPECT_GT(badge.frame.height(), metrics.height() + 4) << points;
        EXPECT_LT(badge.frame.height(), 2.5 * metrics.height()) << points;
        EXPECT_GT(badge.frame.width(), metrics.horizontalAdvance(badge.text)) << points;
        EXPECT_GT(badge.frame.height(), last);
        last = badge.frame.height();
    }
}

TEST_F(FrameDrawingTest, thePartsHoldTheWholeBadge)
{
    for (double const points : {8.0, 36.0}) {
        setFontSize(points);
        auto const parts = FrameDrawing::partsOf(figure());
        EXPECT_TRUE(parts[0].contains(FrameDrawing::badgeOf(figure()).frame));
        EXPECT_EQ(parts[2].top(), parts[0].bottom());
        EXPECT_EQ(parts[2].bottom(), parts[1].top());
    }
}

} // namespace
} // namespace zelvo::test
