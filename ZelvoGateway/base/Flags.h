#pragma once

#include "ZelvoGateway/base/Settings.h"

#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace zelvo::service {

/// The parsed command line.
struct Flags {
    enum class Command { serve, provision, consoleLink, keys, mcp, help, version };
    enum class KeyAction { none, list, add, revoke };
    Command command = Command::serve;
    Settings settings;
    std::string portFile; ///< where serve writes its port
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
};

/// An invalid command line; what() gives the reason.
struct FlagError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads the arguments after the program's name. Throws FlagError.
Flags readFlags(std::span<char const* const> all);
/// What --help prints.
std::string flagsHelp();
/// $XDG_DATA_HOME/zelvo-gateway, else ~/.local/share/zelvo-gateway.
std::string defaultDataFolder();

} // namespace zelvo::service
