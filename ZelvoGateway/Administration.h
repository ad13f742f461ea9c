#pragma once

#include "ZelvoGateway/base/Flags.h"

#include <iosfwd>

namespace zelvo::service {

/// The commands of the command line that work on the data folder, beside a running gateway or without one.
/// Errors: std::runtime_error, Failure.

/// Makes an unattended machine. Prints "machine", "connection" and "token" lines; with a token file, the
/// token is written only there.
void provision(Flags const& flags, std::ostream& out);
/// Prints a one-time link to the console of the gateway that runs on this data folder.
void printConsoleLink(Flags const& flags, std::ostream& out);
/// Serves an MCP client on standard input and output, by the gateway that the flags name, until the input
/// ends.
void serveMcpClient(Flags const& flags);
/// Lists, makes and revokes API keys. Prints "id" and "key" lines for a new key; with a key file, the key is
/// written only there.
void manageKeys(Flags const& flags, std::ostream& out);
/// Copies the state of the data folder to a new folder, also while a gateway runs on it. The copy appears
/// when it is complete.
void backUp(Flags const& flags, std::ostream& out);
/// Makes a backup the state of a data folder that is missing or empty. What fails leaves it so.
void restore(Flags const& flags, std::ostream& out);
/// Serves until SIGINT or SIGTERM. SIGHUP makes it read its configuration file and its API key again.
void serve(Flags const& flags, std::ostream& out);
/// Prints what is wrong with the settings, as far as that shows without serving. Changes nothing.
/// Gives   whether they are fine
bool checkSettings(FlagsReading const& reading, std::ostream& out);

} // namespace zelvo::service
