#include "drivers/UiElementInfo.h"

#include "base/Text.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace zelvo {

namespace {

/// "AXPopUpButton" becomes "popupbutton".
std::string shortRole(std::string role)
{
    for (std::size_t at = role.find("AX"); at != std::string::npos; at = role.find("AX", at))
        role.erase(at, 2);
    return text::lowercased(role);
}

/// Truncates toward zero; a number out of range becomes the nearest integer.
std::string whole(double number)
{
    constexpr double limit = 9.2e18;
    if (std::isnan(number))
        return "0";
    if (std::abs(number) >= limit)
        return std::to_string(number < 0 ? std::numeric_limits<std::int64_t>::min()
                                         : std::numeric_limits<std::int64_t>::max());
    return std::to_string(static_cast<std::int64_t>(number));
}

} // namespace

std::string UiElementInfo::compactLine(bool isRelative) const
{
    std::string line = "[" + id + "] " + shortRole(role);
    if (title && !title->empty())
        line += " \"" + *title + "\"";
    if (value && !value->empty())
        line += " value=\"" + *value + "\"";
    line += isRelative ? " (in window " : " (";
    line += whole(frame.x) + "," + whole(frame.y) + " " + whole(frame.w) + "x" + whole(frame.h) + ")";
    if (!enabled)
        line += " disabled";
    if (focused)
        line += " focused";
    return line;
}

} // namespace zelvo
