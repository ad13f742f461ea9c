#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/AgentProgram.h"
#include "wire/Json.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>

// The memory of the built agent, whatever a gateway sends it.

namespace zelvo::test {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
using tcp = asio::ip::tcp;

/// A gateway that sends what it likes. Pings are answered while it reads.
class HostileGateway {
public:
    std::uint16_t port() const { return acceptor.local_endpoint().port(); }
    void accept()
    {
        acceptor.accept(socket.next_layer());
        socket.accept();
        socket.read_message_max(0);
    }
    void send(std::string const& text)
    {
        socket.text(true);
        socket.write(asio::buffer(text));
    }
    /// The next message; the agent sends a heartbeat every 15 seconds.
    json::value read()
    {
        beast::flat_buffer buffer;
        socket.read(buffer);
        return parseJson(beast::buffers_to_string(buffer.data())).value_or(nullptr);
    }
    /// The reply to a small command that is sent now: everything before it was handled.
    json::value ask()
    {
        std::string const id = "ask" + std::to_string(++asked);
        send(writeJson(json::object{{"id", id}, {"method", "permissions.get"}}));
        for (;;) {
            json::value const message = read();
            json::object const* const object = message.if_object();
            if (object && object->contains("id") && object->at("id") == json::string(id))
                return message;
        }
    }
    void readFor(std::chrono::seconds time)
    {
        auto const end = std::chrono::steady_clock::now() + time;
        while (std::chrono::steady_clock::now() < end)
            read();
    }

private:
    asio::io_context io;
    tcp::acceptor acceptor{io, tcp::endpoint(asio::ip::address_v4::loopback(), 0)};
    beast::websocket::stream<tcp::socket> socket{io};
    int asked = 0;
};

/// A figure of /proc/PID/status in MiB.
double memoryOf(pid_t pid, std::string const& name)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":"))
            return std::stod(line.substr(name.size() + 1)) / 1024;
    return -1;
}

/// From now on "VmHWM" is the largest memory since now.
void forgetPeak(pid_t pid)
{
    std::ofstream("/proc/" + std::to_string(pid) + "/clear_refs") << "5";
}

std::string commandOf(std::size_t bytes, std::string const& value)
{
    std::string text = R"({"id":"1","method":"permissions.get","params":{"x":[)";
    text.reserve(bytes + 16);
    while (text.size() < bytes)
        text += value;
    return text + "0]}}";
}

class AgentMemory : public testing::Test {
protected:
    /// The memory that a message takes at its peak, in MiB.
    double peakOf(std::string const& message)
    {
        forgetPeak(agent.pid());
        double const before = memoryOf(agent.pid(), "VmHWM");
        gateway.send(message);
        gateway.ask();
        return memoryOf(agent.pid(), "VmHWM") - before;
    }

    PrivateDesktop desktop{{.width = 640, .height = 480}};
    HostileGateway gateway;
    AgentProgram agent{desktop, gateway.port()};
};

// Takes a minute and a half of real time: the program's clock.
TEST_F(AgentMemory, isBoundedForEveryMessageAndGivenBackAfterAMinuteOfRest)
{
    constexpr std::size_t mebibyte = std::size_t{1} << 20;
    agent.makeUnattended("token");
    agent.start();
    gateway.accept();
    gateway.ask();
    gateway.readFor(std::chrono::seconds(16)); // Until everything has started.
    double const before = memoryOf(agent.pid(), "RssAnon");

    EXPECT_LT(peakOf(commandOf(15 * mebibyte, "[0],")), 120);
    EXPECT_LT(peakOf(commandOf(15 * mebibyte, R"({"a":{}},)")), 160);
    EXPECT_LT(peakOf(commandOf(191 * mebibyte, "[0],")), 400);
    EXPECT_LT(peakOf(R"({"id":"1","method":"files.upload.begin","params":{"path":"/x","data":")" +
                     std::string(128 * mebibyte, 'A') + R"("}})"),
              450);

    gateway.readFor(std::chrono::seconds(61));
    EXPECT_TRUE(waitFor([&] { return memoryOf(agent.pid(), "RssAnon") < before + 20; }, 15s))
        << memoryOf(agent.pid(), "RssAnon") << " MiB, " << before << " before";
}

} // namespace
} // namespace zelvo::test
