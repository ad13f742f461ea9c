#include "platform/portable/net/CurlHttpLoading.h"
#include "unit/net/NetTest.h"
#include "unit/net/TestPeer.h"
#include "unit/system/TemporaryFolder.h"

#include <boost/asio/thread_pool.hpp>
#include <gmock/gmock.h>

#include <sys/stat.h>

#include <atomic>

namespace zelvo {

namespace {

using Kind = NetworkFailure::Kind;
using testing::HasSubstr;
using testing::Not;

class CurlDownloadTest : public NetTest {
protected:
    ~CurlDownloadTest() override
    {
        loading.reset();
        workers.join();
    }

    HttpDownload download(std::int64_t maxBytes = 100) const
    {
        return {.url = server.httpUrl(), .file = file, .maxBytes = maxBytes, .timeout = 10s};
    }
    /// Downloads while the server answers with these bytes, and closes the connection if asked to.
    HttpResponse receive(HttpDownload wanted, std::string answer, bool closes = false)
    {
        serve(std::move(answer), closes);
        return wait(loading->download(std::move(wanted)));
    }
    std::optional<NetworkFailure> failureOf(HttpDownload wanted, std::string answer, bool closes = false)
    {
        serve(std::move(answer), closes);
        return failureOfTask(loading->download(std::move(wanted)));
    }
    void serve(std::string answer, bool closes)
    {
        auto body = [this, answer = std::move(answer), closes]() -> Task<> {
            peer = co_await server.accept();
            co_await peer->answer(answer);
            if (closes)
                peer->reset();
        };
        spawn(io.get_executor(), std::move(body)); // Which keeps what the body captured.
    }

    asio::thread_pool workers{2};
    TestServer server{io.get_executor()};
    std::shared_ptr<TestPeer> peer;
    TemporaryFolder folder;
    std::filesystem::path file = folder.path / "archive";
    std::unique_ptr<CurlHttpLoading> loading = std::make_unique<CurlHttpLoading>(
        Contexts{io.get_executor(), io.get_executor(), workers.get_executor()});
};

TEST_F(CurlDownloadTest, writesTheBodyIntoAPrivateFile)
{
    HttpResponse const response = receive(download(), "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nwhole");

    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "");
    EXPECT_EQ(contentOf(file), "whole");
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
    EXPECT_THAT(peer->requestHead, Not(HasSubstr("Range:")));
}

TEST_F(CurlDownloadTest, asksForTheRest)
{
    writeFile(file, "who");

    HttpResponse const response =
        receive(download(),
                "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes 3-4/5\r\nContent-Length: 2\r\n\r\nle");

    EXPECT_EQ(response.status, 206);
    EXPECT_EQ(contentOf(file), "whole");
    EXPECT_THAT(peer->requestHead, HasSubstr("Range: bytes=3-\r\n"));
}

TEST_F(CurlDownloadTest, beginsAnewWhenTheServerSendsTheWhole)
{
    writeFile(file, "something else");

    receive(download(), "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nwhole");

    EXPECT_EQ(contentOf(file), "whole");
}

TEST_F(CurlDownloadTest, beginsAnewWithAnEmptyWhole)
{
    writeFile(file, "something else");

    receive(download(), "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");

    EXPECT_EQ(contentOf(file), "");
}

TEST_F(CurlDownloadTest, refusesAnotherPart)
{
    writeFile(file, "who");

    for (char const* const range :
         {"Content-Range: bytes 0-1/5\r\n", "Content-Range: bytes 30-31/50\r\n", ""})
        EXPECT_EQ(failureOf(download(), "HTTP/1.1 206 Partial Content\r\n" + std::string(range) +
                                            "Content-Length: 2\r\n\r\nle")
                      ->kind,
                  Kind::other)
            << range;

    EXPECT_EQ(contentOf(file), "who");
}

TEST_F(CurlDownloadTest, keepsTheFileOnOtherStatuses)
{
    writeFile(file, "who");

    for (char const* const status : {"404 Not Found", "416 Range Not Satisfiable", "302 Found", "500 Oops"})
        receive(download(), "HTTP/1.1 " + std::string(status) + "\r\nContent-Length: 4\r\n\r\nbody");

    EXPECT_EQ(contentOf(file), "who");
}

TEST_F(CurlDownloadTest, keepsWhatArrivedBeforeTheConnectionBroke)
{
    auto const failure = failureOf(download(), "HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\nwho", true);

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::lost);
}

TEST_F(CurlDownloadTest, refusesMoreThanAnnounced)
{
    auto const failure = failureOf(download(4), "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nwhole");

    ASSERT_TRUE(failure);
    EXPECT_THAT(failure->description, HasSubstr("longer than announced"));
    EXPECT_LE(std::filesystem::file_size(file), 4U);
}

TEST_F(CurlDownloadTest, reportsItsProgressAndCanBeEnded)
{
    std::atomic<std::int64_t> most = 0;
    HttpDownload wanted = download();
    wanted.onProgress = [&most](std::int64_t received) {
        most = std::max<std::int64_t>(most, received);
        return received < 3;
    };

    auto const failure = failureOf(wanted, "HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\nwho");

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::cancelled);
    EXPECT_EQ(most, 3);
    EXPECT_EQ(contentOf(file), "who");
}

TEST_F(CurlDownloadTest, writesThroughNoLinkAndIntoNoPipe)
{
    writeFile(folder.path / "victim", "mine");
    std::filesystem::create_symlink(folder.path / "victim", file);
    EXPECT_TRUE(failureOfTask(loading->download(download())));
    std::filesystem::remove(file);
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_TRUE(failureOfTask(loading->download(download())));

    EXPECT_EQ(contentOf(folder.path / "victim"), "mine");
}

} // namespace
} // namespace zelvo
