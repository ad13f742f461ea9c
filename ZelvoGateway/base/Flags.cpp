#include "ZelvoGateway/base/Flags.h"

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

#include <array>
#include <charconv>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string_view>

namespace zelvo::service {

namespace {

struct Flag {
    std::string_view name;
    std::string_view value; ///< the name of its value; empty for a flag without one
    std::string_view help;
    void (*apply)(Flags& flags, std::string const& value);
};

std::int64_t number(std::string const& text, std::int64_t min, std::int64_t max)
{
    std::int64_t value = 0;
    auto const read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size() || value < min || value > max)
        throw FlagError("a number from " + std::to_string(min) + " to " + std::to_string(max) +
                        " is needed, not \"" + text + "\"");
    return value;
}

/// Bytes, from a number of mebibytes.
std::uint64_t mebibytes(std::string const& text)
{
    return static_cast<std::uint64_t>(number(text, 1, 1 << 30)) << 20;
}

std::string webAddress(std::string const& text)
{
    auto const url = boost::urls::parse_uri(text);
    bool const usable = url && (url->scheme() == "http" || url->scheme() == "https") &&
                        !url->encoded_host().empty() &&
                        (url->encoded_path().empty() || url->encoded_path() == "/") && !url->has_query() &&
                        !url->has_fragment() && !url->has_userinfo();
    if (!usable)
        throw FlagError("an address like https://gateway.example.org is needed, not \"" + text + "\"");
    return text.ends_with('/') ? text.substr(0, text.size() - 1) : text;
}

/// Any page of the web.
std::string webPage(std::string const& text)
{
    auto const url = boost::urls::parse_uri(text);
    if (!url || (url->scheme() != "http" && url->scheme() != "https") || url->encoded_host().empty() ||
        url->has_userinfo())
        throw FlagError("an address like https://example.org/zelvo is needed, not \"" + text + "\"");
    return text;
}

constexpr std::array<Flag, 28> flags = {{
    {"--data", "DIR", "folder of the state and the API key (default: $XDG_DATA_HOME/zelvo-gateway)",
     [](Flags& f, std::string const& v) { f.settings.dataFolder = v; }},
    {"--listen", "ADDRESS", "address to listen on (default 127.0.0.1; there is no TLS here)",
     [](Flags& f, std::string const& v) { f.settings.listen = v; }},
    {"--port", "N", "port to listen on (default 8737; 0 takes a free one)",
     [](Flags& f, std::string const& v) {
         f.settings.port = static_cast<std::uint16_t>(number(v, 0, 65535));
     }},
    {"--port-file", "FILE", "writes the port to FILE once it listens",
     [](Flags& f, std::string const& v) { f.portFile = v; }},
    {"--public-url", "URL", "where browsers and machines reach it, behind a proxy for instance",
     [](Flags& f, std::string const& v) { f.settings.publicUrl = webAddress(v); }},
    {"--platform-name", "NAME", "the name that people are asked to trust (default Zelvo Local)",
     [](Flags& f, std::string const& v) { f.settings.platformName = v; }},
    {"--personal", "", "tells people that the platform is their own",
     [](Flags& f, std::string const&) { f.settings.personal = true; }},
    {"--minimum-app-version", "V", "refuses machines with an older agent",
     [](Flags& f, std::string const& v) { f.settings.minimumAppVersion = v; }},
    {"--command-timeout", "SECONDS", "how long a command may take (default 180)",
     [](Flags& f, std::string const& v) {
         f.settings.commandTimeout = std::chrono::seconds(number(v, 1, 3600));
     }},
    {"--no-recordings", "", "takes no more recordings from machines",
     [](Flags& f, std::string const&) { f.settings.recordings.taken = false; }},
    {"--recording-days", "N", "how long a recording is kept (default 30)",
     [](Flags& f, std::string const& v) {
         f.settings.recordings.kept = std::chrono::days(number(v, 1, 3650));
     }},
    {"--recording-mib", "N", "the largest recording that is taken (default 2048)",
     [](Flags& f, std::string const& v) { f.settings.recordings.maxBytes = mebibytes(v); }},
    {"--recordings-mib", "N", "what all recordings together may take up (default 20480)",
     [](Flags& f, std::string const& v) { f.settings.recordings.maxTotalBytes = mebibytes(v); }},
    {"--install-url", "URL", "where people get the agent; the page behind a link shows it",
     [](Flags& f, std::string const& v) { f.settings.installUrl = webPage(v); }},
    {"--allow-private-webhooks", "",
     "lets webhooks go to addresses inside the gateway's network, and without TLS",
     [](Flags& f, std::string const&) { f.settings.webhooks.toOwnNetwork = true; }},
    {"--audit-days", "N", "how long an event is kept in the audit log (default 90)",
     [](Flags& f, std::string const& v) { f.settings.audit.kept = std::chrono::days(number(v, 1, 3650)); }},
    {"--audit-events", "N", "how many events the audit log keeps at most (default 100000)",
     [](Flags& f, std::string const& v) {
         f.settings.audit.maxEvents = static_cast<std::size_t>(number(v, 1, 10'000'000));
     }},
    {"--print-console-link", "", "prints a one-time link to the console once it listens",
     [](Flags& f, std::string const&) { f.printConsoleLink = true; }},
    {"--token-file", "FILE",
     "provision: writes the machine token to FILE (mode 0600), not to standard output",
     [](Flags& f, std::string const& v) { f.tokenFile = v; }},
    {"--connection-file", "FILE", "provision: writes the connection's id to FILE",
     [](Flags& f, std::string const& v) { f.connectionFile = v; }},
    {"--end-user", "ID", "provision: whose machine it is (default local). keys add: reaches theirs only",
     [](Flags& f, std::string const& v) {
         f.endUserId = v;
         f.endUsers.push_back(v);
     }},
    {"--gateway", "URL", "mcp: the gateway to join (default: the one that runs on --data)",
     [](Flags& f, std::string const& v) { f.gatewayUrl = webAddress(v); }},
    {"--key-file", "FILE",
     "mcp: the API key (default: $ZELVO_API_KEY, else the key in --data). keys add: writes the key there "
     "(mode 0600), not to standard output",
     [](Flags& f, std::string const& v) { f.keyFile = v; }},
    {"--connection", "ID",
     "mcp: serves this connection only. keys add: reaches it only; can be repeated, like --end-user",
     [](Flags& f, std::string const& v) { f.connections.push_back(v); }},
    {"--name", "NAME", "keys add: what the key is called in lists",
     [](Flags& f, std::string const& v) { f.keyName = v; }},
    {"--switches", "QUERY", "mcp: as in the address of /mcp, such as \"width=1280&tools=computer\"",
     [](Flags& f, std::string const& v) { f.mcpSwitches = v; }},
    {"--help", "", "prints this", [](Flags& f, std::string const&) { f.command = Flags::Command::help; }},
    {"--version", "", "prints the version",
     [](Flags& f, std::string const&) { f.command = Flags::Command::version; }},
}};

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
    for (Flag const& flag : flags)
        if (flag.name == name)
            return flag;
    throw FlagError("unknown flag " + std::string(name));
}

