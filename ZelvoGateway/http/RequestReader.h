#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/net/PeerStream.h"
#include "base/Task.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <memory>
#include <string>

namespace zelvo::service {

/// Reads requests from a connection, within the limits of time and size. What it is made with must outlive
/// it. Thread: the server's.
class RequestReader {
public:
    using HeadMessage = boost::beast::http::request<boost::beast::http::empty_body>;
    // Every task that reads with a parser owns it.
    using HeadParser = std::shared_ptr<boost::beast::http::request_parser<boost::beast::http::empty_body>>;
    using BodyParser = std::shared_ptr<boost::beast::http::request_parser<boost::beast::http::string_body>>;

    RequestReader(PeerStream& stream, boost::beast::flat_buffer& buffer, Limits const& limits)
        : stream(stream), buffer(buffer), limits(limits)
    {
    }

    /// first   the first request of its connection
    Task<boost::system::error_code> readHead(HeadParser parser, bool first);
    /// maxBody   bytes that the request's route takes; a body of unknown size has as much time as that many
    Task<boost::system::error_code> readBody(BodyParser parser, std::size_t maxBody);
    /// Reads and drops what the client still sends, so that it can read the answer before the connection
    /// closes. Ends early once `stopping` is true.
    Task<> drain(bool const* stopping);

private:
    PeerStream& stream;
    boost::beast::flat_buffer& buffer;
    Limits const& limits;
};

/// The head of a request. Throws HttpError.
HttpRequest headOf(RequestReader::HeadMessage const& message, std::string localAddress);

} // namespace zelvo::service
