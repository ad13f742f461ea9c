#include "ZelvoGateway/base/FlagTable.h"

#include <boost/asio/ip/address.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

#include <algorithm>
#include <array>
#include <charconv>

namespace zelvo::service {

namespace {

/// need   what could be used
[[noreturn]] void refuse(std::string const& text, std::string const& need)
{
    throw UnusableValue(need + ", not \"" + text + "\"", need);
}

std::int64_t number(std::string const& text, std::int64_t min, std::int64_t max)
{
    std::int64_t value = 0;
    auto const read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size() || value < min || value > max)
        refuse(text, "a number from " + std::to_string(min) + " to " + std::to_string(max) + " is needed");
    return value;
}

bool isLetterOrDigit(char sign)
{
    return (sign >= 'a' && sign <= 'z') || (sign >= 'A' && sign <= 'Z') || (sign >= '0' && sign <= '9');
}

/// A name and what it means.
template <class Value, std::size_t size>
using Choices = std::array<std::pair<std::string_view, Value>, size>;

constexpr Choices<LogRules::Format, 2> logFormats = {
    {{"text", LogRules::Format::text}, {"json", LogRules::Format::json}}};
constexpr Choices<LogRules::Level, 4> logLevels = {{{"debug", LogRules::Level::debug},
                                                    {"info", LogRules::Level::info},
                                                    {"warning", LogRules::Level::warning},
                                                    {"error", LogRules::Level::error}}};

template <class Value, std::size_t size>
Value oneOf(std::string const& text, Choices<Value, size> const& choices)
{
    std::string names;
    for (auto const& [name, value] : choices) {
        if (name == text)
            return value;
        names += (names.empty() ? "" : ", ") + std::string(name);
    }
    refuse(text, "one of " + names + " is needed");
}

std::size_t count(std::string const& text, std::int64_t min = 0)
{
    return static_cast<std::size_t>(number(text, min, 10'000'000));
}

std::chrono::days days(std::string const& text)
{
    return std::chrono::days(number(text, 1, 3650));
}

/// Bytes, from a number of mebibytes.
std::uint64_t mebibytes(std::string const& text)
{
    return static_cast<std::uint64_t>(number(text, 1, 1 << 30)) << 20;
}

std::string ipAddress(std::string const& text)
{
    boost::system::error_code error;
    boost::asio::ip::make_address(text, error);
    if (error)
        refuse(text, "an address such as 127.0.0.1 or :: is needed");
    return text;
}

AddressRange proxyIn(std::string const& text)
{
    auto const range = addressRangeIn(text);
    if (!range)
        refuse(text, "an address like 10.0.0.7, 10.0.0.0/8 or fd00::/8 is needed");
    if (range->prefix == 0)
        throw UnusableValue("\"" + text + "\" would trust everybody", "it would trust everybody");
    return *range;
}

/// example   what a usable address looks like
[[noreturn]] void refuseAddress(std::string const& text, std::string const& example)
{
    if (text.find('@') != std::string::npos) // It may hold a password, which belongs in no log.
        throw FlagError("an address like " + example + " is needed, without a user name");
    refuse(text, "an address like " + example + " is needed");
}

bool isOfTheWeb(auto const& url)
{
    return url && (url->scheme() == "http" || url->scheme() == "https") && !url->encoded_host().empty() &&
           !url->has_userinfo();
}

std::string webAddress(std::string const& text)
{
    auto const url = boost::urls::parse_uri(text);
    bool const usable = isOfTheWeb(url) && (url->encoded_path().empty() || url->encoded_path() == "/") &&
                        !url->has_query() && !url->has_fragment();
    if (!usable)
        refuseAddress(text, "https://gateway.example.org");
    return text.ends_with('/') ? text.substr(0, text.size() - 1) : text;
}

/// Any page of the web.
std::string webPage(std::string const& text)
{
    if (!isOfTheWeb(boost::urls::parse_uri(text)))
        refuseAddress(text, "https://example.org/zelvo");
    return text;
}

RecordingPlace::Kind recordingPlace(std::string const& text)
{
    if (text != "folder" && text != "s3")
        refuse(text, "folder or s3 is needed");
    return text == "s3" ? RecordingPlace::Kind::s3 : RecordingPlace::Kind::folder;
}

/// Without TLS everybody on the way could watch recordings, so then it must be on this computer.
std::string storeAddress(std::string const& text)
{
    std::string address = webAddress(text);
    boost::urls::url_view const url(address);
    std::string_view const host = url.encoded_host();
    bool const isHere = host == "127.0.0.1" || host == "[::1]" || host == "localhost";
    if (url.scheme() != "https" && !isHere)
        throw UnusableValue("\"" + text + "\" needs https", "https is needed");
    return address;
}

/// As S3 names them. A name with dots would not match the certificate's wildcard.
std::string bucketName(std::string const& text)
{
    bool const isUsable =
        text.size() >= 3 && text.size() <= 63 && std::ranges::all_of(text, [](char sign) {
            return (sign >= 'a' && sign <= 'z') || (sign >= '0' && sign <= '9') || sign == '-' || sign == '.';
        });
    if (!isUsable || !isLetterOrDigit(text.front()) || !isLetterOrDigit(text.back()))
        refuse(text, "the name of a bucket is needed: 3 to 63 of a-z, 0-9, \"-\" and \".\"");
    return text;
}

std::string regionName(std::string const& text)
{
    if (text.size() > 64 ||
        !std::ranges::all_of(text, [](char sign) { return isLetterOrDigit(sign) || sign == '-'; }))
        refuse(text, "a region like eu-central-1 is needed");
    return text;
}

/// Ends with "/", so that no other prefix begins with it.
std::string keyPrefix(std::string const& text)
{
    bool const isUsable =
        text.size() <= 512 && !text.starts_with('/') && text.find("//") == std::string::npos &&
        std::ranges::all_of(text, [](char sign) {
            return isLetterOrDigit(sign) || sign == '-' || sign == '_' || sign == '/' || sign == '=';
        });
    if (!isUsable)
        refuse(text, "a prefix of letters, digits, \"-\", \"_\", \"=\" and \"/\" is needed, such as "
                     "zelvo/recordings/");
    return text.ends_with('/') ? text : text + "/";
}

std::string accountNumber(std::string const& text)
{
    if (text.size() != 12 || !std::ranges::all_of(text, [](char sign) { return sign >= '0' && sign <= '9'; }))
        refuse(text, "the 12 digits of an account are needed");
    return text;
}

using Kind = Flag::Kind;

constexpr auto flags = std::to_array<Flag>({
    {"--config", "FILE", "reads settings from FILE, in lines such as \"port = 8737\"; flags beat them",
     [](Flags& f, std::string const& v) { f.configFile = v; }},
    {"--check-config", "", "checks the settings, without serving",
     [](Flags& f, std::string const&) { f.onlyChecks = true; }},
    {"--data", "DIR", "folder of the state and the API key (default: $XDG_DATA_HOME/zelvo-gateway)",
     [](Flags& f, std::string const& v) { f.settings.dataFolder = v; }, Kind::atStart},
    {"--listen", "ADDRESS", "address to listen on (default 127.0.0.1)",
     [](Flags& f, std::string const& v) { f.settings.listen = ipAddress(v); }, Kind::atStart},
    {"--port", "N", "port to listen on (default 8737; 0 takes a free one)",
     [](Flags& f, std::string const& v) {
         f.settings.port = static_cast<std::uint16_t>(number(v, 0, 65535));
     },
     Kind::atStart},
    {"--port-file", "FILE", "writes the port to FILE once it listens",
     [](Flags& f, std::string const& v) { f.portFile = v; }},
    {"--public-url", "URL", "where browsers and machines reach it, behind a proxy for instance",
     [](Flags& f, std::string const& v) { f.settings.publicUrl = webAddress(v); }, Kind::atStart},
    {"--tls-certificate", "FILE", "serves HTTPS with this certificate and its chain (PEM); needs --tls-key",
     [](Flags& f, std::string const& v) { f.settings.tls.certificate = v; }, Kind::atStart},
    {"--tls-key", "FILE", "the key of that certificate (PEM, without a passphrase)",
     [](Flags& f, std::string const& v) { f.settings.tls.key = v; }, Kind::atStart},
    {"--trusted-proxy", "ADDRESS[/BITS]",
     "believes this proxy, or all in this range, about who calls; can be repeated",
     [](Flags& f, std::string const& v) { f.settings.trustedProxies.push_back(proxyIn(v)); }, Kind::atStart,
     true},
    {"--metrics", "", "serves Prometheus metrics at /metrics on a separate port",
     [](Flags& f, std::string const&) { f.settings.metrics.isOn = true; }, Kind::atStart},
    {"--metrics-listen", "ADDRESS", "address to serve metrics on (default 127.0.0.1)",
     [](Flags& f, std::string const& v) { f.settings.metrics.listen = ipAddress(v); }, Kind::atStart},
    {"--metrics-port", "N", "port to serve metrics on (default 8738; 0 takes a free one)",
     [](Flags& f, std::string const& v) {
         f.settings.metrics.port = static_cast<std::uint16_t>(number(v, 0, 65535));
     },
     Kind::atStart},
    {"--max-machines", "N", "machines that may be connected at one time (default 2048)",
     [](Flags& f, std::string const& v) { f.settings.limits.machines = count(v, 1); }, Kind::atStart},
    {"--max-connections", "N", "HTTP connections that may be open at one time (default 512)",
     [](Flags& f, std::string const& v) { f.settings.limits.connections = count(v, 16); }, Kind::atStart},
    {"--key-rate", "N", "requests of one API key a second (default 1000; 0 for no limit)",
     [](Flags& f, std::string const& v) { f.settings.rates.keyRequests = count(v); }, Kind::reloadable},
    {"--key-requests", "N", "requests of one API key at one time (default 0, no limit)",
     [](Flags& f, std::string const& v) { f.settings.rates.keyRequestsAtOnce = count(v); }, Kind::reloadable},
    {"--address-rate", "N", "new connections of one address a minute (default 60000; 0 for no limit)",
     [](Flags& f, std::string const& v) { f.settings.rates.addressConnections = count(v); },
     Kind::reloadable},
    {"--address-connections", "N", "HTTP connections of one address at one time (default 0, no limit)",
     [](Flags& f, std::string const& v) { f.settings.rates.addressConnectionsAtOnce = count(v); },
     Kind::reloadable},
    {"--machine-rate", "N", "connections of one machine a minute (default 30; 0 for no limit)",
     [](Flags& f, std::string const& v) { f.settings.rates.machineConnections = count(v); },
     Kind::reloadable},
    {"--log-format", "FORMAT", "how the log is written: text or json (default text)",
     [](Flags& f, std::string const& v) { f.settings.log.format = oneOf(v, logFormats); }, Kind::reloadable},
    {"--log-level", "LEVEL", "what the log leaves out below: debug, info, warning or error (default info)",
     [](Flags& f, std::string const& v) { f.settings.log.level = oneOf(v, logLevels); }, Kind::reloadable},
    {"--stop-timeout", "SECONDS", "how long a stop waits for open requests and commands (default 25)",
     [](Flags& f, std::string const& v) {
         f.settings.stopTimeout = std::chrono::seconds(number(v, 0, 3600));
     },
     Kind::atStart},
    {"--platform-name", "NAME", "the name that people are asked to trust (default Zelvo Local)",
     [](Flags& f, std::string const& v) { f.settings.platformName = v; }, Kind::reloadable},
    {"--personal", "", "tells people that the platform is their own",
     [](Flags& f, std::string const&) { f.settings.personal = true; }, Kind::reloadable},
    {"--minimum-app-version", "V", "refuses machines with an older agent",
     [](Flags& f, std::string const& v) { f.settings.minimumAppVersion = v; }, Kind::reloadable},
    {"--command-timeout", "SECONDS", "how long a command may take (default 180)",
     [](Flags& f, std::string const& v) {
         f.settings.commandTimeout = std::chrono::seconds(number(v, 1, 3600));
     },
     Kind::reloadable},
    {"--no-recordings", "", "takes no more recordings from machines",
     [](Flags& f, std::string const&) { f.settings.recordings.taken = false; }, Kind::reloadable},
    {"--recording-days", "N", "how long a recording is kept (default 30)",
     [](Flags& f, std::string const& v) { f.settings.recordings.kept = days(v); }, Kind::reloadable},
    {"--recording-mib", "N", "the largest recording that is taken (default 2048)",
     [](Flags& f, std::string const& v) { f.settings.recordings.maxBytes = mebibytes(v); }, Kind::reloadable},
    {"--recordings-mib", "N", "what all recordings together may take up (default 20480)",
     [](Flags& f, std::string const& v) { f.settings.recordings.maxTotalBytes = mebibytes(v); },
     Kind::reloadable},
    {"--recordings-in", "PLACE", "where files of recordings are: folder (default) or s3",
     [](Flags& f, std::string const& v) { f.settings.recordingPlace.kind = recordingPlace(v); },
     Kind::atStart},
    {"--recordings-folder", "DIR",
     "folder of recordings, which gateways of one store may share (default: in --data)",
     [](Flags& f, std::string const& v) { f.settings.recordingPlace.folder = v; }, Kind::atStart},
    {"--s3-endpoint", "URL",
     "S3-compatible store of recordings, such as https://s3.eu-central-1.amazonaws.com",
     [](Flags& f, std::string const& v) { f.settings.recordingPlace.s3.endpoint = storeAddress(v); },
     Kind::atStart},
    {"--s3-region", "NAME", "its region (default us-east-1)",
     [](Flags& f, std::string const& v) { f.settings.recordingPlace.s3.region = regionName(v); },
     Kind::atStart},
    {"--s3-bucket", "NAME", "the bucket there",
     [](Flags& f, std::string const& v) { f.settings.recordingPlace.s3.bucket = bucketName(v); },
     Kind::atStart},
    {"--s3-prefix", "PREFIX", "what all keys begin with (default recordings/)",
     [](Flags& f, std::string const& v) { f.settings.recordingPlace.s3.prefix = keyPrefix(v); },
     Kind::atStart},
    {"--s3-path-style", "", "names the bucket in the path of addresses, not in their host",
     [](Flags& f, std::string const&) { f.settings.recordingPlace.s3.pathStyle = true; }, Kind::atStart},
    {"--s3-credentials", "FILE",
     "file (mode 0600) with the lines \"access-key = ...\" and \"secret-key = ...\"",
     [](Flags& f, std::string const& v) { f.settings.recordingPlace.s3.credentials = v; }, Kind::atStart},
    {"--s3-bucket-owner", "ACCOUNT", "refuses a bucket of another account than this",
     [](Flags& f, std::string const& v) { f.settings.recordingPlace.s3.bucketOwner = accountNumber(v); },
     Kind::atStart},
    {"--install-url", "URL", "where people get the agent; the page behind a link shows it",
     [](Flags& f, std::string const& v) { f.settings.installUrl = webPage(v); }, Kind::reloadable},
    {"--allow-private-webhooks", "",
     "lets webhooks go to addresses inside the gateway's network, and without TLS",
     [](Flags& f, std::string const&) { f.settings.webhooks.toOwnNetwork = true; }, Kind::atStart},
    {"--audit-days", "N", "how long an event is kept in the audit log (default 90)",
     [](Flags& f, std::string const& v) { f.settings.audit.kept = days(v); }, Kind::reloadable},
    {"--audit-events", "N", "how many events the audit log keeps at most (default 100000)",
     [](Flags& f, std::string const& v) {
         f.settings.audit.maxEvents = static_cast<std::size_t>(number(v, 1, 10'000'000));
     },
     Kind::reloadable},
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
     },
     Kind::argument, true},
    {"--gateway", "URL", "mcp: the gateway to join (default: the one that runs on --data)",
     [](Flags& f, std::string const& v) { f.gatewayUrl = webAddress(v); }},
    {"--key-file", "FILE",
     "mcp: the API key (default: $ZELVO_API_KEY, else the key in --data). keys add: writes the key there "
     "(mode 0600), not to standard output",
     [](Flags& f, std::string const& v) { f.keyFile = v; }},
    {"--connection", "ID",
     "mcp: serves this connection only. keys add: reaches it only; can be repeated, like --end-user",
     [](Flags& f, std::string const& v) { f.connections.push_back(v); }, Kind::argument, true},
    {"--name", "NAME", "keys add: what the key is called in lists",
     [](Flags& f, std::string const& v) { f.keyName = v; }},
    {"--switches", "QUERY", "mcp: as in the address of /mcp, such as \"width=1280&tools=computer\"",
     [](Flags& f, std::string const& v) { f.mcpSwitches = v; }},
    {"--with-recordings", "", "backup: copies the files of recordings, too",
     [](Flags& f, std::string const&) { f.withRecordings = true; }},
    {"--help", "", "prints this", [](Flags& f, std::string const&) { f.command = Flags::Command::help; }},
    {"--version", "", "prints the version",
     [](Flags& f, std::string const&) { f.command = Flags::Command::version; }},
});

} // namespace

std::optional<std::string> Flag::problemWith(std::string const& given, Values values) const
{
    if (given.empty())
        return "a value that is not empty is needed: " + std::string(value);
    try {
        Flags ignored;
        apply(ignored, given);
        return std::nullopt;
    } catch (UnusableValue const& error) {
        return values == Values::shown ? error.what() : error.withoutValue;
    } catch (FlagError const& error) {
        return error.what();
    }
}

std::span<Flag const> allFlags()
{
    return flags;
}

Flag const* flagOfSetting(std::string_view settingName)
{
    auto const* const found = std::ranges::find(flags, settingName, &Flag::settingName);
    return found == flags.end() ? nullptr : &*found;
}

} // namespace zelvo::service
