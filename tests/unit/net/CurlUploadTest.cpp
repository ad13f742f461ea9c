#include "platform/portable/net/CurlHttpLoading.h"
#include "unit/net/NetTest.h"
#include "unit/net/UploadServer.h"
#include "unit/system/TemporaryFolder.h"

#include <boost/asio/thread_pool.hpp>
#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <vector>

namespace zelvo {

namespace {

using Guest = UploadServer::Guest;
using Kind = NetworkFailure::Kind;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char const* ok = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok";
constexpr std::int64_t mebibyte = std::int64_t{1} << 20;
/// More than the buffers between client and server hold.
constexpr std::int64_t bigBytes = 64 * mebibyte;

class CurlUploadTest : public NetTest {
protected:
    ~CurlUploadTest() override
    {
        loading.reset();
        workers.join();
    }

    HttpUpload uploadOf(std::string content, UploadServer const& server)
    {
        writeFile(recording, content);
        return upload(static_cast<std::int64_t>(content.size()), server);
    }
    /// A sparse file, which takes no space on disk.
    HttpUpload uploadOfSparse(std::int64_t bytes, UploadServer const& server)
    {
        writeFile(recording, "");
        std::filesystem::resize_file(recording, static_cast<std::uintmax_t>(bytes));
        return upload(bytes, server);
    }
    HttpUpload upload(std::int64_t bytes, UploadServer const& server)
    {
        HttpUpload one;
        one.url = server.url();
        one.headers = {{"Content-Type", "video/mp4"}};
        one.file = recording;
        one.bytes = bytes;
        one.timeout = 10s;
        return one;
    }
    std::optional<NetworkFailure> failureOf(HttpUpload one)
    {
        return failureOfTask(loading->upload(std::move(one)));
    }
    /// The failure of an upload of 64 MiB to a server that does `serve`.
    std::optional<NetworkFailure> failureAt(std::function<void(Guest&)> serve)
    {
        UploadServer server(std::move(serve));
        return failureOf(uploadOfSparse(bigBytes, server));
    }

    TemporaryFolder folder;
    std::filesystem::path recording = folder.path / "Zelvo recording — Acme.mp4";
    asio::thread_pool workers{2};
    std::unique_ptr<CurlHttpLoading> loading = std::make_unique<CurlHttpLoading>(
        Contexts{io.get_executor(), io.get_executor(), workers.get_executor()});
};

TEST_F(CurlUploadTest, putsTheFileWithItsLengthAndNothingElse)
{
    UploadServer server([](Guest& guest) {
        guest.readHead();
        guest.readBody(16);
        guest.write(ok);
    });

    auto const answer = wait(loading->upload(uploadOf("a recording file", server)));
    server.join();

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "ok");
    EXPECT_THAT(server.head, StartsWith("PUT /put/it?here=1 HTTP/1.1\r\n"));
    EXPECT_THAT(server.head, HasSubstr("Content-Length: 16\r\n"));
    EXPECT_THAT(server.head, HasSubstr("Content-Type: video/mp4\r\n"));
    EXPECT_THAT(server.head, Not(HasSubstr("Expect")));
    EXPECT_THAT(server.head, Not(HasSubstr("Transfer-Encoding")));
    EXPECT_THAT(server.head, Not(HasSubstr("Authorization")));
    EXPECT_EQ(server.firstBytes, "a recording file");
}

TEST_F(CurlUploadTest, reportsTheSentBytes)
{
    UploadServer server([](Guest& guest) {
        guest.readHead();
        guest.readBody(bigBytes);
        guest.write(ok);
    });
    HttpUpload one = uploadOfSparse(bigBytes, server);
    std::mutex lock;
    std::vector<std::int64_t> told;
    one.onProgress = [&](std::int64_t sent) {
        std::scoped_lock guard(lock);
        told.push_back(sent);
        return true;
    };

    wait(loading->upload(std::move(one)));

    ASSERT_FALSE(told.empty());
    EXPECT_TRUE(std::ranges::is_sorted(told));
    EXPECT_EQ(told.back(), bigBytes);
    EXPECT_TRUE(std::ranges::any_of(told, [](auto sent) { return sent > 0 && sent < bigBytes; }));
}

TEST_F(CurlUploadTest, endsWhenItIsNotToGoOn)
{
    UploadServer server([](Guest& guest) {
        guest.readHead();
        guest.readToEnd();
    });
    HttpUpload one = uploadOfSparse(bigBytes * 16, server);
    std::atomic<bool> hasBegun = false;
    one.onProgress = [&](std::int64_t sent) {
        hasBegun = hasBegun || sent > 0;
        return sent == 0;
    };

    auto const failure = failureOf(std::move(one));
    server.join();

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::cancelled);
    EXPECT_TRUE(hasBegun);
    EXPECT_LT(server.bodyBytes, bigBytes * 16);
}

