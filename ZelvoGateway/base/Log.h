#pragma once

#include "ZelvoGateway/base/Settings.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

namespace zelvo::service {

/// A detail of a line, for whoever searches logs. The name is one of the program's; the value may be a
/// caller's.
struct LogField {
    std::string_view name;
    std::variant<std::string_view, std::int64_t> value;
};
using LogFields = std::initializer_list<LogField>;

/// What the gateway writes to standard error. As text, a line is "zelvo-gateway: message"; as JSON, an object
/// with "time", "level", "message" and the fields. A message says everything in words, so fields only repeat
/// it. No line holds a secret, and what others sent is escaped and cut. One for the whole process, like
/// standard error. Thread: any.
class Log {
public:
    using Level = LogRules::Level;
    using Format = LogRules::Format;
    static constexpr std::size_t maxMessage = 4_KiB; ///< bytes
    static constexpr std::size_t maxField = 256;     ///< bytes

    /// Until the first call: text, from `info` on.
    static void use(LogRules const& rules);
    /// False if a line of this level is left out, so that nobody has to make it.
    static bool takes(Level level);

    static void debug(std::string_view message, LogFields fields = {})
    {
        write(Level::debug, message, fields);
    }
    static void info(std::string_view message, LogFields fields = {}) { write(Level::info, message, fields); }
    static void warning(std::string_view message, LogFields fields = {})
    {
        write(Level::warning, message, fields);
    }
    static void error(std::string_view message, LogFields fields = {})
    {
        write(Level::error, message, fields);
    }

    /// A line as it is written, without its end.
    static std::string
    line(Format format, Level level, std::string_view message, LogFields fields, Date time);

private:
    static void write(Level level, std::string_view message, LogFields fields);
};

} // namespace zelvo::service
