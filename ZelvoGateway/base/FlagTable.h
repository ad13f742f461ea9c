#pragma once

#include "ZelvoGateway/base/Flags.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace zelvo::service {

/// One row of the table of everything that can be set: on the command line as "--port 80", and in a
/// configuration file as "port = 80".
struct Flag {
    enum class Kind {
        argument,   ///< of one call; not in a configuration file
        atStart,    ///< a setting that a running gateway keeps until its next start
        reloadable, ///< a setting whose new value a running gateway takes on SIGHUP
    };

    std::string_view name;  ///< with "--"
    std::string_view value; ///< the name of its value; empty for a switch
    std::string_view help;
    /// Takes a value, "yes" for a switch. Throws FlagError.
    void (*apply)(Flags& flags, std::string const& value);
    Kind kind = Kind::argument;
    bool repeats = false; ///< each value adds to those before

    bool isSwitch() const { return value.empty(); }
    /// Whether its value is a path, which may be relative on the command line only.
    bool isPath() const { return value == "FILE" || value == "DIR"; }
    std::string_view settingName() const { return name.substr(2); }
    enum class Values { shown, hidden };
    /// Why the value can't be used; nullopt if it can.
    std::optional<std::string> problemWith(std::string const& given, Values values = Values::shown) const;
};

/// In the order in which --help lists them.
std::span<Flag const> allFlags();
/// The row of a name without "--"; null if there is none.
Flag const* flagOfSetting(std::string_view settingName);

} // namespace zelvo::service
