#include "base/DateText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

namespace zelvo {

namespace {

using namespace std::chrono;

Date moment(int y, unsigned m, unsigned d, microseconds time)
{
    return Date(sys_days(year(y) / month(m) / day(d))) + time;
}

TEST(DateText, writesUtcWithMilliseconds)
{
    EXPECT_EQ(dates::iso8601(moment(2026, 11, 21, 2h + 38min + 27s + 123999us)), "2026-11-21T02:38:27.123Z");
    EXPECT_EQ(dates::iso8601(moment(1969, 12, 31, 23h + 59min + 59s + 999ms)), "1969-12-31T23:59:59.999Z");
    EXPECT_EQ(dates::iso8601(moment(2000, 2, 29, 0s)), "2000-02-29T00:00:00.000Z");
}

TEST(DateText, readsWhatItWrites)
{
    Date const date = moment(2026, 11, 21, 2h + 38min + 27s + 123ms);
    EXPECT_EQ(dates::parseIso8601(dates::iso8601(date)), date);
}

TEST(DateText, readsFractionsAndOffsets)
{
    Date const date = moment(2026, 11, 21, 12h);
    EXPECT_EQ(dates::parseIso8601("2026-11-21T14:30:00.0+02:30"), date);
    EXPECT_EQ(dates::parseIso8601("2026-11-21T11:00:00.000-0100"), date);
    EXPECT_EQ(dates::parseIso8601("2026-11-21T12:00:00.5Z"), date + 500ms);
    EXPECT_EQ(dates::parseIso8601("2026-11-21T12:00:00.000001Z"), date + 1us);
    EXPECT_EQ(dates::parseIso8601("2026-11-21T12:00:00.1234567891234567Z"), date + 123457us);
}

TEST(DateText, refusesEveryOtherForm)
{
    for (char const* const text :
         {"", "2026-11-21", "2026-11-21T12:00:00Z", "2026-11-21T12:00:00.Z", "2026-11-21T12:00:00.0",
          "2026-11-21 12:00:00.0Z", "2026-02-29T12:00:00.0Z", "2026-13-01T12:00:00.0Z",
          "2026-11-21T24:00:00.0Z", "2026-11-21T12:60:00.0Z", "2026-11-21T12:00:61.0Z",
          "2026-11-21T12:00:00.0Zz", "2026-11-21T12:00:00.0+1", "2026-11-21T12:00:00.0+25:00",
          "2026-11-21T12:00:00.0+01:99", " 2026-11-21T12:00:00.0Z", "+026-11-21T12:00:00.0Z"})
        EXPECT_EQ(dates::parseIso8601(text), std::nullopt) << text;
}

TEST(DateText, givesLocalTime)
{
    ::setenv("TZ", "UTC-5", 1);
    EXPECT_EQ(dates::localTime(moment(2026, 11, 21, 20h + 5min + 9s)), "01:05:09");
    ::setenv("TZ", "UTC0", 1); // The time zone changes while the program runs.
    EXPECT_EQ(dates::localTime(moment(2026, 11, 21, 20h + 5min + 9s)), "20:05:09");
    ::unsetenv("TZ");
}

TEST(DateText, storesSecondsSinceTwoThousandAndOne)
{
    EXPECT_EQ(dates::storedSeconds(moment(2001, 1, 1, 0s)), 0);
    EXPECT_EQ(dates::storedSeconds(moment(2001, 1, 2, 500ms)), 86400.5);
    EXPECT_EQ(dates::storedSeconds(moment(2000, 12, 31, 0s)), -86400);
    Date const date = moment(2026, 11, 21, 12h + 345678us);
    EXPECT_EQ(dates::fromStoredSeconds(dates::storedSeconds(date)), date);
}

TEST(DateText, keepsStoredNumbersThatNoDateHoldsSane)
{
    double const huge = std::numeric_limits<double>::infinity();
    EXPECT_EQ(dates::fromStoredSeconds(std::nan("")), moment(2001, 1, 1, 0s));
    EXPECT_GT(dates::fromStoredSeconds(huge), moment(9999, 1, 1, 0s));
    EXPECT_LT(dates::fromStoredSeconds(-huge), moment(0, 1, 1, 0s));
    EXPECT_EQ(dates::fromStoredSeconds(1e300), dates::fromStoredSeconds(huge));
    EXPECT_FALSE(dates::iso8601(dates::fromStoredSeconds(huge)).empty());
    EXPECT_FALSE(dates::iso8601(dates::fromStoredSeconds(-huge)).empty());
    EXPECT_FALSE(dates::localTime(dates::fromStoredSeconds(-huge)).empty());
}

} // namespace

} // namespace zelvo
