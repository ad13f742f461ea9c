#include "unit/net/SocketTest.h"

#include <gmock/gmock.h>

#include <malloc.h>

#include <fstream>
#include <string>

namespace zelvo {

namespace {

using Kind = NetworkFailure::Kind;
constexpr std::size_t mebibyte = std::size_t{1} << 20;

/// Resident memory of this process in bytes; 0 under the thread sanitizer, whose own memory would count.
std::size_t residentBytes()
{
#if __has_feature(thread_sanitizer)
    return 0;
#endif
    std::ifstream statm("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    statm >> total >> resident;
    return resident * 4096;
}

class BeastWebSocketLimitsTest : public SocketTest {
protected:
    /// The bytes of a server's frame with any first byte and payload length.
    static std::string frame(unsigned char first, std::string const& payload, bool masked = false)
    {
        std::string bytes(1, static_cast<char>(first));
        bytes += static_cast<char>(payload.size() | (masked ? 0x80U : 0U));
        if (masked)
            bytes += std::string(4, '\0');
        return bytes + payload;
    }

    /// The failure of a socket that receives these bytes. Stores the close code that the peer gets in
    /// `toldCode`.
    std::optional<NetworkFailure> failureAfterBytes(std::string bytes)
    {
        auto const [client, peer] = link();
        wait(peer->writeRaw(std::move(bytes)));
        auto readClose = [](std::shared_ptr<TestPeer> from) -> Task<std::uint16_t> {
            while (co_await from->read()) {
            }
            co_return from->closeCode();
        };
        toldCode = wait(readClose(peer));
        return failureOfTask(client->receive());
    }

    std::uint16_t toldCode = 0;
};

TEST_F(BeastWebSocketLimitsTest, stopsReadingAtSixtyFourMessagesAndResumesWhenOneIsTaken)
{
    auto const [client, peer] = link();
    asio::co_spawn(io, peer->read(), asio::detached);
    int written = 0;
    auto writeAll = [&]() -> Task<> {
        for (int i = 0; i < 100; ++i, ++written)
            co_await peer->write(textMessage(std::to_string(i)));
        co_await peer->ping("behind");
    };
    asio::co_spawn(io, writeAll(), asio::detached);
    until([&] { return client->readingWasHeld(); });
    runFor(20ms);
    EXPECT_TRUE(peer->pongs.empty()); // The ping is still unread, behind the messages.

    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(wait(client->receive()).payload, std::to_string(i));
    until([&] { return !peer->pongs.empty(); });

    EXPECT_EQ(written, 100);
}

TEST_F(BeastWebSocketLimitsTest, forgetsThatReadingWasHeldWithTheNextPing)
{
    auto const [client, peer] = link();
    asio::co_spawn(io, peer->read(), asio::detached);
    for (int i = 0; i < 65; ++i)
        wait(peer->write(textMessage("x")));
    until([&] { return client->readingWasHeld(); });
    client->sendPing([](bool) {});
    runFor(5ms);
    EXPECT_TRUE(client->readingWasHeld()); // Still held.

    for (int i = 0; i < 65; ++i)
        wait(client->receive());
    EXPECT_TRUE(client->readingWasHeld()); // Held since the last ping.
    bool answered = false;
    client->sendPing([&](bool ok) { answered = ok; });
    until([&] { return answered; });

    EXPECT_FALSE(client->readingWasHeld());
}

TEST_F(BeastWebSocketLimitsTest, keepsItsMemoryBoundedWhenNobodyReceives)
{
    auto const [client, peer] = link();
    std::size_t const before = residentBytes();
    bool stop = false;
    auto flood = [&]() -> Task<> {
        std::string const payload(64 * mebibyte, 'x');
        while (!stop)
            co_await peer->write({WebSocketMessage::Kind::binary, payload});
    };
    asio::co_spawn(io, flood(), asio::detached);
    until([&] { return client->readingWasHeld(); });
    runFor(50ms);

    // The inbox, the text that the peer sends, and the sockets' buffers.
    EXPECT_LT(residentBytes() - before, (320 + 3 * 64 + 32) * mebibyte);
    int taken = 0;
    for (; taken < 6; ++taken)
        EXPECT_EQ(wait(client->receive()).payload.size(), 64 * mebibyte);
    stop = true;
    client->cancel();
    runFor(5ms);
    malloc_trim(0);
}

TEST_F(BeastWebSocketLimitsTest, takesAMessageOf192MebibytesBothWays)
{
    auto const [client, peer] = link();
    std::string large(192 * mebibyte, 'a');
    large.back() = 'z';
    asio::co_spawn(io, peer->write(textMessage(large)), asio::detached);

    auto received = wait(client->receive());
    EXPECT_TRUE(received.payload == large);

    asio::co_spawn(io, client->send(std::move(received.payload)), asio::detached);
    auto const returned = wait(peer->read());
    ASSERT_TRUE(returned);
    EXPECT_TRUE(returned->payload == large);
}

TEST_F(BeastWebSocketLimitsTest, endsWith1009AboveThatAndTakesNoMemoryForIt)
{
    auto const [client, peer] = link();
    std::size_t const before = residentBytes();
    // The head of a text frame of 193 MiB and a little of its payload.
    std::string head("\x81\x7f\0\0\0\0\x0c\x10\0\0", 10);
    asio::co_spawn(io, peer->writeRaw(head + std::string(100'000, 'a')), asio::detached);

    EXPECT_EQ(wait(peer->read()), std::nullopt);
    EXPECT_EQ(peer->closeCode(), 1009);
    auto const failure = failureOfTask(client->receive());
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::other);
    EXPECT_LT(residentBytes(), before + 16 * mebibyte);
}

TEST_F(BeastWebSocketLimitsTest, endsWith1009WhenFragmentsAddUpToMore)
{
    auto const [client, peer] = link();
    auto write = [&]() -> Task<> {
        std::vector<std::string> parts(193, std::string(mebibyte, 'a'));
        try {
            co_await peer->writeFragments(std::move(parts));
        } catch (boost::system::system_error const&) {
            // The client closes the connection before everything is written.
        }
    };
    asio::co_spawn(io, write(), asio::detached);

    EXPECT_EQ(wait(peer->read()), std::nullopt);
    EXPECT_EQ(peer->closeCode(), 1009);
    EXPECT_EQ(failureOfTask(client->receive())->kind, Kind::other);
}

TEST_F(BeastWebSocketLimitsTest, takesNoMemoryForWhatIsOnlyAnnounced)
{
    auto const [client, peer] = link();
    std::size_t const before = residentBytes();

    // The head of a text frame of 192 MiB and a little of its payload.
    wait(peer->writeRaw(std::string("\x81\x7f\0\0\0\0\x0c\0\0\0", 10) + std::string(100'000, 'a')));
    runFor(20ms);

    EXPECT_LT(residentBytes(), before + 16 * mebibyte);
}

TEST_F(BeastWebSocketLimitsTest, endsWith1007OnTextThatIsNotUtf8)
{
    for (std::string const text :
         {"\xff", "a\xc3", "\xed\xa0\x80", "\xf5\x80\x80\x80", "\xc0\x80", "\xe2\x28\xa1"}) {
        auto const failure = failureAfterBytes(frame(0x81, text));

        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->kind, Kind::other);
        EXPECT_EQ(toldCode, 1007) << testing::PrintToString(text);
    }
}

TEST_F(BeastWebSocketLimitsTest, endsWith1007WhenAFragmentBreaksACharacter)
{
    auto const failure = failureAfterBytes(frame(0x01, "\xf0\x9f") + frame(0x80, "x"));

    EXPECT_TRUE(failure);
    EXPECT_EQ(toldCode, 1007);
}

TEST_F(BeastWebSocketLimitsTest, endsWith1002OnFramesThatBreakTheProtocol)
{
    std::vector<std::pair<std::string, std::string>> const cases{
        {"reserved bit 1", frame(0xC1, "x")},
        {"reserved bit 2", frame(0xA1, "x")},
        {"reserved bit 3", frame(0x91, "x")},
        {"opcode 3", frame(0x83, "x")},
        {"opcode 15", frame(0x8F, "x")},
        {"masked by the server", frame(0x81, "x", true)},
        {"control frame above 125 bytes", std::string("\x89\x7e\x00\x7e", 4) + std::string(126, 'x')},
        {"fragmented ping", frame(0x09, "x")},
        {"continuation of nothing", frame(0x80, "x")},
        {"new message inside a fragmented one", frame(0x01, "x") + frame(0x81, "y")},
        {"length written too long", std::string("\x81\x7e\x00\x01x", 5)},
        {"close with one byte", frame(0x88, "x")},
        {"close with an impossible code", frame(0x88, "\x03\xed")},
        {"close with a reason that is not UTF-8", frame(0x88, "\x03\xe8\xff")},
    };
    for (auto const& [name, bytes] : cases) {
        auto const failure = failureAfterBytes(bytes);

        ASSERT_TRUE(failure) << name;
        EXPECT_EQ(failure->kind, Kind::other) << name;
        EXPECT_EQ(toldCode, 1002) << name;
    }
}

TEST_F(BeastWebSocketLimitsTest, takesAFrameByteByByte)
{
    auto const [client, peer] = link();

    for (char const byte : frame(0x01, "one") + frame(0x80, " by one"))
        wait(peer->writeRaw(std::string(1, byte)));

    EXPECT_EQ(wait(client->receive()).payload, "one by one");
}

TEST_F(BeastWebSocketLimitsTest, isLostWhenTheConnectionEndsInTheMiddleOfAFrame)
{
    auto const [client, peer] = link();
    wait(peer->writeRaw(std::string("\x81\x05"
                                    "hel",
                                    5)));
    runFor(5ms);
    peer->reset();

    auto const failure = failureOfTask(client->receive());

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::lost);
}

} // namespace

} // namespace zelvo
