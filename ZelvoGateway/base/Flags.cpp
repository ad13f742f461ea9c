#include "ZelvoGateway/base/Flags.h"

#include "ZelvoGateway/base/ConfigFile.h"
#include "ZelvoGateway/base/FlagTable.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

namespace zelvo::service {

namespace {

/// The arguments that are left.
class Arguments {
public:
    explicit Arguments(std::span<char const* const> all) : rest(all) {}

    bool atEnd() const { return rest.empty(); }
    std::string next()
    {
        std::string const text = rest.front();
        rest = rest.subspan(1);
        return text;
    }

private:
    std::span<char const* const> rest;
};

Flag const& flagNamed(std::string_view name)
{
    for (Flag const& flag : allFlags())
        if (flag.name == name)
            return flag;
    throw FlagError("unknown flag " + std::string(name));
}

/// Throws FlagError if it is not clear where the next argument begins.
void readFlag(FlagsReading& reading, std::string const& argument, Arguments& arguments)
{
    std::size_t const equals = argument.find('=');
    Flag const& flag = flagNamed(std::string_view(argument).substr(0, equals));
    std::string const name(flag.name);
    std::optional<std::string> value;
    if (equals != std::string::npos)
        value = argument.substr(equals + 1);
    if (flag.isSwitch() && value)
        throw FlagError(name + " takes no value");
    if (flag.isSwitch())
        value = "yes";
    if (!value) {
        if (arguments.atEnd())
            throw FlagError(name + " needs a value: " + std::string(flag.value));
        value = arguments.next();
    }
    auto const problem = flag.problemWith(*value);
    if (problem) {
        reading.problems.push_back(value->empty() ? name + " needs a value that is not empty"
                                                  : name + ": " + *problem);
        return;
    }
    auto& values = reading.flags.commandLine[std::string(flag.settingName())];
    if (!flag.repeats)
        values.clear(); // The last one counts.
    values.push_back(*std::move(value));
}

struct CommandName {
    std::string_view name;
    Flags::Command command;
};

constexpr auto commands = std::to_array<CommandName>({{"serve", Flags::Command::serve},
                                                      {"provision", Flags::Command::provision},
                                                      {"console-link", Flags::Command::consoleLink},
                                                      {"keys", Flags::Command::keys},
                                                      {"backup", Flags::Command::backup},
                                                      {"restore", Flags::Command::restore},
                                                      {"mcp", Flags::Command::mcp}});

Flags::Command commandNamed(std::string const& name)
{
    auto const* const found = std::ranges::find(commands, name, &CommandName::name);
    if (found == commands.end())
        throw FlagError("unknown command \"" + name +
                        "\"; there are serve, provision, console-link, keys, backup, restore and mcp");
    return found->command;
}

Flags::KeyAction keyActionNamed(std::string const& name)
{
    if (name == "list")
        return Flags::KeyAction::list;
    if (name == "add")
        return Flags::KeyAction::add;
    if (name == "revoke")
        return Flags::KeyAction::revoke;
    throw FlagError("\"keys " + name + "\" is no command; there are keys list, keys add and keys revoke");
}

/// A word after the command.
void readWord(Flags& result, std::string const& word)
{
    bool const ofKeys = result.command == Flags::Command::keys;
    bool const ofBackup =
        result.command == Flags::Command::backup || result.command == Flags::Command::restore;
    if (ofKeys && result.keyAction == Flags::KeyAction::none)
        result.keyAction = keyActionNamed(word);
    else if (ofKeys && result.keyAction == Flags::KeyAction::revoke && result.keyId.empty())
        result.keyId = word;
    else if (ofBackup && result.backupFolder.empty() && !word.empty())
        result.backupFolder = word;
    else
        throw FlagError("\"" + word + "\" is one argument too many");
}

/// Mixed settings are refused: some would be ignored, and recordings would not be where somebody expects
/// them.
void assertOnePlace(Flags const& result)
{
    RecordingPlace const& place = result.settings.recordingPlace;
    bool const inBucket = place.kind == RecordingPlace::Kind::s3;
    for (auto const& [name, values] : result.given)
        if (!inBucket && name.starts_with("s3-"))
            throw FlagError("--" + name + " needs --recordings-in s3");
    if (!inBucket)
        return;
    if (!place.folder.empty())
        throw FlagError("--recordings-folder and --recordings-in s3 exclude each other");
    for (char const* const needed : {"s3-endpoint", "s3-bucket", "s3-credentials"})
        if (!result.given.contains(needed))
            throw FlagError("--recordings-in s3 needs --" + std::string(needed));
    if (!place.s3.pathStyle && place.s3.bucket.find('.') != std::string::npos)
        throw FlagError("--s3-bucket has a name with dots, which needs --s3-path-style");
}

void assertComplete(Flags const& result)
{
    assertOnePlace(result);
    if (result.command == Flags::Command::mcp && result.connections.size() > 1)
        throw FlagError("mcp takes one --connection");
    if (result.settings.tls.certificate.empty() != result.settings.tls.key.empty())
        throw FlagError("--tls-certificate and --tls-key need each other");
    if (result.command == Flags::Command::backup && result.backupFolder.empty())
        throw FlagError("backup needs the FOLDER to make");
    if (result.command == Flags::Command::restore && result.backupFolder.empty())
        throw FlagError("restore needs the FOLDER of a backup");
    if (result.command != Flags::Command::keys)
        return;
    if (result.keyAction == Flags::KeyAction::none)
        throw FlagError("keys needs list, add or revoke");
    if (result.keyAction == Flags::KeyAction::add && result.keyName.empty())
        throw FlagError("keys add needs --name NAME");
    if (result.keyAction == Flags::KeyAction::revoke && result.keyId.empty())
        throw FlagError("keys revoke needs the ID of a key; keys list shows it");
}

/// The command, its words, and the values of flags as they are given.
void readCommandLine(FlagsReading& reading, std::span<char const* const> all)
{
    Flags& result = reading.flags;
    Arguments arguments(all);
    bool named = false;
    while (!arguments.atEnd()) {
        std::string const argument = arguments.next();
        if (argument.starts_with("-")) {
            readFlag(reading, argument, arguments);
        } else if (!std::exchange(named, true)) {
            result.command = commandNamed(argument);
        } else {
            readWord(result, argument);
        }
    }
}

/// The values of the file, where the command line gives none.
void addConfigFile(FlagsReading& reading)
{
    Flags& flags = reading.flags;
    flags.given = flags.commandLine;
    auto const named = flags.commandLine.find("config");
    if (named == flags.commandLine.end())
        return;
    ConfigReading file = ConfigFile::read(named->second.front());
    flags.given.merge(file.values);
    std::ranges::move(file.problems, std::back_inserter(reading.problems));
}

void applyGiven(Flags& flags)
{
    for (Flag const& flag : allFlags())
        if (auto const found = flags.given.find(flag.settingName()); found != flags.given.end())
            for (std::string const& value : found->second)
                flag.apply(flags, value);
    if (flags.settings.dataFolder.empty())
        flags.settings.dataFolder = defaultDataFolder();
}

template <class Step>
void attempt(FlagsReading& reading, Step const& step)
{
    try {
        step();
    } catch (FlagError const& error) {
        reading.problems.emplace_back(error.what());
    }
}

/// What follows the command line.
void complete(FlagsReading& reading)
{
    addConfigFile(reading);
    attempt(reading, [&] { applyGiven(reading.flags); });
    if (reading.problems.empty())
        attempt(reading, [&] { assertComplete(reading.flags); });
}

} // namespace

FlagsReading tryFlags(std::span<char const* const> all)
{
    FlagsReading reading;
    attempt(reading, [&] { readCommandLine(reading, all); });
    complete(reading);
    return reading;
}

FlagsReading readAgain(Flags const& flags)
{
    FlagsReading reading{.flags = {.command = flags.command, .commandLine = flags.commandLine},
                         .problems = {}};
    complete(reading);
    return reading;
}

void assertUsable(FlagsReading const& reading)
{
    std::string text;
    for (std::string const& problem : reading.problems)
        text += (text.empty() ? "" : "\n") + problem;
    if (!text.empty())
        throw FlagError(text);
}

Flags readFlags(std::span<char const* const> all)
{
    FlagsReading reading = tryFlags(all);
    assertUsable(reading);
    return std::move(reading.flags);
}

std::string flagsHelp()
{
    std::string text =
        "zelvo-gateway [serve]         serves machines, platforms and the console\n"
        "zelvo-gateway provision       makes an unattended machine and prints its token\n"
        "zelvo-gateway console-link    prints a one-time link to the console of a running gateway\n"
        "zelvo-gateway keys list       lists the API keys\n"
        "zelvo-gateway keys add        makes an API key and prints it, this once\n"
        "zelvo-gateway keys revoke ID  ends an API key at once\n"
        "zelvo-gateway backup FOLDER   copies the state, also of a running gateway, to a new folder\n"
        "zelvo-gateway restore FOLDER  makes a backup the state of a gateway that does not run yet\n"
        "zelvo-gateway mcp             serves an MCP client on standard input and output, by a running "
        "gateway\n\n";
    for (Flag const& flag : allFlags()) {
        std::string const left =
            std::string(flag.name) + (flag.value.empty() ? "" : " ") + std::string(flag.value);
        text += "  " + left + std::string(left.size() < 28 ? 28 - left.size() : 1, ' ') +
                std::string(flag.help) + "\n";
    }
    return text;
}

std::string defaultDataFolder()
{
    char const* const data = std::getenv("XDG_DATA_HOME");
    if (data && *data == '/')
        return std::string(data) + "/zelvo-gateway";
    char const* const home = std::getenv("HOME");
    if (!home || !*home)
        throw FlagError("--data is needed, since HOME is not set");
    return std::string(home) + "/.local/share/zelvo-gateway";
}

} // namespace zelvo::service
