#pragma once

#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>

namespace zelvo::service {

/// A connection that leaves HTTP for a WebSocket, and the request that asks for it.
struct UpgradedConnection {
    boost::beast::tcp_stream stream;
    boost::beast::http::request<boost::beast::http::empty_body> request;
};

} // namespace zelvo::service
