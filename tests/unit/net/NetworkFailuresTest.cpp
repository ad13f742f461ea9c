#include "platform/portable/net/NetworkFailures.h"

#include <boost/asio/error.hpp>
#include <boost/asio/ssl/error.hpp>
#include <gtest/gtest.h>
#include <openssl/err.h>

#include <cerrno>

namespace zelvo {

namespace {

using Kind = NetworkFailure::Kind;
namespace failure = boost::asio::error;

TEST(NetworkFailures, classifiesErrorsForTheLink)
{
    EXPECT_EQ(failureOf(failure::network_unreachable).kind, Kind::offline);
    EXPECT_EQ(failureOf(failure::network_down).kind, Kind::offline);
    EXPECT_EQ(failureOf(failure::eof).kind, Kind::lost);
    EXPECT_EQ(failureOf(failure::connection_reset).kind, Kind::lost);
    EXPECT_EQ(failureOf(failure::connection_aborted).kind, Kind::lost);
    EXPECT_EQ(failureOf(failure::broken_pipe).kind, Kind::lost);
    EXPECT_EQ(failureOf(failure::connection_refused).kind, Kind::unreachable);
    EXPECT_EQ(failureOf(failure::host_unreachable).kind, Kind::unreachable);
    EXPECT_EQ(failureOf(failure::host_not_found).kind, Kind::hostNotFound);
    EXPECT_EQ(failureOf(failure::host_not_found_try_again).kind, Kind::hostNotFound);
    EXPECT_EQ(failureOf(failure::service_not_found).kind, Kind::hostNotFound);
    EXPECT_EQ(failureOf(failure::timed_out).kind, Kind::timedOut);
    EXPECT_EQ(failureOf(failure::operation_aborted).kind, Kind::cancelled);
    EXPECT_EQ(failureOf(failure::no_memory).kind, Kind::other);
    EXPECT_EQ(failureOf(boost::asio::ssl::error::stream_truncated).kind, Kind::lost);
    boost::system::error_code const tls(static_cast<int>(ERR_PACK(ERR_LIB_SSL, 0, 1)),
                                        failure::get_ssl_category());
    EXPECT_EQ(failureOf(tls).kind, Kind::tls);
}

TEST(NetworkFailures, hasTheSystemsWords)
{
    EXPECT_EQ(failureOf(failure::connection_refused).description, "Connection refused");
}

} // namespace

} // namespace zelvo
