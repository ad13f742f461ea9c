#include "recording/RecordingPlan.h"

#include "base/DateText.h"
#include "base/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace zelvo {

namespace {

constexpr std::string_view extension = ".mp4";
constexpr std::string_view dash = " — ";
constexpr std::size_t maxNameLength = 60;      // user-perceived characters
constexpr std::size_t maxFileNameLength = 255; // bytes, on every Linux file system
constexpr std::size_t numberRoom = 5;          // for " 9999"
constexpr double maxSide = 1 << 20;            // Keeps every size within int.

int evenSide(double points, double scale)
{
    double const side = std::floor(scale * std::clamp(points, 0.0, maxSide) * 0.5) * 2;
    return std::max(static_cast<int>(side), 2);
}

std::string dateText(Date date)
{
    std::tm const parts = dates::localParts(date);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d at %02d.%02d.%02d", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
    return text;
}

/// The length in bytes of the control character at the start of a valid UTF-8 text, or 0 if there is none.
/// Control characters are C0 and C1, line and paragraph separators, and bidirectional controls, which could
/// hide the end of a name.
std::size_t controlLength(std::string_view text)
{
    auto const byte = [&](std::size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0u;
    };
    if (byte(0) < 0x20 || byte(0) == 0x7f)
        return 1;
    if (byte(0) == 0xc2 && byte(1) < 0xa0)
        return 2;
    if (byte(0) != 0xe2)
        return 0;
    bool const separatesOrTurns = byte(1) == 0x80 && byte(2) >= 0xa8 && byte(2) <= 0xae;
    bool const isolates = byte(1) == 0x81 && byte(2) >= 0xa6 && byte(2) <= 0xa9;
    return separatesOrTurns || isolates ? 3 : 0;
}

/// Replaces each run of control characters with one blank.
std::string withoutControls(std::string_view text)
{
    std::string plain;
    bool inRun = false;
    while (!text.empty()) {
        std::size_t const control = controlLength(text);
        if (control == 0)
            plain += text.front();
        else if (!inRun)
            plain += ' ';
        inRun = control > 0;
        text.remove_prefix(std::max<std::size_t>(control, 1));
    }
    return plain;
}

std::string nameInFile(std::string_view platformName)
{
    std::string plain = withoutControls(text::repaired(platformName));
    std::ranges::replace(plain, '/', '-');
    std::ranges::replace(plain, ':', '-');
    return text::prefix(text::trimmed(plain), maxNameLength);
}

/// As many whole characters as fit. None if the first character alone is too long.
std::string fitting(std::string_view name, std::size_t bytes)
{
    std::string kept;
    for (std::string const& character : text::chunks(name, 1)) {
        if (kept.size() + character.size() > bytes)
            break;
        kept += character;
    }
    return kept;
}

} // namespace

RecordingPlan::Size RecordingPlan::size(std::int64_t widthPoints, std::int64_t heightPoints)
{
    double const scale =
        heightPoints <= maxHeight ? 1.0 : static_cast<double>(maxHeight) / static_cast<double>(heightPoints);
    return {evenSide(static_cast<double>(widthPoints), scale),
            evenSide(static_cast<double>(heightPoints), scale)};
}

std::int64_t RecordingPlan::bitRate(std::int64_t width, std::int64_t height)
{
    double const bits = static_cast<double>(width) * static_cast<double>(height) * 8.0 * 0.1;
    return std::max<std::int64_t>(static_cast<std::int64_t>(bits), 500'000);
}

std::string RecordingPlan::fileName(Date startedAt, std::string_view platformName)
{
    std::string const start = "Zelvo " + dateText(startedAt);
    std::size_t const room = maxFileNameLength - start.size() - dash.size() - extension.size() - numberRoom;
    std::string const name = fitting(nameInFile(platformName), room);
    std::string file = start;
    if (!name.empty())
        file.append(dash).append(name);
    return file.append(extension);
}

std::string RecordingPlan::numbered(std::string_view fileName, int number)
{
    std::string_view const stem = fileName.substr(0, fileName.size() - extension.size());
    return std::string(stem) + " " + std::to_string(number) + std::string(extension);
}

} // namespace zelvo
