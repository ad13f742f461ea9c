#pragma once

#include "base/Clock.h"

#include <string>

namespace zelvo {

/// Days and times of day in one time zone. Thread: any.
class DayCalendar {
public:
    /// zone  an IANA name; if empty, the machine's zone at the time of construction
    explicit DayCalendar(std::string zone = {});

    Date startOfDay(Date date) const;
    /// The same time one day before.
    Date dayBefore(Date date) const;
    bool isSameDay(Date left, Date right) const { return startOfDay(left) == startOfDay(right); }
    /// "November 21", always in English.
    std::string monthAndDay(Date date) const;
    /// "09:05".
    std::string hourAndMinute(Date date) const;

private:
    std::string zone;
};

} // namespace zelvo
