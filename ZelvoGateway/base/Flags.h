#pragma once

#include "ZelvoGateway/base/Settings.h"

#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace zelvo::service {

/// What is given for each name, without "--": one value, or several where a name may be repeated. A switch
/// that is on has "yes".
using GivenValues = std::map<std::string, std::vector<std::string>, std::less<>>;

/// What to do, and how: of the command line, and of the configuration file that it names.
struct Flags {
    enum class Command { serve, provision, consoleLink, keys, backup, restore, mcp, help, version };
    enum class KeyAction { none, list, add, revoke };
    Command command = Command::serve;
    Settings settings;
    std::string configFile;  ///< empty if there is none
    bool onlyChecks = false; ///< the settings, and does not serve
    std::string portFile;    ///< where serve writes its port
    bool printConsoleLink = false;
    std::string tokenFile;      ///< where provision writes the machine token
    std::string connectionFile; ///< where provision writes the connection's id
    std::string endUserId = "local";
    std::string gatewayUrl; ///< of the gateway that mcp joins; empty for that on the data folder
    std::string keyFile;    ///< of the key with which mcp joins it, or that "keys add" writes
    std::string mcpSwitches;
    KeyAction keyAction = KeyAction::none;
    std::string keyId;                    ///< that "keys revoke" revokes
    std::string keyName;                  ///< of the key that "keys add" makes
    std::vector<std::string> connections; ///< that this key reaches, or at most one, which mcp is to serve
    std::vector<std::string> endUsers;    ///< whose connections the key reaches
    std::string backupFolder;             ///< that backup makes, or that restore reads
    bool withRecordings = false;          ///< backup copies their files, too

    GivenValues commandLine; ///< as given there
    GivenValues given;       ///< there or in the file
};

/// An invalid command line or configuration file; what() gives the reasons, a line each.
struct FlagError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A value that can't be used; `withoutValue` is the reason without the value, which may be a secret.
struct UnusableValue : FlagError {
    UnusableValue(std::string const& reason, std::string withoutValue)
        : FlagError(reason), withoutValue(std::move(withoutValue))
    {
    }
    std::string withoutValue;
};

/// What was understood, and everything that is wrong.
struct FlagsReading {
    Flags flags;
    std::vector<std::string> problems;
};

/// Reads the arguments after the program's name, and the configuration file that they name. Flags beat the
/// file.
FlagsReading tryFlags(std::span<char const* const> all);
/// Throws FlagError if anything is wrong.
void assertUsable(FlagsReading const& reading);
/// Both.
Flags readFlags(std::span<char const* const> all);
/// Reads the configuration file again, with the same command line.
FlagsReading readAgain(Flags const& flags);
/// What --help prints.
std::string flagsHelp();
/// $XDG_DATA_HOME/zelvo-gateway, else ~/.local/share/zelvo-gateway.
std::string defaultDataFolder();

} // namespace zelvo::service
