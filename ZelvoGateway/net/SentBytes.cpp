#include "ZelvoGateway/net/SentBytes.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace zelvo::service {

namespace {

/// The kernel's structure continues after that of the C library. Their headers exclude each other.
struct TcpState {
    tcp_info known;
    std::uint64_t pacingRate;
    std::uint64_t maxPacingRate;
    std::uint64_t acknowledged;
};
static_assert(sizeof(tcp_info) == 104);

} // namespace

std::uint64_t acknowledgedBytes(boost::asio::ip::tcp::socket& socket)
{
    TcpState state{};
    socklen_t size = sizeof state;
    bool const known = ::getsockopt(socket.native_handle(), IPPROTO_TCP, TCP_INFO, &state, &size) == 0 &&
                       size == sizeof state;
    return known ? state.acknowledged : 0;
}

} // namespace zelvo::service
