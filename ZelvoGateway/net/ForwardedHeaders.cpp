#include "ZelvoGateway/net/ForwardedHeaders.h"

#include "base/NetworkAddress.h"
#include "base/Text.h"

#include <algorithm>
#include <set>
#include <string>

namespace zelvo::service {

namespace {

namespace ip = boost::asio::ip;

bool isDigit(char sign)
{
    return sign >= '0' && sign <= '9';
}

bool isLetter(char sign)
{
    return (sign >= 'a' && sign <= 'z') || (sign >= 'A' && sign <= 'Z');
}

/// A character of a token of HTTP.
bool isTokenSign(char sign)
{
    return isDigit(sign) || isLetter(sign) ||
           std::string_view("!#$%&'*+-.^_`|~").find(sign) != std::string_view::npos;
}

bool isSpace(char sign)
{
    return sign == ' ' || sign == '\t';
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

/// "_" and what a proxy puts in place of a name or port that it hides.
bool isHidden(std::string_view text)
{
    return text.size() > 1 && text.front() == '_' && std::ranges::all_of(text, [](char sign) {
               return isDigit(sign) || isLetter(sign) ||
                      std::string_view("._-").find(sign) != std::string_view::npos;
           });
}

bool isPort(std::string_view text)
{
    return (!text.empty() && text.size() <= 5 && std::ranges::all_of(text, isDigit)) || isHidden(text);
}

enum class Version { v4, v6 };

/// An address of that version, without the name of an interface.
ForwardedAddress addressIn(std::string_view text, Version version)
{
    boost::system::error_code error;
    ip::address const address = ip::make_address(std::string(text), error);
    if (error || address.is_v4() != (version == Version::v4) || text.find('%') != std::string_view::npos)
        return {};
    return {.isValid = true, .address = unmapped(address)};
}

/// What follows the address: nothing, or ":" and a port.
bool isPortSuffix(std::string_view text)
{
    return text.empty() || (text.front() == ':' && isPort(text.substr(1)));
}

ForwardedAddress bracketedIn(std::string_view text)
{
    std::size_t const end = text.find(']');
    if (end == std::string_view::npos || !isPortSuffix(text.substr(end + 1)))
        return {};
    return addressIn(text.substr(1, end - 1), Version::v6);
}

ForwardedAddress plainV4In(std::string_view text)
{
    std::size_t const colon = std::min(text.find(':'), text.size());
    if (!isPortSuffix(text.substr(colon)))
        return {};
    return addressIn(text.substr(0, colon), Version::v4);
}

/// A node of RFC 7239: an IPv6 address is in brackets.
ForwardedAddress nodeIn(std::string_view text)
{
    if (text.starts_with('['))
        return bracketedIn(text);
    std::size_t const colon = std::min(text.find(':'), text.size());
    std::string_view const name = text.substr(0, colon);
    if (text::equalIgnoringCase(name, "unknown") || isHidden(name))
        return {.isValid = isPortSuffix(text.substr(colon)), .address = {}};
    return plainV4In(text);
}

/// Reads "Forwarded" from left to right.
class ForwardedReader {
public:
    explicit ForwardedReader(std::string_view text) : rest(text) {}

    std::optional<std::vector<ForwardedHop>> read()
    {
        std::vector<ForwardedHop> hops;
        do {
            ForwardedHop hop;
            if (!readElement(hop))
                return std::nullopt;
            hops.push_back(std::move(hop));
        } while (take(','));
        return rest.empty() ? std::optional(std::move(hops)) : std::nullopt;
    }

private:
    bool readElement(ForwardedHop& hop)
    {
        std::set<std::string> names;
        do {
            skipSpace();
            std::string const name = text::lowercased(token());
            if (name.empty() || !names.insert(name).second || !take('='))
                return false;
            auto const value = readValue();
            if (!value || !apply(name, *value, hop))
                return false;
            skipSpace();
        } while (take(';'));
        return true;
    }

    static bool apply(std::string const& name, std::string const& value, ForwardedHop& hop)
    {
        if (name == "for") {
            ForwardedAddress const node = nodeIn(value);
            hop.from = node.address;
            return node.isValid;
        }
        if (name == "proto") {
            hop.isSecure = forwardedSecurityIn(value);
            return hop.isSecure.has_value();
        }
        return true;
    }

    std::optional<std::string> readValue()
    {
        if (take('"'))
            return quoted();
        std::string_view const value = token();
        return value.empty() ? std::nullopt : std::optional(std::string(value));
    }

    /// What follows the first quotation mark.
    std::optional<std::string> quoted()
    {
        std::string value;
        while (!rest.empty()) {
            char sign = rest.front();
            rest.remove_prefix(1);
            if (sign == '"')
                return value;
            if (sign == '\\') {
                if (rest.empty())
                    return std::nullopt;
                sign = rest.front();
                rest.remove_prefix(1);
            }
            value += sign;
        }
        return std::nullopt;
    }

    std::string_view token()
    {
        auto const end = std::ranges::find_if_not(rest, isTokenSign);
        std::string_view const found = rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
        rest.remove_prefix(found.size());
        return found;
    }

    bool take(char sign)
    {
        if (!rest.starts_with(sign))
            return false;
        rest.remove_prefix(1);
        return true;
    }

    void skipSpace()
    {
        while (!rest.empty() && isSpace(rest.front()))
            rest.remove_prefix(1);
    }

    std::string_view rest;
};

} // namespace

std::optional<std::vector<ForwardedHop>> forwardedHopsIn(std::string_view value)
{
    return ForwardedReader(value).read();
}

ForwardedAddress forwardedAddressIn(std::string_view entry)
{
    if (text::equalIgnoringCase(entry, "unknown"))
        return {.isValid = true, .address = {}};
    if (entry.starts_with('['))
        return bracketedIn(entry);
    bool const isV6 = std::ranges::count(entry, ':') > 1;
    return isV6 ? addressIn(entry, Version::v6) : plainV4In(entry);
}

std::optional<bool> forwardedSecurityIn(std::string_view entry)
{
    for (std::string_view const name : {"https", "wss"})
        if (text::equalIgnoringCase(entry, name))
            return true;
    for (std::string_view const name : {"http", "ws"})
        if (text::equalIgnoringCase(entry, name))
            return false;
    return std::nullopt;
}

std::vector<std::string_view> listEntriesIn(std::string_view value)
{
    std::vector<std::string_view> entries;
    for (;;) {
        std::size_t const comma = value.find(',');
        entries.push_back(trimmed(value.substr(0, comma)));
        if (comma == std::string_view::npos)
            return entries;
        value.remove_prefix(comma + 1);
    }
}

} // namespace zelvo::service
