#pragma once

#include "ZelvoGateway/net/PeerStream.h"

#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>

namespace zelvo::service {

/// A connection that leaves HTTP for a WebSocket, and the request that asks for it.
struct UpgradedConnection {
    PeerStream stream;
    boost::beast::http::request<boost::beast::http::empty_body> request;
};

} // namespace zelvo::service