void readFlag(Flags& result, std::string const& argument, Arguments& arguments)
{
    std::size_t const equals = argument.find('=');
    Flag const& flag = flagNamed(std::string_view(argument).substr(0, equals));
    std::string const name(flag.name);
    std::optional<std::string> value;
    if (equals != std::string::npos)
        value = argument.substr(equals + 1);
    if (flag.value.empty() && value)
        throw FlagError(name + " takes no value");
    if (!flag.value.empty() && !value) {
        if (arguments.atEnd())
            throw FlagError(name + " needs a value: " + std::string(flag.value));
        value = arguments.next();
    }
    if (!flag.value.empty() && value->empty())
        throw FlagError(name + " needs a value that is not empty");
    try {
        flag.apply(result, value.value_or(""));
    } catch (FlagError const& error) {
        throw FlagError(name + ": " + error.what());
    }
}

Flags::Command commandNamed(std::string const& name)
{
    if (name == "serve")
        return Flags::Command::serve;
    if (name == "provision")
        return Flags::Command::provision;
    if (name == "console-link")
        return Flags::Command::consoleLink;
    if (name == "keys")
        return Flags::Command::keys;
    if (name == "mcp")
        return Flags::Command::mcp;
    throw FlagError("unknown command \"" + name +
                    "\"; there are serve, provision, console-link, keys and mcp");
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
    if (ofKeys && result.keyAction == Flags::KeyAction::none)
        result.keyAction = keyActionNamed(word);
    else if (ofKeys && result.keyAction == Flags::KeyAction::revoke && result.keyId.empty())
        result.keyId = word;
    else
        throw FlagError("\"" + word + "\" is one argument too many");
}

void assertComplete(Flags const& result)
{
    if (result.command == Flags::Command::mcp && result.connections.size() > 1)
        throw FlagError("mcp takes one --connection");
    if (result.command != Flags::Command::keys)
        return;
    if (result.keyAction == Flags::KeyAction::none)
        throw FlagError("keys needs list, add or revoke");
    if (result.keyAction == Flags::KeyAction::add && result.keyName.empty())
        throw FlagError("keys add needs --name NAME");
    if (result.keyAction == Flags::KeyAction::revoke && result.keyId.empty())
        throw FlagError("keys revoke needs the ID of a key; keys list shows it");
}

} // namespace

Flags readFlags(std::span<char const* const> all)
{
    Flags result;
    Arguments arguments(all);
    bool named = false;
    while (!arguments.atEnd()) {
        std::string const argument = arguments.next();
        if (argument.starts_with("-")) {
            readFlag(result, argument, arguments);
        } else if (!std::exchange(named, true)) {
            result.command = commandNamed(argument);
        } else {
            readWord(result, argument);
        }
    }
    assertComplete(result);
    if (result.settings.dataFolder.empty())
        result.settings.dataFolder = defaultDataFolder();
    return result;
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
        "zelvo-gateway mcp             serves an MCP client on standard input and output, by a running "
        "gateway\n\n";
    for (Flag const& flag : flags) {
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
