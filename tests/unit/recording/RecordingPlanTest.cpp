#include "recording/RecordingPlan.h"

#include "base/Text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace zelvo {
namespace {

using Size = RecordingPlan::Size;

/// A date from local time, in any time zone of the machine.
Date localDate(int year, int month, int day, int hour, int minute, int second)
{
    std::tm parts{};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    parts.tm_isdst = -1;
    return Date(std::chrono::seconds(std::mktime(&parts)));
}

std::string named(std::string_view platformName)
{
    return RecordingPlan::fileName(localDate(2026, 11, 15, 12, 30, 5), platformName);
}

constexpr std::string_view start = "Zelvo 2026-11-15 at 12.30.05 — ";
constexpr std::size_t longest = 255;

std::string repeated(std::string_view piece, std::size_t count)
{
    std::string all;
    for (std::size_t i = 0; i < count; ++i)
        all += piece;
    return all;
}

/// The platform's part of a file name.
std::string nameIn(std::string const& file)
{
    EXPECT_TRUE(file.starts_with(start)) << file;
    EXPECT_TRUE(file.ends_with(".mp4")) << file;
    return file.substr(start.size(), file.size() - start.size() - 4);
}

TEST(RecordingPlan, hasItsConstants)
{
    EXPECT_EQ(RecordingPlan::framesPerSecond, 8);
    EXPECT_EQ(RecordingPlan::maxHeight, 1440);
    EXPECT_EQ(RecordingPlan::idleTimeout, 10s);
    EXPECT_EQ(RecordingPlan::resumeWindow, 60s);
    EXPECT_EQ(RecordingPlan::maxSegmentSeconds, 1800.0);
    EXPECT_EQ(RecordingPlan::frameInterval, 125ms);
    EXPECT_EQ(RecordingPlan::maxKeyFrameInterval, 80);
}

TEST(RecordingPlan, takesOnePixelAPoint)
{
    EXPECT_EQ(RecordingPlan::size(1512, 982), (Size{1512, 982}));
    EXPECT_EQ(RecordingPlan::size(1920, 1080), (Size{1920, 1080}));
}

TEST(RecordingPlan, keepsAtOrUnderTheMostLines)
{
    EXPECT_EQ(RecordingPlan::size(3008, 1692), (Size{2560, 1440}));
    EXPECT_EQ(RecordingPlan::size(2560, 1440), (Size{2560, 1440}));
    EXPECT_EQ(RecordingPlan::size(2560, 1441).height, 1440);
    EXPECT_EQ(RecordingPlan::size(2562, 1441).width, 2560); // 2560.2
    EXPECT_EQ(RecordingPlan::size(7680, 4320), (Size{2560, 1440}));
}

TEST(RecordingPlan, makesBothSidesEven)
{
    EXPECT_EQ(RecordingPlan::size(1367, 769), (Size{1366, 768}));
    EXPECT_EQ(RecordingPlan::size(3, 5), (Size{2, 4}));
}

TEST(RecordingPlan, isNeverSmallerThanTwoByTwo)
{
    EXPECT_EQ(RecordingPlan::size(1, 1), (Size{2, 2}));
    EXPECT_EQ(RecordingPlan::size(0, 0), (Size{2, 2}));
    EXPECT_EQ(RecordingPlan::size(-100, -100), (Size{2, 2}));
    EXPECT_EQ(RecordingPlan::size(1, 100'000), (Size{2, 1440}));
}

TEST(RecordingPlan, takesNoSideBeyondAnInt)
{
    EXPECT_EQ(RecordingPlan::size(INT64_MAX, 100), (Size{1 << 20, 100}));
}

TEST(RecordingPlan, spendsATenthOfABitAPixel)
{
    EXPECT_EQ(RecordingPlan::bitRate(2560, 1440), 2'949'120);
    EXPECT_EQ(RecordingPlan::bitRate(1512, 982), 1'187'827); // 1187827.2
}

TEST(RecordingPlan, spendsNoLessThanItsFloor)
{
    EXPECT_EQ(RecordingPlan::bitRate(100, 100), 500'000);
    EXPECT_EQ(RecordingPlan::bitRate(2, 2), 500'000);
}

TEST(RecordingName, saysWhenAndWho)
{
    EXPECT_EQ(named("Acme"), "Zelvo 2026-11-15 at 12.30.05 — Acme.mp4");
    EXPECT_EQ(named("Acme: bot"), "Zelvo 2026-11-15 at 12.30.05 — Acme- bot.mp4");
}

TEST(RecordingName, padsTheDate)
{
    EXPECT_EQ(RecordingPlan::fileName(localDate(2027, 1, 2, 3, 4, 5), ""),
              "Zelvo 2027-01-02 at 03.04.05.mp4");
}

TEST(RecordingName, followsTheMachineIntoAnotherZone)
{
    Date const moment{std::chrono::sys_days(std::chrono::year(2026) / 11 / 15) + 12h};
    ::setenv("TZ", "UTC0", 1);
    EXPECT_EQ(RecordingPlan::fileName(moment, ""), "Zelvo 2026-11-15 at 12.00.00.mp4");
    ::setenv("TZ", "JST-9", 1);
    EXPECT_EQ(RecordingPlan::fileName(moment, ""), "Zelvo 2026-11-15 at 21.00.00.mp4");
    ::unsetenv("TZ");
    ::tzset();
}

TEST(RecordingName, hasNoDashWithoutAPlatform)
{
    for (std::string_view const name : {"", " ", "\t\n \r\n", "\u00a0\u3000", "\x01\x02"})
        EXPECT_EQ(named(name), "Zelvo 2026-11-15 at 12.30.05.mp4") << name;
}

TEST(RecordingName, hasNoSlashesAndColons)
{
    EXPECT_EQ(nameIn(named("a/b:c/../..")), "a-b-c-..-..");
    EXPECT_EQ(nameIn(named("/")), "-");
    EXPECT_EQ(nameIn(named("/etc/passwd")), "-etc-passwd");
}

TEST(RecordingName, isTrimmed)
{
    EXPECT_EQ(nameIn(named("  Acme\n")), "Acme");
    EXPECT_EQ(nameIn(named(" / Acme")), "- Acme"); // Replaced first.
}

TEST(RecordingName, isCutToSixtyCharacters)
{
    EXPECT_EQ(nameIn(named(std::string(100, 'a'))), std::string(60, 'a'));
    EXPECT_EQ(nameIn(named(std::string(60, 'a'))), std::string(60, 'a'));
    EXPECT_EQ(nameIn(named(repeated("é", 100))), repeated("é", 60)); // Characters, not bytes.
    EXPECT_EQ(nameIn(named(repeated("e\u0301", 100))), repeated("e\u0301", 60));
    EXPECT_EQ(nameIn(named(repeated("漢", 100))), repeated("漢", 60));
}

TEST(RecordingName, isOneLine)
{
    EXPECT_EQ(nameIn(named("Acme\r\nEvil\nbot")), "Acme Evil bot");
    EXPECT_EQ(nameIn(named("Acme\u2028Evil\u2029\u0085bot")), "Acme Evil bot");
}

TEST(RecordingName, hasNoControlCharacters)
{
    EXPECT_EQ(nameIn(named(std::string("a\0b", 3))), "a b");
    EXPECT_EQ(nameIn(named("a\x1b[31mb\x7f")), "a [31mb");
    EXPECT_EQ(nameIn(named("a\u009b31mb")), "a 31mb");
    // With them a name could look like "4pm.exe" although it ends in ".mp4".
    std::string const rightToLeft = {'\xe2', '\x80', '\xae'};
    std::string const isolated = {'\xe2', '\x81', '\xa6'};
    EXPECT_EQ(nameIn(named("a" + rightToLeft + "gpj" + isolated + "b")), "a gpj b");
}

TEST(RecordingName, keepsWhatJoinsACharacter)
{
    EXPECT_EQ(nameIn(named("👩‍👩‍👧 \u00a0x")), "👩‍👩‍👧 \u00a0x");
}

TEST(RecordingName, repairsBytesThatAreNoText)
{
    EXPECT_EQ(nameIn(named("a\xff\xfe"
                           "b\xc3")),
              "a\ufffd\ufffdb\ufffd");
    EXPECT_TRUE(text::isUtf8(named(std::string(300, '\xf0'))));
}

TEST(RecordingName, alwaysFitsAFileName)
{
    for (std::string_view const piece :
         {"😀", "👩‍👩‍👧", "🇩🇪", "漢", "a", "é", "\xff", "e\u0301\u0302\u0303"}) {
        std::string const file = named(repeated(piece, 10'000));
        EXPECT_LE(RecordingPlan::numbered(file, 9999).size(), longest) << piece;
        EXPECT_TRUE(text::isUtf8(file)) << piece;
    }
}

TEST(RecordingName, isCutAtAWholeCharacterWhereItMustFit)
{
    EXPECT_EQ(nameIn(named(repeated("😀", 60))), repeated("😀", 53)); // 212 of 213 bytes
    EXPECT_EQ(nameIn(named(repeated("👩‍👩‍👧", 60))), repeated("👩‍👩‍👧", 11));
}

TEST(RecordingName, leavesOutACharacterThatFitsNowhere)
{
    std::string const heap = "e" + repeated("\u0301", 500);

    EXPECT_EQ(named(heap), "Zelvo 2026-11-15 at 12.30.05.mp4");
    EXPECT_EQ(nameIn(named("ab" + heap)), "ab");
}

TEST(RecordingName, takesTenThousandCharacters)
{
    EXPECT_EQ(nameIn(named("Acme" + std::string(10'000, '/'))), "Acme" + std::string(56, '-'));
}

TEST(RecordingName, isNumberedBeforeItsExtension)
{
    EXPECT_EQ(RecordingPlan::numbered("Zelvo 2026-11-15 at 12.30.05 — Acme.mp4", 2),
              "Zelvo 2026-11-15 at 12.30.05 — Acme 2.mp4");
}

} // namespace
} // namespace zelvo
