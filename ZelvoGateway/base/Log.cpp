#include "ZelvoGateway/base/Log.h"

#include "ZelvoGateway/base/Dates.h"
#include "base/DateText.h"
#include "base/Text.h"
#include "wire/Json.h"

#include <unistd.h>

#include <array>
#include <atomic>

namespace zelvo::service {

namespace {

constexpr std::string_view hexDigits = "0123456789abcdef";
constexpr std::array<std::string_view, 4> levelNames = {"debug", "info", "warning", "error"};

std::atomic<Log::Format> usedFormat = Log::Format::text;
std::atomic<Log::Level> usedLevel = Log::Level::info;

/// Valid UTF-8 of at most so many bytes.
std::string bounded(std::string_view text, std::size_t maxBytes)
{
    std::string const valid = text::repaired(text.substr(0, maxBytes));
    std::string cut(text::prefixOfBytes(valid, maxBytes));
    return text.size() > maxBytes ? cut + "..." : cut;
}

/// One line that changes nothing on a terminal: control characters as \xNN.
std::string inOneLine(std::string const& text)
{
    std::string line;
    for (char const each : text) {
        auto const byte = static_cast<unsigned char>(each);
        if (byte < 0x20 || byte == 0x7f)
            line += {'\\', 'x', hexDigits[byte / 16], hexDigits[byte % 16]};
        else
            line += each;
    }
    return line;
}

json::value valueOf(LogField const& field)
{
    if (auto const* const text = std::get_if<std::string_view>(&field.value))
        return json::string(bounded(*text, Log::maxField));
    return std::get<std::int64_t>(field.value);
}

} // namespace

void Log::use(LogRules const& rules)
{
    usedFormat = rules.format;
    usedLevel = rules.level;
}

bool Log::takes(Level level)
{
    return level >= usedLevel.load(std::memory_order_relaxed);
}

std::string Log::line(Format format, Level level, std::string_view message, LogFields fields, Date time)
{
    std::string const text = bounded(message, maxMessage);
    if (format == Format::text)
        return "zelvo-gateway: " + inOneLine(text);
    json::object line{{"time", dates::iso8601(time)},
                      {"level", levelNames.at(static_cast<std::size_t>(level))},
                      {"message", text}};
    for (LogField const& field : fields)
        line[field.name] = valueOf(field);
    return writeJson(line);
}

void Log::write(Level level, std::string_view message, LogFields fields)
{
    if (!takes(level))
        return;
    std::string const whole = line(usedFormat, level, message, fields, today()) + "\n";
    // One call, so that lines of several threads don't mix. A log that can't be written stops nothing.
    [[maybe_unused]] auto const written = ::write(STDERR_FILENO, whole.data(), whole.size());
}

} // namespace zelvo::service
