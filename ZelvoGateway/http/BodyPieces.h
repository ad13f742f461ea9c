#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/net/PeerStream.h"
#include "base/Task.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>

#include <string_view>
#include <vector>

namespace zelvo::service {

/// Reads the body of a request in pieces. A large body may take hours; only silence ends it. The
/// constructor's references must outlive it.
class BodyPieces {
public:
    using HeadParser = boost::beast::http::request_parser<boost::beast::http::empty_body>;
    static constexpr std::size_t size = 256_KiB;

    /// head  a parser that has read the head and nothing of the body
    BodyPieces(PeerStream& stream,
               boost::beast::flat_buffer& buffer,
               HeadParser&& head,
               Limits const& limits);

    /// The next piece, valid until the next call; empty at the end. Throws HttpError if the body breaks off
    /// or stops.
    Task<std::string_view> next();
    bool keepAlive() const { return parser.get().keep_alive(); }

private:
    PeerStream& stream;
    boost::beast::flat_buffer& buffer;
    Limits const& limits;
    boost::beast::http::request_parser<boost::beast::http::buffer_body> parser;
    std::vector<char> room;
};

} // namespace zelvo::service
