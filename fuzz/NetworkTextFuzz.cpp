#include "Check.h"
#include "platform/WebSocket.h"
#include "platform/portable/net/ConnectionGuard.h"
#include "platform/portable/net/HttpHead.h"
#include "platform/portable/net/PendingPings.h"
#include "platform/portable/net/ProxyChoice.h"
#include "platform/portable/net/WebSocketAddress.h"

#include <cstdint>

namespace {

using namespace zelvo;

void readAsAddress(std::string_view text)
{
    try {
        WebSocketAddress const address = parseWebSocketAddress(text);
        check(address.port != 0 && !address.host.empty() && address.target.starts_with('/'));
        // Neither may end the request line that contains it.
        check(address.target.find_first_of("\r\n ") == std::string::npos);
        check(address.authority().find_first_of("\r\n ") == std::string::npos);
    } catch (NetworkFailure const&) {
        // Refused.
    }
}

void readAsProxy(std::string_view text)
{
    auto const lookup = [text](std::string const& name) -> std::optional<std::string> {
        return name == "https_proxy" ? std::optional<std::string>(text) : std::nullopt;
    };
    try {
        auto const proxy = proxyFor(true, "example.org", 443, lookup);
        check(proxy && proxy->port != 0 && !proxy->host.empty());
    } catch (NetworkFailure const&) {
        // Refused.
    }
}

/// Neither dots at the end nor brackets change a host.
bool isWritten(std::string_view text, std::string_view host)
{
    while (text.ends_with('.'))
        text.remove_suffix(1);
    return text == host || text == "[" + std::string(host) + "]";
}

/// What is an address of this machine in any form is never allowed.
void readAsHost(std::string const& text)
{
    ConnectionGuard const guard("93.184.216.34");
    boost::system::error_code error;
    auto const address = boost::asio::ip::make_address(text, error);
    if (!error && (address.is_loopback() || address.is_multicast() || address.is_unspecified()))
        check(!guard.allowsHost(text));
    // Read as the gateway's address it allows this machine only if it is this machine's.
    ConnectionGuard const other(text);
    if (error)
        check(!other.allowsHost("127.0.0.1") || isWritten(text, "127.0.0.1"));
}

} // namespace

/// Texts from outside that reach the network layer: addresses, proxy variables, response heads, pongs.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    readAsAddress(text);
    readAsProxy(text);
    readAsHost(std::string(text));
    for (char const* const host : {"www.example.org", "127.0.0.1", "::1", ""})
        isProxyExempt(text, host, 443);
    if (auto const status = statusOfHead(text))
        check(*status >= 100 && *status <= 999);
    if (auto const length = headLength(text))
        check(*length <= text.size());
    PendingPings pings;
    pings.add([](bool) {});
    pings.nextToSend();
    bool const answered = !pings.answeredBy(text).empty();
    check(answered ==
          (text == "1" || (text.ends_with('1') && text.find_first_not_of('0') == text.size() - 1)));
    check(pings.takeAll().empty() == answered);
    return 0;
}
