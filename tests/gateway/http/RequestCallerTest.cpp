#include "ZelvoGateway/http/RequestCaller.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

namespace asio = boost::asio;
using Tcp = asio::ip::tcp;

TEST(RequestCaller, hasNoMappedAddressesOnAPortForBothFamilies)
{
    asio::io_context io;
    Tcp::acceptor acceptor(io);
    boost::system::error_code error;
    acceptor.open(Tcp::v6(), error);
    if (error)
        GTEST_SKIP() << "this system has no IPv6";
    acceptor.set_option(asio::ip::v6_only(false));
    acceptor.bind({Tcp::v6(), 0});
    acceptor.listen();
    Tcp::socket caller(io);
    caller.connect({asio::ip::make_address("127.0.0.2"), acceptor.local_endpoint().port()});

    Tcp::socket const accepted = acceptor.accept();

    EXPECT_EQ(localAddressOf(accepted), "127.0.0.2");
    EXPECT_EQ(peerAddressOf(accepted).to_string(), caller.local_endpoint().address().to_string());
}

} // namespace
} // namespace zelvo::service
