#include "ZelvoGateway/http/BodyPieces.h"

#include "ZelvoGateway/http/HttpError.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/http/read.hpp>

namespace zelvo::service {

namespace {

namespace http = boost::beast::http;

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);

} // namespace

BodyPieces::BodyPieces(PeerStream& stream,
                       boost::beast::flat_buffer& buffer,
                       HeadParser&& head,
                       Limits const& limits)
    : stream(stream), buffer(buffer), limits(limits), parser(std::move(head)), room(size)
{
    parser.body_limit(boost::none); // Checked with the head, and by the sink.
}

Task<std::string_view> BodyPieces::next()
{
    http::buffer_body::value_type& body = parser.get().body();
    body.data = room.data();
    body.size = room.size();
    while (!parser.is_done() && body.size > 0) {
        stream.expires_after(limits.bodyIdle);
        auto const [error, count] = co_await http::async_read_some(stream, buffer, parser, asTuple);
        if (error && error != http::error::need_buffer)
            throw badRequest("The body could not be read");
    }
    co_return std::string_view(room.data(), room.size() - body.size);
}

} // namespace zelvo::service
