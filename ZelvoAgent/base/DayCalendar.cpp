#include "base/DayCalendar.h"

#include <unicode/calendar.h>
#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <cmath>
#include <initializer_list>
#include <memory>

namespace zelvo {

namespace {

using CalendarPtr = std::unique_ptr<icu::Calendar>;

UDate milliseconds(Date date)
{
    return std::floor(std::chrono::duration<double, std::milli>(date.time_since_epoch()).count());
}

Date dateOf(icu::Calendar const& calendar)
{
    UErrorCode status = U_ZERO_ERROR;
    return Date(std::chrono::milliseconds(std::llround(calendar.getTime(status))));
}

std::unique_ptr<icu::TimeZone> zoneOf(std::string const& name)
{
    return std::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
}

CalendarPtr calendarAt(Date date, std::string const& zone)
{
    UErrorCode status = U_ZERO_ERROR;
    CalendarPtr calendar(icu::Calendar::createInstance(zoneOf(zone).release(), icu::Locale::getUS(), status));
    calendar->setTime(milliseconds(date), status);
    return calendar;
}

std::string formatted(icu::DateFormat& format, Date date, std::string const& zone)
{
    format.adoptTimeZone(zoneOf(zone).release());
    icu::UnicodeString text;
    format.format(milliseconds(date), text);
    std::string out;
    text.toUTF8String(out);
    return out;
}

} // namespace

// Detecting the machine's zone reads files, so it happens once.
DayCalendar::DayCalendar(std::string zone) : zone(std::move(zone))
{
    if (!this->zone.empty())
        return;
    std::unique_ptr<icu::TimeZone> const host(icu::TimeZone::detectHostTimeZone());
    icu::UnicodeString id;
    host->getID(id).toUTF8String(this->zone);
}

Date DayCalendar::startOfDay(Date date) const
{
    CalendarPtr const calendar = calendarAt(date, zone);
    for (UCalendarDateFields const field : {UCAL_HOUR_OF_DAY, UCAL_MINUTE, UCAL_SECOND, UCAL_MILLISECOND})
        calendar->set(field, 0);
    return dateOf(*calendar);
}

Date DayCalendar::dayBefore(Date date) const
{
    CalendarPtr const calendar = calendarAt(date, zone);
    UErrorCode status = U_ZERO_ERROR;
    calendar->add(UCAL_DATE, -1, status);
    return dateOf(*calendar);
}

std::string DayCalendar::monthAndDay(Date date) const
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::DateFormat> const format(
        icu::DateFormat::createInstanceForSkeleton("MMMMd", icu::Locale::getUS(), status));
    return formatted(*format, date, zone);
}

std::string DayCalendar::hourAndMinute(Date date) const
{
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat format("HH:mm", icu::Locale::getUK(), status);
    return formatted(format, date, zone);
}

} // namespace zelvo
