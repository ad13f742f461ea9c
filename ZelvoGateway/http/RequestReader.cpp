#include "ZelvoGateway/http/RequestReader.h"

#include "ZelvoGateway/http/HttpError.h"
#include "base/Text.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/http/read.hpp>

#include <algorithm>
#include <vector>

namespace zelvo::service {

namespace {

namespace http = boost::beast::http;
using Time = std::chrono::steady_clock;

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr std::size_t maxDrained = 256_MiB;
constexpr Duration drainTime = 15s;

} // namespace

HttpRequest headOf(RequestReader::HeadMessage const& message, std::string localAddress)
{
    HttpRequest request;
    request.method = message.method_string();
    request.localAddress = std::move(localAddress);
    for (auto const& field : message)
        request.headers.emplace(text::lowercased(std::string(field.name_string())),
                                std::string(field.value()));
    if (!readTarget(message.target(), request))
        throw badRequest("The request's target is no path");
    return request;
}

Task<boost::system::error_code> RequestReader::readHead(HeadParser parser, bool first)
{
    parser->header_limit(static_cast<std::uint32_t>(limits.requestHeader));
    parser->body_limit(boost::none); // Its route decides.
    if (!first && buffer.size() == 0) {
        // The time between two requests may be long; the time within one may not.
        stream.expires_after(limits.idle);
        auto const [error, count] = co_await stream.async_read_some(buffer.prepare(4_KiB), asTuple);
        if (error)
            co_return error;
        buffer.commit(count);
    }
    stream.expires_after(limits.header);
    auto const [error, count] = co_await http::async_read_header(stream, buffer, *parser, asTuple);
    co_return error;
}

Task<boost::system::error_code> RequestReader::readBody(BodyParser parser, std::size_t maxBody)
{
    auto const length = parser->content_length();
    bool const small = (length ? *length : maxBody) <= limits.smallBody;
    auto const end = Time::now() + (small ? limits.smallBodyTime : limits.bodyTime);
    while (!parser->is_done()) {
        stream.expires_at(std::min(end, Time::now() + limits.bodyIdle));
        auto const [error, count] = co_await http::async_read_some(stream, buffer, *parser, asTuple);
        if (error)
            co_return error;
    }
    co_return boost::system::error_code();
}

Task<> RequestReader::drain(bool const* stopping)
{
    co_await stream.finishSending(drainTime);
    stream.expires_after(drainTime);
    std::vector<char> waste(64_KiB);
    for (std::size_t taken = 0; taken < maxDrained && !*stopping;) {
        auto const [error, count] = co_await stream.async_read_some(asio::buffer(waste), asTuple);
        if (error)
            co_return;
        taken += count;
    }
}

} // namespace zelvo::service
