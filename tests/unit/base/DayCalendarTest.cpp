#include "base/DayCalendar.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using namespace std::chrono;

Date moment(int y, unsigned m, unsigned d, microseconds time)
{
    return Date(sys_days(year(y) / month(m) / day(d))) + time;
}

TEST(DayCalendar, beginsADayAtMidnightOfItsZone)
{
    DayCalendar const moscow("Europe/Moscow");
    EXPECT_EQ(moscow.startOfDay(moment(2026, 11, 20, 21h)), moment(2026, 11, 20, 21h));
    EXPECT_EQ(moscow.startOfDay(moment(2026, 11, 20, 21h - 1us)), moment(2026, 11, 19, 21h));
    EXPECT_EQ(DayCalendar("UTC").startOfDay(moment(2026, 11, 20, 21h)), moment(2026, 11, 20, 0h));
}

TEST(DayCalendar, bearsDaysOfOtherLengths)
{
    DayCalendar const berlin("Europe/Berlin");
    EXPECT_EQ(berlin.startOfDay(moment(2026, 3, 29, 12h)), moment(2026, 3, 28, 23h));
    EXPECT_EQ(berlin.startOfDay(moment(2026, 3, 30, 12h)), moment(2026, 3, 29, 22h));
    EXPECT_EQ(berlin.dayBefore(moment(2026, 3, 29, 12h)), moment(2026, 3, 28, 13h));
}

TEST(DayCalendar, comparesDays)
{
    DayCalendar const utc("UTC");
    EXPECT_TRUE(utc.isSameDay(moment(2026, 1, 1, 0h), moment(2026, 1, 1, 23h + 59min)));
    EXPECT_FALSE(utc.isSameDay(moment(2026, 1, 1, 0h), moment(2025, 12, 31, 23h + 59min)));
    EXPECT_EQ(utc.dayBefore(moment(2026, 3, 1, 5h)), moment(2026, 2, 28, 5h));
}

TEST(DayCalendar, writesDaysAndTimes)
{
    DayCalendar const utc("UTC");
    EXPECT_EQ(utc.monthAndDay(moment(2026, 11, 21, 5h)), "November 21");
    EXPECT_EQ(utc.monthAndDay(moment(2026, 3, 1, 5h)), "March 1");
    EXPECT_EQ(utc.hourAndMinute(moment(2026, 11, 21, 9h + 5min + 59s)), "09:05");
    EXPECT_EQ(DayCalendar("Asia/Kolkata").hourAndMinute(moment(2026, 11, 21, 20h)), "01:30");
}

TEST(DayCalendar, takesTheMachinesZoneByDefault)
{
    ::setenv("TZ", "Asia/Kolkata", 1);
    ::tzset();
    EXPECT_EQ(DayCalendar().hourAndMinute(moment(2026, 11, 21, 20h)), "01:30");
    ::unsetenv("TZ");
    ::tzset();
}

} // namespace
} // namespace zelvo