TEST_F(CurlUploadTest, followsNoRedirect)
{
    using tcp = UploadServer::tcp;
    tcp::acceptor elsewhere(io, tcp::endpoint(asio::ip::address_v4::loopback(), 0));
    elsewhere.non_blocking(true);
    for (int const status : {301, 302, 303, 307, 308}) {
        UploadServer server([&](Guest& guest) {
            guest.readHead();
            guest.readBody(4);
            guest.write("HTTP/1.1 " + std::to_string(status) + " Go\r\nLocation: http://127.0.0.1:" +
                        std::to_string(elsewhere.local_endpoint().port()) + "/\r\nContent-Length: 0\r\n\r\n");
        });

        EXPECT_EQ(wait(loading->upload(uploadOf("recording", server))).status, status);

        boost::system::error_code nobodyCame;
        elsewhere.accept(nobodyCame);
        EXPECT_EQ(nobodyCame, asio::error::would_block);
    }
}

TEST_F(CurlUploadTest, givesAnAnswerOfGarbageAsItIs)
{
    UploadServer server([](Guest& guest) {
        guest.readHead();
        guest.readBody(4);
        guest.write(std::string("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n") +
                    std::string("\0\xff{]x", 5));
    });

    auto const answer = wait(loading->upload(uploadOf("recording", server)));

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, std::string("\0\xff{]x", 5));
}

TEST_F(CurlUploadTest, failsAtAnAnswerThatIsNoHttp)
{
    UploadServer server([](Guest& guest) {
        guest.readHead();
        guest.readBody(4);
        guest.write("SSH-2.0-OpenSSH_9.2\r\n");
        guest.close();
    });

    EXPECT_TRUE(failureOf(uploadOf("recording", server)));
}

TEST_F(CurlUploadTest, takesAnEarlyRefusal)
{
    UploadServer server([](Guest& guest) {
        guest.readHead();
        guest.write("HTTP/1.1 413 Too Large\r\nContent-Length: 3\r\nConnection: close\r\n\r\nbig");
        guest.readToEnd();
    });

    auto const answer = wait(loading->upload(uploadOfSparse(bigBytes, server)));

    EXPECT_EQ(answer.status, 413);
    EXPECT_EQ(answer.body, "big");
}

TEST_F(CurlUploadTest, takesNoSuccessBeforeTheEndOfTheFile)
{
    auto const failure = failureAt([](Guest& guest) {
        guest.readHead();
        guest.readBody(mebibyte);
        guest.write("HTTP/1.1 200 OK\r\nContent-Length: 2\r\nConnection: close\r\n\r\nok");
        guest.close();
    });

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::lost);
}

