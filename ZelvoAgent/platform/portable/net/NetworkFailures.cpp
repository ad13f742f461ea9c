#include "platform/portable/net/NetworkFailures.h"

#include <boost/asio/error.hpp>
#include <boost/asio/ssl/error.hpp>

#include <cerrno>

namespace zelvo {

namespace {

using Kind = NetworkFailure::Kind;
namespace failure = boost::asio::error;

Kind kindOf(boost::system::error_code const& error)
{
    if (error == failure::operation_aborted)
        return Kind::cancelled;
    if (error == failure::eof || error == boost::asio::ssl::error::stream_truncated)
        return Kind::lost;
    if (error.category() == failure::get_netdb_category() ||
        error.category() == failure::get_addrinfo_category())
        return Kind::hostNotFound;
    if (error.category() == failure::get_ssl_category() ||
        error.category() == boost::asio::ssl::error::get_stream_category())
        return Kind::tls;
    if (error.category() == boost::system::system_category() ||
        error.category() == boost::system::generic_category())
        return failureKindOfErrno(error.value());
    return Kind::other;
}

} // namespace

NetworkFailure::Kind failureKindOfErrno(int error)
{
    switch (error) {
    case ENETUNREACH:
    case ENETDOWN:
        return Kind::offline;
    case ECONNREFUSED:
    case EHOSTUNREACH:
    case EHOSTDOWN:
        return Kind::unreachable;
    case ECONNRESET:
    case ECONNABORTED:
    case ENETRESET:
    case ENOTCONN:
    case EPIPE:
        return Kind::lost;
    case ETIMEDOUT:
        return Kind::timedOut;
    case ECANCELED:
        return Kind::cancelled;
    default:
        return Kind::other;
    }
}

NetworkFailure failureOf(boost::system::error_code const& error)
{
    return {kindOf(error), error.message()};
}

} // namespace zelvo
