// The headers of proxies, of which callers may write the first part. The first line of the input is
// "Forwarded", the second "X-Forwarded-For", the third "X-Forwarded-Proto".
#include "ZelvoGateway/net/ForwardedHeaders.h"
#include "ZelvoGateway/net/TrustedProxies.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace zelvo::service;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static TrustedProxies const proxies({*addressRangeIn("10.0.0.0/8"), *addressRangeIn("fd00::/8")});
    static auto const proxy = boost::asio::ip::make_address("10.0.0.1");
    std::string_view rest(reinterpret_cast<char const*>(data), size);
    std::array<std::string_view, 3> lines;
    for (std::string_view& line : lines) {
        line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    ForwardedLines const headers{
        .forwarded = {lines[0]}, .forwardedFor = {lines[1]}, .forwardedProto = {lines[2]}};
    try {
        ForwardedCaller const caller = proxies.callerOf(proxy, headers);
        if (caller.address.is_v6() && caller.address.to_v6().is_v4_mapped())
            std::abort(); // One caller has one address.
    } catch (ForwardedError const&) {
    }
    // What a caller writes in front of what its proxy adds changes nothing.
    std::string const added = std::string(lines[1]) + ", 203.0.113.9";
    ForwardedLines const usual{.forwarded = {}, .forwardedFor = {added}, .forwardedProto = {}};
    if (proxies.callerOf(proxy, usual).address.to_string() != "203.0.113.9")
        std::abort();
    return 0;
}