TEST_F(CurlUploadTest, givesUpABodyThatNeverEnds)
{
    UploadServer server([](Guest& guest) {
        guest.readHead();
        guest.readBody(4);
        guest.write("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
        std::string const chunk = "10000\r\n" + std::string(0x10000, 'x') + "\r\n";
        while (!guest.isOver)
            guest.write(chunk);
    });

    auto const failure = failureOf(uploadOf("recording", server));

    ASSERT_TRUE(failure);
    EXPECT_THAT(failure->description, HasSubstr("16 MiB"));
}

TEST_F(CurlUploadTest, givesUpAHeadThatNeverEnds)
{
    UploadServer server([](Guest& guest) {
        guest.readHead();
        guest.readBody(4);
        guest.write("HTTP/1.1 200 OK\r\n");
        std::string const line = "X-Line: " + std::string(1000, 'x') + "\r\n";
        while (!guest.isOver)
            guest.write(line);
    });

    auto const failure = failureOf(uploadOf("recording", server));

    ASSERT_TRUE(failure);
    EXPECT_NE(failure->kind, Kind::timedOut);
}

TEST_F(CurlUploadTest, isLostWhenTheConnectionIsClosedAtAnyStage)
{
    std::vector<std::pair<char const*, std::function<void(Guest&)>>> const stages = {
        {"in the middle of the head", // Not earlier: before that the client may still be connecting.
         [](Guest& guest) {
             guest.readByte();
             guest.reset();
         }},
        {"after the head",
         [](Guest& guest) {
             guest.readHead();
             guest.reset();
         }},
        {"in the middle of the body",
         [](Guest& guest) {
             guest.readHead();
             guest.readBody(bigBytes / 2);
             guest.reset();
         }},
        {"in the middle of the body, without a reset",
         [](Guest& guest) {
             guest.readHead();
             guest.readBody(bigBytes / 2);
             guest.close();
         }},
        {"before the answer",
         [](Guest& guest) {
             guest.readHead();
             guest.readBody(bigBytes);
             guest.close();
         }},
        {"in the middle of the answer's head",
         [](Guest& guest) {
             guest.readHead();
             guest.readBody(bigBytes);
             guest.write("HTTP/1.1 200 OK\r\nContent-Le");
             guest.close();
         }},
        {"in the middle of the answer's body",
         [](Guest& guest) {
             guest.readHead();
             guest.readBody(bigBytes);
             guest.write("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nok");
             guest.close();
         }},
    };

    for (auto const& [stage, serve] : stages) {
        auto const failure = failureAt(serve);
        ASSERT_TRUE(failure) << stage;
        EXPECT_EQ(failure->kind, Kind::lost) << stage << ": " << failure->description;
    }
}

TEST_F(CurlUploadTest, isUnreachableWhereNobodyListens)
{
    writeFile(recording, "recording");
    HttpUpload one;
    one.url = "http://127.0.0.1:1/";
    one.file = recording;
    one.bytes = 9;

    EXPECT_EQ(failureOf(one)->kind, Kind::unreachable);
}

// A gateway elsewhere must not make the agent knock at this machine's services, however it writes the
// address.
TEST_F(CurlUploadTest, goesToNoServiceOfThisMachineForAGatewayElsewhere)
{
    UploadServer server([&](Guest& guest) {
        guest.readHead();
        guest.readBody(9);
        guest.write(ok);
    });
    std::string const port = server.url().substr(server.url().find(':', 7));
    writeFile(recording, "recording");

    for (char const* const host : {"127.0.0.1", "127.1", "127.0.0.1.", "2130706433", "0x7f000001",
                                   "0177.0.0.1", "017700000001", "0.0.0.0", "0", "localhost", "LOCALHOST",
                                   "localhost.", "[::1]", "[::ffff:127.0.0.1]", "[::ffff:7f00:1]", "[::]"}) {
        HttpUpload one = upload(9, server);
        one.url = std::string("http://") + host + port;
        for (char const* const gateway : {"93.184.216.34", ""}) {
            one.gatewayPeer = gateway;
            EXPECT_TRUE(failureOf(one)) << host;
        }
    }

    // None of them was the server's one guest.
    EXPECT_EQ(wait(loading->upload(upload(9, server))).status, 200);
}

TEST_F(CurlUploadTest, goesThroughAProxyToTheGatewaysHostOnly)
{
    UploadServer proxy([](Guest& guest) {
        guest.readHead();
        guest.readBody(9);
        guest.write(ok);
    });
    ScopedVariable const variable("http_proxy", proxy.url());
    writeFile(recording, "recording");
    HttpUpload one = upload(9, proxy);
    one.gatewayPeer = "gateway.invalid";

    one.url = "http://other.invalid/uploads/x"; // May be a name of this machine to the proxy.
    EXPECT_TRUE(failureOf(one));
    one.url = "http://gateway.invalid/uploads/x";
    EXPECT_EQ(wait(loading->upload(one)).status, 200);
}

TEST_F(CurlUploadTest, goesToAGatewayOfThisMachine)
{
    UploadServer server([](Guest& guest) {
        guest.readHead();
        guest.readBody(9);
        guest.write(ok);
    });
    writeFile(recording, "recording");
    HttpUpload one = upload(9, server);
    one.gatewayPeer = "127.0.0.1";

    HttpResponse const response = wait(loading->upload(one));

    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.peer, "127.0.0.1");
}

TEST_F(CurlUploadTest, takesAsLongAsBytesMove)
{
    constexpr auto limit = 1s;
    UploadServer server([](Guest& guest) {
        guest.readHead();
        for (int part = 1; part <= 16; ++part) { // Longer in all than the limit, never that long at a time.
            guest.readBody(part * bigBytes / 16);
            std::this_thread::sleep_for(std::chrono::milliseconds(90));
        }
        guest.write(ok);
    });
    HttpUpload one = uploadOfSparse(bigBytes, server);
    one.timeout = limit;
    auto const start = std::chrono::steady_clock::now();

    auto const answer = wait(loading->upload(std::move(one)));

    EXPECT_EQ(answer.status, 200);
    EXPECT_GT(std::chrono::steady_clock::now() - start, limit);
}

TEST_F(CurlUploadTest, endsAfterItsTimeWithoutAByte)
{
    UploadServer server([](Guest& guest) {
        guest.readHead();
        guest.readBody(mebibyte);
        std::this_thread::sleep_for(1s); // Takes no more, and keeps the connection.
        guest.readToEnd();
    });
    HttpUpload one = uploadOfSparse(bigBytes, server);
    one.timeout = 300ms;

    EXPECT_EQ(failureOf(std::move(one))->kind, Kind::timedOut);
}

