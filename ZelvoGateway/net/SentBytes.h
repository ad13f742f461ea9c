#pragma once

#include <boost/asio/ip/tcp.hpp>

#include <cstdint>

namespace zelvo::service {

/// How many of the sent bytes the peer's system has acknowledged; 0 if the system does not say. While a peer
/// reads nothing, this stands still.
std::uint64_t acknowledgedBytes(boost::asio::ip::tcp::socket& socket);

} // namespace zelvo::service
