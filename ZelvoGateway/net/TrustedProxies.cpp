#include "ZelvoGateway/net/TrustedProxies.h"

#include "ZelvoGateway/net/ForwardedHeaders.h"
#include "base/NetworkAddress.h"

#include <algorithm>
#include <iterator>

namespace zelvo::service {

namespace {

namespace ip = boost::asio::ip;

constexpr std::size_t maxHops = 32; // That trusted proxies report of one request.

using Lines = std::vector<std::string_view>;

/// The entries of a header that may be repeated; none if it is empty.
Lines entriesOf(Lines const& lines)
{
    Lines all;
    for (std::string_view const line : lines)
        if (auto const entries = listEntriesIn(line); entries != Lines{""})
            all.insert(all.end(), entries.begin(), entries.end());
    return all;
}

bool securityIn(std::string_view entry)
{
    auto const isSecure = forwardedSecurityIn(entry);
    if (!isSecure)
        throw ForwardedError("A proxy sent an \"X-Forwarded-Proto\" that is neither http nor https");
    return *isSecure;
}

/// "X-Forwarded-Proto" of the step at this index: most proxies replace the header, some add to it.
std::optional<bool> securityAt(Lines const& protocols, std::size_t index, std::size_t steps)
{
    if (protocols.empty())
        return std::nullopt;
    if (protocols.size() == 1)
        return securityIn(protocols.front());
    if (protocols.size() != steps)
        throw ForwardedError(
            "Proxies sent another number of entries in \"X-Forwarded-Proto\" than in \"X-Forwarded-For\"");
    return securityIn(protocols[index]);
}

} // namespace

/// What one kind of headers says.
struct TrustedProxies::Found {
    std::optional<ip::address> address; ///< nullopt if there is no such header
    std::optional<bool> isSecure;
};

bool TrustedProxies::contains(ip::address const& address) const
{
    return std::ranges::any_of(ranges, [&](AddressRange const& range) { return range.contains(address); });
}

TrustedProxies::Found TrustedProxies::inForwarded(ip::address const& proxy, Lines const& lines) const
{
    std::vector<ForwardedHop> hops;
    for (std::string_view const line : lines) {
        if (line.empty())
            continue;
        auto more = forwardedHopsIn(line);
        if (!more)
            throw ForwardedError("A proxy sent a \"Forwarded\" header that can't be read");
        std::ranges::move(*more, std::back_inserter(hops));
    }
    return hops.empty() ? Found() : followed(proxy, hops);
}

/// hops   at least one
TrustedProxies::Found TrustedProxies::followed(ip::address const& proxy,
                                               std::vector<ForwardedHop> const& hops) const
{
    Found found{.address = proxy};
    std::size_t steps = 0;
    for (auto hop = hops.rbegin(); hop != hops.rend(); ++hop) {
        if (++steps > maxHops)
            throw ForwardedError("The request came through too many proxies");
        found.isSecure = hop->isSecure;
        if (!hop->from) // Hidden, so the proxy that reports it is the last known one.
            break;
        found.address = hop->from;
        if (!contains(*hop->from))
            break;
    }
    return found;
}

TrustedProxies::Found TrustedProxies::inForwardedFor(ip::address const& proxy,
                                                     ForwardedLines const& lines) const
{
    Lines const entries = entriesOf(lines.forwardedFor);
    Lines const protocols = entriesOf(lines.forwardedProto);
    if (entries.empty())
        return {.address = std::nullopt, .isSecure = securityAt(protocols, 0, 1)};
    Found found{.address = proxy};
    std::size_t index = entries.size();
    while (index > 0) {
        if (entries.size() - --index > maxHops)
            throw ForwardedError("The request came through too many proxies");
        ForwardedAddress const from = forwardedAddressIn(entries[index]);
        if (!from.isValid)
            throw ForwardedError("A proxy sent an \"X-Forwarded-For\" header that can't be read");
        if (!from.address)
            break;
        found.address = from.address;
        if (!contains(*from.address))
            break;
    }
    found.isSecure = securityAt(protocols, index, entries.size());
    return found;
}

ForwardedCaller TrustedProxies::callerOf(ip::address const& proxy, ForwardedLines const& lines) const
{
    Found const standard = inForwarded(proxy, lines.forwarded);
    Found const usual = inForwardedFor(proxy, lines);
    bool const disagree = (standard.address && usual.address && standard.address != usual.address) ||
                          (standard.isSecure && usual.isSecure && standard.isSecure != usual.isSecure);
    if (disagree)
        throw ForwardedError(
            R"("Forwarded" and "X-Forwarded-For" or "X-Forwarded-Proto" contradict each other)");
    return {.address = unmapped(standard.address.value_or(usual.address.value_or(proxy))),
            .isSecure = standard.isSecure ? standard.isSecure : usual.isSecure};
}

} // namespace zelvo::service