TEST_F(CurlUploadTest, endsAfterItsTimeWithoutAnAnswer)
{
    UploadServer server([](Guest& guest) {
        guest.readHead();
        guest.readToEnd();
    });
    HttpUpload one = uploadOf("recording", server);
    one.timeout = 100ms;

    EXPECT_EQ(failureOf(std::move(one))->kind, Kind::timedOut);
}

TEST_F(CurlUploadTest, failsWhenTheFileHasAnotherSize)
{
    UploadServer server([](Guest& guest) { guest.readHead(); });
    HttpUpload one = uploadOf("recording", server);
    for (std::int64_t const bytes : {0, 8, 10}) {
        one.bytes = bytes;
        auto const failure = failureOf(one);
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->kind, Kind::other);
        EXPECT_THAT(failure->description, Not(HasSubstr("Acme"))) << "the file's name is nobody's business";
    }
    one.bytes = 9; // Lets the server go.
    EXPECT_TRUE(failureOf(std::move(one)));
}

TEST_F(CurlUploadTest, failsWhenTheFileShrinksOrGrowsOnItsWay)
{
    for (std::int64_t const changed : {bigBytes / 2, bigBytes + 1}) {
        UploadServer server([&](Guest& guest) {
            guest.readHead();
            guest.readBody(mebibyte);
            std::filesystem::resize_file(recording, static_cast<std::uintmax_t>(changed));
            guest.readToEnd();
        });
        HttpUpload one = uploadOfSparse(bigBytes, server);

        auto const failure = failureOf(std::move(one));
        server.join();

        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->kind, Kind::other);
        EXPECT_THAT(failure->description, HasSubstr("changed"));
        EXPECT_LT(server.bodyBytes, bigBytes) << "the server took it for a whole file";
    }
}

TEST_F(CurlUploadTest, sendsNothingThatIsNoFile)
{
    UploadServer server([](Guest& guest) { guest.readHead(); });
    HttpUpload one = uploadOf("recording", server);
    HttpUpload other = one;
    other.file = folder.path / "gone.mp4";
    EXPECT_EQ(failureOf(other)->kind, Kind::other);
    other.file = folder.path;
    EXPECT_EQ(failureOf(other)->kind, Kind::other);
    other.file = "/dev/zero";
    EXPECT_EQ(failureOf(other)->kind, Kind::other);
    other.file = folder.path / "pipe.mp4";
    ASSERT_EQ(::mkfifo(other.file.c_str(), 0600), 0);
    EXPECT_EQ(failureOf(other)->kind, Kind::other);
    EXPECT_TRUE(failureOf(std::move(one))); // Connects, so that the server's thread ends.
}

TEST_F(CurlUploadTest, endsWithTheProcess)
{
    std::atomic<bool> hasBegun = false;
    UploadServer server([&](Guest& guest) {
        guest.readHead();
        hasBegun = true;
        guest.readToEnd();
    });
    HttpUpload one = uploadOf("recording", server);
    std::optional<NetworkFailure> failure;
    auto call = [&]() -> Task<> {
        try {
            co_await loading->upload(one);
        } catch (NetworkFailure const& problem) {
            failure = problem;
        }
    };
    asio::co_spawn(io, call(), asio::detached);
    until([&] { return hasBegun.load(); });

    loading->endCalls();
    until([&] { return failure.has_value(); });

    EXPECT_EQ(failure->kind, Kind::cancelled);
    EXPECT_EQ(failureOf(one)->kind, Kind::cancelled) << "a later call";
    HttpRequest later;
    later.url = server.url();
    EXPECT_EQ(failureOfTask(loading->load(later))->kind, Kind::cancelled);
}

#if !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer)
std::int64_t peakBytes()
{
    std::string const status = contentOf("/proc/self/status");
    return std::stoll(status.substr(status.find("VmHWM:") + 6)) * 1024;
}

TEST_F(CurlUploadTest, holdsLittleOfALongRecordingInMemory)
{
    constexpr std::int64_t bytes = 300 * mebibyte;
    UploadServer server([](Guest& guest) {
        guest.readHead();
        guest.readBody(bytes);
        guest.write(ok);
    });
    HttpUpload one = uploadOfSparse(bytes, server);
    one.timeout = 60s;
    writeFile("/proc/self/clear_refs", "5"); // Resets the peak.
    std::int64_t const before = peakBytes();

    EXPECT_EQ(wait(loading->upload(std::move(one))).status, 200);
    server.join();

    EXPECT_EQ(server.bodyBytes, bytes);
    EXPECT_LT(peakBytes() - before, 8 * mebibyte);
}
#endif

} // namespace

} // namespace zelvo
