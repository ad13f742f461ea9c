#pragma once

#include "gateway/mcp/transport/FakeMcpHost.h"
#include "gateway/mcp/transport/McpHttpClient.h"
#include "gateway/mcp/transport/McpTestServer.h"
#include "gateway/support/Becomes.h"
#include "gateway/support/SteppedClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace zelvo::service {

/// A server on a clock that the test advances, and a client of it.
class McpHttpFixture : public testing::Test {
protected:
    explicit McpHttpFixture(McpTestOptions options = {}) : server(host, onClock(options)) {}

    SteppedClock clock;
    FakeMcpHost host{clock};
    McpTestServer server;
    McpHttpClient client{server.port()};

    /// Waits until `count` calls of "hold" are open.
    bool isHolding(int count = 1)
    {
        return becomes([&] { return host.open == count; });
    }

    /// Sends a request on a connection that stays.
    std::unique_ptr<RawConnection> sent(std::string const& bytes) const
    {
        auto connection = std::make_unique<RawConnection>(server.port());
        connection->send(bytes);
        return connection;
    }

    static std::string holdBody(std::string const& id = "1", std::string const& ms = "60000")
    {
        return McpHttpClient::message(id, "tools/call",
                                      "{" + McpHttpClient::callParams("hold", R"({"n":)" + ms + "}") + "}");
    }
    std::string modernHold(std::string const& ms = "60000") const
    {
        std::string const params = McpHttpClient::callParams("hold", R"({"n":)" + ms + "}");
        return client.bytes("POST", McpHttpClient::modernBody("tools/call", params),
                            McpHttpClient::modernHeaders("tools/call", "hold"));
    }

    /// Waits until the answer to a call that takes long begins; returns its head.
    std::string headOf(RawConnection const& connection)
    {
        return readWhileTimePasses(connection, "\r\n\r\n", std::chrono::milliseconds(50));
    }
    /// Lets every call of "hold" end.
    void endHolding()
    {
        EXPECT_TRUE(afterSteps(5s, [&] { return host.open == 0; }));
    }

    /// The text of the first content of a result.
    static std::string textOf(Answer const& answer)
    {
        json::value const body = answer.json();
        return std::string(body.at("result").at("content").at(0).at("text").as_string());
    }
    static std::string errorCodeOf(Answer const& answer)
    {
        return writeJson(answer.json().at("error").at("code"));
    }

    /// Advances the clock in steps until a condition holds.
    bool afterSteps(Duration step, std::function<bool()> const& condition)
    {
        return becomes([&] {
            clock.advance(step);
            return condition();
        });
    }

    /// Reads until a text is there, on a separate thread, while the clock advances: what the server waits for
    /// may begin only after the test has looked.
    std::string readWhileTimePasses(RawConnection const& connection, std::string const& end, Duration step);

private:
    McpTestOptions onClock(McpTestOptions options)
    {
        options.clock = &clock;
        return options;
    }
};

/// Reads what a connection receives until a text is in it.
inline std::string readUntil(RawConnection const& connection, std::string_view end)
{
    std::string all;
    while (all.find(end) == std::string::npos) {
        std::string const piece = connection.readSome();
        if (piece.empty())
            return all;
        all += piece;
    }
    return all;
}

inline std::string
McpHttpFixture::readWhileTimePasses(RawConnection const& connection, std::string const& end, Duration step)
{
    std::string all;
    std::atomic<bool> isRead = false;
    std::thread reader([&] {
        all = readUntil(connection, end);
        isRead = true;
    });
    EXPECT_TRUE(afterSteps(step, [&] { return isRead.load(); }));
    reader.join();
    return all;
}

} // namespace zelvo::service
