#include "ZelvoGateway/http/ResponseWriter.h"

#include "ZelvoGateway/base/Log.h"
#include "base/Hop.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/chunk_encode.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/serializer.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

#include <algorithm>
#include <span>
#include <stdexcept>
#include <tuple>
#include <vector>

namespace zelvo::service {

namespace {

namespace http = boost::beast::http;

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr auto minTime = std::chrono::seconds(60);
constexpr std::size_t minRate = 256_KiB;             // Bytes a second; a slower reader is dropped.
constexpr auto pieceTime = std::chrono::seconds(60); // A paused player reads nothing, and asks again later.

constexpr char const* contentPolicy = "default-src 'none'; script-src 'self'; style-src 'self'; img-src "
                                      "'self' data: blob:; media-src 'self'; connect-src 'self'; "
                                      "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

template <class Message>
void setFields(Message& message, HttpResponse const& response, bool keepAlive)
{
    message.version(11);
    message.result(static_cast<unsigned>(response.status));
    message.set(http::field::server, "zelvo-gateway");
    if (!response.contentType.empty())
        message.set(http::field::content_type, response.contentType);
    message.set(http::field::cache_control, "no-store");
    message.set("X-Content-Type-Options", "nosniff");
    message.set("X-Frame-Options", "DENY");
    message.set("Referrer-Policy", "no-referrer");
    message.set("Cross-Origin-Resource-Policy", "same-origin");
    message.set("Cross-Origin-Opener-Policy", "same-origin");
    message.set("Content-Security-Policy", contentPolicy);
    for (auto const& [name, value] : response.headers)
        message.insert(name, value);
    message.keep_alive(keepAlive);
}

} // namespace

Task<bool> ResponseWriter::write(HttpResponse response, bool keepAlive, bool whole)
{
    if (response.source)
        co_return co_await writeSource(std::move(response), keepAlive, whole);
    co_return co_await writeText(std::move(response), keepAlive, whole);
}

Task<bool> ResponseWriter::writeText(HttpResponse response, bool keepAlive, bool whole)
{
    http::response<http::string_body> message;
    setFields(message, response, keepAlive);
    message.body() = std::move(response.body);
    message.prepare_payload();
    if (!whole)
        message.body().clear(); // The length stays that of the body.
    stream.expires_after(minTime + std::chrono::seconds(message.body().size() / minRate));
    auto const [error, count] = co_await http::async_write(stream, message, asTuple);
    co_return !error && message.keep_alive();
}

Task<bool> ResponseWriter::writeSource(HttpResponse response, bool keepAlive, bool whole)
{
    http::response<http::empty_body> message;
    setFields(message, response, keepAlive);
    message.content_length(response.source->length);
    http::response_serializer<http::empty_body> serializer(message);
    stream.expires_after(minTime);
    auto const [error, count] = co_await http::async_write_header(stream, serializer, asTuple);
    if (error)
        co_return false;
    ByteSourcePart part = *std::move(response.source);
    if (whole && !co_await send(std::move(part)))
        co_return false;
    co_return message.keep_alive();
}

Task<bool> ResponseWriter::send(ByteSourcePart part)
{
    std::vector<char> room(sourcePiece);
    while (part.length > 0) {
        std::span<char> const piece(room.data(), std::min<std::uint64_t>(room.size(), part.length));
        auto const read = [&part, piece] {
            try {
                return part.source->read(part.offset, piece);
            } catch (std::runtime_error const& error) {
                Log::error(error.what());
                return std::size_t{};
            }
        };
        std::size_t const count = co_await on(workers, read);
        if (count == 0) // The head is sent already, so breaking off is the only way to report it.
            co_return false;
        stream.expires_after(pieceTime);
        auto const [error, sent] =
            co_await asio::async_write(stream, asio::buffer(room.data(), count), asTuple);
        if (error)
            co_return false;
        part.offset += count;
        part.length -= count;
    }
    co_return true;
}

Task<bool> ResponseWriter::writeStream(HttpResponse response, bool keepAlive, BodyEnd end)
{
    http::response<http::empty_body> message;
    setFields(message, response, keepAlive && end == BodyEnd::chunks);
    message.chunked(end == BodyEnd::chunks);
    http::response_serializer<http::empty_body> serializer(message);
    stream.expires_after(minTime);
    auto const [error, count] = co_await http::async_write_header(stream, serializer, asTuple);
    co_return !error && co_await send(std::move(response.stream), end) && message.keep_alive();
}

Task<bool> ResponseWriter::send(std::shared_ptr<BodyStream> body, BodyEnd end)
{
    for (std::string piece = co_await body->next(); !piece.empty(); piece = co_await body->next()) {
        stream.expires_after(minTime + std::chrono::seconds(piece.size() / minRate));
        boost::system::error_code error;
        if (end == BodyEnd::chunks)
            std::tie(error, std::ignore) =
                co_await asio::async_write(stream, http::make_chunk(asio::buffer(piece)), asTuple);
        else
            std::tie(error, std::ignore) = co_await asio::async_write(stream, asio::buffer(piece), asTuple);
        if (error)
            co_return false;
    }
    if (end == BodyEnd::connection)
        co_return true;
    stream.expires_after(minTime);
    auto const [error, count] = co_await asio::async_write(stream, http::make_chunk_last(), asTuple);
    co_return !error;
}

} // namespace zelvo::service
