#include "base/DateText.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace zelvo::dates {

namespace {

using namespace std::chrono;

constexpr sys_seconds referenceDate = sys_days(year(2001) / January / 1);

/// Parses a text from left to right; each step returns whether it matched.
class Reader {
public:
    explicit Reader(std::string_view text) : rest(text) {}

    bool digits(std::size_t count, int& value)
    {
        if (rest.size() < count)
            return false;
        for (char const c : rest.substr(0, count))
            if (c < '0' || c > '9')
                return false;
        std::from_chars(rest.data(), rest.data() + count, value);
        rest.remove_prefix(count);
        return true;
    }

    bool literal(char expected)
    {
        if (rest.empty() || rest.front() != expected)
            return false;
        rest.remove_prefix(1);
        return true;
    }

    bool fraction(microseconds& value)
    {
        double scale = 1e6;
        double sum = 0;
        std::size_t count = 0;
        for (; !rest.empty() && rest.front() >= '0' && rest.front() <= '9'; rest.remove_prefix(1), ++count)
            sum += (scale /= 10) * (rest.front() - '0');
        value = microseconds(std::llround(sum));
        return count > 0;
    }

    bool zone(minutes& offset)
    {
        if (literal('Z'))
            return true;
        bool const east = literal('+');
        int hour = 0;
        int minute = 0;
        if ((!east && !literal('-')) || !digits(2, hour))
            return false;
        literal(':');
        if (!digits(2, minute) || hour > 23 || minute > 59)
            return false;
        offset = (east ? 1 : -1) * (hours(hour) + minutes(minute));
        return true;
    }

    bool atEnd() const { return rest.empty(); }

private:
    std::string_view rest;
};

} // namespace

std::string iso8601(Date date)
{
    auto const whole = floor<days>(date);
    year_month_day const day(whole);
    hh_mm_ss const time(floor<milliseconds>(date - whole));
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
    return text;
}

std::optional<Date> parseIso8601(std::string_view text)
{
    int y = 0;
    int m = 0;
    int d = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    microseconds fraction{};
    minutes offset{};
    Reader reader(text);
    bool const fits = reader.digits(4, y) && reader.literal('-') && reader.digits(2, m) &&
                      reader.literal('-') && reader.digits(2, d) && reader.literal('T') &&
                      reader.digits(2, hour) && reader.literal(':') && reader.digits(2, minute) &&
                      reader.literal(':') && reader.digits(2, second) && reader.literal('.') &&
                      reader.fraction(fraction) && reader.zone(offset) && reader.atEnd();
    year_month_day const date(year(y), month(static_cast<unsigned>(m)), day(static_cast<unsigned>(d)));
    if (!fits || !date.ok() || hour > 23 || minute > 59 || second > 60)
        return std::nullopt;
    return Date(sys_days(date)) + hours(hour) + minutes(minute) + seconds(second) + fraction - offset;
}

std::tm localParts(Date date)
{
    // system_clock::to_time_t takes nanoseconds, which overflow in the year 2262.
    std::time_t const time = floor<seconds>(date).time_since_epoch().count();
    std::tm parts{};
    ::tzset(); // The time zone may have changed since the start.
    ::localtime_r(&time, &parts);
    return parts;
}

std::string localTime(Date date)
{
    std::tm const parts = localParts(date);
    char text[16];
    std::strftime(text, sizeof text, "%H:%M:%S", &parts);
    return text;
}

double storedSeconds(Date date)
{
    return duration<double>(date - referenceDate).count();
}

Date fromStoredSeconds(double seconds)
{
    // The stored number may hold anything, so it is clamped to the range of Date (about 9000 years).
    double const limit = 3e11;
    double const sane = std::isnan(seconds) ? 0 : std::fmin(std::fmax(seconds, -limit), limit);
    return referenceDate + microseconds(std::llround(sane * 1e6));
}

} // namespace zelvo::dates
