#include "ZelvoGateway/Administration.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Log.h"
#include "base/UnusedMemory.h"

#include <exception>
#include <iostream>
#include <sstream>
#include <vector>

namespace {

int runCommand(std::span<char const* const> arguments)
{
    using namespace zelvo::service;
    using Command = Flags::Command;
    FlagsReading const reading = tryFlags(arguments);
    Flags const& flags = reading.flags;
    if (flags.onlyChecks && flags.command != Command::help)
        return checkSettings(reading, std::cout) ? 0 : 1;
    assertUsable(reading);
    switch (flags.command) {
    case Command::serve:
        serve(flags, std::cout);
        break;
    case Command::provision:
        provision(flags, std::cout);
        break;
    case Command::consoleLink:
        printConsoleLink(flags, std::cout);
        break;
    case Command::mcp:
        serveMcpClient(flags);
        break;
    case Command::keys:
        manageKeys(flags, std::cout);
        break;
    case Command::backup:
        backUp(flags, std::cout);
        break;
    case Command::restore:
        restore(flags, std::cout);
        break;
    case Command::help:
        std::cout << flagsHelp();
        break;
    case Command::version:
        std::cout << "zelvo-gateway " ZELVO_VERSION "\n";
        break;
    }
    return 0;
}

/// A line for each problem.
void report(std::string const& problems)
{
    std::istringstream lines(problems);
    for (std::string line; std::getline(lines, line);)
        std::cerr << "zelvo-gateway: " << line << "\n";
}

} // namespace

int main(int count, char** arguments)
{
    zelvo::useOneHeap();
    std::vector<char const*> const all(arguments + std::min(count, 1), arguments + count);
    try {
        return runCommand(all);
    } catch (zelvo::service::FlagError const& error) {
        report(error.what());
        std::cerr << "zelvo-gateway: --help lists the flags\n";
        return 2;
    } catch (zelvo::service::Failure const& failure) {
        zelvo::service::Log::error(failure.message);
    } catch (std::exception const& error) {
        zelvo::service::Log::error(error.what());
    }
    return 1;
}
